#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "foundation/LinearAlgebra.h"

namespace ornolith {

/// Cuts polygons into triangles over their own corners, in the plane of the polygon's normal (Newell's method), with
/// the polygon's winding. A polygon whose fan from the first corner turns one way becomes that fan; any other loses its
/// ears one by one (G. H. Meisters, "Polygons have ears", 1975). One that crosses itself, or is no polygon at all,
/// still becomes n - 2 triangles.
///
/// Ears cost up to the square of the corners. A triangulator may spend `cornerTestsPerCorner` tests of a corner against
/// a candidate ear for each corner that it was given, and `spareCornerTests` besides; when they are used up, what is
/// left of a polygon becomes a fan. So its time is in proportion to the corners, and only polygons of many thousand
/// corners can come out otherwise than by their ears.
class PolygonTriangulator {
 public:
  static constexpr std::size_t cornerTestsPerCorner = 256;
  static constexpr std::size_t spareCornerTests = std::size_t{1} << 24;

  /// Appends to `triangles` three positions within `corners` for each triangle, n - 2 of them for n corners (none below
  /// 3).
  void triangulate(std::span<const simd_double3> corners, std::vector<std::uint32_t>& triangles);

 private:
  struct Point {
    double x;
    double y;
  };

  void project(std::span<const simd_double3> corners);
  bool fanTurnsOneWay() const;
  void clipEars(std::vector<std::uint32_t>& triangles);
  bool isEar(std::uint32_t corner);

  std::vector<Point> points_;  // In a plane where the polygon runs counter-clockwise.
  std::vector<std::uint32_t> next_;
  std::vector<std::uint32_t> previous_;
  std::size_t cornerTestsLeft_ = spareCornerTests;
};

}  // namespace ornolith
