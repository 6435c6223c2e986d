#include "scenegraph/PolygonTriangulation.h"

#include <cmath>
#include <optional>

namespace ornolith {
namespace {

simd_double3 newellNormal(std::span<const simd_double3> corners) {
  simd_double3 normal{};
  for (std::size_t i = 0; i < corners.size(); ++i) {
    const simd_double3 a = corners[i];
    const simd_double3 b = corners[(i + 1) % corners.size()];
    normal.x += (a.y - b.y) * (a.z + b.z);
    normal.y += (a.z - b.z) * (a.x + b.x);
    normal.z += (a.x - b.x) * (a.y + b.y);
  }
  return normal;
}

constexpr std::uint32_t noCorner = ~std::uint32_t{0};

void appendTriangle(std::vector<std::uint32_t>& triangles, std::uint32_t a, std::uint32_t b, std::uint32_t c) {
  triangles.insert(triangles.end(), {a, b, c});
}

}  // namespace

void PolygonTriangulator::triangulate(std::span<const simd_double3> corners, std::vector<std::uint32_t>& triangles) {
  if (corners.size() < 3) return;
  if (corners.size() == 3) {
    appendTriangle(triangles, 0, 1, 2);
    return;
  }
  testsLeft_ += corners.size() * testsPerCorner;
  project(corners);
  if (fanTurnsOneWay()) {
    for (std::uint32_t i = 1; i + 1 < points_.size(); ++i) appendTriangle(triangles, 0, i, i + 1);
    return;
  }
  clipEars(triangles);
}

// Leaves out the axis along which the normal is longest, so that the other two coordinates stay as they are.
void PolygonTriangulator::project(std::span<const simd_double3> corners) {
  const simd_double3 normal = newellNormal(corners);
  const simd_double3 size{std::abs(normal.x), std::abs(normal.y), std::abs(normal.z)};
  std::size_t left = 2;
  if (size.x > size.y && size.x > size.z) {
    left = 0;
  } else if (size.y > size.z) {
    left = 1;
  }
  const bool isReversed = normal[left] < 0;
  const std::size_t first = (left + (isReversed ? 2 : 1)) % 3;
  const std::size_t second = (left + (isReversed ? 1 : 2)) % 3;
  points_.clear();
  points_.reserve(corners.size());
  for (const simd_double3& corner : corners) points_.push_back({corner[first], corner[second]});
}

bool PolygonTriangulator::fanTurnsOneWay() const {
  for (std::size_t i = 1; i + 1 < points_.size(); ++i) {
    if (!(turn(points_[0], points_[i], points_[i + 1]) >= 0)) return false;
  }
  return true;
}

void PolygonTriangulator::clipEars(std::vector<std::uint32_t>& triangles) {
  const auto count = static_cast<std::uint32_t>(points_.size());
  next_.resize(count);
  previous_.resize(count);
  for (std::uint32_t i = 0; i < count; ++i) {
    next_[i] = (i + 1) % count;
    previous_[i] = (i + count - 1) % count;
  }
  plantTree();
  candidates_.fill(count);
  firstWaiting_.assign(tree_.placeCount(), noCorner);
  nextWaiting_.resize(count);
  previousWaiting_.resize(count);
  inTheWay_.assign(count, CornerTree::noPlace);

  std::uint32_t corner = 0;
  for (std::uint32_t left = count; left > 3; --left) {
    if (testsLeft_ > 0) corner = nextEar(corner);
    const std::uint32_t after = next_[corner];
    appendTriangle(triangles, previous_[corner], corner, after);
    cut(corner);
    // Stepping over the next corner keeps ears from being cut off one fan after another. Without tests left the rest
    // is one fan.
    corner = testsLeft_ > 0 ? next_[after] : after;
  }
  appendTriangle(triangles, previous_[corner], corner, next_[corner]);
}

// In a simple polygon an ear that holds any corner holds one that is not convex.
void PolygonTriangulator::plantTree() {
  hasOnlyReflexInTree_ = points_.size() > plainCorners;
  members_.clear();
  for (std::uint32_t i = 0; i < points_.size(); ++i) {
    if (!hasOnlyReflexInTree_ || !isConvex(i)) members_.push_back(i);
  }
  tree_.build(points_, members_, hasOnlyReflexInTree_ ? CornerTree::Reach::box : CornerTree::Reach::unlimited);
}

bool PolygonTriangulator::isConvex(std::uint32_t corner) const {
  return turn(points_[previous_[corner]], points_[corner], points_[next_[corner]]) > 0;
}

// The first ear from this corner on. Without any the polygon is not simple: any corner goes then.
std::uint32_t PolygonTriangulator::nextEar(std::uint32_t from) {
  std::optional<std::size_t> candidate = candidates_.firstFrom(from);
  while (true) {
    if (!candidate) candidate = candidates_.firstFrom(0);
    if (!candidate) return from;
    const auto corner = static_cast<std::uint32_t>(*candidate);
    if (isEar(corner) || testsLeft_ == 0) return corner;
    candidates_.erase(corner);
    candidate = candidates_.firstFrom(corner);
  }
}

bool PolygonTriangulator::isEar(std::uint32_t corner) {
  --testsLeft_;
  const PlanePoint& a = points_[previous_[corner]];
  const PlanePoint& b = points_[corner];
  const PlanePoint& c = points_[next_[corner]];
  if (!(turn(a, b, c) > 0)) return false;
  const CornerTree::Place last = inTheWay_[corner];
  if (last != CornerTree::noPlace && tree_.isWithin(last, a, b, c)) return false;
  const CornerTree::Place found = tree_.findWithin(a, b, c, corner, testsLeft_);
  if (found == CornerTree::noPlace) return true;
  stopWaiting(corner);
  waitFor(corner, found);
  return false;
}

void PolygonTriangulator::cut(std::uint32_t corner) {
  const std::uint32_t before = previous_[corner];
  const std::uint32_t after = next_[corner];
  next_[before] = after;
  previous_[after] = before;
  stopWaiting(corner);
  candidates_.erase(corner);
  candidates_.insert(before);
  candidates_.insert(after);
  takeFromTree(corner);
  if (!hasOnlyReflexInTree_) return;
  if (isConvex(before)) takeFromTree(before);
  if (isConvex(after)) takeFromTree(after);
}

void PolygonTriangulator::takeFromTree(std::uint32_t corner) {
  const CornerTree::Place emptied = tree_.remove(corner);
  if (emptied == CornerTree::noPlace) return;
  while (firstWaiting_[emptied] != noCorner) {
    candidates_.insert(firstWaiting_[emptied]);
    stopWaiting(firstWaiting_[emptied]);
  }
}

void PolygonTriangulator::waitFor(std::uint32_t corner, CornerTree::Place place) {
  std::uint32_t& first = firstWaiting_[place];
  if (first != noCorner) previousWaiting_[first] = corner;
  nextWaiting_[corner] = first;
  previousWaiting_[corner] = noCorner;
  first = corner;
  inTheWay_[corner] = place;
}

void PolygonTriangulator::stopWaiting(std::uint32_t corner) {
  const CornerTree::Place place = inTheWay_[corner];
  if (place == CornerTree::noPlace) return;
  const std::uint32_t before = previousWaiting_[corner];
  const std::uint32_t after = nextWaiting_[corner];
  (before == noCorner ? firstWaiting_[place] : nextWaiting_[before]) = after;
  if (after != noCorner) previousWaiting_[after] = before;
  inTheWay_[corner] = CornerTree::noPlace;
}

}  // namespace ornolith
