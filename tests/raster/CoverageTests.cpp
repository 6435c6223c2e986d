#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>

#include "raster/FrameBuilder.h"
#include "raster/TriangleSetup.h"

namespace ornolith {
namespace {

using namespace test;

const simd_float4 white{1, 1, 1, 1};

/// Adds 1/255 of a code's worth of coverage: in premultiplied light every covering triangle adds the same opacity.
device::Material countingMaterial() {
  device::Material material = FrameBuilder::constantMaterial({1.0f / 64.0f, 0, 0, 1});
  material.blendMode = device::BlendMode::add;
  material.isDoubleSided = true;
  material.readsDepth = false;
  material.writesDepth = false;
  return material;
}

std::uint8_t codeOf(int layers) {
  FrameBuilder scene(1, 1);
  scene.pixelUnits();
  for (int i = 0; i < layers; ++i) scene.add(quad(-2, -2, 2, 2, -1), countingMaterial(), true);
  return scene.render().pixels[0];
}

/// Coverage decided by exact integer arithmetic on the 1/256 grid with the top-left rule, y downwards.
bool coversExactly(const std::array<std::int64_t, 3>& x, const std::array<std::int64_t, 3>& y, std::int64_t px,
                   std::int64_t py) {
  const std::int64_t area = (x[1] - x[0]) * (y[2] - y[0]) - (y[1] - y[0]) * (x[2] - x[0]);
  if (area == 0) return false;
  for (std::size_t k = 0; k < 3; ++k) {
    std::size_t a = k, b = (k + 1) % 3;
    if (area < 0) std::swap(a, b);
    const std::int64_t dx = x[b] - x[a], dy = y[b] - y[a];
    const std::int64_t value = dx * (py - y[a]) - dy * (px - x[a]);
    const bool isTopLeft = dy < 0 || (dy == 0 && dx > 0);
    if (value < 0 || (value == 0 && !isTopLeft)) return false;
  }
  return true;
}

TEST(Coverage, FollowsTheTopLeftRule) {
  // The lower right half of a square whose sides pass through pixel centres: left and top belong, right and bottom do
  // not.
  FrameBuilder scene(8, 8);
  scene.pixelUnits();
  scene.add(quad(-2.5f, -2.5f, 1.5f, 1.5f, -1), FrameBuilder::constantMaterial(white));
  const Image image = scene.render();
  EXPECT_EQ(coveredPixels(image), 16u);
  EXPECT_EQ(pixelAt(image, 1, 2)[3], 255);  // Left side, top side: centre (1.5, 2.5) is the corner (-2.5, 1.5).
  EXPECT_EQ(pixelAt(image, 5, 2)[3], 0);    // Right side.
  EXPECT_EQ(pixelAt(image, 1, 6)[3], 0);    // Lower side.
  EXPECT_EQ(pixelAt(image, 4, 5)[3], 255);
}

TEST(Coverage, MatchesExactArithmeticForRandomTriangles) {
  std::mt19937 random(7);
  std::uniform_int_distribution<int> coordinate(-40 * 256, 168 * 256);
  for (int round = 0; round < 60; ++round) {
    std::array<std::int64_t, 3> x{}, y{};
    MeshData mesh;
    for (std::size_t k = 0; k < 3; ++k) {
      // Every third round has corners close together, for slivers and grid coincidences.
      x[k] = round % 3 == 0 ? 128 * (coordinate(random) / 4096) : coordinate(random);
      y[k] = round % 3 == 0 ? 128 * (coordinate(random) / 4096) : coordinate(random);
      mesh.positions.insert(mesh.positions.end(), {static_cast<float>(x[k]) / 256.0f - 64.0f,
                                                   64.0f - static_cast<float>(y[k]) / 256.0f, -1.0f});
    }
    mesh.indices = {0, 1, 2};
    FrameBuilder scene(128, 128);
    scene.pixelUnits();
    device::Material material = FrameBuilder::constantMaterial(white);
    material.isDoubleSided = true;
    scene.add(mesh, material);
    const Image image = scene.render();
    for (std::uint32_t j = 0; j < 128; ++j) {
      for (std::uint32_t i = 0; i < 128; ++i) {
        const bool expected = coversExactly(x, y, std::int64_t{i} * 256 + 128, std::int64_t{j} * 256 + 128);
        ASSERT_EQ(pixelAt(image, i, j)[3] == 255, expected) << "round " << round << " pixel " << i << ", " << j;
      }
    }
  }
}

TEST(Coverage, MatchesExactArithmeticForSmallTrianglesAcrossTilesAndBorders) {
  // Up to and beyond the size that is drawn from spans of rows, about the corner of four tiles and over the borders.
  std::mt19937 random(11);
  std::uniform_int_distribution<int> column(-60 * 256, 140 * 256), row(-10 * 256, 100 * 256);
  std::uniform_int_distribution<int> wide(-35 * 256, 35 * 256), low(-10 * 256, 10 * 256);
  for (int round = 0; round < 400; ++round) {
    const std::int64_t step = std::array{1, 64, 128}[static_cast<std::size_t>(round % 3)];
    const int centerX = round % 2 == 0 ? column(random) : 64 * 256, centerY = round % 2 == 0 ? row(random) : 64 * 256;
    std::array<std::int64_t, 3> x{}, y{};
    MeshData mesh;
    for (std::size_t k = 0; k < 3; ++k) {
      x[k] = (centerX + wide(random)) / step * step;
      y[k] = (centerY + low(random)) / step * step;
      mesh.positions.insert(mesh.positions.end(), {static_cast<float>(x[k]) / 256.0f - 50.0f,
                                                   45.0f - static_cast<float>(y[k]) / 256.0f, -1.0f});
    }
    mesh.indices = {0, 1, 2};
    FrameBuilder scene(100, 90);
    scene.pixelUnits();
    device::Material material = FrameBuilder::constantMaterial(white);
    material.isDoubleSided = true;
    scene.add(mesh, material);
    const Image image = scene.render();
    for (std::uint32_t j = 0; j < 90; ++j) {
      for (std::uint32_t i = 0; i < 100; ++i) {
        const bool expected = coversExactly(x, y, std::int64_t{i} * 256 + 128, std::int64_t{j} * 256 + 128);
        ASSERT_EQ(pixelAt(image, i, j)[3] == 255, expected) << "round " << round << " pixel " << i << ", " << j;
      }
    }
  }
}

TEST(TriangleSetup, MakesTwoRecordsOfATriangleAtMost) {
  // Lying in one tile, across a border, and about a corner of four; each several times, for whole vectors of them.
  using namespace raster;
  const TileGrid grid(128, 128);
  const auto recordsAt = [&grid](std::int32_t x, std::int32_t y) {
    constexpr std::int32_t half = 4 * subpixelOne;
    x *= subpixelOne;
    y *= subpixelOne;
    const ScreenVertex corners[] = {
        {x - half, y - half, 0.5f, 1}, {x + half, y - half, 0.5f, 1}, {x, y + half, 0.5f, 1}};
    std::vector<std::uint32_t> indices;
    for (std::uint32_t i = 0; i < 3 * 40; ++i) indices.push_back(i % 3);
    RecordList records;
    const bool isDone = setUpTriangles(
        {indices.data(), corners, 0, 0, 40, 0, true, true, false, grid}, [](auto) { FAIL(); }, records);
    EXPECT_TRUE(isDone);
    return std::vector<std::uint32_t>(records.tiles().begin(), records.tiles().end());
  };
  EXPECT_EQ(recordsAt(30, 100), std::vector<std::uint32_t>(40, 2));
  const std::vector<std::uint32_t> across = recordsAt(64, 30);
  ASSERT_EQ(across.size(), 80);
  for (std::size_t i = 0; i < across.size(); ++i) EXPECT_EQ(across[i], i % 2);
  EXPECT_EQ(recordsAt(64, 64), std::vector<std::uint32_t>(40, severalTiles));
}

/// A square cut into cells whose inner corners are moved at random: its triangles share all edges but the border's.
MeshData jitteredGrid(std::uint32_t cells, float halfSide, float z, std::uint32_t seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> jitter(-0.2f, 0.2f);
  MeshData mesh;
  const float step = 2 * halfSide / static_cast<float>(cells);
  for (std::uint32_t j = 0; j <= cells; ++j) {
    for (std::uint32_t i = 0; i <= cells; ++i) {
      const bool isInner = i > 0 && j > 0 && i < cells && j < cells;
      mesh.positions.insert(mesh.positions.end(),
                            {-halfSide + step * (static_cast<float>(i) + (isInner ? jitter(random) : 0.0f)),
                             -halfSide + step * (static_cast<float>(j) + (isInner ? jitter(random) : 0.0f)), z});
    }
  }
  for (std::uint32_t j = 0; j < cells; ++j) {
    for (std::uint32_t i = 0; i < cells; ++i) {
      const std::uint32_t a = j * (cells + 1) + i, b = a + 1, c = a + cells + 1, d = c + 1;
      if (random() % 2 == 0) {
        mesh.indices.insert(mesh.indices.end(), {a, b, d, a, d, c});
      } else {
        mesh.indices.insert(mesh.indices.end(), {a, b, c, b, d, c});
      }
    }
  }
  return mesh;
}

class SharedEdges : public testing::TestWithParam<std::uint32_t> {};

TEST_P(SharedEdges, AreCoveredExactlyOnce) {
  FrameBuilder scene(200, 150);
  scene.pixelUnits();
  scene.add(jitteredGrid(GetParam(), 300, -1, GetParam()), countingMaterial(), true);
  const Image image = scene.render();
  const std::uint8_t once = codeOf(1);
  ASSERT_GT(once, 0);
  for (std::size_t i = 0; i < image.pixels.size(); i += 4) ASSERT_EQ(image.pixels[i], once) << "pixel " << i / 4;
}
INSTANTIATE_TEST_SUITE_P(CellsASide, SharedEdges, testing::Values(1, 3, 17, 100, 700));

TEST(Coverage, OfAClosedMeshIsEvenEverywhere) {
  // Each line of sight enters a closed surface as often as it leaves it: at most two layers for a convex one.
  FrameBuilder scene(256, 256);
  scene.add(sphere({0.01f, 0.02f, -2}, 1.3f, 90, 110), countingMaterial(), true);
  const Image image = scene.render();
  const int none = 0, two = codeOf(2);
  std::size_t covered = 0;
  for (std::size_t i = 0; i < image.pixels.size(); i += 4) {
    ASSERT_TRUE(image.pixels[i] == none || image.pixels[i] == two) << "pixel " << i / 4 << " " << int{image.pixels[i]};
    covered += image.pixels[i] == two ? 1 : 0;
  }
  EXPECT_GT(covered, 20000u);
}

TEST(Coverage, HasNoGapsThroughTheNearPlane) {
  // The camera stands inside of a closed sphere: every pixel is covered exactly once, whatever is cut.
  FrameBuilder scene(160, 120);
  scene.frame.camera.zNear = 0.25;
  MeshData ball = sphere({0.1f, -0.05f, 0.2f}, 0.9f, 40, 40);
  scene.add(ball, countingMaterial(), true);
  const Image image = scene.render();
  const int once = codeOf(1);
  for (std::size_t i = 0; i < image.pixels.size(); i += 4) ASSERT_EQ(image.pixels[i], once) << "pixel " << i / 4;
}

TEST(Coverage, HasNoGapsThroughTheGuardBand) {
  FrameBuilder scene(160, 120);
  scene.frame.camera.zNear = 1e-6;
  scene.add(jitteredGrid(6, 1000, -0.01f, 3), countingMaterial(), true);
  const Image image = scene.render();
  const int once = codeOf(1);
  for (std::size_t i = 0; i < image.pixels.size(); i += 4) ASSERT_EQ(image.pixels[i], once) << "pixel " << i / 4;
}

TEST(Coverage, OfASphereHasTheAreaOfItsSilhouette) {
  FrameBuilder scene(512, 512);
  scene.add(sphere({0, 0, -4}, 1.5f, 256, 256), FrameBuilder::constantMaterial(white));
  // The cone that touches the sphere has sin = r / d; the image plane at distance 1 is 256 pixels a unit.
  const double sine = 1.5 / 4.0;
  const double radius = 256.0 * sine / std::sqrt(1 - sine * sine);
  const double area = 3.14159265358979 * radius * radius;
  EXPECT_NEAR(static_cast<double>(coveredPixels(scene.render())), area, area * 0.002);
}

TEST(Culling, LeavesOutTheBacksOfSingleSidedFaces) {
  const MeshData front = triangle({-1, -1, -2}, {1, -1, -2}, {0, 1, -2});
  const MeshData back = triangle({-1, -1, -2}, {0, 1, -2}, {1, -1, -2});
  for (const bool isDoubleSided : {false, true}) {
    for (const bool isMirrored : {false, true}) {
      for (const bool isBack : {false, true}) {
        FrameBuilder scene(64, 64);
        device::Material material = FrameBuilder::constantMaterial(white);
        material.isDoubleSided = isDoubleSided;
        device::DrawItem& item = scene.add(isBack ? back : front, material);
        item.isMirrored = isMirrored;
        if (isMirrored) item.worldMatrix.columns[0].x = -1;
        // Mirrored, the triangle's winding on the screen flips, and with it what counts as its front.
        EXPECT_EQ(coveredPixels(scene.render()) > 0, isDoubleSided || !isBack) << isDoubleSided << isMirrored << isBack;
      }
    }
  }
}

TEST(Clipping, CutsTrianglesAtTheNearPlane) {
  // A floor from far in front to far behind the camera: it covers exactly the half below the horizon.
  FrameBuilder scene(64, 64);
  scene.add({{-1000, -1, 1000, 1000, -1, 1000, 0, -1, -1e7f}, {}, {}, {}, {}, {0, 1, 2}},
            FrameBuilder::constantMaterial(white));
  const Image image = scene.render();
  for (std::uint32_t y = 0; y < 64; ++y) {
    const std::array<int, 4> middle = pixelAt(image, 32, y);
    EXPECT_EQ(middle[3], y >= 32 ? 255 : 0) << y;
  }
}

TEST(Clipping, DrawsNothingBehindTheCamera) {
  FrameBuilder scene(64, 64);
  device::Material material = FrameBuilder::constantMaterial(white);
  material.isDoubleSided = true;
  scene.add(triangle({-1, -1, 2}, {1, -1, 2}, {0, 1, 2}), material);
  scene.add(triangle({-1, -1, -0.0005f}, {1, -1, -0.0005f}, {0, 1, -0.0005f}), material);
  EXPECT_EQ(coveredPixels(scene.render()), 0u);
}

TEST(Clipping, KeepsWhatIsFarAway) {
  FrameBuilder scene(64, 64);
  scene.add(quad(-1e9f, -1e9f, 1e9f, 1e9f, -2e9f), FrameBuilder::constantMaterial(white));
  EXPECT_EQ(coveredPixels(scene.render()), 32u * 32u);
}

TEST(Garbage, NeverReachesThePicture) {
  const float inf = std::numeric_limits<float>::infinity();
  const float nan = std::numeric_limits<float>::quiet_NaN();
  for (const float bad : {inf, -inf, nan}) {
    for (std::size_t place = 0; place < 9; ++place) {
      FrameBuilder scene(32, 32);
      MeshData mesh = triangle({-1, -1, -2}, {1, -1, -2}, {0, 1, -2});
      mesh.positions[place] = bad;
      device::Material material = FrameBuilder::constantMaterial(white);
      material.isDoubleSided = true;
      scene.add(mesh, material);
      material.fillsLines = true;
      scene.add(mesh, material);
      scene.add(mesh, material, true);
      EXPECT_EQ(coveredPixels(scene.render()), 0u) << bad << " at " << place;
    }
  }
}

TEST(Garbage, OfHugeCoordinatesCoversWhatItShould) {
  // Corners up to 1e30 with the camera inside of the triangle's cone: the whole picture.
  FrameBuilder scene(48, 48);
  device::Material material = FrameBuilder::constantMaterial(white);
  material.isDoubleSided = true;
  scene.add(triangle({-1e30f, -1e30f, -1}, {1e30f, -1e30f, -1}, {0, 1e30f, -1}), material);
  EXPECT_EQ(coveredPixels(scene.render()), 48u * 48u);

  FrameBuilder outside(48, 48);
  outside.add(triangle({1e30f, 1e30f, -1}, {2e30f, 1e30f, -1}, {1e30f, 2e30f, -1}), material);
  EXPECT_EQ(coveredPixels(outside.render()), 0u);
}

TEST(Garbage, OfZeroAreaDrawsNothing) {
  FrameBuilder scene(32, 32);
  device::Material material = FrameBuilder::constantMaterial(white);
  material.isDoubleSided = true;
  scene.add(triangle({-1, 0, -2}, {1, 0, -2}, {0, 0, -2}), material);
  scene.add(triangle({0, 0, -2}, {0, 0, -2}, {0, 0, -2}), material);
  scene.add(triangle({-1, -1, -2}, {1, 1, -2}, {1, 1, -2}), material);
  EXPECT_EQ(coveredPixels(scene.render()), 0u);
}

TEST(Garbage, InMatricesDrawsNothingOrSomethingDefined) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const double value : {0.0, 1e300, -1e300, nan, std::numeric_limits<double>::infinity()}) {
    FrameBuilder scene(16, 16);
    scene.add(quad(-1, -1, 1, 1, -2), FrameBuilder::litMaterial(device::LightingModel::physicallyBased, white))
        .worldMatrix.columns[0]
        .x = value;
    scene.add(quad(-1, -1, 1, 1, -2), FrameBuilder::litMaterial(device::LightingModel::blinn, white)).worldMatrix =
        simd_double4x4{{simd_double4{}, simd_double4{}, simd_double4{}, simd_double4{value, 0, 0, value}}};
    EXPECT_EQ(scene.render().pixels.size(), 16u * 16u * 4u);
    scene.frame.camera.viewMatrix.columns[2].z = value;
    EXPECT_EQ(scene.render().pixels.size(), 16u * 16u * 4u);
  }
}

TEST(Garbage, FromRandomBitsIsDrawnWithoutHarm) {
  std::mt19937 random(99);
  FrameBuilder scene(128, 96);
  MeshData mesh;
  for (int i = 0; i < 9000; ++i) mesh.positions.push_back(std::bit_cast<float>(static_cast<std::uint32_t>(random())));
  for (int i = 0; i < 9000; ++i) mesh.normals.push_back(std::bit_cast<float>(static_cast<std::uint32_t>(random())));
  for (int i = 0; i < 6000; ++i) mesh.texcoords.push_back(std::bit_cast<float>(static_cast<std::uint32_t>(random())));
  for (int i = 0; i < 12000; ++i) mesh.colors.push_back(std::bit_cast<float>(static_cast<std::uint32_t>(random())));
  for (std::uint32_t i = 0; i < 6000; ++i) mesh.indices.push_back(static_cast<std::uint32_t>(random() % 3000));
  scene.frame.directionalLights.push_back({{0, 0, -1}, {1, 1, 1}});
  device::Material material = FrameBuilder::litMaterial(device::LightingModel::physicallyBased, white);
  material.isDoubleSided = true;
  material.diffuse.texture = scene.addTexture(solidImage(5, 3, {200, 100, 50, 128}), true, true);
  material.diffuse.wrapS = device::WrapMode::repeat;
  material.diffuse.wrapT = device::WrapMode::mirror;
  material.normal.texture = scene.addTexture(solidImage(7, 7, {130, 120, 250, 255}), false);
  scene.add(mesh, material);
  scene.add(mesh, material, true);
  scene.add(mesh, material, false, device::Topology::lines);
  scene.add(mesh, material, true, device::Topology::points).pointSize = 1e30f;
  material.fillsLines = true;
  scene.add(mesh, material);
  EXPECT_EQ(scene.render().pixels.size(), 128u * 96u * 4u);
}

}  // namespace
}  // namespace ornolith
