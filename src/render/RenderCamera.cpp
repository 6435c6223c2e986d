#include "render/RenderCamera.h"

namespace ornolith {

SCNNode::Pointer makeRenderCameraNode() {
  auto node = SCNNode::node();
  node->camera = SCNCamera::camera();
  node->camera->zNear = 0.001;
  node->camera->zFar = 10000.0;
  return node;
}

void placeRenderCamera(SCNNode& camera, const CameraState& state) {
  camera.camera->fieldOfView = state.fieldOfView;
  camera.setSimdPosition(state.position.simd());
  camera.setSimdEulerAngles(state.eulerAngles.simd());
}

}  // namespace ornolith
