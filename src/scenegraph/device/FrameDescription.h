#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "foundation/LinearAlgebra.h"
#include "imaging/Image.h"

namespace ornolith::device {

// What a render device draws: one flat record of values, indices and spans, without nodes. Whoever makes it guarantees
// that every index is in range (`checkFrame` in CheckFrame.h states and tests all of it); numbers may be anything,
// infinities and NaN included. Colours are linear light. Space conventions: right-handed, y up; the camera looks along
// its negative z.

/// Floats in memory that the description keeps alive: element i stands at `data + i * stride`.
struct VertexStream {
  const float* data = nullptr;
  std::uint32_t count = 0;       ///< Elements.
  std::uint32_t components = 0;  ///< Floats read per element: 2, 3 or 4.
  std::uint32_t stride = 0;      ///< Floats from one element to the next, at least `components`.

  bool isPresent() const noexcept { return count > 0; }
  const float* operator[](std::uint32_t index) const noexcept { return data + std::size_t{index} * stride; }
};

/// Vertex data in model space. Every stream present has at least as many elements as any index of its draw items asks
/// for.
struct Mesh {
  VertexStream position;                ///< 3 components.
  VertexStream normal;                  ///< 3 components, or absent: the device takes the facet's normal.
  VertexStream tangent;                 ///< 3 or 4 components (w is the handedness, +1 where absent), or absent.
  VertexStream color;                   ///< 3 or 4 components, linear, or absent.
  std::vector<VertexStream> texcoords;  ///< 2 components each, by channel; the origin of textures is at the top left.
  std::shared_ptr<const void> owner;    ///< Keeps the floats alive.
};

enum class Topology : std::uint8_t { triangles, lines, points };
enum class WrapMode : std::uint8_t { clamp, repeat, mirror };
enum class FilterMode : std::uint8_t { nearest, linear };
enum class LightingModel : std::uint8_t { constant, lambert, blinn, physicallyBased };
enum class BlendMode : std::uint8_t { alpha, replace, add };
enum class TextureComponent : std::uint8_t { red, green, blue, alpha };
/// What the product of the alphas of diffuse, transparent and vertex colour does; `Material::transparency` counts in
/// every mode.
enum class AlphaMode : std::uint8_t {
  blend,   ///< It is the opacity.
  mask,    ///< At `alphaCutoff` or above it counts as 1, below nothing is drawn.
  opaque,  ///< It counts as 1.
};

struct Texture {
  std::shared_ptr<const Image>
      image;                     ///< Never null, never empty. Its address is the texture's identity across frames.
  bool isSRGB = true;            ///< Colour to be decoded to linear light, or data as it stands.
  bool hasTransparency = false;  ///< Some texel has an alpha below 1.
};

/// One material property: a constant, or a texture that replaces it; either times `factor`.
struct MaterialSlot {
  simd_float4 value{1, 1, 1, 1};  ///< Linear RGBA; scalar properties (roughness, metalness) stand in x.
  std::int32_t texture = -1;      ///< Index into `FrameDescription::textures`, or -1 for the constant.
  std::uint32_t channel = 0;      ///< Texture coordinate channel; one that the mesh has not got gives (0, 0).
  WrapMode wrapS = WrapMode::clamp;
  WrapMode wrapT = WrapMode::clamp;
  FilterMode magnificationFilter = FilterMode::linear;  ///< Where a pixel spans no more than a texel.
  FilterMode mipFilter = FilterMode::linear;            ///< Between two levels, or of the nearer one alone.
  /// Texture coordinates become (m[0]*u + m[2]*v + m[4], m[1]*u + m[3]*v + m[5]).
  float transform[6] = {1, 0, 0, 1, 0, 0};
  simd_float4 factor{1, 1, 1, 1};  ///< Linear RGBA; x for scalar properties, none for the normal map.
  TextureComponent component = TextureComponent::red;  ///< What a scalar property reads of its texture.
  /// Scales colours and scalars (which then hold at 0..1), the tilt of a normal map, the strength of occlusion.
  float intensity = 1;
};

struct Material {
  LightingModel lightingModel = LightingModel::blinn;
  MaterialSlot diffuse;
  MaterialSlot normal;  ///< Counts only with a texture.
  MaterialSlot roughness;
  MaterialSlot metalness;
  MaterialSlot emission;
  MaterialSlot transparent;  ///< Its alpha multiplies the opacity.
  MaterialSlot specular;     ///< Blinn only.
  MaterialSlot ambientOcclusion;
  MaterialSlot clearCoat{.value = {0, 0, 0, 1}};           ///< Physically based only: strength of the layer.
  MaterialSlot clearCoatRoughness{.value = {0, 0, 0, 1}};  ///< Physically based only.
  simd_float3 dielectricF0{0.04F, 0.04F, 0.04F};           ///< Reflectance of what is no metal, straight on; 0..1.
  MaterialSlot specularTint;      ///< Physically based only: multiplies `dielectricF0`, up to 1 at most.
  MaterialSlot specularStrength;  ///< Physically based only: multiplies that, and is the reflectance edge on.
  float shininess = 1;            ///< Blinn exponent factor, 0..1.
  float transparency = 1;         ///< Opacity factor, 0..1.
  AlphaMode alphaMode = AlphaMode::blend;
  float alphaCutoff = 0;  ///< A fragment with an opacity (for `mask`, an alpha) below this is dropped.
  BlendMode blendMode = BlendMode::alpha;
  bool isDoubleSided = false;
  bool fillsLines = false;  ///< Each triangle is drawn as its three edges.
  bool readsDepth = true;
  bool writesDepth = true;
  bool usesVertexColor = true;  ///< Vertex colours multiply the diffuse colour.
};

/// One draw: a run of indices of one mesh with one material and one placement.
struct DrawItem {
  std::uint32_t mesh = 0;      ///< Index into `FrameDescription::meshes`.
  std::uint32_t material = 0;  ///< Index into `FrameDescription::materials`.
  Topology topology = Topology::triangles;
  const std::uint32_t* indices = nullptr;  ///< Kept alive by the mesh's owner or by `FrameDescription::owners`.
  std::uint32_t indexCount = 0;            ///< A multiple of 3, 2 or 1 by topology.
  simd_double4x4 worldMatrix;              ///< Model space to world space, affine: the last row is (0, 0, 0, 1).
  /// Inverse transpose of the upper 3-by-3 of `worldMatrix`, columns; the zero matrix where that is singular.
  std::array<simd_float3, 3> normalMatrix{simd_float3{1, 0, 0}, simd_float3{0, 1, 0}, simd_float3{0, 0, 1}};
  bool isMirrored = false;       ///< The world matrix has a negative determinant: front faces wind the other way.
  float pointSize = 1;           ///< World units.
  float minimumPointRadius = 1;  ///< Pixels.
  float maximumPointRadius = 1;  ///< Pixels.
};

/// A light that shines along `direction` everywhere.
struct DirectionalLight {
  simd_float3 direction;  ///< World space, unit length: the way the light travels.
  simd_float3 color;      ///< Linear colour times intensity / 1000.
};

struct Camera {
  simd_double4x4 viewMatrix;  ///< World space to camera space.
  bool usesOrthographicProjection = false;
  double verticalFieldOfView = 60;  ///< Degrees, perspective only.
  double orthographicScale = 1;     ///< Half the height of the view in world units, orthographic only.
  double zNear = 0.001;             ///< World units. Nothing is cut at a far plane: depth is reversed, far is infinite.
};

struct FrameDescription {
  std::uint32_t width = 0;   ///< Pixels.
  std::uint32_t height = 0;  ///< Pixels.
  simd_float4 background;    ///< Linear RGB and alpha, straight; the image starts with it.
  Camera camera;
  simd_float3 ambientLight;  ///< Sum over the ambient lights of linear colour times intensity / 1000.
  std::vector<DirectionalLight> directionalLights;
  std::vector<Texture> textures;
  std::vector<Material> materials;
  std::vector<Mesh> meshes;
  /// Drawn first, in this order, each fragment replacing what is there. The order shows where depths tie (the later
  /// item wins) and where an item does not read or does not write depth.
  std::vector<DrawItem> opaqueItems;
  /// Drawn over the opaque ones, in this order, each with its material's blend mode and depth flags. Besides what
  /// blends, the list holds opaque items that must cover something blended, since their rendering order is higher:
  /// overlays that do not read depth, above all. They come out as in the first list (their opacity is 1 or their mode
  /// replaces).
  std::vector<DrawItem> blendedItems;
  std::vector<std::shared_ptr<const void>> owners;  ///< Whatever else the spans point into.
};

}  // namespace ornolith::device
