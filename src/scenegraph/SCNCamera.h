#pragma once

#include <memory>

namespace ornolith {

/// A camera, shared by identity. It looks along its node's negative z, with y up.
struct SCNCamera {
  static std::shared_ptr<SCNCamera> camera() { return std::make_shared<SCNCamera>(); }

  double fieldOfView = 60;  ///< Degrees, vertical.
  double zNear = 1;         ///< Units of the scene.
  double zFar = 100;        ///< Units of the scene. Nothing is cut there when drawing.
  bool usesOrthographicProjection = false;
  double orthographicScale = 1;  ///< Half the height of the view in units of the scene.
};

}  // namespace ornolith
