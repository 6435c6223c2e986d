#pragma once

#include <optional>

#include "contracts/RenderOutputOptions.h"
#include "foundation/LinearAlgebra.h"
#include "render/ModelRenderRequest.h"
#include "scene/SceneController.h"
#include "viewport/CameraFitViewpoint.h"
#include "viewport/ModelRenderBounds.h"

namespace ornolith {

// Places the camera without a person looking. Positions, sizes and distances are in world space, in units of the scene;
// angles of view are vertical, in degrees; an aspect ratio is width over height. The arithmetic is in doubles but for
// the box itself, the orientation and the resulting `CameraState`, whose vectors are 32-bit floats.

/// How much room every fit leaves: the distance is this many times the one at which the box touches the image's edge.
inline constexpr double cameraFitPadding = 1.22;

/// The extent of a box as the camera sees it.
struct CameraFitExtent {
  double width = 0;
  double height = 0;
  double depth = 0;  ///< Along the view.
};

/// How far in front of the centre of a box of `extent` the camera stands so that the box fits into the image: at least
/// 0.25. Width and height count as 0.1 or more, the aspect ratio as 0.1 or more; a third of the depth is added.
/// The padding holds a box as deep as high inside the image; the near side of a much deeper one may reach over the
/// edge.
double cameraFitDistance(const CameraFitExtent& extent, double aspectRatio, double fieldOfView, double padding);

/// The extent of a box of `size` seen from `viewpoint`.
CameraFitExtent cameraFitExtent(simd_double3 size, CameraFitViewpoint viewpoint);

/// The camera in front of `bounds` and a little above, looking at its centre.
CameraState frontCameraState(const ModelRenderBounds& bounds, double aspectRatio, double padding, double fieldOfView);

/// The camera on the side `viewpoint` of `bounds`, level with its centre and looking at it.
CameraState viewpointCameraState(const ModelRenderBounds& bounds, CameraFitViewpoint viewpoint, double aspectRatio,
                                 double padding, double fieldOfView);

/// `frontCameraState`; without a field of view that of the controller's camera counts, and 45 where it has none.
CameraState fittedCameraState(const SceneController& controller, double aspectRatio, double padding,
                              std::optional<double> fieldOfView, const ModelRenderBounds& bounds);

/// `viewpointCameraState` of the controller's current bounds, with the field of view as above.
CameraState fittedCameraState(const SceneController& controller, CameraFitViewpoint viewpoint, double aspectRatio,
                              double padding, std::optional<double> fieldOfView);

/// The camera for a cell of a page, `frame` in pixels, that shows `bounds`: `frontCameraState` where the layout is
/// single, else `viewpointCameraState`.
CameraState fittedPoseCameraState(const SceneController& controller, const ModelRenderBounds& bounds,
                                  const RenderPixelRect& frame, CameraFitViewpoint viewpoint, ModelRenderLayout layout,
                                  std::optional<double> fieldOfView);

/// Merges the request's camera position, target and field of view with the controller's camera, which looks at the
/// target afterwards. Does nothing where the request has none of the three. Where position and target are the same the
/// orientation stays as it was.
void applyCameraOverride(SceneController& controller, const ModelRenderRequest& request);

}  // namespace ornolith
