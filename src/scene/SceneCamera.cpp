#include "scene/SceneCamera.h"

#include "contracts/CameraState.h"

namespace ornolith {

std::shared_ptr<SCNCamera> makeSceneCamera() {
  auto camera = SCNCamera::camera();
  camera->fieldOfView = defaultFieldOfView;
  camera->zNear = 0.001;
  camera->zFar = 10000;
  return camera;
}

}  // namespace ornolith
