#pragma once

#include <memory>
#include <vector>

#include "foundation/FileURL.h"
#include "import/formats/ModelFormat.h"
#include "loaders/gltf/GLTFSceneLoader.h"
#include "scenegraph/SCNScene.h"

namespace ornolith {

// The entries to the readers of the formats other than FBX, one for each family; that of glTF and GLB is
// `GLTFSceneLoader::loadScene`. OBJ, glTF, GLB, STL and PLY have a reader; for the other formats the entry throws
// `SceneLoadError`, which names the format.

/// Reads OBJ, DAE, SCN, USD, USDA, USDC and USDZ; it is also tried for an FBX file that the FBX reader refuses. The
/// format is that of the path's extension. Resources are searched beside the file and in `assetDirectories`. Throws
/// `SceneLoadError`, what the format's reader throws, and `SystemError` ("read").
std::shared_ptr<SCNScene> loadSceneKitScene(const FileURL& url, const std::vector<FileURL>& assetDirectories);

/// Reads STL and PLY. Throws `SceneLoadError` for another format and for a file without geometry, `MeshReadError` for
/// bytes that are no sound file, and `SystemError` ("read").
std::shared_ptr<SCNScene> loadModelIOScene(const FileURL& url, ModelFormat format);

}  // namespace ornolith
