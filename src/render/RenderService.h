#pragma once

#include <span>
#include <string>
#include <vector>

#include "import/ModelImportService.h"
#include "import/formats/ModelLoadDiagnostic.h"
#include "render/ModelRenderRequest.h"
#include "render/StandardStreams.h"
#include "scene/SceneController.h"

namespace ornolith {

/// Carries out one render job, from a model's path to a finished PNG, a directory of pages or a printed inventory.
/// Without state between calls.
class ModelImageRenderService {
 public:
  explicit ModelImageRenderService(ModelImportService importService, StandardStreams streams = {});

  /// Imports the model into a private folder under the temporary directory, which is gone again when the call ends,
  /// however it ends; loads it; writes what the steps found to standard error; and does what the request asks for:
  /// prints the inventory to standard output, renders poses, a contact sheet or one view. A file is replaced in one
  /// step and not touched by a failure before that; folders above it are made.
  ///
  /// Throws the errors of the steps as they are; `ModelRenderError` for a request that contradicts itself,
  /// `ImageSizeError` for an image over the limits, and `RenderRoadError` for overlays.
  void render(const ModelRenderRequest& request) const;

 private:
  ModelImportService importService_;
  StandardStreams streams_;
};

/// Writes one line for each finding to `descriptor`, unbuffered: "ornolith-render: warning [code]: message". A line
/// that is not UTF-8 is skipped; a failed write is ignored.
void writeDiagnostics(std::span<const ModelLoadDiagnostic> diagnostics, int descriptor);

/// Reads an FBX file into `controller`. Throws `FbxLoadError`.
void loadFbxFallback(SceneController& controller, const FileURL& modelURL,
                     const std::vector<FileURL>& assetDirectories);

}  // namespace ornolith
