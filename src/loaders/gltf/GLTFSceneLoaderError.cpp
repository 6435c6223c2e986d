#include "loaders/gltf/GLTFSceneLoaderError.h"

namespace ornolith {

std::string GLTFSceneLoaderError::describe(const gltf_scene_loader_error::LoadFailed& error) {
  return error.url.lastPathComponent() + " could not be loaded as glTF.";
}

std::string GLTFSceneLoaderError::describe(const gltf_scene_loader_error::EmptyScene& error) {
  return error.url.lastPathComponent() + " contains no renderable glTF scene.";
}

std::string GLTFSceneLoaderError::describe(const gltf_scene_loader_error::UnsupportedRequiredExtensions& error) {
  std::string text = "Required glTF extensions are not available: ";
  for (std::size_t i = 0; i < error.names.size(); ++i) text += (i > 0 ? ", " : "") + error.names[i];
  return text + ".";
}

}  // namespace ornolith
