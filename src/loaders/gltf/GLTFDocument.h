#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/JSON.h"
#include "foundation/LinearAlgebra.h"
#include "loaders/gltf/GLTFLimits.h"

namespace ornolith {

// A glTF 2.0 document as plain records (Khronos Group, "glTF 2.0 Specification", section 5), but for its materials,
// textures, images and samplers. Every index has been checked against the list that it points into, and the node
// hierarchy is a set of disjoint trees. Sizes and offsets are as the file states them: who uses them checks them.

/// An index into one of the document's lists.
using GLTFIndex = std::uint32_t;

struct GLTFBuffer {
  std::optional<std::string> uri;
  std::uint64_t byteLength = 0;
};

enum class GLTFMeshoptMode { attributes, triangles, indices };
enum class GLTFMeshoptFilter { none, octahedral, quaternion, exponential };

/// A buffer view's compressed form (EXT_meshopt_compression).
struct GLTFMeshoptCompression {
  GLTFIndex buffer = 0;
  std::uint64_t byteOffset = 0;
  std::uint64_t byteLength = 0;
  std::uint64_t byteStride = 0;
  std::uint64_t count = 0;
  GLTFMeshoptMode mode = GLTFMeshoptMode::attributes;
  GLTFMeshoptFilter filter = GLTFMeshoptFilter::none;
};

struct GLTFBufferView {
  GLTFIndex buffer = 0;
  std::uint64_t byteOffset = 0;
  std::uint64_t byteLength = 0;
  std::uint64_t byteStride = 0;  ///< 0 for tightly packed.
  std::optional<GLTFMeshoptCompression> compression;
};

/// The numbers of the format.
enum class GLTFComponentType : std::uint16_t {
  signedByte = 5120,
  unsignedByte = 5121,
  signedShort = 5122,
  unsignedShort = 5123,
  unsignedInt = 5125,
  floatingPoint = 5126,
};

enum class GLTFElementType { scalar, vec2, vec3, vec4, mat2, mat3, mat4 };

struct GLTFSparse {
  std::uint64_t count = 0;
  GLTFIndex indicesView = 0;
  std::uint64_t indicesOffset = 0;
  GLTFComponentType indicesType = GLTFComponentType::unsignedInt;
  GLTFIndex valuesView = 0;
  std::uint64_t valuesOffset = 0;
};

struct GLTFAccessor {
  std::optional<GLTFIndex> bufferView;  ///< Zeros where absent.
  std::uint64_t byteOffset = 0;
  GLTFComponentType componentType = GLTFComponentType::floatingPoint;
  bool isNormalized = false;
  std::uint64_t count = 0;
  GLTFElementType type = GLTFElementType::scalar;
  std::optional<GLTFSparse> sparse;
};

/// Accessors by attribute name ("POSITION", "TEXCOORD_0"), in the order of the file.
using GLTFAttributes = std::vector<std::pair<std::string, GLTFIndex>>;

/// The accessor of an attribute, or nothing.
std::optional<GLTFIndex> accessorOfAttribute(const GLTFAttributes& attributes, std::string_view name);

enum class GLTFPrimitiveMode : std::uint8_t {
  points = 0,
  lines = 1,
  lineLoop = 2,
  lineStrip = 3,
  triangles = 4,
  triangleStrip = 5,
  triangleFan = 6,
};

struct GLTFPrimitive {
  GLTFAttributes attributes;
  std::optional<GLTFIndex> indices;
  std::optional<GLTFIndex> material;  ///< Not checked: the list of materials is no part of these records.
  GLTFPrimitiveMode mode = GLTFPrimitiveMode::triangles;
  std::vector<GLTFAttributes> targets;
  bool isDracoCompressed = false;  ///< Its accessors may be without data.
};

struct GLTFMesh {
  std::string name;
  std::vector<GLTFPrimitive> primitives;
  std::vector<double> weights;
};

struct GLTFSkin {
  std::optional<GLTFIndex> inverseBindMatrices;
  std::vector<GLTFIndex> joints;  ///< Never empty.
  std::optional<GLTFIndex> skeleton;
};

/// A node's local transform: a matrix as the file has it, or its three properties.
struct GLTFTransform {
  std::optional<simd_double4x4> matrix;
  simd_double3 translation;
  simd_quatd rotation;
  simd_double3 scale{1, 1, 1};

  simd_double4x4 asMatrix() const;
};

struct GLTFNode {
  std::optional<std::string> name;
  GLTFTransform transform;
  std::optional<GLTFIndex> parent;
  std::vector<GLTFIndex> children;
  std::optional<GLTFIndex> mesh;
  std::optional<GLTFIndex> skin;
  std::optional<GLTFIndex> camera;
  std::optional<GLTFIndex> light;
  std::vector<double> weights;
  bool isVisible = true;     ///< KHR_node_visibility.
  GLTFAttributes instances;  ///< EXT_mesh_gpu_instancing; empty where the node is not instanced.
};

struct GLTFCamera {
  bool isOrthographic = false;
  double verticalFieldOfView = 1;  ///< Radians.
  double verticalMagnification = 1;
  double zNear = 0;
  double zFar = 0;
};

enum class GLTFLightType { directional, point, spot };

/// KHR_lights_punctual.
struct GLTFLight {
  GLTFLightType type = GLTFLightType::directional;
  std::array<double, 3> color{1, 1, 1};
  double intensity = 1;
};

struct GLTFDocument {
  std::vector<GLTFBuffer> buffers;
  std::vector<GLTFBufferView> bufferViews;
  std::vector<GLTFAccessor> accessors;
  std::vector<GLTFMesh> meshes;
  std::vector<GLTFSkin> skins;
  std::vector<GLTFNode> nodes;
  std::vector<GLTFCamera> cameras;
  std::vector<GLTFLight> lights;
  std::vector<GLTFIndex> topNodes;  ///< Those of the default scene, or all roots where the file names no scene.
  std::size_t animationCount = 0;
};

/// Reads the records of a manifest. Throws `JSONError` for a value of a wrong type and an index out of range, and
/// `GLTFReadError` for what breaks a rule of the format (another version, a node with two parents, a cycle of nodes) or
/// the budget.
GLTFDocument readGLTFDocument(const JSONElement& root, GLTFMemoryBudget& budget);

}  // namespace ornolith
