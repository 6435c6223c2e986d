#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "foundation/FileURL.h"
#include "foundation/SharedBytes.h"
#include "import/formats/ModelFormat.h"
#include "import/formats/ModelLoadDiagnostic.h"
#include "loaders/gltf/GLTFInspection.h"
#include "loaders/gltf/GLTFSceneLoaderError.h"
#include "scenegraph/SCNScene.h"

namespace ornolith {

/// The extensions that cannot be shown. Every other one counts as available.
extern const std::set<std::string> unsupportedPluginExtensions;

/// Reads glTF 2.0 files and GLB containers into scenes (Khronos Group, "glTF 2.0 Specification").
struct GLTFSceneLoader {
  struct Result {
    std::shared_ptr<SCNScene> scene;
    std::vector<ModelLoadDiagnostic> diagnostics;
  };

  /// Reads the file at `url`, `gltf` or `glb`. External buffers and images come from the first of `assetDirectories`
  /// or, where there is none, from the file's own folder. Nodes keep their hierarchy, names and identities, "gltf:" and
  /// the node's index; nodes that the reader adds have none. Throws `GLTFSceneLoaderError`.
  static Result loadScene(const FileURL& url, const std::vector<FileURL>& assetDirectories, ModelFormat format);

  /// The same of a file's bytes, as if they stood at `url`.
  static Result loadSceneFromContents(const SharedBytes& contents, const FileURL& url,
                                      const std::vector<FileURL>& assetDirectories, ModelFormat format);

  /// Whether the node or a node below it has a geometry.
  static bool containsRenderableGeometry(SCNNode& node);

  /// Makes every material of the node and the nodes below it physically based, with roughness 1 and metalness 0 where
  /// these have no contents.
  static void normalizeMaterials(SCNNode& node);
};

}  // namespace ornolith
