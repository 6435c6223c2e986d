#include "loaders/SceneLoaders.h"

#include "foundation/FileMapping.h"
#include "loaders/SceneLoadError.h"
#include "loaders/mesh/PLYReader.h"
#include "loaders/mesh/STLReader.h"
#include "loaders/obj/OBJReader.h"

namespace ornolith {

std::shared_ptr<SCNScene> loadSceneKitScene(const FileURL& url, const std::vector<FileURL>& assetDirectories) {
  const ModelFormat format = modelFormat(url.lowercasedPathExtension()).value_or(ModelFormat::scn);
  if (format == ModelFormat::obj) return loadOBJScene(url, assetDirectories);
  throw SceneLoadError(scene_load_error::NoReader{format});
}

std::shared_ptr<SCNScene> loadModelIOScene(const FileURL& url, ModelFormat format) {
  if (format != ModelFormat::stl && format != ModelFormat::ply) {
    throw SceneLoadError(scene_load_error::UnsupportedModelIOFormat{format});
  }
  const FileMapping file(url);
  const auto forget = [&](std::span<const std::byte> part) { file.forget(part); };
  std::shared_ptr<SCNScene> scene = format == ModelFormat::stl
                                        ? readSTL(file.bytes(), forget)
                                        : readPLY(file.bytes(), url.deletingLastPathComponent(), forget);
  if (scene->rootNode()->childCount() == 0) throw SceneLoadError(scene_load_error::EmptyModelIOScene{url});
  return scene;
}

}  // namespace ornolith
