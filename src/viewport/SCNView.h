#pragma once

#include "scenegraph/SCNNode.h"
#include "scenegraph/SCNTypes.h"

namespace ornolith {

/// What the scene runtime asks of an interactive view that shows its scene. A run without a window has none.
struct SCNView {
  struct CameraController {
    SCNVector3 target;  ///< World space.
  };

  SCNNode::Pointer pointOfView;
  CGRect bounds;  ///< Points.
  CameraController defaultCameraController;
};

}  // namespace ornolith
