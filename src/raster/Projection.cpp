#include "raster/Projection.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "foundation/Math.h"
#include "raster/TileGrid.h"

namespace ornolith::raster {
namespace {

/// The columns of the inverse of the upper 3-by-3 of `m`; not finite where that is singular.
std::array<simd_double3, 3> inverseColumns(const simd_double4x4& m) {
  const auto column = [&](std::size_t c) { return simd_double3{m.columns[c].x, m.columns[c].y, m.columns[c].z}; };
  const simd_double3 a = column(0), b = column(1), c = column(2);
  // The rows of the inverse are the cross products over the determinant.
  const simd_double3 r0 = cross(b, c), r1 = cross(c, a), r2 = cross(a, b);
  const double determinant = dot(a, r0);
  const simd_double3 x = r0 / determinant, y = r1 / determinant, z = r2 / determinant;
  return {simd_double3{x.x, y.x, z.x}, simd_double3{x.y, y.y, z.y}, simd_double3{x.z, y.z, z.z}};
}

}  // namespace

bool ClipPoint::isFinite() const noexcept {
  // A magnitude above this could overflow in the products of three coordinates that shading forms.
  constexpr double limit = 1e90;
  return std::abs(x) < limit && std::abs(y) < limit && std::abs(distance) < limit;
}

Projection::Projection(const device::FrameDescription& frame)
    : view_(frame.camera.viewMatrix),
      cameraAxes_(inverseColumns(frame.camera.viewMatrix)),
      isOrthographic_(frame.camera.usesOrthographicProjection) {
  constexpr double smallestNear = 1e-9;
  zNear_ = frame.camera.zNear > smallestNear ? frame.camera.zNear : smallestNear;
  const double halfHeight = static_cast<double>(frame.height) * 0.5;
  pixelsPerUnit_ = isOrthographic_ ? halfHeight / frame.camera.orthographicScale
                                   : halfHeight / math::tan(frame.camera.verticalFieldOfView * (math::pi / 360.0));
}

float Projection::farthestDepth() const noexcept {
  return isOrthographic_ ? -std::numeric_limits<float>::infinity() : 0.0f;
}

ViewRays Projection::viewRays(double x, double y) const noexcept {
  // Camera space has unit steps at distance 1; the axes' own length, which the view matrix may have, is taken out.
  const double size = length(cameraAxes_[2]);
  const double perPixel = isOrthographic_ ? 0.0 : 1.0 / pixelsPerUnit_;
  const simd_double3 perX = cameraAxes_[0] * (-perPixel / size);
  const simd_double3 perY = cameraAxes_[1] * (perPixel / size);
  const simd_double3 origin = cameraAxes_[2] / size + perX * x + perY * y;
  if (!isFinite(origin) || !isFinite(perX) || !isFinite(perY)) return {{0, 0, 1}, {}, {}};
  // Only their directions tell: next to 180 degrees they are shortened, for their squares to stay among the floats.
  constexpr double longest = 0x1p30;
  const double reach = length(origin) + tileSide * (length(perX) + length(perY));
  const double scale = reach > longest ? longest / reach : 1;
  return {vectorCast<float>(origin * scale), vectorCast<float>(perX * scale), vectorCast<float>(perY * scale)};
}

ItemTransform ItemTransform::make(const Projection& projection, const simd_double4x4& worldMatrix) noexcept {
  const simd_double4x4 modelView = projection.viewMatrix() * worldMatrix;
  ItemTransform result;
  result.isOrthographic = projection.isOrthographic();
  const double scale = projection.pixelsPerUnit();
  for (std::size_t c = 0; c < 4; ++c) {
    result.x[c] = scale * modelView.columns[c].x;
    result.y[c] = -scale * modelView.columns[c].y;
    result.distance[c] = -modelView.columns[c].z;
  }
  return result;
}

}  // namespace ornolith::raster
