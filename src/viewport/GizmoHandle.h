#pragma once

#include <compare>
#include <string>
#include <variant>

#include "contracts/ViewportAxis.h"

namespace ornolith {

namespace gizmo_handle {
struct Move {
  ViewportAxis axis;
  auto operator<=>(const Move&) const = default;
};
struct Rotate {
  ViewportAxis axis;
  auto operator<=>(const Rotate&) const = default;
};
struct Scale {
  ViewportAxis axis;
  auto operator<=>(const Scale&) const = default;
};
struct UniformScale {
  auto operator<=>(const UniformScale&) const = default;
};
}  // namespace gizmo_handle

/// One handle of the transform gizmo.
using GizmoHandle =
    std::variant<gizmo_handle::Move, gizmo_handle::Rotate, gizmo_handle::Scale, gizmo_handle::UniformScale>;

/// The name of a handle's nodes, by which it is recognised: "__OrnolithGizmoHandle.move.x".
std::string nodeName(const GizmoHandle& handle);

}  // namespace ornolith
