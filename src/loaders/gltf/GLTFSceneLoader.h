#pragma once

#include <memory>
#include <vector>

#include "foundation/FileURL.h"
#include "import/formats/ModelFormat.h"
#include "import/formats/ModelLoadDiagnostic.h"
#include "scenegraph/SCNScene.h"

namespace ornolith {

struct GLTFSceneLoader {
  struct Result {
    std::shared_ptr<SCNScene> scene;
    std::vector<ModelLoadDiagnostic> diagnostics;
  };
  /// Reads glTF and GLB.
  static Result loadScene(const FileURL& url, const std::vector<FileURL>& assetDirectories, ModelFormat format);
};

}  // namespace ornolith
