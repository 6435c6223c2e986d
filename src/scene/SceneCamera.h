#pragma once

#include <memory>

#include "scenegraph/SCNCamera.h"

namespace ornolith {

/// A new camera with the lens that every picture is taken through: perspective, `defaultFieldOfView` (CameraState.h)
/// wide, near plane 0.001 and far plane 10000 units of the scene.
std::shared_ptr<SCNCamera> makeSceneCamera();

}  // namespace ornolith
