#include "render/ExplicitPoseRendering.h"

#include <algorithm>
#include <cerrno>
#include <optional>

#include "contracts/PoseRenderIndexDocument.h"
#include "foundation/AtomicFile.h"
#include "foundation/FileSystem.h"
#include "foundation/ScopeExit.h"
#include "foundation/TemporaryItems.h"
#include "foundation/Text.h"
#include "foundation/UUID.h"
#include "parts/ExplicitPoseRuntimeError.h"
#include "render/CameraFraming.h"
#include "render/ContactSheetRenderService.h"
#include "render/ModelRenderError.h"
#include "render/PoseSinglePNGPlan.h"
#include "scene/ExplicitPoses.h"

namespace ornolith {

namespace {

using namespace model_render_destination;

simd_float3 componentwiseMinimum(simd_float3 a, simd_float3 b) {
  return {std::min(a.x, b.x), std::min(a.y, b.y), std::min(a.z, b.z)};
}

simd_float3 componentwiseMaximum(simd_float3 a, simd_float3 b) {
  return {std::max(a.x, b.x), std::max(a.y, b.y), std::max(a.z, b.z)};
}

/// The box that holds the model in every pose.
ModelRenderBounds unionBounds(const SceneController& controller, const ExplicitPoseRuntime& runtime) {
  std::optional<ModelRenderBounds> box;
  for (std::size_t pose = 0; pose < runtime.resolvedPoses().size(); ++pose) {
    runtime.apply(static_cast<std::int64_t>(pose));
    const ModelRenderBounds bounds = controller.currentModelRenderBounds();
    box = box ? ModelRenderBounds{.minimum = componentwiseMinimum(box->minimum, bounds.minimum),
                                  .maximum = componentwiseMaximum(box->maximum, bounds.maximum)}
              : bounds;
  }
  if (!box) throw ModelRenderError(model_render_error::ExplicitPoseResultMissing{});
  return *box;
}

PoseRenderPagePlan pagePlan(const ExplicitPoseDocument& document, const ModelRenderRequest& request) {
  if (std::holds_alternative<Png>(request.destination)) {
    return makeSinglePNGPlan(document.poses, request.layout, request.contactArrangement, request.width, request.height);
  }
  if (std::holds_alternative<Directory>(request.destination)) {
    return PoseRenderPagePlanner::makePlan(document.poses, request.layout, request.contactArrangement,
                                           request.tileWidth, request.tileHeight);
  }
  throw ModelRenderError(model_render_error::InvalidOutputDestination{});
}

/// The camera that the request fixes for all cells. A field of view alone fixes none.
std::optional<CameraState> fixedCameraState(SceneController& controller, const ModelRenderRequest& request) {
  if (request.cameraPreset) {
    controller.applyCameraState(request.cameraPreset->camera);
    return controller.currentCameraState();
  }
  if (request.cameraPosition || request.cameraTarget) {
    applyCameraOverride(controller, request);
    return controller.currentCameraState();
  }
  return std::nullopt;
}

PoseRenderIndexPose indexPose(const ExplicitPoseDocument& document, const ExplicitPoseRuntime& runtime,
                              std::size_t poseIndex) {
  if (poseIndex >= runtime.resolvedPoses().size()) {
    throw ExplicitPoseRuntimeError(
        explicit_pose_runtime_error::InvalidPoseIndex{.index = static_cast<std::int64_t>(poseIndex)});
  }
  const ExplicitModelPose& pose = document.poses[poseIndex];
  PoseRenderIndexPose result{
      .index = static_cast<std::int64_t>(poseIndex), .id = pose.id, .label = pose.label, .rotations = {}};
  for (const auto& resolved : runtime.resolvedPoses()[poseIndex]) {
    const LocalRotationDegrees normalized = normalizedDegrees(resolved.rotation.localDegrees);
    normalized.validate();
    result.rotations.push_back({.selector = resolved.rotation.selector,
                                .requestedLocalDegrees = resolved.rotation.localDegrees,
                                .normalizedLocalDegrees = normalized});
  }
  return result;
}

PoseRenderIndexPage indexPage(const PoseRenderPage& page) {
  PoseRenderIndexPage result{.number = page.number,
                             .file = poseRenderPageFileName(page.number),
                             .width = page.width,
                             .height = page.height,
                             .cells = {}};
  for (const PoseRenderCell& cell : page.cells) {
    result.cells.push_back({.poseIndex = cell.poseIndex,
                            .poseID = cell.poseID,
                            .viewIndex = cell.viewIndex,
                            .view = std::string(rawValue(cell.viewpoint)),
                            .frame = cell.frame});
  }
  return result;
}

/// What every step of one series works on.
struct PoseSeries {
  const ExplicitPoseDocument& document;
  const std::string& modelSHA256;
  const ExplicitPoseRuntime& runtime;
  const PoseRenderPagePlan& plan;
  const ModelRenderRequest& request;
  SceneController& controller;
  const CancellationToken& cancellation;
  std::function<CameraState(const PoseRenderCell&)> cameraState;

  void renderPages(
      const std::function<void(const PoseRenderPage&, const ContactSheetRenderService::PNGData&)>& writePage) const {
    ContactSheetRenderService(cancellation)
        .renderExplicitPosePages(controller.scene(), plan, request.background,
                                 {.apply = [this](std::int64_t pose) { runtime.apply(pose); },
                                  .cameraState = cameraState,
                                  .writePage = writePage});
  }
};

PoseRenderIndexDocument indexDocument(const PoseSeries& series) {
  PoseRenderIndexDocument index{.modelFilename = repairingUTF8(series.request.modelURL.lastPathComponent()),
                                .modelSHA256 = series.modelSHA256,
                                .layout = series.request.layout,
                                .arrangement = series.request.contactArrangement,
                                .tileWidth = series.plan.tileWidth,
                                .tileHeight = series.plan.tileHeight,
                                .poses = {},
                                .pages = {}};
  for (std::size_t pose = 0; pose < series.document.poses.size(); ++pose) {
    series.cancellation.checkCancellation();
    index.poses.push_back(indexPose(series.document, series.runtime, pose));
  }
  for (const PoseRenderPage& page : series.plan.pages) index.pages.push_back(indexPage(page));
  return index;
}

void requireNothingAt(const FileURL& url) {
  if (fileExists(url)) throw SystemError("written", url.path(), EEXIST);
}

void renderExplicitPoseDirectory(const PoseSeries& series, const FileURL& outputURL) {
  requireNothingAt(outputURL);
  const FileURL parent = outputURL.deletingLastPathComponent();
  createDirectory(parent);
  TemporaryItem staging = TemporaryItem::directoryWithDefaultMode(parent.appendingPathComponent(
      "." + outputURL.lastPathComponent() + ".ornolith-staging-" + UUID::random().uuidString(), true));

  series.renderPages([&](const PoseRenderPage& page, const ContactSheetRenderService::PNGData& png) {
    writeFileAtomically(staging.url().appendingPathComponent(poseRenderPageFileName(page.number)), png);
  });
  series.cancellation.checkCancellation();
  const PoseRenderIndexDocument index = indexDocument(series);
  series.cancellation.checkCancellation();
  writeFileAtomically(staging.url().appendingPathComponent("contact-sheet.json"), index.canonicalJSONData());
  series.cancellation.checkCancellation();

  // What appears between this test and the rename makes the rename fail.
  requireNothingAt(outputURL);
  staging.moveTo(outputURL, TemporaryItem::Existing::refuse);
}

void renderExplicitPosePNG(const PoseSeries& series, const FileURL& outputURL) {
  std::optional<ContactSheetRenderService::PNGData> png;
  series.renderPages([&](const PoseRenderPage&, const ContactSheetRenderService::PNGData& data) { png = data; });
  series.runtime.restoreRestPose();
  if (!png) throw ModelRenderError(model_render_error::ExplicitPoseResultMissing{});
  createDirectory(outputURL.deletingLastPathComponent());
  writeFileAtomically(outputURL, *png);
}

}  // namespace

void renderExplicitPoses(const ExplicitPoseDocument& document, const std::string& modelSHA256,
                         ModelFormat importedFormat, SceneController& controller, const ModelRenderRequest& request,
                         const CancellationToken& cancellation) {
  const ExplicitPoseRuntime runtime = makeExplicitPoseRuntime(controller, document.poses, importedFormat);
  const ScopeExit restore([&] { runtime.restoreRestPose(); });
  const ModelRenderBounds bounds = unionBounds(controller, runtime);
  runtime.restoreRestPose();

  const PoseRenderPagePlan plan = pagePlan(document, request);
  const std::optional<CameraState> fixed = fixedCameraState(controller, request);
  const PoseSeries series{.document = document,
                          .modelSHA256 = modelSHA256,
                          .runtime = runtime,
                          .plan = plan,
                          .request = request,
                          .controller = controller,
                          .cancellation = cancellation,
                          .cameraState = [&](const PoseRenderCell& cell) {
                            return fixed ? *fixed
                                         : fittedPoseCameraState(controller, bounds, cell.frame, cell.viewpoint,
                                                                 request.layout, request.fieldOfView);
                          }};
  if (const auto* directory = std::get_if<Directory>(&request.destination)) {
    renderExplicitPoseDirectory(series, directory->url);
  } else if (const auto* png = std::get_if<Png>(&request.destination)) {
    renderExplicitPosePNG(series, png->url);
  }
}

}  // namespace ornolith
