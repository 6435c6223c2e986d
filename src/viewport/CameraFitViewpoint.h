#pragma once

#include <array>

#include "foundation/LinearAlgebra.h"
#include "foundation/RawValue.h"

namespace ornolith {

/// One of the six fixed sides from which a model is looked at.
enum class CameraFitViewpoint { front, back, left, right, top, bottom };

/// The six viewpoints in case order.
inline constexpr std::array<CameraFitViewpoint, 6> allCameraFitViewpoints{
    CameraFitViewpoint::front, CameraFitViewpoint::back, CameraFitViewpoint::left,
    CameraFitViewpoint::right, CameraFitViewpoint::top,  CameraFitViewpoint::bottom};

template <>
inline constexpr auto rawValueTable<CameraFitViewpoint> =
    std::to_array<RawValueEntry<CameraFitViewpoint>>({{CameraFitViewpoint::front, "front"},
                                                      {CameraFitViewpoint::back, "back"},
                                                      {CameraFitViewpoint::left, "left"},
                                                      {CameraFitViewpoint::right, "right"},
                                                      {CameraFitViewpoint::top, "top"},
                                                      {CameraFitViewpoint::bottom, "bottom"}});

/// The unit direction in world space from the model's centre to the camera.
constexpr simd_float3 worldDirection(CameraFitViewpoint viewpoint) noexcept {
  switch (viewpoint) {
    case CameraFitViewpoint::front:
      return {0, 0, 1};
    case CameraFitViewpoint::back:
      return {0, 0, -1};
    case CameraFitViewpoint::left:
      return {-1, 0, 0};
    case CameraFitViewpoint::right:
      return {1, 0, 0};
    case CameraFitViewpoint::top:
      return {0, 1, 0};
    case CameraFitViewpoint::bottom:
      return {0, -1, 0};
  }
  return {};
}

/// The unit direction in world space that is up in the image; never along `worldDirection`.
constexpr simd_float3 preferredUp(CameraFitViewpoint viewpoint) noexcept {
  switch (viewpoint) {
    case CameraFitViewpoint::top:
      return {0, 0, -1};
    case CameraFitViewpoint::bottom:
      return {0, 0, 1};
    default:
      return {0, 1, 0};
  }
}

}  // namespace ornolith
