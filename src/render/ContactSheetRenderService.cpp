#include "render/ContactSheetRenderService.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <unordered_set>

#include "foundation/ScopeExit.h"
#include "imaging/Compositing.h"
#include "imaging/PNGEncoder.h"
#include "render/CameraFraming.h"
#include "render/CameraOrientationSolver.h"
#include "render/ContactSheetGeometry.h"
#include "render/ContactSheetRenderError.h"
#include "render/LayoutViews.h"
#include "render/RenderCamera.h"
#include "render/SceneCopies.h"
#include "render/SceneSnapshot.h"
#include "scene/CaptureSuppression.h"
#include "scenegraph/RenderDeviceFactory.h"
#include "scenegraph/SCNRenderer.h"
#include "scenegraph/SCNTransaction.h"

namespace ornolith {

namespace {

using namespace contact_sheet_render_error;

constexpr double fillLightIntensity = 650;
constexpr const char* poseCameraNodeName = "__OrnolithPoseRenderCamera";
constexpr const char* poseFillLightNodeName = "__OrnolithPoseRenderFillLight";

bool isColorComponent(double value) {
  return std::isfinite(value) && value >= 0.0 && value <= 1.0;
}

void validate(const ContactSheetConfiguration& configuration) {
  if (configuration.layout == ModelRenderLayout::single) throw ContactSheetRenderError(InvalidLayout{});
  if (!isOutputImageSize(configuration.width, configuration.height)) {
    throw ContactSheetRenderError(InvalidOutputSize{});
  }
  if (configuration.background.color) {
    const RenderRGBAColor& color = *configuration.background.color;
    if (!isColorComponent(color.red) || !isColorComponent(color.green) || !isColorComponent(color.blue) ||
        !isColorComponent(color.alpha)) {
      throw ContactSheetRenderError(InvalidBackground{});
    }
  }
  if (configuration.fieldOfView) {
    const double degrees = *configuration.fieldOfView;
    if (!std::isfinite(degrees) || degrees <= 0.0 || degrees >= 180.0) {
      throw ContactSheetRenderError(InvalidFieldOfView{});
    }
  }
}

std::unique_ptr<SCNRenderer> makeRenderer() {
  const auto device = createSystemDefaultDevice();
  if (!device) throw ContactSheetRenderError(MetalDeviceUnavailable{});
  auto renderer = SCNRenderer::rendererWithDevice(device);
  renderer->setAutoenablesDefaultLighting(false);
  return renderer;
}

/// A light that shines along the view when it is turned like the camera.
SCNNode::Pointer fillLightNode() {
  auto node = SCNNode::node();
  node->light = SCNLight::light();
  node->light->type = SCNLightTypeDirectional;
  node->light->intensity = fillLightIntensity;
  node->castsShadow = false;
  return node;
}

void placeLike(SCNNode& node, const SCNNode& camera) {
  node.setPosition(camera.position());
  node.setEulerAngles(camera.eulerAngles());
}

/// Every material object below `root`, once.
std::vector<std::shared_ptr<SCNMaterial>> distinctMaterials(SCNNode& root) {
  std::vector<std::shared_ptr<SCNMaterial>> result;
  std::unordered_set<const SCNMaterial*> seen;
  const auto collect = [&](const SCNNode& node) {
    if (!node.geometry) return;
    for (const auto& material : node.geometry->materials()) {
      if (seen.insert(material.get()).second) result.push_back(material);
    }
  };
  collect(root);
  root.enumerateChildNodes(collect);
  return result;
}

/// Makes all materials below a node double-sided for as long as it lives.
class DoubleSidedMaterials {
 public:
  explicit DoubleSidedMaterials(SCNNode& root) : materials_(distinctMaterials(root)) {
    for (const auto& material : materials_) {
      wasDoubleSided_.push_back(material->isDoubleSided);
      material->isDoubleSided = true;
    }
  }
  ~DoubleSidedMaterials() {
    for (std::size_t i = 0; i < materials_.size(); ++i) materials_[i]->isDoubleSided = wasDoubleSided_[i];
  }
  DoubleSidedMaterials(const DoubleSidedMaterials&) = delete;
  DoubleSidedMaterials& operator=(const DoubleSidedMaterials&) = delete;

 private:
  std::vector<std::shared_ptr<SCNMaterial>> materials_;
  std::vector<bool> wasDoubleSided_;
};

std::shared_ptr<SCNScene> frozenScene(SceneController& controller, bool suppressesOverlays) {
  if (!suppressesOverlays) return makeFrozenScene(*controller.scene());
  std::shared_ptr<SCNScene> frozen;
  withSelectionOverlaySuppressedForCapture(controller, [&] { frozen = makeFrozenScene(*controller.scene()); });
  return frozen;
}

/// One view of a sheet: where its camera stands and where its picture lies, in pixels from the canvas's top left.
struct SheetView {
  CameraState cameraState;
  simd_float3 worldUp;
  RenderPixelRect frame;
};

std::vector<SheetView> sheetViews(SceneController& controller, const ContactSheetConfiguration& configuration) {
  const auto canvasHeight = static_cast<double>(configuration.height);
  const std::vector<CGRect> frames = ContactSheetGeometry::frames(
      configuration.layout, configuration.arrangement, {static_cast<double>(configuration.width), canvasHeight});
  const std::span<const CameraFitViewpoint> viewpoints = layoutViewpoints(configuration.layout);
  std::vector<SheetView> views;
  for (std::size_t i = 0; i < viewpoints.size(); ++i) {
    const double width = std::max(1.0, std::floor(frames[i].size.width));
    const double height = std::max(1.0, std::floor(frames[i].size.height));
    views.push_back(
        {.cameraState =
             fittedCameraState(controller, viewpoints[i], width / height, cameraFitPadding, configuration.fieldOfView),
         .worldUp = preferredUp(viewpoints[i]),
         .frame = {.x = static_cast<std::int64_t>(frames[i].origin.x),
                   .y = static_cast<std::int64_t>(canvasHeight - frames[i].origin.y - frames[i].size.height),
                   .width = static_cast<std::int64_t>(width),
                   .height = static_cast<std::int64_t>(height)}});
  }
  return views;
}

void placeSheetCamera(SCNNode& camera, const SheetView& view) {
  const simd_float3 position = view.cameraState.position.simd();
  camera.camera->fieldOfView = view.cameraState.fieldOfView;
  camera.setSimdPosition(position);
  camera.setSimdOrientation({});
  const auto orientation = CameraOrientationSolver::orientation(position, view.cameraState.target.simd(), view.worldUp,
                                                                cameraOrientationEpsilon);
  if (orientation) camera.setSimdOrientation(*orientation);
}

Image snapshotOf(SCNRenderer& renderer, const RenderPixelRect& frame) {
  SCNTransaction::flush();
  return renderer.snapshotAtTime(0, static_cast<std::uint32_t>(frame.width), static_cast<std::uint32_t>(frame.height),
                                 SCNAntialiasingMode::none);
}

}  // namespace

ContactSheetRenderService::PNGData ContactSheetRenderService::encode(const Image& image) const {
  PNGData data = encodePNG(image);
  cancellation_.checkCancellation();
  return data;
}

ContactSheetRenderService::PNGData ContactSheetRenderService::renderPNG(SceneController& controller,
                                                                        const ContactSheetConfiguration& configuration,
                                                                        bool suppressInteractiveAnalysisOverlays,
                                                                        const Progress& progress) const {
  validate(configuration);
  cancellation_.checkCancellation();
  const auto renderer = makeRenderer();

  // The copy owns its materials, so making them double-sided once serves every view.
  const auto scene = frozenScene(controller, suppressInteractiveAnalysisOverlays);
  const DoubleSidedMaterials doubleSided(*scene->rootNode());
  const std::vector<SheetView> views = sheetViews(controller, configuration);
  applyBackground(configuration.background, *scene);
  const auto camera = makeRenderCameraNode();
  const auto fillLight = fillLightNode();
  scene->rootNode()->addChildNode(camera);
  scene->rootNode()->addChildNode(fillLight);
  renderer->setScene(scene);
  renderer->setPointOfView(camera);

  Image canvas = fill(static_cast<std::uint32_t>(configuration.width), static_cast<std::uint32_t>(configuration.height),
                      configuration.background);
  ContactSheetRenderProgress state{.completedViewCount = 0, .totalViewCount = views.size()};
  progress(state);
  for (const SheetView& view : views) {
    cancellation_.checkCancellation();
    placeSheetCamera(*camera, view);
    placeLike(*fillLight, *camera);
    drawOver(snapshotOf(*renderer, view.frame), canvas, view.frame.x, view.frame.y);
    ++state.completedViewCount;
    progress(state);
  }
  cancellation_.checkCancellation();
  return encode(canvas);
}

void ContactSheetRenderService::renderExplicitPosePages(const std::shared_ptr<SCNScene>& scene,
                                                        const PoseRenderPagePlan& plan,
                                                        const RenderBackground& background,
                                                        const PosePageCallbacks& callbacks) const {
  cancellation_.checkCancellation();
  const auto renderer = makeRenderer();

  // The scene holds a camera, and for several views a light along it and double-sided materials, until the end.
  const auto camera = makeRenderCameraNode();
  camera->setName(poseCameraNodeName);
  SCNNode::Pointer fillLight;
  std::optional<DoubleSidedMaterials> doubleSided;
  if (plan.layout != ModelRenderLayout::single) {
    fillLight = fillLightNode();
    fillLight->setName(poseFillLightNodeName);
    doubleSided.emplace(*scene->rootNode());
    scene->rootNode()->addChildNode(fillLight);
  }
  scene->rootNode()->addChildNode(camera);
  const ScopeExit removeNodes([&] {
    camera->removeFromParentNode();
    if (fillLight) fillLight->removeFromParentNode();
  });
  applyBackground(background, *scene);
  renderer->setScene(scene);
  renderer->setPointOfView(camera);

  std::optional<std::int64_t> appliedPose;
  for (const PoseRenderPage& page : plan.pages) {
    cancellation_.checkCancellation();
    Image canvas = fill(static_cast<std::uint32_t>(page.width), static_cast<std::uint32_t>(page.height), background);
    for (const PoseRenderCell& cell : page.cells) {
      cancellation_.checkCancellation();
      if (appliedPose != cell.poseIndex) {
        callbacks.apply(cell.poseIndex);
        appliedPose = cell.poseIndex;
      }
      placeRenderCamera(*camera, callbacks.cameraState(cell));
      if (fillLight) placeLike(*fillLight, *camera);
      drawOver(snapshotOf(*renderer, cell.frame), canvas, cell.frame.x, cell.frame.y);
    }
    cancellation_.checkCancellation();
    callbacks.writePage(page, encode(canvas));
  }
}

}  // namespace ornolith
