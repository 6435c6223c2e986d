#pragma once

#include <array>

#include "foundation/LinearAlgebra.h"
#include "scenegraph/device/FrameDescription.h"

namespace ornolith::raster {

/// A point before the division: its place on the screen is (x / w, y / w) in pixels from the image's centre, x to the
/// right and y downwards.
struct ClipPoint {
  double x = 0;
  double y = 0;
  double w = 1;         ///< The distance in perspective, 1 in orthographic projection.
  double distance = 0;  ///< World units in front of the camera.

  bool isFinite() const noexcept;
};

/// The directions in world space from what is seen to the camera over a block of pixels: that of the block's pixel (i,
/// j) is `origin + perX * i + perY * j`, not normalised.
struct ViewRays {
  simd_float3 origin;
  simd_float3 perX;
  simd_float3 perY;
};

/// How camera space becomes pixels and depth. Depth is affine on the screen and larger nearer by: near / distance in
/// perspective (1 at the near plane, 0 at infinity), minus the distance in orthographic projection.
class Projection {
 public:
  explicit Projection(const device::FrameDescription& frame);

  bool isOrthographic() const noexcept { return isOrthographic_; }
  double zNear() const noexcept { return zNear_; }
  /// Pixels per unit at distance 1, or everywhere in orthographic projection.
  double pixelsPerUnit() const noexcept { return pixelsPerUnit_; }
  /// The depth that every pixel starts with.
  float farthestDepth() const noexcept;
  double depth(const ClipPoint& point) const noexcept {
    return isOrthographic_ ? -point.distance : zNear_ / point.distance;
  }
  const simd_double4x4& viewMatrix() const noexcept { return view_; }

  /// The directions from what is seen to the camera; `x` and `y` are the place of the first pixel's centre, in pixels
  /// from the image's centre. Over a tile from there, no ray is longer than 2^30.
  ViewRays viewRays(double x, double y) const noexcept;

 private:
  simd_double4x4 view_;
  std::array<simd_double3, 3> cameraAxes_;  ///< Columns of the inverse of the view's upper 3-by-3.
  bool isOrthographic_;
  double zNear_;
  double pixelsPerUnit_;
};

/// Model space to clip points: three affine functions of the position, evaluated left to right in double precision.
struct ItemTransform {
  std::array<double, 4> x{};
  std::array<double, 4> y{};
  std::array<double, 4> distance{};
  bool isOrthographic = false;

  static ItemTransform make(const Projection& projection, const simd_double4x4& worldMatrix) noexcept;

  ClipPoint apply(const float* position) const noexcept {
    const double px = position[0], py = position[1], pz = position[2];
    ClipPoint point;
    point.x = x[0] * px + x[1] * py + x[2] * pz + x[3];
    point.y = y[0] * px + y[1] * py + y[2] * pz + y[3];
    point.distance = distance[0] * px + distance[1] * py + distance[2] * pz + distance[3];
    point.w = isOrthographic ? 1.0 : point.distance;
    return point;
  }
};

}  // namespace ornolith::raster
