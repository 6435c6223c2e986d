#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "imaging/Color.h"
#include "raster/FrameBuilder.h"

namespace ornolith {
namespace {

using namespace test;

constexpr double pi = 3.14159265358979323846;

double encode(double linear) {
  const double v = std::clamp(linear, 0.0, 1.0);
  return 255.0 * (v <= 0.0031308 ? 12.92 * v : 1.055 * std::pow(v, 1 / 2.4) - 0.055);
}

/// A quad that fills the picture, with the same normal everywhere and one light.
FrameBuilder litQuad(device::Material material, simd_float3 normal, simd_float3 lightDirection,
                     simd_float3 lightColor) {
  FrameBuilder scene(64, 64);
  const float size = length(normal);
  MeshData mesh = quad(-8, -8, 8, 8, -2);
  for (std::size_t v = 0; v < 4; ++v) {
    mesh.normals[3 * v] = normal.x / size;
    mesh.normals[3 * v + 1] = normal.y / size;
    mesh.normals[3 * v + 2] = normal.z / size;
  }
  scene.add(mesh, material);
  scene.frame.directionalLights.push_back({lightDirection / length(lightDirection), lightColor});
  return scene;
}

simd_double3 unit(simd_double3 v) {
  return v / length(v);
}

simd_double3 viewAt(std::uint32_t x, std::uint32_t y) {
  return unit({-(x + 0.5 - 32) / 32.0, (y + 0.5 - 32) / 32.0, 1.0});
}

TEST(Shading, OfAConstantMaterialIsItsDiffuseAndEmission) {
  FrameBuilder scene(16, 16);
  device::Material material = FrameBuilder::constantMaterial({0.25f, 0.5f, 0.1f, 1});
  material.emission.value = {0.1f, 0.2f, 0.05f, 1};
  material.emission.intensity = 2;
  scene.add(quad(-8, -8, 8, 8, -2), material);
  scene.frame.ambientLight = {5, 5, 5};
  scene.frame.directionalLights.push_back({{0, 0, -1}, {3, 3, 3}});
  const auto pixel = pixelAt(scene.render(), 5, 5);
  EXPECT_NEAR(pixel[0], encode(0.45), 0.51);
  EXPECT_NEAR(pixel[1], encode(0.9), 0.51);
  EXPECT_NEAR(pixel[2], encode(0.2), 0.51);
  EXPECT_EQ(pixel[3], 255);
}

TEST(Shading, OfAWhiteSurfaceThatFacesANeutralLightIsWhite) {
  for (const auto model : {device::LightingModel::lambert, device::LightingModel::blinn}) {
    FrameBuilder scene =
        litQuad(FrameBuilder::litMaterial(model, {1, 1, 1, 1}), {0, 0, 1}, {0, 0, -1}, {0.999f, 0.999f, 0.999f});
    EXPECT_EQ(pixelAt(scene.render(), 20, 40)[0], 255);
  }
}

TEST(Shading, TakesNothingFromALightWithoutAFiniteColor) {
  constexpr float infinity = std::numeric_limits<float>::infinity();
  const auto material = FrameBuilder::litMaterial(device::LightingModel::physicallyBased, {0.5f, 0.5f, 0.5f, 1});
  FrameBuilder scene = litQuad(material, {0, 0, 1}, {0, 0, -1}, {0.4f, 0.4f, 0.4f});
  const Image alone = scene.render();
  scene.frame.directionalLights.push_back({{0, 0, -1}, {infinity, 1, 1}});
  scene.frame.directionalLights.push_back({{0, 0, 1}, {1, std::numeric_limits<float>::quiet_NaN(), 1}});
  EXPECT_EQ(scene.render(), alone);
}

TEST(Shading, OfTheDefaultModelFollowsLambertAndBlinn) {
  device::Material material = FrameBuilder::litMaterial(device::LightingModel::blinn, {0.3f, 0.4f, 0.5f, 1});
  material.specular.value = {0.4f, 0.3f, 0.2f, 1};
  material.ambientOcclusion.value = {0.5f, 0, 0, 1};
  const simd_float3 normal{0.2f, 0.1f, 1}, light{-0.3f, -0.4f, -1};
  // Even, odd and broken exponents, and the least and the largest.
  for (const double exponent : {32.0, 51.0, 12.7, 1.0, 128.0}) {
    material.shininess = static_cast<float>(exponent / 128);
    FrameBuilder scene = litQuad(material, normal, light, {0.9f, 0.8f, 0.7f});
    scene.frame.ambientLight = {0.1f, 0.2f, 0.3f};
    const Image image = scene.render();
    const simd_double3 n = unit(vectorCast<double>(normal)), l = unit(-vectorCast<double>(light));
    for (std::uint32_t y = 1; y < 64; y += 9) {
      for (std::uint32_t x = 2; x < 64; x += 7) {
        const simd_double3 h = unit(l + viewAt(x, y));
        const double facing = std::max(0.0, dot(n, l));
        const double lobe = std::pow(std::max(0.0, dot(n, h)), exponent);
        const double expected[3] = {0.3 * (0.9 * facing + 0.1 * 0.5) + 0.4 * 0.9 * lobe,
                                    0.4 * (0.8 * facing + 0.2 * 0.5) + 0.3 * 0.8 * lobe,
                                    0.5 * (0.7 * facing + 0.3 * 0.5) + 0.2 * 0.7 * lobe};
        for (std::size_t c = 0; c < 3; ++c) {
          ASSERT_NEAR(pixelAt(image, x, y)[c], encode(expected[c]), 0.6) << exponent;
        }
      }
    }
  }
}

double ggx(double nl, double nv, double nh, double vh, double roughness, double f0) {
  const double a = roughness * roughness, a2 = a * a;
  const double d = a2 / (pi * std::pow(nh * nh * (a2 - 1) + 1, 2));
  const double visibility = 0.5 / (nl * std::sqrt(nv * nv * (1 - a2) + a2) + nv * std::sqrt(nl * nl * (1 - a2) + a2));
  return pi * d * visibility * (f0 + (1 - f0) * std::pow(1 - vh, 5)) * nl;
}

TEST(Shading, OfPhysicallyBasedMaterialsFollowsGGX) {
  for (const double roughness : {0.2, 0.5, 0.95}) {
    for (const double metalness : {0.0, 0.4, 1.0}) {
      device::Material material =
          FrameBuilder::litMaterial(device::LightingModel::physicallyBased, {0.6f, 0.4f, 0.1f, 1});
      material.roughness.value.x = static_cast<float>(roughness);
      material.metalness.value.x = static_cast<float>(metalness);
      const simd_float3 normal{-0.1f, 0.3f, 1}, light{0.2f, -0.5f, -1};
      FrameBuilder scene = litQuad(material, normal, light, {0.8f, 0.9f, 0.7f});
      scene.frame.ambientLight = {0.05f, 0.1f, 0.2f};
      const Image image = scene.render();
      const simd_double3 n = unit(vectorCast<double>(normal)), l = unit(-vectorCast<double>(light));
      const double base[3] = {0.6, 0.4, 0.1}, color[3] = {0.8, 0.9, 0.7}, ambient[3] = {0.05, 0.1, 0.2};
      for (std::uint32_t y = 1; y < 64; y += 9) {
        for (std::uint32_t x = 2; x < 64; x += 7) {
          const simd_double3 v = viewAt(x, y), h = unit(l + v);
          const double nl = dot(n, l);
          for (std::size_t c = 0; c < 3; ++c) {
            const double f0 = 0.04 + (base[c] - 0.04) * metalness;
            const double expected = base[c] * ((1 - metalness) * color[c] * nl + ambient[c]) +
                                    color[c] * ggx(nl, dot(n, v), dot(n, h), dot(v, h), roughness, f0);
            ASSERT_NEAR(pixelAt(image, x, y)[c], encode(expected), 1.0) << roughness << " " << metalness;
          }
        }
      }
    }
  }
}

TEST(Shading, LightsWhatIsSeenAlmostAtRightAnglesToTheView) {
  // Next to 180 degrees, the squares of ways to the camera that are as long as the view is wide leave the floats.
  for (const auto model : {device::LightingModel::blinn, device::LightingModel::physicallyBased}) {
    device::Material material = FrameBuilder::litMaterial(model, {0.3f, 0.5f, 0.7f, 1});
    material.specular.value = {1, 1, 1, 1};
    material.shininess = 1;
    material.metalness.value.x = 0;
    FrameBuilder scene(16384, 1);
    scene.add(quad(-1e25f, -1e25f, 1e25f, 1e25f, -1), material);
    scene.frame.directionalLights.push_back({{0, 0, -1}, {0.9f, 0.9f, 0.9f}});
    scene.frame.camera.verticalFieldOfView = 179.9999;
    const Image wide = scene.render();
    scene.frame.camera.verticalFieldOfView = std::nextafter(180.0, 0.0);
    const Image widest = scene.render();
    for (const std::uint32_t x : {0u, 3000u, 8000u, 16383u}) {
      EXPECT_EQ(pixelAt(widest, x, 0), pixelAt(wide, x, 0)) << x;
      EXPECT_GT(pixelAt(widest, x, 0)[0], encode(0.9 * 0.3) - 1) << x;
    }
  }
}

TEST(Shading, OfARoughWhiteMetalReturnsNoMoreLightThanItGets) {
  // The light that leaves toward the viewer, gathered over all light directions of the hemisphere, is at most 1.
  for (const double roughness : {0.3, 0.6, 1.0}) {
    double sum = 0;
    // As bright as the peak of the lobe, pi * D / 4, lets the picture show without clamping.
    const double brightness = std::min(1.0, 2 * std::pow(roughness, 4));
    constexpr int steps = 24;
    for (int t = 0; t < steps; ++t) {
      const double theta = (t + 0.5) / steps * pi / 2;
      for (int p = 0; p < steps; ++p) {
        const double phi = (p + 0.5) / steps * 2 * pi;
        device::Material material = FrameBuilder::litMaterial(device::LightingModel::physicallyBased, {1, 1, 1, 1});
        material.roughness.value.x = static_cast<float>(roughness);
        material.metalness.value.x = 1;
        const simd_float3 light{static_cast<float>(-std::sin(theta) * std::cos(phi)),
                                static_cast<float>(-std::sin(theta) * std::sin(phi)),
                                static_cast<float>(-std::cos(theta))};
        FrameBuilder scene(1, 1);
        scene.add(quad(-8, -8, 8, 8, -2), material);
        scene.frame.directionalLights.push_back({light, simd_float3{1, 1, 1} * static_cast<float>(brightness)});
        const double seen = linearFromSRGB8(scene.render().pixels[0]) / brightness;
        sum += seen * std::sin(theta) * (pi / 2 / steps) * (2 * pi / steps) / pi;
      }
    }
    EXPECT_LT(sum, 1.02) << roughness;
    EXPECT_GT(sum, 0.3) << roughness;
    // At roughness 1 and a view along the normal the lobe is NL / (2 pi (1 + NL)), which integrates to 1 - ln 2.
    if (roughness == 1.0) {
      EXPECT_NEAR(sum, 1 - std::log(2.0), 0.005);
    }
  }
}

TEST(Shading, OfBackFacesFlipsTheNormal) {
  device::Material material = FrameBuilder::litMaterial(device::LightingModel::lambert, {1, 1, 1, 1});
  material.isDoubleSided = true;
  for (const bool isMirrored : {false, true}) {
    FrameBuilder scene(16, 16);
    MeshData back = quad(-8, -8, 8, 8, -2);
    std::swap(back.indices[1], back.indices[2]);
    std::swap(back.indices[4], back.indices[5]);
    for (std::size_t v = 0; v < 4; ++v) back.normals[3 * v + 2] = -1;
    device::DrawItem& item = scene.add(back, material);
    if (isMirrored) {
      item.isMirrored = true;
      item.worldMatrix.columns[0].x = -1;
      item.normalMatrix[0].x = -1;
    }
    scene.frame.directionalLights.push_back({{0, 0, -1}, {0.5f, 0.5f, 0.5f}});
    EXPECT_NEAR(pixelAt(scene.render(), 8, 8)[0], encode(0.5), 0.51) << isMirrored;
  }
}

TEST(Shading, TakesTheFacetsNormalWhereVerticesHaveNone) {
  for (const bool isMirrored : {false, true}) {
    for (const int kind : {0, 1, 2}) {
      FrameBuilder scene(16, 16);
      MeshData mesh = quad(-8, -8, 8, 8, -2);
      if (kind == 0) mesh.normals.clear();
      if (kind == 1) std::fill(mesh.normals.begin(), mesh.normals.end(), 0.0f);
      if (kind == 2) std::fill(mesh.normals.begin(), mesh.normals.end(), std::numeric_limits<float>::quiet_NaN());
      if (isMirrored) {
        std::swap(mesh.indices[1], mesh.indices[2]);
        std::swap(mesh.indices[4], mesh.indices[5]);
      }
      device::DrawItem& item = scene.add(mesh, FrameBuilder::litMaterial(device::LightingModel::lambert, {1, 1, 1, 1}));
      item.isMirrored = isMirrored;
      scene.frame.directionalLights.push_back({{0, 0, -1}, {0.5f, 0.5f, 0.5f}});
      if (isMirrored) continue;
      EXPECT_NEAR(pixelAt(scene.render(), 8, 8)[0], encode(0.5), 0.51) << kind;
    }
  }
}

TEST(Shading, UsesTheNormalMatrix) {
  FrameBuilder scene(16, 16);
  device::DrawItem& item =
      scene.add(quad(-8, -8, 8, 8, -2), FrameBuilder::litMaterial(device::LightingModel::lambert, {1, 1, 1, 1}));
  item.normalMatrix = {simd_float3{1, 0, 0}, simd_float3{0, 1, 0}, simd_float3{1, 0, 1}};
  scene.frame.directionalLights.push_back({{0, 0, -1}, {1, 1, 1}});
  EXPECT_NEAR(pixelAt(scene.render(), 8, 8)[0], encode(std::sqrt(0.5)), 0.51);
}

TEST(Shading, TiltsNormalsByTheNormalMap) {
  // (1, 0, 0) in the map turns the normal along the tangent; +y turns it up in the picture.
  const auto shade = [](std::array<std::uint8_t, 4> texel, bool hasTangents, float hand, simd_float3 light) {
    FrameBuilder scene(16, 16);
    device::Material material = FrameBuilder::litMaterial(device::LightingModel::lambert, {1, 1, 1, 1});
    material.normal.texture = scene.addTexture(solidImage(4, 4, texel), false);
    MeshData mesh = quad(-8, -8, 8, 8, -2);
    if (hasTangents) {
      for (int v = 0; v < 4; ++v) mesh.tangents.insert(mesh.tangents.end(), {1, 0, 0, hand});
    }
    scene.add(mesh, material);
    scene.frame.directionalLights.push_back({light, {1, 1, 1}});
    return linearFromSRGB8(static_cast<std::uint8_t>(pixelAt(scene.render(), 8, 8)[0]));
  };
  for (const bool hasTangents : {false, true}) {
    EXPECT_NEAR(shade({255, 128, 128, 255}, hasTangents, 1, {-1, 0, 0}), 1, 0.01);
    EXPECT_NEAR(shade({255, 128, 128, 255}, hasTangents, 1, {1, 0, 0}), 0, 0.01);
    EXPECT_NEAR(shade({128, 255, 128, 255}, hasTangents, 1, {0, -1, 0}), 1, 0.01);
    EXPECT_NEAR(shade({128, 128, 255, 255}, hasTangents, 1, {0, 0, -1}), 1, 0.01);
  }
  EXPECT_NEAR(shade({128, 255, 128, 255}, true, -1, {0, 1, 0}), 1, 0.01);
}

TEST(Shading, MultipliesVertexColors) {
  FrameBuilder scene(16, 16);
  MeshData mesh = quad(-8, -8, 8, 8, -2);
  for (int v = 0; v < 4; ++v) mesh.colors.insert(mesh.colors.end(), {0.5f, 0.25f, 1, 1});
  device::Material material = FrameBuilder::constantMaterial({0.5f, 1, 1, 1});
  scene.add(mesh, material);
  auto pixel = pixelAt(scene.render(), 3, 3);
  EXPECT_NEAR(pixel[0], encode(0.25), 0.51);
  EXPECT_NEAR(pixel[1], encode(0.25), 0.51);
  EXPECT_EQ(pixel[2], 255);
  scene.frame.materials[0].usesVertexColor = false;
  EXPECT_EQ(pixelAt(scene.render(), 3, 3)[1], 255);
}

TEST(Shading, InterpolatesPerspectively) {
  // A wall that runs from near to far: colour goes linearly along the wall, not along the screen.
  FrameBuilder scene(128, 64);
  MeshData mesh;
  mesh.positions = {-1, -1, -1, 9, -1, -11, 9, 1, -11, -1, 1, -1};
  mesh.colors = {0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 1};
  mesh.indices = {0, 1, 2, 0, 2, 3};
  scene.add(mesh, FrameBuilder::constantMaterial({1, 1, 1, 1}));
  const Image image = scene.render();
  for (std::uint32_t x = 33; x < 84; x += 3) {
    // The ray through the column meets x = s, z = -2 - s... with the wall x + z = -2: x = t k, z = -t.
    const double k = (x + 0.5 - 64) / 32.0;
    const double t = 2 / (1 - k);
    const double along = (t - 1) / 10;
    ASSERT_NEAR(pixelAt(image, x, 32)[0], encode(along), 0.7) << x;
  }
}

TEST(Background, IsEncodedWithStraightAlpha) {
  FrameBuilder scene(3, 2);
  EXPECT_EQ(pixelAt(scene.render(), 1, 1), (std::array<int, 4>{0, 0, 0, 0}));
  scene.frame.background = {0.5f, 1, 0, 1};
  EXPECT_EQ(pixelAt(scene.render(), 1, 1), (std::array<int, 4>{188, 255, 0, 255}));
  scene.frame.background = {0.5f, 1, 0, 0.5f};
  EXPECT_EQ(pixelAt(scene.render(), 1, 1), (std::array<int, 4>{188, 255, 0, 128}));
}

TEST(Blending, LaysItemsOverEachOtherInOrder) {
  const auto layer = [](simd_float4 color) {
    device::Material material = FrameBuilder::constantMaterial(color);
    material.writesDepth = false;
    return material;
  };
  FrameBuilder scene(8, 8);
  scene.frame.background = {0, 0, 0, 1};
  scene.add(quad(-9, -9, 9, 9, -5), FrameBuilder::constantMaterial({0, 0, 1, 1}));
  scene.add(quad(-9, -9, 9, 9, -4), layer({1, 0, 0, 0.5f}), true);
  scene.add(quad(-9, -9, 9, 9, -3), layer({0, 1, 0, 0.25f}), true);
  scene.add(quad(-9, -9, 9, 9, -6), layer({1, 1, 1, 1}), true);  // Hidden by the opaque one.
  const auto pixel = pixelAt(scene.render(), 4, 4);
  EXPECT_NEAR(pixel[0], encode(0.5 * 0.75), 0.51);
  EXPECT_NEAR(pixel[1], encode(0.25), 0.51);
  EXPECT_NEAR(pixel[2], encode(0.5 * 0.75), 0.51);
  EXPECT_EQ(pixel[3], 255);
}

TEST(Blending, OverNothingKeepsTheColorStraight) {
  FrameBuilder scene(8, 8);
  device::Material material = FrameBuilder::constantMaterial({1, 0.5f, 0.2f, 1});
  material.transparency = 0.25f;
  scene.add(quad(-9, -9, 9, 9, -5), material, true);
  const auto pixel = pixelAt(scene.render(), 4, 4);
  EXPECT_EQ(pixel[0], 255);
  EXPECT_NEAR(pixel[1], encode(0.5), 0.51);
  EXPECT_NEAR(pixel[2], encode(0.2), 0.51);
  EXPECT_EQ(pixel[3], 64);
}

TEST(Blending, AddsAndReplaces) {
  FrameBuilder scene(8, 8);
  scene.frame.background = {0.25f, 0.25f, 0.25f, 1};
  device::Material material = FrameBuilder::constantMaterial({0.5f, 0.25f, 0, 0.5f});
  material.blendMode = device::BlendMode::add;
  scene.add(quad(-9, -9, 9, 9, -5), material, true);
  auto pixel = pixelAt(scene.render(), 4, 4);
  EXPECT_NEAR(pixel[0], encode(0.5), 0.51);
  EXPECT_NEAR(pixel[1], encode(0.375), 0.51);
  EXPECT_EQ(pixel[3], 255);
  scene.frame.materials[0].blendMode = device::BlendMode::replace;
  pixel = pixelAt(scene.render(), 4, 4);
  EXPECT_NEAR(pixel[0], encode(0.5), 0.51);
  EXPECT_EQ(pixel[3], 128);
}

TEST(Blending, ShowsBothSidesOfAClosedShape) {
  // A red-fronted sphere in one double-sided item that writes depth: the far side shows through the near one.
  FrameBuilder scene(64, 64);
  scene.frame.background = {0, 0, 0, 1};
  device::Material material = FrameBuilder::constantMaterial({1, 1, 1, 0.5f});
  material.isDoubleSided = true;
  scene.add(sphere({0, 0, -3}, 1, 20, 20), material, true);
  EXPECT_NEAR(pixelAt(scene.render(), 32, 32)[0], encode(0.75), 0.51);
}

TEST(Opacity, IsTheProductOfItsParts) {
  FrameBuilder scene(8, 8);
  device::Material material = FrameBuilder::constantMaterial({1, 1, 1, 0.5f});
  material.transparency = 0.5f;
  material.transparent.value = {1, 1, 1, 0.8f};
  MeshData mesh = quad(-9, -9, 9, 9, -5);
  for (int v = 0; v < 4; ++v) mesh.colors.insert(mesh.colors.end(), {1, 1, 1, 0.5f});
  scene.add(mesh, material, true);
  EXPECT_EQ(pixelAt(scene.render(), 4, 4)[3], 26);  // 0.1 * 255 = 25.5, rounded up.
  scene.frame.materials[0].alphaCutoff = 0.11f;
  EXPECT_EQ(pixelAt(scene.render(), 4, 4)[3], 0);
}

TEST(Opacity, BelowTheCutoffLetsWhatIsBehindShow) {
  FrameBuilder scene(8, 8);
  device::Material material = FrameBuilder::constantMaterial({1, 0, 0, 1});
  material.alphaCutoff = 0.5f;
  Image halves = solidImage(2, 1, {255, 0, 0, 255});
  halves.pixels[7] = 0;
  material.diffuse.texture = scene.addTexture(halves, true, true);
  scene.add(quad(-2, -2, 2, 2, -2), material);
  scene.add(quad(-9, -9, 9, 9, -5), FrameBuilder::constantMaterial({0, 0, 1, 1}));
  const Image image = scene.render();
  EXPECT_EQ(pixelAt(image, 0, 4), (std::array<int, 4>{255, 0, 0, 255}));
  EXPECT_EQ(pixelAt(image, 7, 4), (std::array<int, 4>{0, 0, 255, 255}));
}

TEST(Opacity, OfNothingHidesNothing) {
  FrameBuilder scene(8, 8);
  device::Material invisible = FrameBuilder::constantMaterial({1, 0, 0, 1});
  invisible.transparency = 0;
  scene.add(quad(-9, -9, 9, 9, -2), invisible, true);
  scene.add(quad(-9, -9, 9, 9, -5), FrameBuilder::constantMaterial({0, 1, 0, 0.5f}), true);
  EXPECT_EQ(pixelAt(scene.render(), 4, 4), (std::array<int, 4>{0, 255, 0, 128}));
}

TEST(Depth, ShowsTheNearestAndLetsTheLaterWinTies) {
  FrameBuilder scene(8, 8);
  scene.add(quad(-9, -9, 9, 9, -3), FrameBuilder::constantMaterial({1, 0, 0, 1}));
  scene.add(quad(-9, -9, 9, 9, -5), FrameBuilder::constantMaterial({0, 1, 0, 1}));
  EXPECT_EQ(pixelAt(scene.render(), 4, 4), (std::array<int, 4>{255, 0, 0, 255}));
  scene.add(quad(-9, -9, 9, 9, -3), FrameBuilder::constantMaterial({0, 0, 1, 1}));
  EXPECT_EQ(pixelAt(scene.render(), 4, 4), (std::array<int, 4>{0, 0, 255, 255}));
}

TEST(Depth, FlagsAreObeyed) {
  FrameBuilder scene(8, 8);
  device::Material near = FrameBuilder::constantMaterial({1, 0, 0, 1});
  near.writesDepth = false;
  scene.add(quad(-9, -9, 9, 9, -3), near);
  scene.add(quad(-9, -9, 9, 9, -5), FrameBuilder::constantMaterial({0, 1, 0, 1}));
  EXPECT_EQ(pixelAt(scene.render(), 4, 4)[1], 255);
  device::Material last = FrameBuilder::constantMaterial({0, 0, 1, 1});
  last.readsDepth = false;
  scene.add(quad(-9, -9, 9, 9, -50), last);
  EXPECT_EQ(pixelAt(scene.render(), 4, 4)[2], 255);
}

TEST(Depth, TellsSurfacesApartThatAreFarAwayAndClose) {
  for (const float distance : {0.002f, 1.0f, 100.0f, 9000.0f}) {
    for (const bool isOrthographic : {false, true}) {
      FrameBuilder scene(8, 8);
      if (isOrthographic) scene.pixelUnits();
      const float side = distance * 9 + 9;
      scene.add(quad(-side, -side, side, side, -distance), FrameBuilder::constantMaterial({1, 0, 0, 1}));
      scene.add(quad(-side, -side, side, side, -distance * 1.00001f), FrameBuilder::constantMaterial({0, 1, 0, 1}));
      EXPECT_EQ(pixelAt(scene.render(), 4, 4)[0], 255) << distance << isOrthographic;
    }
  }
}

}  // namespace
}  // namespace ornolith
