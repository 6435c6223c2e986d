#include "loaders/fbx/FbxTextures.h"

#include <cstddef>
#include <memory>
#include <utility>

#include "loaders/fbx/FbxText.h"
#include "loaders/fbx/FbxTexturePaths.h"

namespace ornolith {

namespace {

bool holdsBytes(const ufbx_blob& blob) {
  return blob.data != nullptr && blob.size > 0;
}

ufbx_blob ownContent(const ufbx_texture& texture) {
  if (holdsBytes(texture.content)) return texture.content;
  if (texture.video != nullptr && holdsBytes(texture.video->content)) return texture.video->content;
  return {};
}

std::string textureName(const ufbx_texture& texture) {
  if (auto name = StringFromUfbx(texture.name)) return *std::move(name);
  if (const auto filename = StringFromUfbx(texture.filename)) {
    const std::string_view name = lastComponent(*filename, "/");
    if (!name.empty()) return std::string(name);
  }
  return "unnamed texture";
}

/// The file that shows `texture`: its own, or that of the first other file texture that represents it and has one.
const std::string* representativePath(const ufbx_texture& texture, FbxConversion& conversion) {
  if (const auto& path = conversion.resolvedPath(texture)) return &*path;
  for (const ufbx_texture* file : texture.file_textures) {
    if (file == &texture) continue;
    if (const auto& path = conversion.resolvedPath(*file)) return &*path;
  }
  return nullptr;
}

std::string_view view(const ufbx_string& text) {
  return {text.data, text.length};
}

int channelOfUVSet(const ufbx_string& name, const ufbx_mesh& mesh) {
  if (name.length == 0) return 0;
  for (std::size_t index = 0; index < mesh.uv_sets.count; ++index) {
    if (view(mesh.uv_sets[index].name) == view(name)) return static_cast<int>(index);
  }
  return 0;
}

SCNMatrix4 contentsTransform(const ufbx_texture& texture) {
  SCNMatrix4 transform;
  if (!texture.has_uv_transform) return transform;
  const ufbx_matrix& matrix = texture.uv_to_texture;
  transform.columns[0].x = matrix.cols[0].x;
  transform.columns[0].y = matrix.cols[0].y;
  transform.columns[1].x = matrix.cols[1].x;
  transform.columns[1].y = matrix.cols[1].y;
  transform.columns[3].x = matrix.cols[3].x;
  transform.columns[3].y = matrix.cols[3].y;
  return transform;
}

}  // namespace

ufbx_blob embeddedContent(const ufbx_texture& texture) {
  const ufbx_blob own = ownContent(texture);
  if (holdsBytes(own)) return own;
  for (const ufbx_texture* file : texture.file_textures) {
    if (file == &texture) continue;
    const ufbx_blob content = ownContent(*file);
    if (holdsBytes(content)) return content;
  }
  return {};
}

bool ApplyTexture(SCNMaterialProperty& property, const ufbx_texture* texture, const ufbx_mesh& mesh,
                  std::string_view label, const std::string& materialName, FbxConversion& conversion,
                  std::vector<std::string>* diagnostics) {
  if (texture == nullptr) return false;
  const std::string subject = "FBX material '" + materialName + "' " + std::string(label);

  // Find the image: the embedded one, else a file.
  const char* reason = "image data or an external file could not be resolved";
  std::shared_ptr<const Image> image;
  if (const ufbx_blob content = embeddedContent(*texture); holdsBytes(content)) {
    image = conversion.images.image(content);
    if (!image) reason = "embedded image data could not be decoded";
  }
  if (image) {
    property.contents = std::move(image);
  } else if (const std::string* path = representativePath(*texture, conversion)) {
    property.contents = *path;
  } else {
    conversion.report(diagnostics,
                      subject + " texture '" + textureName(*texture) + "' was not loaded: " + reason + ".");
    return false;
  }

  // Say how it lies on the surface.
  property.wrapS = texture->wrap_u == UFBX_WRAP_CLAMP ? SCNWrapMode::clamp : SCNWrapMode::repeat;
  property.wrapT = texture->wrap_v == UFBX_WRAP_CLAMP ? SCNWrapMode::clamp : SCNWrapMode::repeat;
  property.mappingChannel = channelOfUVSet(texture->uv_set, mesh);
  property.contentsTransform = contentsTransform(*texture);

  if (texture->type != UFBX_TEXTURE_FILE) {
    conversion.report(diagnostics,
                      subject + " uses a layered or procedural texture; the representative file texture is rendered.");
  }
  return true;
}

}  // namespace ornolith
