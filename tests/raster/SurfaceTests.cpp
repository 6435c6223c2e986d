#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <vector>

#include "raster/FrameBuilder.h"

namespace ornolith {
namespace {

using namespace test;

constexpr double pi = 3.14159265358979323846;
constexpr std::uint32_t side = 48;

double encode(double linear) {
  const double v = std::clamp(linear, 0.0, 1.0);
  return 255.0 * (v <= 0.0031308 ? 12.92 * v : 1.055 * std::pow(v, 1 / 2.4) - 0.055);
}

double decode(int code) {
  const double v = code / 255.0;
  return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
}

simd_double3 unit(simd_double3 v) {
  return v / length(v);
}

simd_double3 viewAt(std::uint32_t x, std::uint32_t y) {
  const double half = side / 2.0;
  return unit({-(x + 0.5 - half) / half, (y + 0.5 - half) / half, 1.0});
}

/// A physically based surface in plain numbers.
struct Surface {
  std::array<double, 3> base{0.6, 0.4, 0.1};
  double roughness = 0.5, metalness = 0;
  std::array<double, 3> f0{0.04, 0.04, 0.04}, specularTint{1, 1, 1};
  double specularStrength = 1;
  double coat = 0, coatRoughness = 0;
  double occlusion = 1;
  std::array<double, 3> emission{0, 0, 0};
  simd_double3 normal{0, 0, 1}, coatNormal{0, 0, 1};
};

struct Lamp {
  simd_double3 toward;
  std::array<double, 3> color;
};

double power5(double x) {
  return x * x * x * x * x;
}

/// pi * D * V * N.L of GGX in the textbook form.
double ggxLobe(simd_double3 n, simd_double3 v, simd_double3 l, double roughness) {
  const double nl = dot(n, l), nv = std::max(std::abs(dot(n, v)), 1e-4);
  if (nl <= 0) return 0;
  const simd_double3 h = unit(l + v);
  const double a = std::pow(std::max(roughness, 0.045), 2), a2 = a * a, nh = std::clamp(dot(n, h), 0.0, 1.0);
  const double d = a2 / (pi * std::pow(nh * nh * (a2 - 1) + 1, 2));
  const double visibility = 0.5 / (nl * std::sqrt(nv * nv * (1 - a2) + a2) + nv * std::sqrt(nl * nl * (1 - a2) + a2));
  return pi * d * visibility * nl;
}

/// The colour that leaves a surface, component by component.
double shade(const Surface& s, const std::vector<Lamp>& lamps, const std::array<double, 3>& ambient, simd_double3 v,
             std::size_t c) {
  const double dielectricF0 = std::min(s.f0[c] * s.specularTint[c], 1.0) * s.specularStrength;
  const double f0 = dielectricF0 * (1 - s.metalness) + s.base[c] * s.metalness;
  const double f90 = s.specularStrength * (1 - s.metalness) + s.metalness;
  double surface = s.emission[c];
  double coat = 0;
  for (const Lamp& lamp : lamps) {
    const simd_double3 h = unit(lamp.toward + v);
    const double fresnel = f0 + (f90 - f0) * power5(1 - dot(v, h));
    const double facing = std::max(0.0, dot(s.normal, lamp.toward));
    surface += lamp.color[c] *
               (s.base[c] * (1 - s.metalness) * facing + fresnel * ggxLobe(s.normal, v, lamp.toward, s.roughness));
    coat += lamp.color[c] * ggxLobe(s.coatNormal, v, lamp.toward, s.coatRoughness);
  }
  const double share = s.coat * (0.04 + 0.96 * power5(1 - std::abs(dot(s.coatNormal, v))));
  return surface * (1 - share) + coat * share + s.base[c] * ambient[c] * s.occlusion;
}

const std::vector<Lamp> lamps{{unit({-0.2, 0.5, 1}), {0.5, 0.6, 0.4}}, {unit({0.7, -0.1, 0.6}), {0.2, 0.1, 0.3}}};
const std::array<double, 3> ambient{0.05, 0.1, 0.2};

simd_float4 floats(const std::array<double, 3>& v) {
  return {static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2]), 1};
}

void light(FrameBuilder& scene) {
  const simd_float4 a = floats(ambient);
  scene.frame.ambientLight = {a.x, a.y, a.z};
  for (const Lamp& lamp : lamps) {
    const simd_float4 c = floats(lamp.color);
    scene.frame.directionalLights.push_back({vectorCast<float>(-lamp.toward), {c.x, c.y, c.z}});
  }
}

MeshData wall(simd_double3 normal) {
  MeshData mesh = quad(-8, -8, 8, 8, -2);
  const simd_float3 n = vectorCast<float>(normal);
  for (std::size_t v = 0; v < 4; ++v) {
    mesh.normals[3 * v] = n.x;
    mesh.normals[3 * v + 1] = n.y;
    mesh.normals[3 * v + 2] = n.z;
  }
  return mesh;
}

void expectSurface(const Image& image, const Surface& surface, double tolerance = 1.0) {
  for (std::uint32_t y = 1; y < side; y += 6) {
    for (std::uint32_t x = 2; x < side; x += 5) {
      for (std::size_t c = 0; c < 3; ++c) {
        const double expected = shade(surface, lamps, ambient, viewAt(x, y), c);
        ASSERT_NEAR(pixelAt(image, x, y)[c], encode(expected), tolerance) << x << ", " << y << ", component " << c;
      }
    }
  }
}

device::Material materialOf(const Surface& s) {
  device::Material material = FrameBuilder::litMaterial(device::LightingModel::physicallyBased, floats(s.base));
  material.roughness.value.x = static_cast<float>(s.roughness);
  material.metalness.value.x = static_cast<float>(s.metalness);
  const simd_float4 f0 = floats(s.f0);
  material.dielectricF0 = {f0.x, f0.y, f0.z};
  material.specularTint.value = floats(s.specularTint);
  material.specularStrength.value.x = static_cast<float>(s.specularStrength);
  material.clearCoat.value.x = static_cast<float>(s.coat);
  material.clearCoatRoughness.value.x = static_cast<float>(s.coatRoughness);
  material.ambientOcclusion.value.x = static_cast<float>(s.occlusion);
  material.emission.value = floats(s.emission);
  return material;
}

Image render(const Surface& surface) {
  FrameBuilder scene(side, side);
  light(scene);
  scene.add(wall(surface.normal), materialOf(surface));
  return scene.render();
}

TEST(Surface, FollowsTheFormulasForRandomMaterials) {
  std::mt19937 random(17);
  std::uniform_real_distribution<double> share(0, 1);
  for (int trial = 0; trial < 60; ++trial) {
    Surface surface;
    for (double& value : surface.base) value = share(random);
    for (double& value : surface.f0) value = trial % 2 == 0 ? 0.04 : share(random);
    surface.specularStrength = trial % 2 == 0 ? 1 : share(random);
    for (double& value : surface.specularTint) value = trial % 6 < 2 ? 1 : 3 * share(random);
    surface.roughness = 0.15 + 0.85 * share(random);
    surface.metalness = trial % 3 == 0 ? 0 : share(random);
    surface.coat = trial % 4 < 2 ? 0 : share(random);
    surface.coatRoughness = 0.15 + 0.85 * share(random);
    surface.occlusion = share(random);
    for (double& value : surface.emission) value = trial % 5 == 0 ? 0.2 * share(random) : 0;
    surface.normal = surface.coatNormal = unit({share(random) - 0.5, share(random) - 0.5, 1.0});
    SCOPED_TRACE(trial);
    expectSurface(render(surface), surface);
    if (HasFatalFailure()) return;
  }
}

TEST(Surface, ReflectsAsMuchAsItsReflectanceSays) {
  // Without base colour all that is seen is the specular lobe, in proportion to F0 where F90 equals it.
  Surface surface;
  surface.base = {0, 0, 0};
  surface.f0 = {1, 1, 1};
  surface.specularStrength = 0.5;
  const Image half = render(surface);
  surface.specularStrength = 0.25;
  const Image quarter = render(surface);
  std::size_t compared = 0;
  for (std::uint32_t i = 0; i < side; ++i) {
    const double bright = decode(pixelAt(half, i, i)[0]), dim = decode(pixelAt(quarter, i, i)[0]);
    if (bright < 0.05) continue;
    ++compared;
    EXPECT_NEAR(dim / bright, 0.5, 0.03);
  }
  EXPECT_GT(compared, 5u);
}

TEST(Surface, TakesScalarsFromTheComponentsOfOnePicture) {
  // Occlusion in red, roughness in green, metalness in blue, the coat in alpha.
  Surface surface;
  surface.occlusion = 51 / 255.0;
  surface.roughness = 153 / 255.0 * 0.5;
  surface.metalness = 204 / 255.0;
  surface.coat = 102 / 255.0 * 0.75;
  surface.coatRoughness = 0.4;
  FrameBuilder scene(side, side);
  light(scene);
  device::Material material = materialOf(surface);
  const std::int32_t picture = scene.addTexture(solidImage(4, 4, {51, 153, 204, 102}), false, true);
  material.ambientOcclusion.texture = material.roughness.texture = picture;
  material.metalness.texture = material.clearCoat.texture = picture;
  material.roughness.component = device::TextureComponent::green;
  material.metalness.component = device::TextureComponent::blue;
  material.clearCoat.component = device::TextureComponent::alpha;
  material.roughness.factor.x = 0.5f;
  material.clearCoat.intensity = 0.75f;
  scene.add(wall({0, 0, 1}), material);
  expectSurface(scene.render(), surface);
}

TEST(Surface, TakesTintAndStrengthOfSpecularFromPictures) {
  Surface surface;
  surface.base = {0.1, 0.1, 0.1};
  surface.roughness = 0.4;
  surface.f0 = {0.3, 0.3, 0.3};
  surface.specularTint = {decode(51) * 9, decode(153) * 0.5, decode(204)};
  surface.specularStrength = 102 / 255.0 * 0.75;
  FrameBuilder scene(side, side);
  light(scene);
  device::Material material = materialOf(surface);
  const Image picture = solidImage(4, 4, {51, 153, 204, 102});
  material.specularTint.texture = scene.addTexture(picture, true, false);
  material.specularTint.factor = {9, 0.5f, 1, 1};
  material.specularStrength.texture = scene.addTexture(picture, false, true);
  material.specularStrength.component = device::TextureComponent::alpha;
  material.specularStrength.factor.x = 0.75f;
  scene.add(wall({0, 0, 1}), material);
  expectSurface(scene.render(), surface);
}

TEST(Surface, MultipliesTexturesAndConstantsByTheirFactors) {
  for (const bool isTextured : {false, true}) {
    FrameBuilder scene(8, 8);
    device::Material material = FrameBuilder::constantMaterial({1, 0.5f, 0.25f, 1});
    if (isTextured) {
      material.diffuse.texture = scene.addTexture(solidImage(2, 2, {255, 188, 137, 255}), true);
    }
    material.diffuse.factor = {0.5f, 0.5f, 2, 0.5f};
    material.emission.value = {0.1f, 0.1f, 0.1f, 1};
    material.emission.factor = {3, 0, 1, 1};
    material.emission.intensity = 0.5f;
    scene.add(quad(-9, -9, 9, 9, -2), material, true);
    const auto pixel = pixelAt(scene.render(), 4, 4);
    EXPECT_NEAR(pixel[0], encode(0.5 + 0.15), 0.6);
    EXPECT_NEAR(pixel[1], encode(0.25), 0.8);
    EXPECT_NEAR(pixel[2], encode(0.5 + 0.05), 0.8);
    EXPECT_EQ(pixel[3], 128);
  }
}

TEST(Surface, LeavesTheCoatSmoothWhereANormalMapTiltsTheBase) {
  Surface surface;
  surface.coat = 1;
  surface.coatRoughness = 0.3;
  const std::array<std::uint8_t, 4> texel{180, 128, 230, 255};
  surface.normal = unit({texel[0] / 127.5 - 1, texel[1] / 127.5 - 1, texel[2] / 127.5 - 1});
  surface.coatNormal = {0, 0, 1};
  FrameBuilder scene(side, side);
  light(scene);
  device::Material material = materialOf(surface);
  material.normal.texture = scene.addTexture(solidImage(2, 2, texel), false);
  scene.add(wall({0, 0, 1}), material);
  expectSurface(scene.render(), surface);
}

TEST(Surface, ScalesTheTiltOfANormalMap) {
  Surface surface;
  const std::array<std::uint8_t, 4> texel{200, 90, 220, 255};
  const double x = texel[0] / 127.5 - 1, y = texel[1] / 127.5 - 1, z = texel[2] / 127.5 - 1;
  for (const double scale : {0.0, 0.5, 1.5}) {
    surface.normal = unit({x * scale, y * scale, z});
    FrameBuilder scene(side, side);
    light(scene);
    device::Material material = materialOf(surface);
    material.normal.texture = scene.addTexture(solidImage(2, 2, texel), false);
    material.normal.intensity = static_cast<float>(scale);
    scene.add(wall({0, 0, 1}), material);
    SCOPED_TRACE(scale);
    expectSurface(scene.render(), surface);
  }
}

TEST(Surface, HasNoCoatWithoutStrength) {
  Surface plain;
  FrameBuilder scene(side, side);
  light(scene);
  device::Material material = materialOf(plain);
  material.clearCoat.value.x = 1;
  material.clearCoat.factor.x = 0;
  scene.add(wall({0, 0, 1}), material);
  EXPECT_TRUE(scene.render() == render(plain));
}

/// What a surface sends toward the viewer, gathered over lights from everywhere in front of it, each of radiance 1: for
/// one that swallows nothing, 1. Summed over the midpoints of a grid of the hemisphere.
double furnace(const device::Material& material, double viewAngle, double brightness) {
  constexpr int steps = 32;
  const simd_double3 normal{std::sin(viewAngle), 0, std::cos(viewAngle)};
  const simd_double3 across{std::cos(viewAngle), 0, -std::sin(viewAngle)}, up{0, 1, 0};
  FrameBuilder scene(1, 1);
  scene.pixelUnits();
  scene.add(wall(normal), material);
  scene.frame.directionalLights.resize(1);
  const auto device = makeCPURenderDevice();
  double sum = 0;
  for (int t = 0; t < steps; ++t) {
    const double theta = (t + 0.5) / steps * pi / 2;
    const double weight = std::sin(theta) * (pi / 2 / steps) * (2 * pi / steps) / pi;
    for (int p = 0; p < steps; ++p) {
      const double phi = (p + 0.5) / steps * 2 * pi;
      const simd_double3 toward =
          (across * std::cos(phi) + up * std::sin(phi)) * std::sin(theta) + normal * std::cos(theta);
      scene.frame.directionalLights[0] = {vectorCast<float>(-toward),
                                          simd_float3{1, 1, 1} * static_cast<float>(brightness)};
      sum += decode(device->render(scene.frame).pixels[0]) / brightness * weight;
    }
  }
  return sum;
}

TEST(Surface, OfAnyRoughnessReturnsNoMoreLightThanItGets) {
  for (const double roughness : {0.35, 0.7, 1.0}) {
    for (const double angle : {0.0, 0.6, 1.2}) {
      Surface mirror;
      mirror.base = {1, 1, 1};
      mirror.metalness = 1;
      mirror.roughness = roughness;
      const double brightness = std::min(1.0, 2 * std::pow(roughness, 4)) * std::cos(angle);
      const double returned = furnace(materialOf(mirror), angle, brightness);
      EXPECT_LT(returned, 1.01) << roughness << " at " << angle;
      EXPECT_GT(returned, 0.3) << roughness << " at " << angle;
      // A coat takes from the surface what it reflects itself.
      mirror.coat = 1;
      mirror.coatRoughness = roughness;
      EXPECT_LT(furnace(materialOf(mirror), angle, brightness), 1.01) << roughness << " at " << angle;
    }
  }
}

TEST(Surface, UnderEvenLightAloneLooksTheSameWithACoat) {
  Surface surface;
  surface.base = {1, 0.5, 0.02};
  for (const double coat : {0.0, 0.5, 1.0}) {
    surface.coat = coat;
    FrameBuilder scene(side, side);
    scene.frame.ambientLight = {0.5f, 0.5f, 0.5f};
    scene.add(wall(unit({0.5, 0.2, 1})), materialOf(surface));
    const Image image = scene.render();
    for (std::uint32_t i = 0; i < side; ++i) {
      for (std::size_t c = 0; c < 3; ++c) EXPECT_NEAR(pixelAt(image, i, i)[c], encode(0.5 * surface.base[c]), 0.6);
    }
  }
}

/// A left half with alpha 0.25 and a right half with alpha 0.75 of one colour.
FrameBuilder halves(device::AlphaMode mode, bool isBlended) {
  FrameBuilder scene(16, 16);
  scene.add(quad(-9, -9, 9, 9, -5), FrameBuilder::constantMaterial({0, 0, 1, 1}));
  Image image = solidImage(2, 1, {255, 0, 0, 64});
  image.pixels[7] = 191;
  device::Material material = FrameBuilder::constantMaterial({1, 1, 1, 1});
  material.diffuse.texture = scene.addTexture(image, true, mode != device::AlphaMode::opaque);
  material.alphaMode = mode;
  material.alphaCutoff = 0.5f;
  scene.add(quad(-2, -2, 2, 2, -2), material, isBlended);
  return scene;
}

TEST(AlphaMode, OfAMaskIsAllOrNothing) {
  FrameBuilder scene = halves(device::AlphaMode::mask, false);
  Image image = scene.render();
  for (std::uint32_t x = 0; x < 16; ++x) {
    EXPECT_EQ(pixelAt(image, x, 8), (x < 8 ? std::array<int, 4>{0, 0, 255, 255} : std::array<int, 4>{255, 0, 0, 255}))
        << x;
  }
  // The factor counts before the comparison.
  scene.frame.materials[1].diffuse.factor.w = 0.5f;
  EXPECT_EQ(pixelAt(scene.render(), 15, 8), (std::array<int, 4>{0, 0, 255, 255}));
  scene.frame.materials[1].alphaCutoff = 0;
  image = scene.render();
  EXPECT_EQ(pixelAt(image, 0, 8), (std::array<int, 4>{255, 0, 0, 255}));
  scene.frame.materials[1].alphaCutoff = 2;
  EXPECT_EQ(pixelAt(scene.render(), 15, 8), (std::array<int, 4>{0, 0, 255, 255}));
}

TEST(AlphaMode, OfAMaskLeavesTransparencyInForce) {
  FrameBuilder scene = halves(device::AlphaMode::mask, true);
  scene.frame.materials[1].transparency = 0.5f;
  const Image image = scene.render();
  EXPECT_EQ(pixelAt(image, 0, 8), (std::array<int, 4>{0, 0, 255, 255}));
  EXPECT_NEAR(pixelAt(image, 15, 8)[0], encode(0.5), 0.51);
  EXPECT_NEAR(pixelAt(image, 15, 8)[2], encode(0.5), 0.51);
}

TEST(AlphaMode, OfTheOpaqueIgnoresAlpha) {
  FrameBuilder scene = halves(device::AlphaMode::opaque, false);
  scene.frame.materials[1].diffuse.factor.w = 0;
  const Image image = scene.render();
  EXPECT_EQ(pixelAt(image, 0, 8), (std::array<int, 4>{255, 0, 0, 255}));
  EXPECT_EQ(pixelAt(image, 15, 8), (std::array<int, 4>{255, 0, 0, 255}));
}

/// Leaves: discs on transparent ground, as cut-outs are painted; drawn `repeats` times across 96 pixels.
FrameBuilder foliage(device::AlphaMode mode, bool isBlended, float repeats) {
  Image leaf = solidImage(64, 64, {40, 160, 30, 0});
  for (std::uint32_t y = 0; y < 64; ++y) {
    for (std::uint32_t x = 0; x < 64; ++x) {
      const double r = std::hypot(x - 31.5, y - 31.5);
      leaf.pixels[y * leaf.rowBytes() + x * 4 + 3] = static_cast<std::uint8_t>(std::clamp(24.5 - r, 0.0, 1.0) * 255);
    }
  }
  FrameBuilder scene(96, 96);
  device::Material material = FrameBuilder::constantMaterial({1, 1, 1, 1});
  material.diffuse.texture = scene.addTexture(leaf, true, true);
  material.diffuse.wrapS = material.diffuse.wrapT = device::WrapMode::repeat;
  material.diffuse.transform[0] = material.diffuse.transform[3] = repeats;
  material.alphaMode = mode;
  material.alphaCutoff = mode == device::AlphaMode::mask ? 0.5f : 0;
  scene.add(quad(-1, -1, 1, 1, -1), material, isBlended);
  return scene;
}

TEST(AlphaMode, CutsOutCrispShapesOfTheRightSizeAndColour) {
  for (const float repeats : {0.25f, 1.0f, 3.0f}) {
    const Image image = foliage(device::AlphaMode::mask, false, repeats).render();
    std::size_t covered = 0;
    for (std::uint32_t y = 0; y < 96; ++y) {
      for (std::uint32_t x = 0; x < 96; ++x) {
        const auto pixel = pixelAt(image, x, y);
        ASSERT_TRUE(pixel[3] == 0 || pixel[3] == 255);
        if (pixel[3] == 0) continue;
        ++covered;
        ASSERT_EQ(pixel, (std::array<int, 4>{40, 160, 30, 255}));
        // Half a pixel either side of the painted edge.
        const double u = std::fmod((x + 0.5) / 96 * repeats, 1.0) * 64,
                     v = std::fmod((y + 0.5) / 96 * repeats, 1.0) * 64;
        ASSERT_LT(std::hypot(u - 32, v - 32), 24 + 0.75 * std::max(1.0, 64 * repeats / 96.0)) << x << ", " << y;
      }
    }
    if (repeats >= 1) {
      EXPECT_NEAR(static_cast<double>(covered) / (96 * 96), pi * 24 * 24 / 4096, 0.02) << repeats;
    }
  }
}

TEST(AlphaMode, OfBlendingComposesTheSameOnAnyBackground) {
  // Straight alpha: laid over a background afterwards, the picture is what it would have been drawn on it.
  for (const simd_float4& ground :
       {simd_float4{0, 0, 0, 1}, simd_float4{1, 1, 1, 1}, simd_float4{0.8f, 0.1f, 0.5f, 1}}) {
    FrameBuilder scene = foliage(device::AlphaMode::blend, true, 3.3f);
    const Image alone = scene.render();
    scene.frame.background = ground;
    const Image drawn = scene.render();
    const double behind[3] = {ground.x, ground.y, ground.z};
    for (std::uint32_t y = 0; y < 96; ++y) {
      for (std::uint32_t x = 0; x < 96; ++x) {
        const auto pixel = pixelAt(alone, x, y);
        const double alpha = pixel[3] / 255.0;
        for (std::size_t c = 0; c < 3; ++c) {
          const double composed = decode(pixel[c]) * alpha + behind[c] * (1 - alpha);
          ASSERT_NEAR(decode(pixelAt(drawn, x, y)[c]), composed, 0.008) << x << ", " << y;
        }
      }
    }
  }
}

TEST(ColorPipeline, BlendsInLinearLight) {
  // Half of one grey over another, through the whole pipeline of decoding, blending and encoding.
  for (const int front : {0, 55, 128, 255}) {
    for (const int back : {0, 100, 255}) {
      FrameBuilder scene(2, 2);
      const auto code = [](int grey) { return static_cast<std::uint8_t>(grey); };
      const auto add = [&](int grey, float z, float opacity) {
        device::Material material = FrameBuilder::constantMaterial({1, 1, 1, 1});
        material.diffuse.texture = scene.addTexture(solidImage(2, 2, {code(grey), code(grey), code(grey), 255}), true);
        material.transparency = opacity;
        scene.add(quad(-9, -9, 9, 9, z), material, opacity < 1);
      };
      add(back, -3, 1);
      add(front, -2, 0.5f);
      EXPECT_NEAR(pixelAt(scene.render(), 1, 1)[0], encode((decode(front) + decode(back)) / 2), 0.51);
    }
  }
}

TEST(ColorPipeline, ShowsEveryColourCodeOfATextureUnchanged) {
  Image ramp = solidImage(256, 1, {0, 0, 0, 255});
  for (std::size_t i = 0; i < 256; ++i) {
    for (std::size_t c = 0; c < 3; ++c) ramp.pixels[4 * i + c] = static_cast<std::uint8_t>(c == 1 ? 255 - i : i);
  }
  FrameBuilder scene(256, 1);
  scene.pixelUnits();
  device::Material material = FrameBuilder::constantMaterial({1, 1, 1, 1});
  material.diffuse.texture = scene.addTexture(ramp, true);
  scene.add(quad(-128, -1, 128, 1, -2), material);
  const Image image = scene.render();
  for (std::uint32_t x = 0; x < 256; ++x) {
    const int code = static_cast<int>(x);
    EXPECT_EQ(pixelAt(image, x, 0), (std::array<int, 4>{code, 255 - code, code, 255}));
  }
}

}  // namespace
}  // namespace ornolith
