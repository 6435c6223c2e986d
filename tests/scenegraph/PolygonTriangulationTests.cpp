#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <numeric>
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

double turnOf(const simd_double3& a, const simd_double3& b, const simd_double3& c) {
  return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

bool isPlainEar(const Corners& corners, const std::vector<std::uint32_t>& left, std::size_t at) {
  const simd_double3 a = corners[left[(at + left.size() - 1) % left.size()]];
  const simd_double3 b = corners[left[at]];
  const simd_double3 c = corners[left[(at + 1) % left.size()]];
  if (!(turnOf(a, b, c) > 0)) return false;
  const auto isSamePlace = [](const simd_double3& p, const simd_double3& q) { return p.x == q.x && p.y == q.y; };
  return std::none_of(left.begin(), left.end(), [&](std::uint32_t other) {
    const simd_double3 p = corners[other];
    return !isSamePlace(p, a) && !isSamePlace(p, b) && !isSamePlace(p, c) && turnOf(a, b, p) >= 0 &&
           turnOf(b, c, p) >= 0 && turnOf(c, a, p) >= 0;
  });
}

// Looks at every corner for every ear, walking around a counter-clockwise polygon in the plane z = 0.
std::vector<std::uint32_t> plainlyClipped(const Corners& corners) {
  std::vector<std::uint32_t> left(corners.size());
  std::iota(left.begin(), left.end(), 0U);
  std::vector<std::uint32_t> triangles;
  std::size_t at = 0;
  const auto cut = [&] {
    for (const std::size_t corner : {at + left.size() - 1, at, at + 1}) {
      triangles.push_back(left[corner % left.size()]);
    }
  };
  while (left.size() > 3) {
    for (std::size_t step = 0; step < left.size(); ++step) {
      const std::size_t candidate = (at + step) % left.size();
      if (!isPlainEar(corners, left, candidate)) continue;
      at = candidate;
      break;
    }
    cut();
    const std::size_t afterNext = (at + 2) % left.size();
    left.erase(left.begin() + static_cast<std::ptrdiff_t>(at));
    at = afterNext > at ? afterNext - 1 : afterNext;
  }
  cut();
  return triangles;
}

bool isFan(const std::vector<std::uint32_t>& triangles) {
  for (std::size_t i = 0; i < triangles.size(); i += 3) {
    if (triangles[i] != 0) return false;
  }
  return true;
}

// Twice the signed area as the normal of the polygon in z tells it.
double newellArea(const Corners& corners) {
  double area = 0;
  for (std::size_t i = 0; i < corners.size(); ++i) {
    const simd_double3 a = corners[i];
    const simd_double3 b = corners[(i + 1) % corners.size()];
    area += (a.x - b.x) * (a.y + b.y);
  }
  return area;
}

// Clockwise polygons in the plane z = 0 are seen from behind, with x and y exchanged.
void expectPlainEars(Corners corners) {
  const std::vector<std::uint32_t> triangles = triangulated(corners);
  if (newellArea(corners) < 0) {
    for (simd_double3& p : corners) p = {p.y, p.x, 0};
  }
  if (isFan(triangles) && !isFan(plainlyClipped(corners))) {
    for (std::size_t i = 0; i < triangles.size(); i += 3) {
      EXPECT_GE(turnOf(corners[0], corners[triangles[i + 1]], corners[triangles[i + 2]]), 0);
    }
    return;
  }
  EXPECT_EQ(triangles, plainlyClipped(corners));
}

Corners randomStar(std::size_t count, std::mt19937_64& random) {
  std::uniform_real_distribution<double> radius(0.2, 1);
  Corners star;
  for (std::size_t i = 0; i < count; ++i) {
    const double angle = 2 * std::numbers::pi * double(i) / double(count);
    const double r = radius(random);
    star.push_back({r * std::cos(angle), r * std::sin(angle), 0});
  }
  return star;
}

Corners randomComb(std::size_t teeth, std::mt19937_64& random) {
  std::uniform_real_distribution<double> depth(1, 9.9);
  Corners comb;
  for (std::size_t i = 0; i < teeth; ++i) {
    comb.push_back({double(i), 0, 0});
    comb.push_back({double(i) + 0.5, depth(random), 0});
  }
  comb.push_back({double(teeth), 10, 0});
  comb.push_back({-1, 10, 0});
  return comb;
}

// A band of `count` corners on either side, wound around the origin.
Corners spiralBand(int count, double step) {
  Corners spiral;
  const auto add = [&](int i, double start) {
    const double angle = i * step;
    spiral.push_back({(start + angle) * std::cos(angle), (start + angle) * std::sin(angle), 0});
  };
  for (int i = 0; i < count; ++i) add(i, 1);
  for (int i = count - 1; i >= 0; --i) add(i, 0.7);
  return spiral;
}

// The tests that the triangulation of a polygon took, for each of its corners.
double testsPerCorner(const Corners& corners) {
  std::vector<std::uint32_t> triangles;
  PolygonTriangulator triangulator;
  const std::size_t before = triangulator.testsLeft() + corners.size() * PolygonTriangulator::testsPerCorner;
  triangulator.triangulate(corners, triangles);
  EXPECT_EQ(triangles.size(), (corners.size() - 2) * 3);
  return double(before - triangulator.testsLeft()) / double(corners.size());
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

TEST(PolygonTriangulation, SimplePolygonsLoseTheirEarsInTheOrderOfAPlainWalk) {
  std::mt19937_64 random(11);
  for (int round = 0; round < 60; ++round) {
    const std::size_t count = 4 + random() % 197;
    Corners star = randomStar(count, random);
    expectPlainEars(star);
    expectPlainEars({star.rbegin(), star.rend()});
    expectPlainEars(randomComb(2 + count / 2, random));
  }
  expectPlainEars(spiralBand(100, 0.2));
  expectPlainEars(spiralBand(20, 0.2));
}

TEST(PolygonTriangulation, CrossingPolygonsAreCutInTheOrderOfAPlainWalkToo) {
  std::mt19937_64 random(12);
  std::uniform_real_distribution<double> anywhere(-1, 1);
  for (int round = 0; round < 150; ++round) {
    const auto places = static_cast<int>(2 + random() % 12);
    Corners crossing(4 + random() % 197);
    Corners onGrid(crossing.size());
    for (simd_double3& p : crossing) p = {anywhere(random), anywhere(random), 0};
    for (simd_double3& p : onGrid) p = {double(int(random() % 64) % places), double(int(random() % 64) % places), 0};
    expectPlainEars(crossing);
    if (newellArea(onGrid) != 0) expectPlainEars(onGrid);
  }
}

TEST(PolygonTriangulation, LargeConcavePolygonsAreCovered) {
  std::mt19937_64 random(13);
  Corners star;
  for (int i = 0; i < 20'000; ++i) {
    const double angle = i * std::numbers::pi / 10'000;
    const double r = i % 2 == 0 ? 1 : 0.5;
    star.push_back({r * std::cos(angle), r * std::sin(angle), 0});
  }
  for (const Corners& corners :
       {star, randomStar(20'000, random), randomComb(10'000, random), spiralBand(10'000, 0.1)}) {
    expectCovers(corners);
    EXPECT_LT(testsPerCorner(corners), 200);
  }
}

TEST(PolygonTriangulation, AConcaveArcIsNotWalkedAgainForEveryEar) {
  Corners bay{{100, 100, 0}, {-100, 100, 0}};
  for (int i = -10'000; i <= 10'000; ++i) {
    const double x = i * 0.005;
    bay.push_back({x, 50 - x * x * 0.02, 0});
  }
  expectCovers(bay);
  EXPECT_LT(testsPerCorner(bay), 200);
}

TEST(PolygonTriangulation, LargeHostilePolygonsEndSoon) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(triangulated(Corners(20'000, simd_double3{nan, 0, 0})).size(), 19'998U * 3);
  Corners zigzag;
  for (int i = 0; i < 20'000; ++i) zigzag.push_back({i * 1.0, i % 2 * 1.0, 0});
  zigzag.push_back({10'000, -1, 0});
  EXPECT_EQ(triangulated(zigzag).size(), 19'999U * 3);
  std::mt19937_64 random(14);
  std::uniform_real_distribution<double> anywhere(-1, 1);
  Corners crossing(20'000);
  for (simd_double3& p : crossing) p = {anywhere(random), anywhere(random), 0};
  EXPECT_LT(testsPerCorner(crossing), 500);
  for (simd_double3& p : crossing) p = {double(random() % 2), double(random() % 2), 0};
  EXPECT_LT(testsPerCorner(crossing), 500);
}

}  // namespace
}  // namespace ornolith
