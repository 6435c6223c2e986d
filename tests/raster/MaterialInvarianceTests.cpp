#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <limits>
#include <random>
#include <span>
#include <vector>

#include "foundation/Parallel.h"
#include "raster/FrameBuilder.h"
#include "raster/TextureHalving.h"
#include "raster/TexturePyramid.h"
#include "raster/TextureSampler.h"

namespace ornolith {
namespace {

using namespace test;
using namespace raster;

Image noiseImage(std::uint32_t width, std::uint32_t height, bool isOpaque) {
  std::mt19937 random(width * 1000 + height);
  Image image = solidImage(width, height, {0, 0, 0, 255});
  for (std::size_t i = 0; i < image.pixels.size(); ++i) {
    if (i % 4 != 3 || !isOpaque) image.pixels[i] = static_cast<std::uint8_t>(random());
  }
  return image;
}

/// Gives the slot a texture with a transform that turns, shears and moves.
void show(device::MaterialSlot& slot, std::int32_t texture, device::WrapMode wrap, float scale) {
  slot.texture = texture;
  slot.wrapS = slot.wrapT = wrap;
  const float transform[6] = {scale, 0.3f * scale, -0.2f * scale, 1.1f * scale, 0.13f, -0.4f};
  std::copy(std::begin(transform), std::end(transform), std::begin(slot.transform));
}

/// Spheres in a grid, each of another kind of material: together they use everything that a material may be.
class MaterialScene {
 public:
  MaterialScene() : scene(480, 360) {
    scene.frame.background = {0.2f, 0.3f, 0.1f, 0.6f};
    scene.frame.ambientLight = {0.2f, 0.15f, 0.1f};
    const float s = 1 / std::sqrt(3.0f);
    scene.frame.directionalLights = {{{-s, -s, -s}, {0.8f, 0.7f, 0.6f}}, {{0.6f, 0, -0.8f}, {0.3f, 0.3f, 0.5f}}};
    color = scene.addTexture(noiseImage(64, 64, true), true);
    holes = scene.addTexture(noiseImage(37, 51, false), true, true);
    data = scene.addTexture(noiseImage(64, 64, false), false, true);
    normal = scene.addTexture(noiseImage(128, 16, true), false);
    addPhysical();
    addPlain();
    addAlphaModes();
    addOddGeometry();
  }

  FrameBuilder scene;

 private:
  MeshData nextSphere() {
    const auto column = static_cast<float>(count_ % 5), row = static_cast<float>(count_ / 5);
    ++count_;
    return sphere({-1.05f + 0.525f * column, 0.75f - 0.5f * row, -1.4f}, 0.24f, 16, 20);
  }

  static device::Material physical() {
    return FrameBuilder::litMaterial(device::LightingModel::physicallyBased, {0.7f, 0.5f, 0.4f, 1});
  }

  void addPhysical() {
    device::Material material = physical();
    material.roughness.value.x = 0.3f;
    material.metalness.value.x = 0.7f;
    scene.add(nextSphere(), material);

    material.dielectricF0 = {0.166666657f, 0.0833333284f, 0.5f};
    material.specularStrength.value.x = 0.6f;
    material.clearCoat.value.x = 0.8f;
    material.clearCoatRoughness.value.x = 0.1f;
    material.emission.value = {0.1f, 0, 0.05f, 1};
    scene.add(nextSphere(), material);

    // Four properties of one picture, three of which read it at the same place.
    for (device::MaterialSlot* slot : {&material.roughness, &material.metalness, &material.ambientOcclusion}) {
      show(*slot, data, device::WrapMode::repeat, 2);
    }
    show(material.clearCoat, data, device::WrapMode::mirror, 5);
    material.roughness.component = device::TextureComponent::green;
    material.metalness.component = device::TextureComponent::blue;
    material.metalness.factor.x = 0.5f;
    material.clearCoat.component = device::TextureComponent::alpha;
    material.ambientOcclusion.intensity = 0.7f;
    show(material.diffuse, color, device::WrapMode::repeat, 2);
    material.diffuse.factor = {0.9f, 0.8f, 0.7f, 1};
    show(material.normal, normal, device::WrapMode::repeat, 1);
    material.normal.intensity = 0.6f;
    show(material.emission, holes, device::WrapMode::mirror, 3);
    material.emission.intensity = 0.3f;
    scene.add(nextSphere(), material);

    MeshData withTangents = nextSphere();
    for (std::size_t v = 0; v < withTangents.positions.size() / 3; ++v) {
      withTangents.tangents.insert(withTangents.tangents.end(), {1, 0.3f, -0.2f, v % 2 == 0 ? 1.0f : -1.0f});
      withTangents.colors.insert(withTangents.colors.end(), {0.5f, 1, static_cast<float>(v % 7) / 7, 1});
    }
    scene.add(withTangents, material);
  }

  void addPlain() {
    device::Material blinn = FrameBuilder::litMaterial(device::LightingModel::blinn, {0.3f, 0.6f, 0.3f, 1});
    blinn.specular.value = {0.5f, 0.4f, 0.3f, 1};
    blinn.shininess = 0.4f;
    scene.add(nextSphere(), blinn);
    show(blinn.specular, color, device::WrapMode::clamp, 1.5f);
    show(blinn.diffuse, color, device::WrapMode::clamp, 1.5f);
    blinn.specular.factor = {2, 0.5f, 1, 1};
    scene.add(nextSphere(), blinn);
    device::Material lambert = FrameBuilder::litMaterial(device::LightingModel::lambert, {0.8f, 0.8f, 0.2f, 1});
    show(lambert.normal, normal, device::WrapMode::mirror, 0.2f);
    scene.add(nextSphere(), lambert);
    device::Material constant = FrameBuilder::constantMaterial({1, 1, 1, 1});
    show(constant.diffuse, color, device::WrapMode::mirror, 40);
    scene.add(nextSphere(), constant);
  }

  void addAlphaModes() {
    device::Material material = physical();
    show(material.diffuse, holes, device::WrapMode::repeat, 1);
    material.isDoubleSided = true;
    scene.add(nextSphere(), material, true);
    material.alphaCutoff = 0.5f;
    material.alphaMode = device::AlphaMode::mask;
    material.diffuse.factor.w = 0.9f;
    scene.add(nextSphere(), material);
    material.transparency = 0.5f;
    scene.add(nextSphere(), material, true);
    material.alphaMode = device::AlphaMode::opaque;
    material.transparency = 1;
    scene.add(nextSphere(), material);
    material.alphaMode = device::AlphaMode::blend;
    material.alphaCutoff = 0.3f;
    show(material.transparent, data, device::WrapMode::clamp, 1);
    material.blendMode = device::BlendMode::replace;
    scene.add(nextSphere(), material);
    material.blendMode = device::BlendMode::add;
    scene.add(nextSphere(), material, true);
  }

  void addOddGeometry() {
    device::Material material = FrameBuilder::litMaterial(device::LightingModel::blinn, {0.8f, 0.3f, 0.6f, 1});
    material.isDoubleSided = true;
    MeshData broken = nextSphere();
    for (std::size_t i = 0; i < broken.normals.size(); i += 5) {
      broken.normals[i] = i % 2 == 0 ? 0 : std::numeric_limits<float>::quiet_NaN();
    }
    for (std::size_t i = 0; i < broken.texcoords.size(); i += 7) {
      broken.texcoords[i] = i % 3 == 0 ? 1e30f : std::numeric_limits<float>::infinity();
    }
    show(material.diffuse, color, device::WrapMode::repeat, 1);
    show(material.normal, normal, device::WrapMode::clamp, 1);
    scene.add(broken, material);
    material.fillsLines = true;
    scene.add(nextSphere(), material);
    scene.add(nextSphere(), material, false, device::Topology::points).maximumPointRadius = 4;
  }

  std::int32_t color = 0, holes = 0, data = 0, normal = 0;
  int count_ = 0;
};

class MaterialInstructionSet : public testing::TestWithParam<std::int64_t> {
 protected:
  void TearDown() override { hwy::SetSupportedTargetsForTest(0); }
};

INSTANTIATE_TEST_SUITE_P(OfThisMachine, MaterialInstructionSet, testing::ValuesIn(hwy::SupportedAndGeneratedTargets()),
                         [](const auto& set) { return std::string(hwy::TargetName(set.param)); });

TEST_P(MaterialInstructionSet, ShadesEveryKindOfMaterialToTheSameBytes) {
  const MaterialScene materials;
  const Image best = materials.scene.render();
  hwy::SetSupportedTargetsForTest(GetParam());
  for (const std::size_t threads : {1u, 2u, 3u, 16u}) {
    withThreadLimit(threads, [&] { EXPECT_TRUE(materials.scene.render() == best) << threads; });
  }
}

TEST_P(MaterialInstructionSet, ShadesHighlightsOfEveryWidthToTheSameBytes) {
  // Small triangles seen from both sides, whose normals are partly of no use.
  FrameBuilder scene(300, 200);
  scene.frame.ambientLight = {0.1f, 0.1f, 0.1f};
  scene.frame.directionalLights = {{{-0.6f, 0, -0.8f}, {0.8f, 0.7f, 0.6f}}, {{0, 0.6f, 0.8f}, {0.3f, 0.3f, 0.5f}}};
  auto addBall = [&, count = 0](const device::Material& material) mutable {
    const auto column = static_cast<float>(count % 6), row = static_cast<float>(count / 6);
    ++count;
    MeshData ball = sphere({-1.25f + 0.5f * column, 0.75f - 0.5f * row, -1.2f}, 0.24f, 40, 40);
    for (std::size_t i = 0; i < ball.normals.size(); i += 35) ball.normals[i] = i % 2 == 0 ? 0 : 1e19f;
    scene.add(ball, material);
  };
  device::Material blinn = FrameBuilder::litMaterial(device::LightingModel::blinn, {0.3f, 0.6f, 0.3f, 1});
  blinn.isDoubleSided = true;
  blinn.specular.value = {0.5f, 0.4f, 0.3f, 1};
  for (const float exponent : {0.0f, 0.5f, 1.0f, 2.0f, 7.0f, 14.0f, 51.2f, 128.0f, 1e6f}) {
    blinn.shininess = exponent / 128;
    addBall(blinn);
  }
  device::Material physical = FrameBuilder::litMaterial(device::LightingModel::physicallyBased, {0.7f, 0.5f, 0.4f, 1});
  for (const float roughness : {0.0f, 0.5f, 1.0f}) {
    for (const float metalness : {0.0f, 1.0f}) {
      for (const float coat : {0.0f, 1.0f}) {
        physical.roughness.value.x = roughness;
        physical.metalness.value.x = metalness;
        physical.clearCoat.value.x = coat;
        physical.clearCoatRoughness.value.x = 1 - roughness;
        physical.isDoubleSided = !physical.isDoubleSided;
        addBall(physical);
      }
    }
  }
  const Image best = scene.render();
  hwy::SetSupportedTargetsForTest(GetParam());
  EXPECT_TRUE(scene.render() == best);
}

/// FNV-1a over bytes.
std::uint64_t hashOf(std::span<const std::uint8_t> bytes) {
  std::uint64_t hash = 0xcbf29ce484222325;
  for (const std::uint8_t byte : bytes) hash = (hash ^ byte) * 0x100000001b3;
  return hash;
}

TEST(MaterialScene, HasTheRecordedBytesOnEveryMachineAndCompiler) {
  // To be recorded anew whenever a change is meant to show in the picture.
  EXPECT_EQ(hashOf(MaterialScene().scene.render().pixels), 0xe2acd37fb03067fdu);
}

TEST_P(MaterialInstructionSet, SamplesWildFootprintsToTheSameBits) {
  static const TexelTables tables;
  std::mt19937 random(3);
  const auto anyFloat = [&] {
    const auto bits = static_cast<std::uint32_t>(random());
    return random() % 3 == 0 ? std::bit_cast<float>(bits) : static_cast<float>(bits) * 1e-9f - 2;
  };
  for (const bool isSRGB : {false, true}) {
    for (const auto& [width, height] : {std::pair{1u, 1u}, std::pair{5u, 1u}, std::pair{1u, 9u}, std::pair{31u, 64u}}) {
      const TexturePyramid pyramid(std::make_shared<const Image>(noiseImage(width, height, false)), isSRGB, true,
                                   tables);
      for (const auto wrap : {device::WrapMode::clamp, device::WrapMode::repeat, device::WrapMode::mirror}) {
        device::MaterialSlot slot;
        slot.wrapS = slot.wrapT = wrap;
        const auto lanes = std::make_unique<CoordinateLanes>();
        for (Lane* lane : {&lanes->u, &lanes->v, &lanes->dudx, &lanes->dvdx, &lanes->dudy, &lanes->dvdy}) {
          for (float& value : *lane) value = anyFloat();
        }
        const TextureRead read{&pyramid, &slot};
        const auto best = std::make_unique<Lane4>(), other = std::make_unique<Lane4>();
        hwy::SetSupportedTargetsForTest(0);
        sampleTextures({&read, 1}, {lanes.get(), 1}, batchSize, {best.get(), 1});
        hwy::SetSupportedTargetsForTest(GetParam());
        sampleTextures({&read, 1}, {lanes.get(), 1}, batchSize, {other.get(), 1});
        for (std::size_t i = 0; i < batchSize; ++i) {
          ASSERT_EQ(best->x[i], other->x[i]);
          ASSERT_EQ(best->y[i], other->y[i]);
          ASSERT_EQ(best->z[i], other->z[i]);
          ASSERT_EQ(best->w[i], other->w[i]);
          ASSERT_TRUE(best->x[i] >= 0 && best->x[i] <= 1.0001f);
        }
      }
    }
  }
}

TEST_P(MaterialInstructionSet, AveragesTexelsExactly) {
  hwy::SetSupportedTargetsForTest(GetParam());
  const Image image = noiseImage(74, 2, false);
  const std::uint8_t* above = image.pixel(0, 0);
  const std::uint8_t* below = image.pixel(0, 1);
  for (const std::size_t count : {1u, 3u, 16u, 37u}) {
    std::vector<std::uint8_t> out(count * 4 + 64, 7);
    averageTexels(above, below, count, out.data());
    for (std::size_t i = 0; i < count * 4; ++i) {
      const std::size_t from = i / 4 * 8 + i % 4;
      const int sum = above[from] + above[from + 4] + below[from] + below[from + 4];
      ASSERT_EQ(int{out[i]}, (sum + 2) / 4) << i << " of " << count;
    }
    for (std::size_t i = count * 4; i < out.size(); ++i) ASSERT_EQ(int{out[i]}, 7);
  }
}

}  // namespace
}  // namespace ornolith
