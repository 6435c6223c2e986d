#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <random>

#include "scenegraph/PolygonTriangulation.h"

namespace ornolith {
namespace {

using Corners = std::vector<simd_double3>;

std::vector<std::uint32_t> triangulated(const Corners& corners) {
  std::vector<std::uint32_t> triangles;
  PolygonTriangulator().triangulate(corners, triangles);
  return triangles;
}

simd_double3 areaVector(const Corners& corners) {
  simd_double3 sum{};
  for (std::size_t i = 1; i + 1 < corners.size(); ++i) {
    sum = sum + cross(corners[i] - corners[0], corners[i + 1] - corners[0]) * 0.5;
  }
  return sum;
}

// Every triangle winds like the polygon, and together they cover its area: for a simple polygon this is exactly a
// triangulation without overlap.
void expectCovers(const Corners& corners) {
  const std::vector<std::uint32_t> triangles = triangulated(corners);
  ASSERT_EQ(triangles.size(), (corners.size() - 2) * 3);
  const simd_double3 whole = areaVector(corners);
  const simd_double3 normal = whole / length(whole);
  double area = 0;
  for (std::size_t i = 0; i < triangles.size(); i += 3) {
    const simd_double3 part = areaVector({corners[triangles[i]], corners[triangles[i + 1]], corners[triangles[i + 2]]});
    EXPECT_GE(dot(part, normal), -1e-12);
    area += length(part);
  }
  EXPECT_NEAR(area, length(whole), 1e-9 * length(whole));
}

Corners tilted(const Corners& flat) {
  Corners corners;
  for (const simd_double3& p : flat) {
    corners.push_back({p.x * 0.36 - p.y * 0.8, p.x * 0.48 + p.y * 0.6, p.x * 0.8 + 2});
  }
  return corners;
}

TEST(PolygonTriangulation, ConvexPolygonsBecomeFans) {
  EXPECT_EQ(triangulated({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}), (std::vector<std::uint32_t>{0, 1, 2, 0, 2, 3}));
  EXPECT_EQ(triangulated({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}), (std::vector<std::uint32_t>{0, 1, 2}));
  EXPECT_TRUE(triangulated({{0, 0, 0}, {1, 0, 0}}).empty());
}

TEST(PolygonTriangulation, AnArrowheadIsCutAtItsDent) {
  const Corners dart{{0, 0, 0}, {2, -1, 0}, {0.5, 0, 0}, {2, 1, 0}};
  for (std::size_t start = 0; start < dart.size(); ++start) {
    Corners turned;
    for (std::size_t i = 0; i < dart.size(); ++i) turned.push_back(dart[(start + i) % dart.size()]);
    expectCovers(turned);
    expectCovers(tilted(turned));
    expectCovers({turned.rbegin(), turned.rend()});
  }
}

TEST(PolygonTriangulation, CombsAndStarsInAnyPlaneAreCovered) {
  Corners comb;
  for (int i = 0; i < 50; ++i) {
    comb.push_back({i * 1.0, 0, 0});
    comb.push_back({i + 0.5, 0.1 + (i % 7), 0});
  }
  comb.push_back({50, 10, 0});
  comb.push_back({-1, 10, 0});
  expectCovers(comb);
  expectCovers(tilted(comb));

  std::mt19937_64 random(9);
  std::uniform_real_distribution<double> radius(0.2, 1);
  for (int round = 0; round < 50; ++round) {
    Corners star;
    for (int i = 0; i < 40; ++i) {
      const double angle = i * std::numbers::pi / 20;
      const double r = radius(random);
      star.push_back({r * std::cos(angle), r * std::sin(angle), 0});
    }
    expectCovers(star);
    expectCovers(tilted(star));
  }
}

TEST(PolygonTriangulation, ASpiralIsCovered) {
  Corners spiral;
  for (int i = 0; i <= 200; ++i) {
    const double angle = i * 0.1;
    spiral.push_back({(1 + angle) * std::cos(angle), (1 + angle) * std::sin(angle), 0});
  }
  for (int i = 200; i >= 0; --i) {
    const double angle = i * 0.1;
    spiral.push_back({(0.7 + angle) * std::cos(angle), (0.7 + angle) * std::sin(angle), 0});
  }
  expectCovers(spiral);
}

TEST(PolygonTriangulation, WhatIsNoPolygonStillGivesItsNumberOfTriangles) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(triangulated(Corners(10, simd_double3{1, 1, 1})).size(), 24U);
  EXPECT_EQ(triangulated(Corners(10, simd_double3{nan, 1, 1})).size(), 24U);
  EXPECT_EQ(triangulated({{0, 0, 0}, {1, 1, 0}, {1, 0, 0}, {0, 1, 0}, {5, 5, 0}}).size(), 9U);
}

TEST(PolygonTriangulation, CornersAreNeverOutOfRange) {
  std::mt19937_64 random(10);
  std::uniform_int_distribution<int> coordinate(-2, 2);
  for (int round = 0; round < 300; ++round) {
    Corners corners(3 + random() % 20);
    for (simd_double3& p : corners) {
      p = {double(coordinate(random)), double(coordinate(random)), double(coordinate(random))};
    }
    const auto triangles = triangulated(corners);
    EXPECT_EQ(triangles.size(), (corners.size() - 2) * 3);
    for (const std::uint32_t corner : triangles) EXPECT_LT(corner, corners.size());
  }
}

TEST(PolygonTriangulation, LargeHostilePolygonsEndSoon) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(triangulated(Corners(20'000, simd_double3{nan, 0, 0})).size(), 19'998U * 3);
  Corners zigzag;
  for (int i = 0; i < 20'000; ++i) zigzag.push_back({i * 1.0, i % 2 * 1.0, 0});
  zigzag.push_back({10'000, -1, 0});
  EXPECT_EQ(triangulated(zigzag).size(), 19'999U * 3);
}

}  // namespace
}  // namespace ornolith
