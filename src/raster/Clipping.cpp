#include "raster/Clipping.h"

#include "raster/PrimitiveRecord.h"

namespace ornolith::raster {
namespace {

constexpr std::size_t planeCount = 5;

/// How far `point` lies inside of a plane, in units of that plane's own.
double insideOf(std::size_t plane, const ClipPoint& point, double zNear) noexcept {
  switch (plane) {
    case 0:
      return point.distance - zNear;
    case 1:
      return guardBand * point.w + point.x;
    case 2:
      return guardBand * point.w - point.x;
    case 3:
      return guardBand * point.w + point.y;
    default:
      return guardBand * point.w - point.y;
  }
}

/// The point of the plane on the way from a point inside to one outside. It is put exactly onto the plane, which the
/// interpolation alone would miss by far where the ends are huge.
ClipPoint crossing(std::size_t plane, double zNear, const ClipPoint& inside, const ClipPoint& outside) noexcept {
  const double insideBy = insideOf(plane, inside, zNear);
  const double t = insideBy / (insideBy - insideOf(plane, outside, zNear));
  const auto between = [t](double a, double b) { return a + (b - a) * t; };
  ClipPoint point{between(inside.x, outside.x), between(inside.y, outside.y), between(inside.w, outside.w),
                  between(inside.distance, outside.distance)};
  switch (plane) {
    case 0:
      point.distance = zNear;
      break;
    case 1:
      point.x = -guardBand * point.w;
      break;
    case 2:
      point.x = guardBand * point.w;
      break;
    case 3:
      point.y = -guardBand * point.w;
      break;
    default:
      point.y = guardBand * point.w;
      break;
  }
  return point;
}

void clipToPlane(std::size_t plane, double zNear, ClipPolygon& polygon) noexcept {
  ClipPolygon result;
  for (std::size_t i = 0; i < polygon.count; ++i) {
    const ClipPoint& from = polygon.points[i];
    const ClipPoint& to = polygon.points[i + 1 == polygon.count ? 0 : i + 1];
    const double fromBy = insideOf(plane, from, zNear);
    const double toBy = insideOf(plane, to, zNear);
    if (fromBy >= 0) result.points[result.count++] = from;
    if ((fromBy >= 0) == (toBy >= 0) || result.count == result.points.size()) continue;
    result.points[result.count++] = fromBy >= 0 ? crossing(plane, zNear, from, to) : crossing(plane, zNear, to, from);
    // Rounding can make a polygon slightly concave, which could cost more corners than a convex one has.
    if (result.count == result.points.size()) break;
  }
  polygon = result;
}

}  // namespace

ClipPolygon clipTriangle(const std::array<ClipPoint, 3>& corners, double zNear) noexcept {
  ClipPolygon polygon;
  for (const ClipPoint& corner : corners) {
    if (!corner.isFinite()) return {};
    polygon.points[polygon.count++] = corner;
  }
  for (std::size_t plane = 0; plane < planeCount && polygon.count > 0; ++plane) clipToPlane(plane, zNear, polygon);
  return polygon;
}

bool clipLine(ClipPoint& a, ClipPoint& b, double zNear) noexcept {
  if (!a.isFinite() || !b.isFinite()) return false;
  for (std::size_t plane = 0; plane < planeCount; ++plane) {
    const double aBy = insideOf(plane, a, zNear);
    const double bBy = insideOf(plane, b, zNear);
    if (aBy < 0 && bBy < 0) return false;
    if (aBy < 0) a = crossing(plane, zNear, b, a);
    if (bBy < 0) b = crossing(plane, zNear, a, b);
  }
  return true;
}

}  // namespace ornolith::raster
