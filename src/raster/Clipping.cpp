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

/// The point of the plane on the way from a point inside to one outside.
ClipPoint crossing(const ClipPoint& inside, double insideBy, const ClipPoint& outside, double outsideBy) noexcept {
  const double t = insideBy / (insideBy - outsideBy);
  const auto between = [t](double a, double b) { return a + (b - a) * t; };
  return {between(inside.x, outside.x), between(inside.y, outside.y), between(inside.w, outside.w),
          between(inside.distance, outside.distance)};
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
    result.points[result.count++] = fromBy >= 0 ? crossing(from, fromBy, to, toBy) : crossing(to, toBy, from, fromBy);
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
    if (aBy < 0) a = crossing(b, bBy, a, aBy);
    if (bBy < 0) b = crossing(a, aBy, b, bBy);
  }
  return true;
}

}  // namespace ornolith::raster
