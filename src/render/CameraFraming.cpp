#include "render/CameraFraming.h"

#include <algorithm>

#include "foundation/Math.h"
#include "render/CameraOrientationSolver.h"
#include "scenegraph/SCNNode.h"

namespace ornolith {

namespace {

double fieldOfViewInUse(const SceneController& controller, std::optional<double> fieldOfView) {
  if (fieldOfView) return *fieldOfView;
  const auto& camera = controller.cameraNode()->camera;
  return camera ? camera->fieldOfView : defaultFieldOfView;
}

simd_double3 sizeOf(const ModelRenderBounds& bounds) {
  return vectorCast<double>(bounds.maximum - bounds.minimum);
}

CodableVector3 narrowed(simd_double3 v) {
  return CodableVector3::from(vectorCast<float>(v));
}

simd_double3 widened(const CodableVector3& v) {
  return vectorCast<double>(v.simd());
}

/// The Euler angles of a camera at `position` that looks at `target`; nothing where no orientation does that.
std::optional<CodableVector3> anglesToward(simd_double3 position, simd_double3 target, simd_float3 up) {
  const auto orientation = CameraOrientationSolver::orientation(vectorCast<float>(position), vectorCast<float>(target),
                                                                up, cameraOrientationEpsilon);
  if (!orientation) return std::nullopt;
  const auto scratch = SCNNode::node();
  scratch->setSimdOrientation(*orientation);
  return narrowed(scratch->eulerAngles());
}

}  // namespace

double cameraFitDistance(const CameraFitExtent& extent, double aspectRatio, double fieldOfView, double padding) {
  const double halfHeightTangent = math::tan(fieldOfView * math::pi / 180.0 * 0.5);
  const double aspect = std::max(0.1, aspectRatio);
  const double horizontalFieldOfView = 2.0 * math::atan(aspect * halfHeightTangent);  // radians
  const double heightDistance = std::max(0.1, extent.height) / (2.0 * halfHeightTangent);
  const double widthDistance = std::max(0.1, extent.width) / (2.0 * math::tan(horizontalFieldOfView * 0.5));
  const double depthShare = extent.depth > 0 ? extent.depth / 3.0 : 0.0;
  return std::max(0.25, (std::max(heightDistance, widthDistance) + depthShare) * padding);
}

CameraFitExtent cameraFitExtent(simd_double3 size, CameraFitViewpoint viewpoint) {
  switch (viewpoint) {
    case CameraFitViewpoint::front:
    case CameraFitViewpoint::back:
      return {.width = size.x, .height = size.y, .depth = size.z};
    case CameraFitViewpoint::left:
    case CameraFitViewpoint::right:
      return {.width = size.z, .height = size.y, .depth = size.x};
    case CameraFitViewpoint::top:
    case CameraFitViewpoint::bottom:
      return {.width = size.x, .height = size.z, .depth = size.y};
  }
  return {};
}

CameraState frontCameraState(const ModelRenderBounds& bounds, double aspectRatio, double padding, double fieldOfView) {
  const simd_double3 center = vectorCast<double>(bounds.center());
  const simd_double3 size = sizeOf(bounds);
  const double distance =
      cameraFitDistance({.width = size.x, .height = size.y, .depth = size.z}, aspectRatio, fieldOfView, padding);
  const double lift = 0.35 * std::max(size.y, 0.08 * std::max(size.x, size.z));

  const auto scratch = SCNNode::node();
  scratch->setPosition({center.x, center.y + lift, center.z + distance});
  scratch->lookAt(center);
  return {.position = narrowed(scratch->position()),
          .eulerAngles = narrowed(scratch->eulerAngles()),
          .target = narrowed(center),
          .fieldOfView = fieldOfView};
}

CameraState viewpointCameraState(const ModelRenderBounds& bounds, CameraFitViewpoint viewpoint, double aspectRatio,
                                 double padding, double fieldOfView) {
  const simd_double3 center = vectorCast<double>(bounds.center());
  const double distance =
      cameraFitDistance(cameraFitExtent(sizeOf(bounds), viewpoint), aspectRatio, fieldOfView, padding);

  const simd_double3 position = center + vectorCast<double>(worldDirection(viewpoint)) * distance;
  return {.position = narrowed(position),
          .eulerAngles = anglesToward(position, center, preferredUp(viewpoint)).value_or(CodableVector3{}),
          .target = narrowed(center),
          .fieldOfView = fieldOfView};
}

CameraState fittedCameraState(const SceneController& controller, double aspectRatio, double padding,
                              std::optional<double> fieldOfView, const ModelRenderBounds& bounds) {
  return frontCameraState(bounds, aspectRatio, padding, fieldOfViewInUse(controller, fieldOfView));
}

CameraState fittedCameraState(const SceneController& controller, CameraFitViewpoint viewpoint, double aspectRatio,
                              double padding, std::optional<double> fieldOfView) {
  return viewpointCameraState(controller.currentModelRenderBounds(), viewpoint, aspectRatio, padding,
                              fieldOfViewInUse(controller, fieldOfView));
}

CameraState fittedPoseCameraState(const SceneController& controller, const ModelRenderBounds& bounds,
                                  const RenderPixelRect& frame, CameraFitViewpoint viewpoint, ModelRenderLayout layout,
                                  std::optional<double> fieldOfView) {
  const double aspect = static_cast<double>(frame.width) / static_cast<double>(std::max<std::int64_t>(1, frame.height));
  const double fieldOfViewOfCell = fieldOfViewInUse(controller, fieldOfView);
  if (layout == ModelRenderLayout::single) {
    return frontCameraState(bounds, aspect, cameraFitPadding, fieldOfViewOfCell);
  }
  return viewpointCameraState(bounds, viewpoint, aspect, cameraFitPadding, fieldOfViewOfCell);
}

void applyCameraOverride(SceneController& controller, const ModelRenderRequest& request) {
  if (!request.cameraPosition && !request.cameraTarget && !request.fieldOfView) return;

  const CameraState state = controller.currentCameraState();
  const simd_double3 position = request.cameraPosition.value_or(widened(state.position));
  const simd_double3 target = request.cameraTarget.value_or(widened(state.target));
  controller.applyCameraState({.position = narrowed(position),
                               .eulerAngles = anglesToward(position, target, {0, 1, 0}).value_or(state.eulerAngles),
                               .target = narrowed(target),
                               .fieldOfView = request.fieldOfView.value_or(state.fieldOfView)});
}

}  // namespace ornolith
