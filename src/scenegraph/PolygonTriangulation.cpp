#include "scenegraph/PolygonTriangulation.h"

#include <cmath>

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

// Twice the signed area, positive for counter-clockwise corners.
template <typename Point>
double turn(const Point& a, const Point& b, const Point& c) {
  return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

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
  cornerTestsLeft_ += corners.size() * cornerTestsPerCorner;
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

bool PolygonTriangulator::isEar(std::uint32_t corner) {
  if (cornerTestsLeft_ == 0) return false;
  --cornerTestsLeft_;
  const std::uint32_t before = previous_[corner];
  const std::uint32_t after = next_[corner];
  const Point& a = points_[before];
  const Point& b = points_[corner];
  const Point& c = points_[after];
  if (!(turn(a, b, c) > 0)) return false;
  const auto isSamePlace = [](const Point& p, const Point& q) { return p.x == q.x && p.y == q.y; };
  for (std::uint32_t other = next_[after]; other != before; other = next_[other]) {
    if (cornerTestsLeft_ == 0) return false;
    --cornerTestsLeft_;
    const Point& p = points_[other];
    if (isSamePlace(p, a) || isSamePlace(p, b) || isSamePlace(p, c)) continue;
    if (turn(a, b, p) >= 0 && turn(b, c, p) >= 0 && turn(c, a, p) >= 0) return false;
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
  std::uint32_t corner = 0;
  std::uint32_t left = count;
  std::uint32_t refusals = 0;
  // After a whole round without an ear the polygon is not simple: any corner goes then.
  while (left > 3) {
    if (cornerTestsLeft_ > 0 && refusals < left && !isEar(corner)) {
      ++refusals;
      corner = next_[corner];
      continue;
    }
    const std::uint32_t before = previous_[corner];
    const std::uint32_t after = next_[corner];
    appendTriangle(triangles, before, corner, after);
    next_[before] = after;
    previous_[after] = before;
    --left;
    refusals = 0;
    // Stepping over the next corner keeps ears from being cut off one fan after another. Without tests left the rest
    // is one fan.
    corner = cornerTestsLeft_ > 0 ? next_[after] : after;
  }
  appendTriangle(triangles, previous_[corner], corner, next_[corner]);
}

}  // namespace ornolith
