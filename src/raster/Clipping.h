#pragma once

#include <array>
#include <cstddef>

#include "raster/Projection.h"

namespace ornolith::raster {

/// A convex polygon before the division; a triangle grows by at most one corner for each of the five planes.
struct ClipPolygon {
  std::array<ClipPoint, 8> points;
  std::size_t count = 0;
};

/// The part of a triangle that lies beyond the near plane and inside of the guard band. A new corner depends on the two
/// ends of its edge alone, whichever way the edge runs, so that triangles that share an edge are cut at the same
/// points. Empty where a corner is not finite.
ClipPolygon clipTriangle(const std::array<ClipPoint, 3>& corners, double zNear) noexcept;

/// Cuts the line between `a` and `b` in the same way; false where nothing is left.
bool clipLine(ClipPoint& a, ClipPoint& b, double zNear) noexcept;

}  // namespace ornolith::raster
