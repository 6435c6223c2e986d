#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <vector>

#include "imaging/Color.h"
#include "raster/FrameBuilder.h"

namespace ornolith {
namespace {

using namespace test;

// The device against an independent and slow way to the same picture: rays through pixel centres that are intersected
// with every triangle in double precision.

struct TestTriangle {
  std::array<simd_double3, 3> corners;
  std::array<simd_double3, 3> colors;
};

struct Hit {
  int triangle = -1;
  double distance = 1e300;  ///< Along the camera's axis.
  double margin = 1e300;    ///< How much farther the next triangle is, relative to the distance.
  simd_double3 color;
};

/// The first triangle that the ray from `origin` along `ray` (with z = -1) meets beyond `zNear`.
Hit castRay(const std::vector<TestTriangle>& triangles, simd_double3 origin, simd_double3 ray, double zNear) {
  Hit hit;
  double next = 1e300;
  for (std::size_t t = 0; t < triangles.size(); ++t) {
    const simd_double3 a = triangles[t].corners[0] - origin;
    const simd_double3 e1 = triangles[t].corners[1] - triangles[t].corners[0];
    const simd_double3 e2 = triangles[t].corners[2] - triangles[t].corners[0];
    const simd_double3 normal = cross(e1, e2);
    const double slope = dot(ray, normal);
    if (slope == 0) continue;
    const double distance = dot(a, normal) / slope;
    const simd_double3 p = ray * distance - a;
    const double area = dot(normal, normal);
    const double v = dot(cross(p, e2), normal) / area, w = dot(cross(e1, p), normal) / area;
    if (v < 0 || w < 0 || v + w > 1 || !(distance >= zNear)) continue;
    next = std::min(next, std::max(distance, hit.distance));
    if (distance >= hit.distance) continue;
    hit.triangle = static_cast<int>(t);
    hit.distance = distance;
    hit.color = triangles[t].colors[0] * (1 - v - w) + triangles[t].colors[1] * v + triangles[t].colors[2] * w;
  }
  hit.margin = (next - hit.distance) / hit.distance;
  return hit;
}

struct Comparison {
  int compared = 0;
  int covered = 0;
  int wrong = 0;
};

/// Compares all pixels but those where a ray a little aside meets another triangle, or two are almost equally far.
Comparison compare(const Image& image, const std::vector<TestTriangle>& triangles, bool isOrthographic, double zNear) {
  Comparison result;
  const double half = image.height * 0.5, perPixel = (isOrthographic ? 2.0 : 1.0) / half;
  const auto castAt = [&](double x, double y) {
    const simd_double3 point{(x - image.width * 0.5) * perPixel, (half - y) * perPixel, -1};
    return isOrthographic ? castRay(triangles, {point.x, point.y, 0}, {0, 0, -1}, zNear)
                          : castRay(triangles, {0, 0, 0}, point, zNear);
  };
  for (std::uint32_t y = 0; y < image.height; ++y) {
    for (std::uint32_t x = 0; x < image.width; ++x) {
      const Hit hit = castAt(x + 0.5, y + 0.5);
      bool isClear = hit.triangle < 0 || (hit.margin > 1e-3 && hit.distance > 1.01 * zNear);
      double colorChange = 0;
      for (const auto& [dx, dy] : {std::pair{0.03, 0.0}, {-0.03, 0.0}, {0.0, 0.03}, {0.0, -0.03}}) {
        const Hit aside = castAt(x + 0.5 + dx, y + 0.5 + dy);
        isClear = isClear && aside.triangle == hit.triangle;
        colorChange = std::max(colorChange, length(aside.color - hit.color));
      }
      // Where a colour changes by much from pixel to pixel, its place on the grid shows.
      if (!isClear || colorChange > 0.001) continue;
      ++result.compared;
      const std::array<int, 4> pixel = pixelAt(image, x, y);
      if (hit.triangle < 0) {
        result.wrong += pixel[3] != 0 ? 1 : 0;
        continue;
      }
      ++result.covered;
      const std::array<double, 3> color{hit.color.x, hit.color.y, hit.color.z};
      bool isRight = pixel[3] == 255;
      for (std::size_t c = 0; c < 3; ++c) {
        const int code = sRGB8FromLinear(static_cast<float>(color[c]));
        isRight = isRight && std::abs(code - pixel[c]) <= 1;
      }
      result.wrong += isRight ? 0 : 1;
    }
  }
  return result;
}

class RayCasting : public testing::TestWithParam<std::tuple<bool, double, int>> {};

TEST_P(RayCasting, AgreesOnCoverageDepthAndColors) {
  const auto& [isOrthographic, farthestBehind, seed] = GetParam();
  std::mt19937 random(static_cast<std::uint32_t>(seed));
  std::uniform_real_distribution<double> spread(-3, 3), away(-5, farthestBehind), level(0.1, 1);
  std::vector<TestTriangle> triangles;
  MeshData mesh;
  for (std::uint32_t t = 0; t < 40; ++t) {
    TestTriangle& triangle = triangles.emplace_back();
    const double size = t % 4 == 0 ? 1.0 : 0.2;
    const simd_double3 center{spread(random), spread(random), away(random)};
    for (std::size_t k = 0; k < 3; ++k) {
      const simd_double3 offset{spread(random), spread(random), spread(random)};
      const simd_float3 p = vectorCast<float>(center + offset * size);
      const simd_float3 c = vectorCast<float>(simd_double3{level(random), level(random), level(random)});
      triangle.corners[k] = vectorCast<double>(p);
      triangle.colors[k] = vectorCast<double>(c);
      mesh.positions.insert(mesh.positions.end(), {p.x, p.y, p.z});
      mesh.colors.insert(mesh.colors.end(), {c.x, c.y, c.z, 1});
      mesh.indices.push_back(static_cast<std::uint32_t>(mesh.indices.size()));
    }
  }
  FrameBuilder scene(100, 80);
  scene.frame.camera.zNear = 0.05;
  scene.frame.camera.usesOrthographicProjection = isOrthographic;
  scene.frame.camera.orthographicScale = 2;
  device::Material material = FrameBuilder::constantMaterial({1, 1, 1, 1});
  material.isDoubleSided = true;
  scene.add(mesh, material);
  const Comparison result = compare(scene.render(), triangles, isOrthographic, 0.05);
  EXPECT_EQ(result.wrong, 0);
  EXPECT_GT(result.compared, 4000);
  EXPECT_GT(result.covered, 500);
}
// Triangles in front of the camera alone, and through its plane and behind it.
INSTANTIATE_TEST_SUITE_P(OfRandomScenes, RayCasting,
                         testing::Combine(testing::Bool(), testing::Values(-1.0, 2.0), testing::Values(1, 2, 3)));

const simd_float4 white{1, 1, 1, 1};

TEST(LargeShapes, MatchExactArithmetic) {
  // Slivers and large triangles over many tiles, pixel by pixel, by the top-left rule in whole numbers.
  constexpr std::uint32_t width = 900, height = 700;
  std::mt19937 random(3);
  std::uniform_int_distribution<std::int64_t> column(-100 * 256, 1000 * 256), row(-100 * 256, 800 * 256),
      little(-300, 300);
  for (int round = 0; round < 16; ++round) {
    std::array<std::int64_t, 3> x{column(random), column(random), column(random)};
    std::array<std::int64_t, 3> y{row(random), row(random), row(random)};
    if (round % 2 == 0) {
      x[2] = (x[0] + x[1]) / 2 + little(random);
      y[2] = (y[0] + y[1]) / 2 + little(random);
    }
    const std::int64_t area = (x[1] - x[0]) * (y[2] - y[0]) - (y[1] - y[0]) * (x[2] - x[0]);
    if (area < 0) {
      std::swap(x[1], x[2]);
      std::swap(y[1], y[2]);
    }
    MeshData mesh;
    for (std::size_t k = 0; k < 3; ++k) {
      mesh.positions.insert(mesh.positions.end(), {static_cast<float>(x[k]) / 256.0f - width * 0.5f,
                                                   height * 0.5f - static_cast<float>(y[k]) / 256.0f, -1.0f});
    }
    mesh.indices = {0, 1, 2};
    FrameBuilder scene(width, height);
    scene.pixelUnits();
    device::Material material = FrameBuilder::constantMaterial(white);
    material.isDoubleSided = true;
    scene.add(mesh, material);
    const Image image = scene.render();
    std::size_t wrong = 0;
    for (std::uint32_t j = 0; j < height; ++j) {
      for (std::uint32_t i = 0; i < width; ++i) {
        bool isInside = area != 0;
        for (std::size_t k = 0; k < 3; ++k) {
          const std::size_t next = (k + 1) % 3;
          const std::int64_t dx = x[next] - x[k], dy = y[next] - y[k];
          const std::int64_t value =
              dx * (std::int64_t{j} * 256 + 128 - y[k]) - dy * (std::int64_t{i} * 256 + 128 - x[k]);
          isInside = isInside && (value > 0 || (value == 0 && (dy < 0 || (dy == 0 && dx > 0))));
        }
        wrong += (image.pixel(i, j)[3] == 255) != isInside ? 1 : 0;
      }
    }
    EXPECT_EQ(wrong, 0u) << "round " << round;
  }
}

TEST(LargeShapes, InGreatNumbersAreDrawnWhereverTheyAreNoted) {
  // More slivers than there is room to note at each of their tiles. Specks before them make more room, so that others
  // of the slivers are noted at fewer places: the picture must not change but for the specks' own pixel.
  constexpr std::uint32_t side = 3000, count = 1500, speckCount = 500;
  std::mt19937 random(8);
  std::uniform_real_distribution<float> place(-1450, 1450), away(-3, -1);
  MeshData slivers;
  for (std::uint32_t t = 0; t < count; ++t) {
    const float x = place(random), y = place(random), z = away(random);
    slivers.positions.insert(slivers.positions.end(), {x, y, z, -x, -y + 1.5f, z, -x + 1.5f, -y, z});
    for (std::uint32_t k = 0; k < 3; ++k) {
      slivers.colors.insert(slivers.colors.end(),
                            {static_cast<float>(t) / count, static_cast<float>(t % 32) / 32, 1, 1});
      slivers.indices.push_back(3 * t + k);
    }
  }
  MeshData specks = triangle({-1499.9f, 1499.1f, -0.5f}, {-1499.1f, 1499.1f, -0.5f}, {-1499.5f, 1499.9f, -0.5f});
  for (std::uint32_t i = 1; i < speckCount; ++i) specks.indices.insert(specks.indices.end(), {0, 1, 2});
  device::Material material = FrameBuilder::constantMaterial(white);
  material.isDoubleSided = true;
  Image images[2];
  for (const bool hasSpecks : {false, true}) {
    FrameBuilder scene(side, side);
    scene.pixelUnits();
    if (hasSpecks) scene.add(specks, material);
    scene.add(slivers, material);
    images[hasSpecks ? 1 : 0] = scene.render();
  }
  EXPECT_EQ(pixelAt(images[1], 0, 0)[3], 255);
  for (Image& image : images) std::fill_n(image.pixels.begin(), 4, std::uint8_t{0});
  EXPECT_TRUE(images[0] == images[1]);
  EXPECT_GT(coveredPixels(images[0]), 300000u);
}

TEST(LargeShapes, OfLinesHaveAPixelInEveryColumn) {
  constexpr std::uint32_t side = 2000;
  for (const bool isSteep : {false, true}) {
    for (const float rise : {0.0f, 0.37f, -0.999f}) {
      FrameBuilder scene(side, side);
      scene.pixelUnits();
      const std::array<float, 4> ends{-1500, -1500 * rise, 1500, 1500 * rise};
      MeshData line;
      line.positions = isSteep ? std::vector<float>{ends[1], ends[0], -1, ends[3], ends[2], -1}
                               : std::vector<float>{ends[0], ends[1], -1, ends[2], ends[3], -1};
      line.indices = {0, 1};
      scene.add(line, FrameBuilder::constantMaterial(white), false, device::Topology::lines);
      const Image image = scene.render();
      EXPECT_EQ(coveredPixels(image), std::size_t{side}) << isSteep << " " << rise;
    }
  }
}

TEST(LargeShapes, OfPointsAreDiscs) {
  constexpr std::uint32_t side = 1400;
  constexpr double radius = 511.3;
  FrameBuilder scene(side, side);
  scene.pixelUnits();
  device::DrawItem& item = scene.add({{37, -21, -1}, {}, {}, {}, {}, {0}}, FrameBuilder::constantMaterial(white), false,
                                     device::Topology::points);
  item.pointSize = 1;
  item.minimumPointRadius = item.maximumPointRadius = static_cast<float>(radius);
  const Image image = scene.render();
  std::size_t wrong = 0;
  for (std::uint32_t y = 0; y < side; ++y) {
    for (std::uint32_t x = 0; x < side; ++x) {
      const double distance = std::hypot(x + 0.5 - (side * 0.5 + 37), y + 0.5 - (side * 0.5 + 21));
      if (std::abs(distance - radius) < 0.01) continue;
      wrong += (image.pixel(x, y)[3] == 255) != (distance < radius) ? 1 : 0;
    }
  }
  EXPECT_EQ(wrong, 0u);
}

TEST(ClosedMesh, OfAMillionRandomTrianglesIsCoveredExactlyOnce) {
  // From the inside of a surface that each ray from the camera meets once: cells of a sphere with corners moved at
  // random, at random distances, so that triangles of all slants and sizes share edges.
  constexpr std::uint32_t rings = 500, segments = 1000;
  std::mt19937 random(17);
  std::uniform_real_distribution<double> jitter(-0.2, 0.2), distance(0.5, 50);
  MeshData mesh;
  for (std::uint32_t ring = 0; ring <= rings; ++ring) {
    for (std::uint32_t segment = 0; segment < segments; ++segment) {
      const double theta = math::pi * (ring + jitter(random)) / rings;
      const double phi = 2 * math::pi * (segment + jitter(random)) / segments;
      const double r = distance(random);
      mesh.positions.insert(mesh.positions.end(), {static_cast<float>(r * std::sin(theta) * std::sin(phi)),
                                                   static_cast<float>(r * std::cos(theta)),
                                                   static_cast<float>(r * std::sin(theta) * std::cos(phi))});
    }
  }
  for (std::uint32_t ring = 0; ring < rings; ++ring) {
    for (std::uint32_t segment = 0; segment < segments; ++segment) {
      const std::uint32_t next = segment + 1 == segments ? 0 : segment + 1;
      const std::uint32_t a = ring * segments + segment, b = ring * segments + next, c = a + segments, d = b + segments;
      if (random() % 2 == 0) {
        mesh.indices.insert(mesh.indices.end(), {a, b, d, a, d, c});
      } else {
        mesh.indices.insert(mesh.indices.end(), {a, b, c, b, d, c});
      }
    }
  }
  FrameBuilder scene(320, 240);
  device::Material material = FrameBuilder::constantMaterial({1, 1, 1, 0.5f});
  material.isDoubleSided = true;
  material.readsDepth = material.writesDepth = false;
  scene.add(mesh, material, true);
  scene.frame.camera.zNear = 1e-3;
  const Image image = scene.render();
  std::size_t wrong = 0;
  for (std::size_t i = 3; i < image.pixels.size(); i += 4) wrong += image.pixels[i] != 128 ? 1 : 0;
  EXPECT_EQ(wrong, 0u);
}

TEST(ManyTriangles, WithinOneTileLeaveTheNearestInSight) {
  // A million triangles smaller than a pixel over one another: the last and nearest layer covers all.
  MeshData mesh;
  const auto addLayer = [&](std::uint32_t cells, float z) {
    const auto first = static_cast<std::uint32_t>(mesh.positions.size() / 3);
    const float step = 64.0f / static_cast<float>(cells);
    for (std::uint32_t j = 0; j <= cells; ++j) {
      for (std::uint32_t i = 0; i <= cells; ++i) {
        mesh.positions.insert(mesh.positions.end(),
                              {-32 + step * static_cast<float>(i), -32 + step * static_cast<float>(j), z});
        mesh.colors.insert(mesh.colors.end(), {z + 2, z + 2, z + 2, 1});
      }
    }
    for (std::uint32_t j = 0; j < cells; ++j) {
      for (std::uint32_t i = 0; i < cells; ++i) {
        const std::uint32_t a = first + j * (cells + 1) + i, b = a + 1, c = a + cells + 1, d = c + 1;
        mesh.indices.insert(mesh.indices.end(), {a, b, d, a, d, c});
      }
    }
  };
  for (int layer = 0; layer < 10; ++layer) addLayer(224, -1.9f + 0.1f * static_cast<float>(layer));
  FrameBuilder scene(64, 64);
  scene.pixelUnits();
  scene.add(mesh, FrameBuilder::constantMaterial(white));
  const Image image = scene.render();
  for (std::size_t i = 0; i < image.pixels.size(); i += 4) ASSERT_EQ(image.pixels[i], 255) << i / 4;
}

}  // namespace
}  // namespace ornolith
