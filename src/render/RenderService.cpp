#include "render/RenderService.h"

#include <utility>

#include "foundation/AtomicFile.h"
#include "foundation/FileSystem.h"
#include "foundation/Text.h"
#include "import/PrivateImportRoot.h"
#include "loaders/fbx/FbxFallbackSceneLoader.h"
#include "render/CameraFraming.h"
#include "render/ContactSheetRenderService.h"
#include "render/ExplicitPoseRendering.h"
#include "render/ModelRenderError.h"
#include "render/SceneSnapshot.h"
#include "scene/ExplicitPoses.h"

namespace ornolith {

namespace {

std::vector<FileURL> loadDirectories(const ImportedModel& model, const ModelRenderRequest& request) {
  std::vector<FileURL> directories = model.assetDirectories;
  directories.insert(directories.end(), request.assetDirectories.begin(), request.assetDirectories.end());
  return directories;
}

void loadModel(SceneController& controller, const ImportedModel& model, const ModelRenderRequest& request) {
  const std::vector<FileURL> assetDirectories = loadDirectories(model, request);
  if (model.format == ModelFormat::fbx) {
    loadFbxFallback(controller, model.modelURL, assetDirectories);
  } else {
    controller.load(model.modelURL, assetDirectories, model.format);
  }
}

void printInventory(const SceneController& controller, const std::string& modelSHA256, ModelFormat format,
                    int descriptor) {
  writeAll(descriptor, listedModelParts(controller, modelSHA256, format).canonicalJSONData(), "standard output");
}

void refuseOverlays(const ViewerOptions& options) {
  if (options.showsPivot) throw RenderRoadError(render_road_error::PivotOverlay{});
  if (options.showsRigging) throw RenderRoadError(render_road_error::RiggingOverlay{});
}

void prepareScene(SceneController& controller, const ModelRenderRequest& request) {
  controller.currentOptions = request.options;
  controller.includesSelectionOverlayForCurrentOptions = false;
  controller.applySurfaceMode(request.options.surfaceMode);
  refuseOverlays(request.options);
  controller.rebuildViewportOverlays();
  applyBackground(request.background, *controller.scene());
}

const FileURL& pngDestination(const ModelRenderRequest& request) {
  const auto* const png = std::get_if<model_render_destination::Png>(&request.destination);
  if (png == nullptr) throw ModelRenderError(model_render_error::InvalidOutputDestination{});
  return png->url;
}

std::vector<std::byte> renderContactSheet(SceneController& controller, const ModelRenderRequest& request) {
  const ContactSheetConfiguration configuration{.layout = request.layout,
                                                .arrangement = request.contactArrangement,
                                                .width = request.width,
                                                .height = request.height,
                                                .background = request.background,
                                                .fieldOfView = request.fieldOfView};
  return ContactSheetRenderService().renderPNG(controller, configuration, false, [](ContactSheetRenderProgress) {});
}

void placeCamera(SceneController& controller, const ModelRenderRequest& request) {
  if (request.cameraPreset) {
    controller.applyCameraState(request.cameraPreset->camera);
  } else if (request.cameraPosition || request.cameraTarget || request.fieldOfView) {
    applyCameraOverride(controller, request);
  } else {
    const double aspectRatio = static_cast<double>(request.width) / static_cast<double>(request.height);
    controller.applyCameraState(fittedCameraState(controller, aspectRatio, cameraFitPadding, std::nullopt,
                                                  controller.currentModelRenderBounds()));
  }
}

std::vector<std::byte> renderSingleView(SceneController& controller, const ModelRenderRequest& request) {
  placeCamera(controller, request);
  const Image image = snapshot(*controller.scene(), controller.currentCameraState(), request.width, request.height);
  return pngData(image, request.background);
}

void writeOutput(const FileURL& url, const std::vector<std::byte>& bytes) {
  createDirectory(url.deletingLastPathComponent());
  writeFileAtomically(url, bytes);
}

}  // namespace

ModelImageRenderService::ModelImageRenderService(ModelImportService importService, StandardStreams streams)
    : importService_(std::move(importService)), streams_(streams) {}

void ModelImageRenderService::render(const ModelRenderRequest& request) const {
  const PrivateImportRoot importRoot;
  const ImportedModel model =
      importService_.importModel({request.modelURL}, importRoot.url(), request.assetDirectories, true);
  writeDiagnostics(model.diagnostics, streams_.error);

  SceneController controller;
  loadModel(controller, model, request);
  writeDiagnostics(*controller.diagnostics, streams_.error);
  const std::string modelSHA256 = ModelImportService::sha256(model.modelURL);

  if (std::holds_alternative<model_render_destination::PartsList>(request.destination)) {
    printInventory(controller, modelSHA256, model.format, streams_.output);
    return;
  }
  prepareScene(controller, request);
  if (request.explicitPoseDocument) {
    request.explicitPoseDocument->validate(modelSHA256);
    renderExplicitPoses(*request.explicitPoseDocument, modelSHA256, model.format, controller, request);
    return;
  }
  const FileURL& output = pngDestination(request);
  writeOutput(output, request.layout == ModelRenderLayout::single ? renderSingleView(controller, request)
                                                                  : renderContactSheet(controller, request));
}

void writeDiagnostics(std::span<const ModelLoadDiagnostic> diagnostics, int descriptor) {
  for (const ModelLoadDiagnostic& diagnostic : diagnostics) {
    const std::string line = "ornolith-render: " + std::string(rawValue(diagnostic.severity)) + " [" + diagnostic.code +
                             "]: " + diagnostic.message + "\n";
    if (!isValidUTF8(line)) continue;
    try {
      writeAll(descriptor, line, "standard error");
    } catch (const SystemError&) {
      return;
    }
  }
}

void loadFbxFallback(SceneController& controller, const FileURL& modelURL,
                     const std::vector<FileURL>& assetDirectories) {
  controller.loadFbxFallback(FbxFallbackSceneLoader::loadSceneAtURL(modelURL, assetDirectories), modelURL,
                             assetDirectories);
}

}  // namespace ornolith
