#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "foundation/JSON.h"
#include "loaders/gltf/GLTFImages.h"
#include "scenegraph/SCNMaterial.h"

namespace ornolith {

/// How a texture lies on a mesh.
struct GLTFTextureMapping {
  std::size_t texcoordSet = 0;
  SCNMatrix4 transform;  ///< Of texture coordinates as points (u, v, 0, 1).
  bool operator==(const GLTFTextureMapping&) const = default;
};

/// The textures and samplers of a glTF document.
class GLTFTextures {
 public:
  /// `root` is the document's top object; its document and `images` must outlive this object.
  GLTFTextures(const JSONElement& root, GLTFImages& images);

  /// Makes `property` show the texture that `info`, a texture info object, names, with its set of texture coordinates,
  /// its sampler's wrap modes (repeat where it has none) and filters (linear where it has none) and its
  /// KHR_texture_transform. Of an image in several formats the WebP one counts (EXT_texture_webp), else the plain one.
  /// Nothing changes, and the answer is false, where there is no image to show.
  bool apply(const std::optional<JSONElement>& info, SCNMaterialProperty& property);

 private:
  const SCNMaterialContents& contentsOf(const JSONElement& texture);
  void applySampler(const JSONElement& texture, SCNMaterialProperty& property) const;

  GLTFImages& images_;
  std::vector<JSONElement> textures_;
  std::vector<JSONElement> samplers_;
};

}  // namespace ornolith
