#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "raster/FrameBuilder.h"
#include "raster/SceneOfEverything.h"

namespace ornolith {
namespace {

using namespace test;

const simd_float4 white{1, 1, 1, 1};

/// FNV-1a over the pixels.
std::uint64_t hashOf(const Image& image) {
  std::uint64_t hash = 0xcbf29ce484222325;
  for (const std::uint8_t byte : image.pixels) hash = (hash ^ byte) * 0x100000001b3;
  return hash;
}

TEST(Device, GivesTheRecordedBytesOnEveryMachineAndCompiler) {
  // To be recorded anew whenever a change is meant to show in the picture.
  EXPECT_EQ(hashOf(everything(400, 301).render()), 0xa7989daf2fcf5aa7u);
}

TEST(Device, ReusesItsBuffersWithoutTrace) {
  const auto device = makeCPURenderDevice();
  const std::array<std::pair<std::uint32_t, std::uint32_t>, 5> sizes{
      {{400, 301}, {31, 200}, {1, 1}, {130, 7}, {400, 301}}};
  for (const auto& [width, height] : sizes) {
    const FrameBuilder scene = everything(width, height);
    ASSERT_TRUE(device->render(scene.frame) == scene.render()) << width << " by " << height;
  }
  device->releaseResources();
  const FrameBuilder scene = everything(64, 64);
  EXPECT_TRUE(device->render(scene.frame) == scene.render());
}

TEST(Device, DrawsAnyShapeOfImage) {
  for (const auto& [width, height] :
       {std::pair{1u, 1u}, std::pair{8192u, 1u}, std::pair{1u, 8192u}, std::pair{65u, 63u}}) {
    FrameBuilder scene(width, height);
    scene.frame.camera.usesOrthographicProjection = true;
    scene.frame.camera.orthographicScale = 1;
    scene.add(quad(-1e5f, -1e5f, 1e5f, 1e5f, -2), FrameBuilder::constantMaterial(white));
    const Image image = scene.render();
    EXPECT_EQ(image.width, width);
    EXPECT_EQ(image.height, height);
    EXPECT_EQ(coveredPixels(image), std::size_t{width} * height);
  }
}

TEST(Device, DrawsAnEmptyFrame) {
  FrameBuilder scene(10, 10);
  EXPECT_EQ(coveredPixels(scene.render()), 0u);
  MeshData none = quad(-1, -1, 1, 1, -2);
  none.indices.clear();
  scene.add(none, FrameBuilder::constantMaterial(white));
  EXPECT_EQ(coveredPixels(scene.render()), 0u);
  EXPECT_THROW(FrameBuilder(20000, 1).render(), std::length_error);
}

TEST(Device, DrawsThePlaceOfEachItem) {
  // One mesh, placed twice; items that use few vertices of a large mesh are drawn alike.
  FrameBuilder scene(64, 64);
  scene.pixelUnits();
  MeshData mesh = quad(-4, -4, 4, 4, -1);
  mesh.positions.resize(30000, 7);
  mesh.normals.clear();
  mesh.texcoords.clear();
  device::DrawItem& item = scene.add(mesh, FrameBuilder::constantMaterial(white));
  device::DrawItem second = item;
  item.worldMatrix.columns[3] = {-16, 16, 0, 1};
  second.worldMatrix.columns[3] = {16, -16, 0, 1};
  scene.frame.opaqueItems.push_back(second);
  const Image image = scene.render();
  EXPECT_EQ(coveredPixels(image), 128u);
  EXPECT_EQ(pixelAt(image, 16, 16)[3], 255);
  EXPECT_EQ(pixelAt(image, 48, 48)[3], 255);
}

/// The reference intersects rays through pixel centres with all triangles in double precision. Pixels that see a side
/// of some triangle, or two depths that are almost equal, are left out.
TEST(Device, AgreesWithRayCastingOnDepthOrder) {
  constexpr int count = 120;
  constexpr std::uint32_t side = 96;
  std::mt19937 random(11);
  std::uniform_real_distribution<float> spread(-3, 3), away(-6, -1);
  FrameBuilder scene(side, side);
  std::array<std::array<simd_double3, 3>, count> triangles;
  for (int t = 0; t < count; ++t) {
    MeshData mesh;
    for (std::size_t k = 0; k < 3; ++k) {
      const simd_float3 p{spread(random), spread(random), away(random)};
      mesh.positions.insert(mesh.positions.end(), {p.x, p.y, p.z});
      triangles[static_cast<std::size_t>(t)][k] = vectorCast<double>(p);
    }
    mesh.indices = {0, 1, 2};
    device::Material material = FrameBuilder::constantMaterial({0, 0, 0, 1});
    material.isDoubleSided = true;
    // The number of the triangle, in two digits of 16 levels that survive the encoding.
    material.diffuse.value.x = static_cast<float>(t % 16) / 16.0f;
    material.diffuse.value.y = static_cast<float>(t / 16 + 1) / 16.0f;
    scene.add(mesh, material);
  }
  const Image image = scene.render();
  int checked = 0;
  for (std::uint32_t y = 0; y < side; ++y) {
    for (std::uint32_t x = 0; x < side; ++x) {
      const simd_double3 ray{(x + 0.5 - 48) / 48.0, (48 - y - 0.5) / 48.0, -1};
      int first = -1;
      double nearest = 1e30, second = 1e30;
      bool isClear = true;
      for (int t = 0; t < count; ++t) {
        const auto& [a, b, c] = triangles[static_cast<std::size_t>(t)];
        const double volume = dot(ray, cross(b - a, c - a));
        const double distance = dot(a, cross(b - a, c - a)) / volume;
        const simd_double3 p = ray * distance;
        const simd_double3 n = cross(b - a, c - a);
        const double area = dot(n, n);
        const double w0 = dot(n, cross(c - b, p - b)) / area, w1 = dot(n, cross(a - c, p - c)) / area,
                     w2 = dot(n, cross(b - a, p - a)) / area;
        const double least = std::min({w0, w1, w2});
        if (std::abs(least) < 0.003) isClear = false;
        if (least < 0) continue;
        if (distance < nearest) {
          second = nearest;
          nearest = distance;
          first = t;
        } else {
          second = std::min(second, distance);
        }
      }
      if (!isClear || second - nearest < 1e-3) continue;
      ++checked;
      const auto pixel = pixelAt(image, x, y);
      if (first < 0) {
        ASSERT_EQ(pixel[3], 0) << x << ", " << y;
        continue;
      }
      const auto level = [](int code) {
        const double v = code / 255.0;
        return static_cast<int>(std::lround(16 * (v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4))));
      };
      ASSERT_EQ((level(pixel[1]) - 1) * 16 + level(pixel[0]), first) << x << ", " << y;
    }
  }
  EXPECT_GT(checked, 2500);
}

TEST(Lines, AreOnePixelWideAndRunFromEndToEnd) {
  FrameBuilder scene(32, 32);
  scene.pixelUnits();
  MeshData line{{-10, -3, -1, 10, 4, -1}, {}, {}, {}, {}, {0, 1}};
  scene.add(line, FrameBuilder::constantMaterial(white), false, device::Topology::lines);
  const Image image = scene.render();
  EXPECT_EQ(coveredPixels(image), 20u);
  for (std::uint32_t x = 6; x < 26; ++x) {
    const double y = 16 - (-3 + 7.0 * ((x + 0.5 - 16) + 10) / 20);
    EXPECT_EQ(pixelAt(image, x, static_cast<std::uint32_t>(std::floor(y)))[3], 255) << x;
  }
}

TEST(Lines, AreTheSameEitherWay) {
  for (const bool isReversed : {false, true}) {
    static Image first;
    FrameBuilder scene(64, 64);
    MeshData lines;
    std::mt19937 random(4);
    std::uniform_real_distribution<float> place(-2, 2);
    for (std::uint32_t i = 0; i < 100; ++i) {
      lines.positions.insert(lines.positions.end(), {place(random), place(random), place(random) - 1.5f});
      lines.indices.push_back(i ^ (isReversed ? 1u : 0u));
    }
    scene.add(lines, FrameBuilder::constantMaterial(white), false, device::Topology::lines);
    if (!isReversed) {
      first = scene.render();
      EXPECT_GT(coveredPixels(first), 200u);
    } else {
      EXPECT_TRUE(scene.render() == first);
    }
  }
}

TEST(Lines, OfAChainHaveNoDoubles) {
  FrameBuilder scene(64, 64);
  scene.pixelUnits();
  device::Material material = FrameBuilder::constantMaterial({1, 1, 1, 0.5f});
  material.readsDepth = material.writesDepth = false;
  MeshData chain;
  for (std::uint32_t i = 0; i <= 20; ++i) {
    chain.positions.insert(chain.positions.end(),
                           {-30 + 3.1f * static_cast<float>(i), 5.0f * std::sin(static_cast<float>(i)) * 0.3f, -1});
    if (i > 0) chain.indices.insert(chain.indices.end(), {i - 1, i});
  }
  scene.add(chain, material, true, device::Topology::lines);
  const Image image = scene.render();
  EXPECT_EQ(coveredPixels(image), 62u);
  for (std::uint32_t x = 0; x < 64; ++x) {
    for (std::uint32_t y = 0; y < 64; ++y) {
      const int alpha = pixelAt(image, x, y)[3];
      EXPECT_TRUE(alpha == 0 || alpha == 128) << x << ", " << y;
    }
  }
}

TEST(Lines, AreCutAtTheNearPlane) {
  FrameBuilder scene(64, 64);
  scene.add({{0.5f, 0, -100, 0.5f, 0, 5, -1, 3, 2, 1, 1, 2}, {}, {}, {}, {}, {0, 1, 2, 3}},
            FrameBuilder::constantMaterial(white), false, device::Topology::lines);
  const Image image = scene.render();
  // Only the first is in front of the camera: along the horizon, from the middle to the right border.
  EXPECT_EQ(coveredPixels(image), 32u);
  for (std::uint32_t x = 33; x < 64; ++x) EXPECT_EQ(pixelAt(image, x, 32)[3], 255) << x;
}

TEST(Lines, OfTrianglesDrawTheEdgesAlone) {
  FrameBuilder scene(64, 64);
  scene.pixelUnits();
  device::Material material = FrameBuilder::constantMaterial(white);
  material.fillsLines = true;
  scene.add(triangle({-20, -20, -1}, {20, -20, -1}, {-20, 20, -1}), material);
  const Image image = scene.render();
  EXPECT_EQ(pixelAt(image, 20, 44)[3], 0);
  EXPECT_EQ(pixelAt(image, 20, 52)[3], 255);
  EXPECT_EQ(pixelAt(image, 12, 40)[3], 255);
  EXPECT_NEAR(static_cast<double>(coveredPixels(image)), 118, 3);

  FrameBuilder back(64, 64);
  back.pixelUnits();
  back.add(triangle({-20, -20, -1}, {-20, 20, -1}, {20, -20, -1}), material);
  EXPECT_EQ(coveredPixels(back.render()), 0u);
  back.frame.materials[0].isDoubleSided = true;
  EXPECT_TRUE(back.render() == image);
}

TEST(Points, HaveTheirSizeWithinTheirLimits) {
  const auto area = [](float size, float least, float most, float distance) {
    FrameBuilder scene(64, 64);
    device::DrawItem& item = scene.add({{0, 0, -distance}, {}, {}, {}, {}, {0}}, FrameBuilder::constantMaterial(white),
                                       false, device::Topology::points);
    item.pointSize = size;
    item.minimumPointRadius = least;
    item.maximumPointRadius = most;
    return static_cast<double>(coveredPixels(scene.render()));
  };
  EXPECT_EQ(area(0, 0, 10, 2), 1);                    // Never less than a pixel.
  EXPECT_NEAR(area(1, 0, 100, 2), 3.14159 * 64, 12);  // 32 pixels a unit at distance 1: radius 8.
  EXPECT_NEAR(area(1, 10, 100, 2), 3.14159 * 100, 14);
  EXPECT_NEAR(area(1, 0, 5, 2), 3.14159 * 25, 8);
  EXPECT_EQ(area(1, 0, 5, -2), 0);
}

}  // namespace
}  // namespace ornolith
