#include "loaders/gltf/GLTFTextures.h"

#include <algorithm>
#include <cmath>
#include <variant>

#include "foundation/Math.h"
#include "loaders/gltf/GLTFOptionalValues.h"

namespace ornolith {

namespace {

constexpr std::uint32_t largestTexcoordSet = 255;

/// The numbers of the format.
SCNWrapMode wrapMode(std::optional<std::uint32_t> number) {
  constexpr std::uint32_t clampToEdge = 33071;
  constexpr std::uint32_t mirroredRepeat = 33648;
  if (number == clampToEdge) return SCNWrapMode::clamp;
  if (number == mirroredRepeat) return SCNWrapMode::mirror;
  return SCNWrapMode::repeat;
}

/// The set of texture coordinates that a texture info object asks for.
int texcoordSet(const JSONElement& info) {
  std::optional<std::uint32_t> set;
  if (const auto transform = extension(info, "KHR_texture_transform")) set = optionalIndex(*transform, "texCoord");
  if (!set) set = optionalIndex(info, "texCoord");
  return static_cast<int>(std::min(set.value_or(0), largestTexcoordSet));
}

/// The filters by the format's numbers; what it leaves open is the loader's to choose.
void setFilters(std::optional<std::uint32_t> magnification, std::optional<std::uint32_t> minification,
                SCNMaterialProperty& property) {
  constexpr std::uint32_t nearest = 9728;
  constexpr std::uint32_t linear = 9729;
  constexpr std::uint32_t nearestMipmapNearest = 9984;
  constexpr std::uint32_t linearMipmapNearest = 9985;
  constexpr std::uint32_t nearestMipmapLinear = 9986;
  if (magnification == nearest) property.magnificationFilter = SCNFilterMode::nearest;
  if (minification == nearest || minification == nearestMipmapNearest || minification == nearestMipmapLinear) {
    property.minificationFilter = SCNFilterMode::nearest;
  }
  if (minification == nearest || minification == linear) property.mipFilter = SCNFilterMode::none;
  if (minification == nearestMipmapNearest || minification == linearMipmapNearest) {
    property.mipFilter = SCNFilterMode::nearest;
  }
}

/// Translation * rotation * scale of KHR_texture_transform. A positive angle turns texture coordinates
/// counter-clockwise as the image is seen, with its second axis pointing down.
SCNMatrix4 textureTransform(const JSONElement& transform) {
  const std::vector<double> offset = optionalNumbers(transform, "offset", 2).value_or(std::vector<double>{0, 0});
  const std::vector<double> scale = optionalNumbers(transform, "scale", 2).value_or(std::vector<double>{1, 1});
  const double angle = optionalNumber(transform, "rotation").value_or(0);
  const double c = math::cos(angle);
  const double s = math::sin(angle);
  SCNMatrix4 matrix;
  matrix.columns[0] = {c * scale[0], -s * scale[0], 0, 0};
  matrix.columns[1] = {s * scale[1], c * scale[1], 0, 0};
  matrix.columns[3] = {offset[0], offset[1], 0, 1};
  return matrix;
}

}  // namespace

GLTFTextures::GLTFTextures(const JSONElement& root, GLTFImages& images)
    : images_(images), textures_(optionalList(root, "textures")), samplers_(optionalList(root, "samplers")) {}

const SCNMaterialContents& GLTFTextures::contentsOf(const JSONElement& texture) {
  static const SCNMaterialContents none;
  if (const auto webP = extension(texture, "EXT_texture_webp")) {
    if (const auto source = optionalIndex(*webP, "source")) {
      const SCNMaterialContents& contents = images_.contents(*source);
      if (holdsImage(contents)) return contents;
    }
  }
  const auto source = optionalIndex(texture, "source");
  return source ? images_.contents(*source) : none;
}

void GLTFTextures::applySampler(const JSONElement& texture, SCNMaterialProperty& property) const {
  property.wrapS = SCNWrapMode::repeat;
  property.wrapT = SCNWrapMode::repeat;
  const auto index = optionalIndex(texture, "sampler");
  if (!index || *index >= samplers_.size()) return;
  property.wrapS = wrapMode(optionalIndex(samplers_[*index], "wrapS"));
  property.wrapT = wrapMode(optionalIndex(samplers_[*index], "wrapT"));
  setFilters(optionalIndex(samplers_[*index], "magFilter"), optionalIndex(samplers_[*index], "minFilter"), property);
}

bool GLTFTextures::apply(const std::optional<JSONElement>& info, SCNMaterialProperty& property) {
  if (!info) return false;
  const auto index = optionalIndex(*info, "index");
  if (!index || *index >= textures_.size()) return false;
  const SCNMaterialContents& contents = contentsOf(textures_[*index]);
  if (!holdsImage(contents)) return false;
  property.contents = contents;
  applySampler(textures_[*index], property);
  property.mappingChannel = texcoordSet(*info);
  if (const auto transform = extension(*info, "KHR_texture_transform")) {
    property.contentsTransform = textureTransform(*transform);
  }
  return true;
}

}  // namespace ornolith
