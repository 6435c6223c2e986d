#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "foundation/LinearAlgebra.h"
#include "scenegraph/CornerTree.h"
#include "scenegraph/IndexSet.h"

namespace ornolith {

/// Cuts polygons into triangles over their own corners, in the plane of the polygon's normal (Newell's method), with
/// the polygon's winding. A polygon whose fan from the first corner turns one way becomes that fan; any other loses its
/// ears one by one (G. H. Meisters, "Polygons have ears", 1975). One that crosses itself, or is no polygon at all,
/// still becomes n - 2 triangles.
///
/// The ears go in the order in which a walk around the polygon that looks at every corner would find them. Two things
/// shorten the walk without changing what it finds: a tree of the corners answers what lies in an ear, and a corner
/// refused is asked again only after its neighbours or the corner in its way have gone. A simple polygon of n corners
/// then costs about n log n, up to n sqrt n where its ears are needles across all of it. Beyond `plainCorners` corners
/// only those that are not convex are held to be in the way, which makes a difference only where a polygon crosses
/// itself.
///
/// A polygon that is made to cost more ends all the same: a triangulator may spend `testsPerCorner` tests for each
/// corner that it was given, and `spareTests` besides; when they are used up, what is left of a polygon becomes a fan.
/// Simple polygons of 100,000 corners stay within that.
class PolygonTriangulator {
 public:
  static constexpr std::size_t plainCorners = 1024;
  static constexpr std::size_t testsPerCorner = 128;
  static constexpr std::size_t spareTests = std::size_t{1} << 25;

  /// Appends to `triangles` three positions within `corners` for each triangle, n - 2 of them for n corners (none below
  /// 3).
  void triangulate(std::span<const simd_double3> corners, std::vector<std::uint32_t>& triangles);

  /// Tests that are still there for polygons to come: of a corner for being an ear, and of a corner or of a box of
  /// corners against an ear.
  std::size_t testsLeft() const { return testsLeft_; }

 private:
  void project(std::span<const simd_double3> corners);
  bool fanTurnsOneWay() const;
  void clipEars(std::vector<std::uint32_t>& triangles);
  void plantTree();
  bool isConvex(std::uint32_t corner) const;
  std::uint32_t nextEar(std::uint32_t from);
  bool isEar(std::uint32_t corner);
  void cut(std::uint32_t corner);
  void takeFromTree(std::uint32_t corner);
  void waitFor(std::uint32_t corner, CornerTree::Place place);
  void stopWaiting(std::uint32_t corner);

  std::vector<PlanePoint> points_;  // In a plane where the polygon runs counter-clockwise.
  std::vector<std::uint32_t> next_;
  std::vector<std::uint32_t> previous_;
  CornerTree tree_;
  bool hasOnlyReflexInTree_ = false;
  std::vector<std::uint32_t> members_;
  IndexSet candidates_;  // The corners not known to be no ears.
  // For each place the corners for which it is in the way, as a list.
  std::vector<std::uint32_t> firstWaiting_;
  std::vector<std::uint32_t> nextWaiting_;
  std::vector<std::uint32_t> previousWaiting_;
  std::vector<CornerTree::Place> inTheWay_;
  std::size_t testsLeft_ = spareTests;
};

}  // namespace ornolith
