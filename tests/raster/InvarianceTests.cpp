#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <vector>

#include "foundation/Parallel.h"
#include "imaging/Color.h"
#include "raster/PixelOutput.h"
#include "raster/SceneOfEverything.h"

namespace ornolith {
namespace {

using namespace test;

/// Each test runs with each instruction set that the machine has.
class InstructionSet : public testing::TestWithParam<std::int64_t> {
 protected:
  void SetUp() override { hwy::SetSupportedTargetsForTest(GetParam()); }
  void TearDown() override { hwy::SetSupportedTargetsForTest(0); }

  /// What the machine's best instruction set makes of the scene.
  static Image reference(const FrameBuilder& scene) {
    hwy::SetSupportedTargetsForTest(0);
    Image image;
    withThreadLimit(1, [&] { image = scene.render(); });
    hwy::SetSupportedTargetsForTest(GetParam());
    return image;
  }
};

INSTANTIATE_TEST_SUITE_P(OfThisMachine, InstructionSet, testing::ValuesIn(hwy::SupportedAndGeneratedTargets()),
                         [](const auto& set) { return std::string(hwy::TargetName(set.param)); });

/// The same triangles; only one vertex in `distance` is one of theirs.
MeshData spread(const MeshData& mesh, std::uint32_t distance) {
  MeshData result;
  const auto repeat = [distance](const std::vector<float>& values, std::size_t components, std::vector<float>& out) {
    for (std::size_t i = 0; i < values.size() * distance; ++i) {
      out.push_back(values[i / (components * distance) * components + i % components]);
    }
  };
  repeat(mesh.positions, 3, result.positions);
  repeat(mesh.colors, 4, result.colors);
  for (const std::uint32_t index : mesh.indices) result.indices.push_back(index * distance);
  return result;
}

/// Triangles of all sizes and shapes, from parts of a pixel to the whole picture, some through the camera's plane, some
/// with the same depths; with garbage among their corners where wanted. One vertex in `distance` is used.
FrameBuilder triangleSoup(std::uint32_t width, std::uint32_t height, bool hasGarbage, std::uint32_t distance = 1) {
  std::mt19937 random(21);
  std::uniform_real_distribution<float> place(-1, 1), exponent(-9, 1);
  FrameBuilder scene(width, height);
  scene.frame.background = {0.2f, 0.1f, 0.4f, 0.7f};
  for (const bool isBlended : {false, true}) {
    MeshData mesh;
    for (std::uint32_t t = 0; t < 3000; ++t) {
      const float size = std::exp2(exponent(random)), z = t % 7 == 0 ? -2.0f : -2 + 2.5f * place(random);
      const float thin = t % 3 == 0 ? 0.01f : 1.0f;
      const float x = 2.5f * place(random), y = 2.5f * place(random);
      for (std::uint32_t k = 0; k < 3; ++k) {
        mesh.positions.insert(mesh.positions.end(), {x + size * place(random), y + thin * size * place(random),
                                                     t % 7 == 0 ? z : z + size * place(random)});
        mesh.colors.insert(mesh.colors.end(), {place(random), place(random), place(random), 1});
        mesh.indices.push_back(3 * t + k);
      }
    }
    if (hasGarbage) {
      for (std::size_t i = 0; i < mesh.positions.size(); i += 97) {
        mesh.positions[i] = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
      }
      mesh.positions[5] = std::numeric_limits<float>::infinity();
      mesh.positions[500] = std::numeric_limits<float>::quiet_NaN();
    }
    mesh = spread(mesh, distance);
    device::Material material = FrameBuilder::constantMaterial({1, 1, 1, isBlended ? 0.3f : 1.0f});
    material.isDoubleSided = isBlended;
    scene.add(mesh, material, isBlended);
    material.blendMode = device::BlendMode::replace;
    material.readsDepth = !isBlended;
    scene.add(mesh, material, isBlended).worldMatrix.columns[3] = {0.3, 0.1, -1, 1};
  }
  return scene;
}

TEST_P(InstructionSet, GivesTheSameBytesOnAnyNumberOfThreads) {
  const FrameBuilder scene = everything(400, 301);
  const Image expected = reference(scene);
  for (const std::size_t threads : {1u, 2u, 3u, 16u}) {
    withThreadLimit(threads, [&] { ASSERT_TRUE(scene.render() == expected) << threads; });
  }
}

TEST_P(InstructionSet, DrawsTrianglesOfAllSizesAlike) {
  for (const auto& [width, height] : {std::pair{333u, 290u}, std::pair{1100u, 70u}, std::pair{13u, 9u}}) {
    for (const bool hasGarbage : {false, true}) {
      const FrameBuilder scene = triangleSoup(width, height, hasGarbage);
      ASSERT_TRUE(scene.render() == reference(scene)) << width << " by " << height << " " << hasGarbage;
    }
  }
}

TEST_P(InstructionSet, DrawsDenseMeshesAlike) {
  FrameBuilder scene(256, 256);
  scene.frame.directionalLights.push_back({{0, 0, -1}, {1, 1, 1}});
  device::Material material = FrameBuilder::litMaterial(device::LightingModel::blinn, {0.5f, 0.6f, 0.7f, 1});
  scene.add(sphere({0, 0, -2}, 1.4f, 300, 300), material);
  material.isDoubleSided = true;
  material.diffuse.value.w = 0.5f;
  scene.add(sphere({0.2f, 0.1f, -1.5f}, 0.4f, 100, 100), material, true);
  EXPECT_TRUE(scene.render() == reference(scene));
  scene.pixelUnits();
  scene.frame.camera.orthographicScale = 1.6;
  EXPECT_TRUE(scene.render() == reference(scene));
}

TEST_P(InstructionSet, DrawsTrianglesAlikeWhoseVerticesLieFarApart) {
  // Vertices among many unused ones are transformed one by one, and their triangles set up on their own.
  const Image expected = triangleSoup(210, 190, true).render();
  EXPECT_TRUE(triangleSoup(210, 190, true, 5).render() == expected);
}

TEST_P(InstructionSet, ReadsPositionsAtAnyDistance) {
  // The same vertices one behind the other and with other data between them.
  FrameBuilder scene(96, 96);
  const MeshData ball = sphere({0, 0, -2}, 1.2f, 31, 29);
  scene.add(ball, FrameBuilder::constantMaterial({1, 1, 1, 1}));
  const Image expected = scene.render();
  std::vector<float> spread(ball.positions.size() / 3 * 7, 1e9f);
  for (std::size_t i = 0; i < ball.positions.size(); ++i) spread[i / 3 * 7 + i % 3] = ball.positions[i];
  scene.frame.meshes[0].position.data = spread.data();
  scene.frame.meshes[0].position.stride = 7;
  EXPECT_TRUE(scene.render() == expected);
}

using Colors = std::array<float, std::size_t{4} * raster::tileSide>;

/// The encoding of one pixel by its definition.
std::array<std::uint8_t, 4> encodedPlainly(const float* color) {
  const float alpha = color[3] > 0 ? (color[3] < 1 ? color[3] : 1.0f) : 0.0f;
  const float scale = alpha > 0 ? 1.0f / alpha : 0.0f;
  return {sRGB8FromLinear(color[0] * scale), sRGB8FromLinear(color[1] * scale), sRGB8FromLinear(color[2] * scale),
          static_cast<std::uint8_t>(alpha * 255.0f + 0.5f)};
}

void expectPlainCodes(const raster::OutputTable& table, const Colors& colors) {
  raster::EncodedRow codes;
  encodePixels(table, colors, codes);
  for (std::size_t i = 0; i < codes.size(); i += 4) {
    const auto expected = encodedPlainly(&colors[i]);
    ASSERT_TRUE(std::equal(expected.begin(), expected.end(), codes.begin() + static_cast<std::ptrdiff_t>(i)))
        << colors[i] << " " << colors[i + 1] << " " << colors[i + 2] << " " << colors[i + 3];
  }
}

/// Encodes every `step`th float from 2^-14 to a little above 1 as an opaque grey.
void expectPlainCodesOfFloats(const raster::OutputTable& table, std::uint32_t step) {
  const auto end = std::bit_cast<std::uint32_t>(1.01f);
  Colors colors;
  colors.fill(1.0f);
  for (auto bits = std::bit_cast<std::uint32_t>(0x1p-14f); bits < end;) {
    for (std::size_t i = 0; i < colors.size(); ++i) {
      if (i % 4 == 3) continue;
      colors[i] = std::bit_cast<float>(bits);
      bits += step;
    }
    ASSERT_NO_FATAL_FAILURE(expectPlainCodes(table, colors));
  }
}

TEST_P(InstructionSet, EncodesFragmentsAsIfTheyWereStoredBefore) {
  const raster::OutputTable table;
  const auto batch = std::make_unique<raster::FragmentBatch>();
  const auto colors = std::make_unique<raster::TileColors>();
  constexpr std::size_t rowBytes = 300;
  std::vector<std::uint8_t> pixels(rowBytes * raster::tileSide);
  std::mt19937 random(2);
  const auto value = [&] { return static_cast<float>(random() % 70000) / 65536.0f - 0.01f; };
  for (const bool keepsAlpha : {false, true}) {
    for (std::size_t count = 1; count <= raster::batchSize; ++count) {
      batch->count = count;
      for (std::size_t i = 0; i < count; ++i) {
        // One by one, and in runs of neighbours that go on from row to row.
        const std::size_t stride = count % 2 == 0 ? 31 : 1;
        batch->pixel[i] = static_cast<std::uint16_t>((i * stride + count) % raster::tilePixels);
        for (auto* lane : {&batch->result.x, &batch->result.y, &batch->result.z, &batch->result.w})
          (*lane)[i] = value();
      }
      colors->clear({0, 0, 0, 0});
      std::fill(pixels.begin(), pixels.end(), std::uint8_t{0});
      storeFragments(*batch, keepsAlpha, *colors);
      encodeFragments(table, *batch, keepsAlpha, {pixels.data(), rowBytes});
      for (std::size_t row = 0; row < raster::tileSide; ++row) {
        raster::EncodedRow expected;
        encodePixels(table, std::span(colors->values).subspan(row * raster::rowValues).first<raster::rowValues>(),
                     expected);
        ASSERT_EQ(std::memcmp(pixels.data() + row * rowBytes, expected.data(), expected.size()), 0);
      }
    }
  }
}

TEST_P(InstructionSet, EncodesColorsByTheirDefinition) {
  const raster::OutputTable table;
  expectPlainCodesOfFloats(table, 211);
  const float inf = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
  const std::array<float, 14> values{0.0f, -0.0f,  1.0f,   -1.0f, 2.0f,  inf,  -inf,
                                     nan,  1e-38f, 1e-45f, 0.5f,  1e30f, -nan, 0.01f};
  std::mt19937 random(1);
  for (int round = 0; round < 4000; ++round) {
    Colors colors;
    for (float& value : colors) {
      value = round % 2 == 0 ? values[random() % values.size()] : static_cast<float>(random() % 65537) / 65536.0f;
    }
    ASSERT_NO_FATAL_FAILURE(expectPlainCodes(table, colors));
  }
}

TEST(ColorCodes, OfEveryFloatAreThoseOfTheDefinition) {
  // Outside of this range nothing is looked up.
  expectPlainCodesOfFloats(raster::OutputTable(), 1);
}

}  // namespace
}  // namespace ornolith
