#pragma once

#include <array>
#include <variant>

#include "foundation/RawValue.h"
#include "foundation/UUID.h"
#include "viewport/CameraFitViewpoint.h"

namespace ornolith {

/// A pointer movement in points of the view.
struct ScreenTransformDelta {
  double x = 0;
  double y = 0;
  bool operator==(const ScreenTransformDelta&) const = default;
};

namespace camera_mutation {
struct Orbit {
  ScreenTransformDelta delta;
  bool operator==(const Orbit&) const = default;
};
struct Pan {
  ScreenTransformDelta delta;
  bool operator==(const Pan&) const = default;
};
struct Zoom {
  double factor = 0;
  bool operator==(const Zoom&) const = default;
};
struct Align {
  CameraFitViewpoint viewpoint = CameraFitViewpoint::front;
  bool operator==(const Align&) const = default;
};
}  // namespace camera_mutation

/// What the scene runtime asks of the view's camera.
using CameraMutation =
    std::variant<camera_mutation::Orbit, camera_mutation::Pan, camera_mutation::Zoom, camera_mutation::Align>;

/// What the pointer does.
enum class ViewportInteractionMode { camera, select, move, rotate, scale };

template <>
inline constexpr auto rawValueTable<ViewportInteractionMode> =
    std::to_array<RawValueEntry<ViewportInteractionMode>>({{ViewportInteractionMode::camera, "camera"},
                                                           {ViewportInteractionMode::select, "select"},
                                                           {ViewportInteractionMode::move, "move"},
                                                           {ViewportInteractionMode::rotate, "rotate"},
                                                           {ViewportInteractionMode::scale, "scale"}});

namespace transform_target {
struct Model {
  UUID id;
  bool operator==(const Model&) const = default;
};
struct Articulation {
  UUID id;
  bool operator==(const Articulation&) const = default;
};
struct Scene {
  bool operator==(const Scene&) const = default;
};
}  // namespace transform_target

/// What a gizmo acts on: a model, a model's hinge, or all models together.
using ViewportTransformTarget =
    std::variant<transform_target::Model, transform_target::Articulation, transform_target::Scene>;

}  // namespace ornolith
