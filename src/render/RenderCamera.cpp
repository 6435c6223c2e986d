#include "render/RenderCamera.h"

#include "scene/SceneCamera.h"

namespace ornolith {

SCNNode::Pointer makeRenderCameraNode() {
  auto node = SCNNode::node();
  node->camera = makeSceneCamera();
  return node;
}

void placeRenderCamera(SCNNode& camera, const CameraState& state) {
  camera.camera->fieldOfView = state.fieldOfView;
  camera.setSimdPosition(state.position.simd());
  camera.setSimdEulerAngles(state.eulerAngles.simd());
}

}  // namespace ornolith
