#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <variant>

#include "foundation/FileURL.h"
#include "imaging/EncodedImage.h"
#include "imaging/Image.h"
#include "scenegraph/NSColor.h"
#include "scenegraph/SCNTypes.h"

namespace ornolith {

/// What a material property shows. An image given by path, by URL or in its encoded form is decoded when a frame first
/// needs it, once per path or object; one that cannot be decoded shows the property's default.
using SCNMaterialContents = std::variant<std::monostate, NSColor, double, std::string, FileURL,
                                         std::shared_ptr<const Image>, std::shared_ptr<const EncodedImage>>;

/// True where `contents` is a path, a URL or an image in either form; a colour or a number is none.
bool holdsImage(const SCNMaterialContents& contents) noexcept;

/// The platform's numbers.
enum class SCNWrapMode : int { clamp = 1, repeat = 2, clampToBorder = 3, mirror = 4 };
enum class SCNFilterMode : int { none = 0, nearest = 1, linear = 2 };
enum class SCNBlendMode : int { alpha = 0, add = 1, subtract = 2, multiply = 3, screen = 4, replace = 5, max = 6 };
enum class SCNFillMode : int { fill = 0, lines = 1 };
enum class SCNColorMask : int { none = 0, alpha = 1, blue = 2, green = 4, red = 8, all = 15 };
enum class SCNLightingModel { blinn, constant, lambert, physicallyBased };

inline constexpr SCNLightingModel SCNLightingModelBlinn = SCNLightingModel::blinn;
inline constexpr SCNLightingModel SCNLightingModelConstant = SCNLightingModel::constant;
inline constexpr SCNLightingModel SCNLightingModelLambert = SCNLightingModel::lambert;
inline constexpr SCNLightingModel SCNLightingModelPhysicallyBased = SCNLightingModel::physicallyBased;

/// What the alpha of a material's diffuse, transparent and vertex colour does; `transparency` counts in every mode.
enum class SCNAlphaMode {
  blend,   ///< It is the opacity; below `alphaCutoff` nothing is drawn.
  mask,    ///< At `alphaCutoff` or above it counts as 1, below nothing is drawn.
  opaque,  ///< It counts as 1.
};

/// The value of a property is contents * factor, times the intensity where light or roughness come from it. The
/// intensity of `normal` scales the tilt of the map (x and y before the vector is made unit), that of
/// `ambientOcclusion` is its strength: 1 + (value - 1) * intensity of the ambient light arrives.
struct SCNMaterialProperty {
  SCNMaterialContents contents;
  double intensity = 1;
  /// Linear RGBA, straight; may exceed 1. x counts where the property is one number, w where it is an opacity. `normal`
  /// takes none.
  simd_float4 factor{1, 1, 1, 1};
  /// Which component of a texture a property of one number reads: the first of the mask's in the order red, green,
  /// blue, alpha. Colours, normals and `transparent` do not heed it.
  SCNColorMask textureComponents = SCNColorMask::all;
  /// Applied to texture coordinates as row vectors (u, v, 0, 1), with the origin at the top left of the image.
  SCNMatrix4 contentsTransform;
  int mappingChannel = 0;
  SCNWrapMode wrapS = SCNWrapMode::clamp;
  SCNWrapMode wrapT = SCNWrapMode::clamp;
  /// Where a pixel shows less than a texel: `nearest` shows texels with sharp edges, everything else blends them.
  SCNFilterMode magnificationFilter = SCNFilterMode::linear;
  /// Where a pixel shows more than a texel; kept, without effect: all that the pixel shows is averaged.
  SCNFilterMode minificationFilter = SCNFilterMode::linear;
  /// `nearest` takes one mip level, everything else blends two: no picture is without mip levels.
  SCNFilterMode mipFilter = SCNFilterMode::linear;
};

/// A material, shared by identity.
class SCNMaterial {
 public:
  /// The defaults of a new material: Blinn, white diffuse, black specular and emission, opaque, single-sided, no coat.
  SCNMaterial();
  static std::shared_ptr<SCNMaterial> material() { return std::make_shared<SCNMaterial>(); }
  /// A new material with the same values.
  std::shared_ptr<SCNMaterial> copy() const { return std::make_shared<SCNMaterial>(*this); }

  std::string name;
  SCNMaterialProperty diffuse;
  SCNMaterialProperty normal;
  SCNMaterialProperty roughness;
  SCNMaterialProperty metalness;
  SCNMaterialProperty emission;
  SCNMaterialProperty transparent;
  SCNMaterialProperty specular;
  SCNMaterialProperty ambientOcclusion;
  SCNMaterialProperty clearCoat;           ///< Strength of a clear layer over a physically based surface, 0..1.
  SCNMaterialProperty clearCoatRoughness;  ///< 0..1.
  SCNLightingModel lightingModelName = SCNLightingModelBlinn;
  bool isDoubleSided = false;
  double transparency = 1;  ///< 0 to 1, 1 being opaque.
  SCNAlphaMode alphaMode = SCNAlphaMode::blend;
  double alphaCutoff = 0;  ///< Fragments with an opacity (for `mask`, an alpha) below this are dropped.
  double shininess = 1;
  /// Physically based: what the surface reflects where it is no metal, seen straight on (linear, 0..1), before
  /// `specularTint` multiplies it up to 1 at most. `specularStrength` (0..1) multiplies that, and is what it reflects
  /// seen edge on.
  simd_float3 dielectricF0{0.04F, 0.04F, 0.04F};
  SCNMaterialProperty specularTint;
  SCNMaterialProperty specularStrength;
  SCNBlendMode blendMode = SCNBlendMode::alpha;
  SCNFillMode fillMode = SCNFillMode::fill;
  bool readsFromDepthBuffer = true;
  bool writesToDepthBuffer = true;
};

}  // namespace ornolith
