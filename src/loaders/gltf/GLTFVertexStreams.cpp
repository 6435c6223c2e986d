#include "loaders/gltf/GLTFVertexStreams.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <utility>

#include "foundation/LargeVector.h"
#include "loaders/gltf/GLTFReadError.h"
#include "loaders/mesh/MeshGeometry.h"
#include "loaders/mesh/TangentSpace.h"

namespace ornolith {

namespace {

using Semantic = SCNGeometrySourceSemantic;
using Source = std::shared_ptr<const SCNGeometrySource>;

/// Channels beyond these are not looked for.
constexpr std::size_t mostTextureChannels = 8;

/// A vertex attribute of the format and what it is to the scene.
struct Attribute {
  std::string name;
  Semantic semantic = Semantic::vertex;
  std::size_t fewestComponents = 3;
  std::size_t mostComponents = 3;
};

const float* vectorAt(const SCNGeometrySource& source, std::size_t index) noexcept {
  return reinterpret_cast<const float*>(source.data()->data() + source.dataOffset() + index * source.dataStride());
}

/// Makes the streams of one primitive.
class StreamMaker {
 public:
  StreamMaker(const GLTFPrimitive& primitive, const GLTFDeformation& deformation, GLTFAccessors& accessors,
              GLTFMemoryBudget& budget)
      : primitive_(primitive), deformation_(deformation), accessors_(accessors), budget_(budget) {}

  SCNGeometry::Sources make() {
    const Attribute position{"POSITION", Semantic::vertex};
    const Attribute normal{"NORMAL", Semantic::normal};
    const Attribute tangent{"TANGENT", Semantic::tangent, 4, 4};
    const std::optional<GLTFIndex> positions = accessorOf(position);
    if (!positions) return {};
    vertexCount_ = static_cast<std::size_t>(accessors_.record(*positions).count);
    if (vertexCount_ == 0) return {};
    addDeformable({position, normal, tangent});
    add({"COLOR_0", Semantic::color, 3, 4});
    addTextureChannels();
    return std::move(sources_);
  }

 private:
  std::optional<GLTFIndex> accessorOf(const Attribute& attribute) const {
    return accessorOfAttribute(primitive_.attributes, attribute.name);
  }

  /// The attribute's accessor, if there is one; refuses one of another shape than the attribute's.
  std::optional<GLTFIndex> checkedAccessor(const Attribute& attribute) const {
    const std::optional<GLTFIndex> accessor = accessorOf(attribute);
    if (!accessor) return std::nullopt;
    const GLTFAccessor& record = accessors_.record(*accessor);
    const std::size_t components = GLTFAccessors::componentCount(record.type);
    if (record.count != vertexCount_ || components < attribute.fewestComponents ||
        components > attribute.mostComponents) {
      throwMalformedGLTF("The accessor " + std::to_string(*accessor) + " does not fit the attribute " + attribute.name +
                         " of a primitive with " + std::to_string(vertexCount_) + " vertices.");
    }
    return accessor;
  }

  LargeVector<float> values(const Attribute& attribute, GLTFIndex accessor) const {
    return morphedValues(attribute.name, accessor, primitive_, deformation_.weights, accessors_);
  }

  void add(const Attribute& attribute) {
    const std::optional<GLTFIndex> accessor = checkedAccessor(attribute);
    if (!accessor) return;
    if (deformation_.changes(attribute.name, primitive_)) {
      const std::size_t components = GLTFAccessors::componentCount(accessors_.record(*accessor).type);
      sources_.push_back(packedSource(values(attribute, *accessor), attribute.semantic, components));
    } else {
      sources_.push_back(accessors_.source(*accessor, attribute.semantic));
    }
  }

  /// Positions, normals and tangents, which a skin moves together. Without normals tangents are of no use: the facets'
  /// normals take their place.
  void addDeformable(const std::array<Attribute, 3>& attributes) {
    const bool hasNormals = accessorOf(attributes[1]).has_value();
    const std::size_t count = hasNormals ? 3 : 1;
    const bool isSkinned = !deformation_.jointMatrices.empty() && deformation_.changes("POSITION", primitive_);
    if (!isSkinned) {
      for (std::size_t i = 0; i < count; ++i) add(attributes[i]);
      return;
    }
    std::array<LargeVector<float>, 3> moved;
    for (std::size_t i = 0; i < count; ++i) {
      if (const auto accessor = checkedAccessor(attributes[i])) moved[i] = values(attributes[i], *accessor);
    }
    skinVertices({moved[0], moved[1], moved[2]}, primitive_, deformation_.jointMatrices, accessors_);
    for (std::size_t i = 0; i < count; ++i) {
      if (moved[i].empty()) continue;
      sources_.push_back(packedSource(std::move(moved[i]), attributes[i].semantic, attributes[i].mostComponents));
    }
  }

  /// Channels keep their numbers: one that the file leaves out below another is all zeros.
  void addTextureChannels() {
    std::size_t missing = 0;
    for (std::size_t channel = 0; channel < mostTextureChannels; ++channel) {
      const Attribute attribute{"TEXCOORD_" + std::to_string(channel), Semantic::texcoord, 2, 2};
      if (!accessorOf(attribute)) {
        ++missing;
        continue;
      }
      for (; missing > 0; --missing) {
        budget_.take(vertexCount_, 2 * sizeof(float));
        LargeVector<float> zeros(vertexCount_ * 2, 0.0F);
        sources_.push_back(packedSource(std::move(zeros), Semantic::texcoord, 2));
      }
      add(attribute);
    }
  }

  const GLTFPrimitive& primitive_;
  const GLTFDeformation& deformation_;
  GLTFAccessors& accessors_;
  GLTFMemoryBudget& budget_;
  std::size_t vertexCount_ = 0;
  SCNGeometry::Sources sources_;
};

// Tangents.

/// The first `components` floats of each vector, packed: in place, or copied into `copy`.
std::span<const float> packed(const SCNGeometrySource& source, std::size_t components, GLTFMemoryBudget& budget,
                              LargeVector<float>& copy) {
  const std::size_t count = source.vectorCount();
  if (source.dataStride() == components * sizeof(float)) return {vectorAt(source, 0), count * components};
  budget.take(count, components * sizeof(float));
  copy = LargeVector<float>(count * components);
  for (std::size_t i = 0; i < count; ++i) {
    std::memcpy(copy.data() + i * components, vectorAt(source, i), components * sizeof(float));
  }
  return copy;
}

/// Texture coordinates as a texture's transform leaves them: where they stand, or in `copy`, where they may stand
/// before.
std::span<const float> transformed(std::span<const float> texcoords, const SCNMatrix4& transform,
                                   GLTFMemoryBudget& budget, LargeVector<float>& copy) {
  if (transform == SCNMatrix4()) return texcoords;
  if (copy.empty()) {
    budget.take(texcoords.size(), sizeof(float));
    copy.resize(texcoords.size());
  }
  for (std::size_t i = 0; i + 1 < texcoords.size(); i += 2) {
    const simd_double4 moved = transform * simd_double4{double{texcoords[i]}, double{texcoords[i + 1]}, 0, 1};
    copy[i] = static_cast<float>(moved.x);
    copy[i + 1] = static_cast<float>(moved.y);
  }
  return copy;
}

/// The stream with vector `sourceVertices[i]` as its vector i.
Source gathered(const SCNGeometrySource& source, std::span<const std::uint32_t> sourceVertices,
                GLTFMemoryBudget& budget) {
  const std::size_t components = source.componentsPerVector();
  budget.take(sourceVertices.size(), components * sizeof(float));
  LargeVector<float> values(sourceVertices.size() * components);
  for (std::size_t i = 0; i < sourceVertices.size(); ++i) {
    std::memcpy(values.data() + i * components, vectorAt(source, sourceVertices[i]), components * sizeof(float));
  }
  return packedSource(std::move(values), source.semantic(), components);
}

}  // namespace

SCNGeometry::Sources vertexStreams(const GLTFPrimitive& primitive, const GLTFDeformation& deformation,
                                   GLTFAccessors& accessors, GLTFMemoryBudget& budget) {
  return StreamMaker(primitive, deformation, accessors, budget).make();
}

GLTFTangentStreams addingTangents(const SCNGeometry::Sources& sources, const GLTFTextureMapping& mapping,
                                  const GLTFCorners& triangles, GLTFMemoryBudget& budget) {
  const Source positions = sourceIn(sources, Semantic::vertex);
  // What the generator needs for its own work, roughly, and what it gives.
  constexpr std::size_t bytesPerCorner = 64;
  budget.take(triangles.count, bytesPerCorner);
  budget.take(positions->vectorCount(), 4 * sizeof(float));
  std::array<LargeVector<float>, 3> copies;
  const TangentInput input{
      .positions = packed(*positions, 3, budget, copies[0]),
      .normals = packed(*sourceIn(sources, Semantic::normal), 3, budget, copies[1]),
      .texcoords =
          transformed(packed(*sourceIn(sources, Semantic::texcoord, mapping.texcoordSet), 2, budget, copies[2]),
                      mapping.transform, budget, copies[2]),
  };
  TangentMesh mesh = generateTangents(input, triangles.indices());

  GLTFTangentStreams result{sources, triangles};
  if (mesh.sourceVertices.size() != positions->vectorCount()) {
    for (Source& source : result.sources) source = gathered(*source, mesh.sourceVertices, budget);
    result.corners.count = mesh.indices.size();
    result.corners.data = SharedBytes::takingOver(std::move(mesh.indices));
  }
  const std::size_t count = mesh.tangents.size() / 4;
  result.sources.push_back(SCNGeometrySource::geometrySourceWithData(SharedBytes::takingOver(std::move(mesh.tangents)),
                                                                     Semantic::tangent, count, true, 4, sizeof(float),
                                                                     0, 4 * sizeof(float)));
  return result;
}

Source sourceIn(const SCNGeometry::Sources& sources, Semantic semantic, std::size_t channel) {
  for (const Source& source : sources) {
    if (source->semantic() == semantic && channel-- == 0) return source;
  }
  return nullptr;
}

bool hasTransparentColor(const SCNGeometry::Sources& sources, GLTFMemoryBudget& budget) {
  const Source colors = sourceIn(sources, Semantic::color);
  if (!colors || colors->componentsPerVector() < 4) return false;
  budget.take(colors->vectorCount(), gltfBytesPerValueRead);
  for (std::size_t i = 0; i < colors->vectorCount(); ++i) {
    if (vectorAt(*colors, i)[3] < 1) return true;
  }
  return false;
}

}  // namespace ornolith
