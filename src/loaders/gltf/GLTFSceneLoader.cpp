#include "loaders/gltf/GLTFSceneLoader.h"

#include "loaders/mesh/MeshReadError.h"

namespace ornolith {

GLTFSceneLoader::Result GLTFSceneLoader::loadScene(const FileURL& /*url*/,
                                                   const std::vector<FileURL>& /*assetDirectories*/,
                                                   ModelFormat format) {
  throwMalformedMesh("This build cannot read " + uppercasedRawValue(format) + " files.");
}

}  // namespace ornolith
