#include <algorithm>
#include <bit>
#include <cmath>

#include "scene/Invariants.h"
#include "scene/ModelBounds.h"
#include "scene/SceneCamera.h"
#include "scene/SceneController.h"

namespace ornolith {

// The default lights and the camera.

namespace {

SCNNode::Pointer makeLightNode(SCNLightType type, double intensity) {
  auto light = SCNLight::light();
  light->type = type;
  light->intensity = intensity;
  SCNNode::Pointer node = SCNNode::node();
  node->light = std::move(light);
  return node;
}

/// `value` held to at least `least` and at most `most`; `least` where it is no number.
double held(double value, double least, double most) {
  return value > least ? std::min(value, most) : least;
}

}  // namespace

void SceneController::addDefaultLights() {
  const double factor = isPhotoModeActive ? held(currentPhotoOptions.lightIntensity, 0.2, 2.0) : 1.0;

  ambientLightNode_ = makeLightNode(SCNLightTypeAmbient, 420 * factor);
  ambientLightNode_->light->color = NSColor::whiteColor();
  scene_->rootNode()->addChildNode(ambientLightNode_);

  // -60 degrees about x and 45 degrees about y, each the 32-bit float just below in magnitude.
  constexpr auto downward = std::bit_cast<float>(0xBF860A91U);
  constexpr auto sideward = std::bit_cast<float>(0x3F490FDAU);
  keyLightNode_ = makeLightNode(SCNLightTypeDirectional, 900 * factor);
  keyLightNode_->setSimdEulerAngles({downward, sideward, 0});
  scene_->rootNode()->addChildNode(keyLightNode_);
}

void SceneController::addCamera(SCNVector3 position, SCNVector3 target) {
  cameraNode_ = SCNNode::node();
  cameraNode_->camera = makeSceneCamera();
  cameraNode_->setPosition(position);
  cameraNode_->lookAt(target);
  scene_->rootNode()->addChildNode(cameraNode_);
}

void SceneController::ensureCamera() {
  if (!cameraNode_->camera) cameraNode_->camera = makeSceneCamera();
  if (!cameraNode_->hasParent()) scene_->rootNode()->addChildNode(cameraNode_);
}

void SceneController::positionCamera(const std::vector<SCNNode::Pointer>& roots) {
  requireOwningThread();
  const auto [center, extent] = modelBounds(roots, nullptr, false);
  const double size = std::max({1.0, extent.x, extent.y, extent.z});
  cameraTarget_ = center;
  ensureCamera();
  cameraNode_->setPosition({center.x, center.y + 0.35 * size, center.z + 2.4 * size});
  cameraNode_->lookAt(center);
  cameraRevision.publish(checkedSum(cameraRevision, 1));
}

void SceneController::syncCameraFromRenderedView() {
  const std::shared_ptr<SCNView> view = renderedView.lock();
  if (!view) return;
  cameraTarget_ = view->defaultCameraController.target;
  if (view->pointOfView) cameraNode_->setTransform(view->pointOfView->transform());
}

void SceneController::applyCameraState(const CameraState& state) {
  requireOwningThread();
  ensureCamera();
  cameraNode_->setSimdPosition(state.position.simd());
  cameraNode_->setSimdEulerAngles(state.eulerAngles.simd());
  cameraNode_->camera->fieldOfView = state.fieldOfView;
  cameraTarget_ = vectorCast<double>(state.target.simd());
  if (const std::shared_ptr<SCNView> view = renderedView.lock()) {
    view->pointOfView = cameraNode_;
    view->defaultCameraController.target = cameraTarget_;
  }
  cameraRevision.publish(checkedSum(cameraRevision, 1));
}

CameraState SceneController::currentCameraState() {
  requireOwningThread();
  syncCameraFromRenderedView();
  CameraState state;
  state.position = CodableVector3::from(cameraNode_->simdPosition());
  state.eulerAngles = CodableVector3::from(cameraNode_->simdEulerAngles());
  state.target = CodableVector3::from(vectorCast<float>(cameraTarget_));
  state.fieldOfView = cameraNode_->camera ? cameraNode_->camera->fieldOfView : defaultFieldOfView;
  return state;
}

ModelRenderBounds SceneController::currentModelRenderBounds() const {
  const ModelBounds bounds = modelBounds(modelRootNodes_, nullptr, false);
  const simd_float3 center = vectorCast<float>(bounds.center);
  const simd_float3 size = vectorCast<float>(bounds.extent);
  if (!isFinite(center) || !isFinite(size)) return {{-0.5F, -0.5F, -0.5F}, {0.5F, 0.5F, 0.5F}};
  return {center - size * 0.5F, center + size * 0.5F};
}

}  // namespace ornolith
