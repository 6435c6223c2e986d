#pragma once

#include "raster/FrameBuilder.h"

namespace ornolith::test {

/// A scene that uses every feature of the device.
inline FrameBuilder everything(std::uint32_t width, std::uint32_t height) {
  FrameBuilder scene(width, height);
  scene.frame.background = {0.1f, 0.2f, 0.3f, 0.5f};
  scene.frame.ambientLight = {0.1f, 0.1f, 0.15f};
  scene.frame.directionalLights = {{{-0.5f, -0.5f, -0.7f}, {0.7f, 0.7f, 0.6f}}, {{1, 0, -0.3f}, {0.2f, 0.3f, 0.4f}}};
  std::mt19937 random(5);
  Image noise = solidImage(67, 45, {0, 0, 0, 255});
  for (std::uint8_t& sample : noise.pixels) sample = static_cast<std::uint8_t>(random());
  const std::int32_t color = scene.addTexture(noise, true, true);
  const std::int32_t data = scene.addTexture(noise, false);

  device::Material physical = FrameBuilder::litMaterial(device::LightingModel::physicallyBased, {0.8f, 0.5f, 0.3f, 1});
  physical.roughness.texture = data;
  physical.metalness.texture = data;
  physical.normal.texture = data;
  physical.ambientOcclusion.texture = data;
  scene.add(sphere({-0.6f, 0.3f, -2}, 0.7f, 40, 40), physical);
  device::Material blinn = FrameBuilder::litMaterial(device::LightingModel::blinn, {0.3f, 0.6f, 0.3f, 1});
  blinn.specular.value = {0.5f, 0.5f, 0.5f, 1};
  blinn.diffuse.texture = color;
  blinn.diffuse.wrapS = blinn.diffuse.wrapT = device::WrapMode::mirror;
  blinn.alphaCutoff = 0.4f;
  blinn.isDoubleSided = true;
  scene.add(sphere({0.7f, -0.2f, -2.2f}, 0.8f, 30, 50), blinn);
  device::Material wire = FrameBuilder::constantMaterial({0, 0, 0, 1});
  wire.fillsLines = true;
  scene.add(sphere({0, 0.5f, -1.8f}, 0.5f, 12, 12), wire);
  device::Material glass = FrameBuilder::litMaterial(device::LightingModel::blinn, {0.9f, 0.9f, 1, 0.3f});
  glass.isDoubleSided = true;
  scene.add(sphere({0.1f, -0.4f, -1.5f}, 0.5f, 30, 30), glass, true);
  glass.blendMode = device::BlendMode::add;
  glass.writesDepth = false;
  scene.add(sphere({0.4f, 0.4f, -1.5f}, 0.4f, 30, 30), glass, true);
  scene
      .add(sphere({-0.5f, -0.5f, -1.5f}, 0.3f, 10, 10), FrameBuilder::constantMaterial({1, 1, 0, 1}), false,
           device::Topology::points)
      .maximumPointRadius = 5;
  MeshData floor = quad(-50, -50, 50, 50, 0);
  device::DrawItem& item = scene.add(floor, blinn);
  item.worldMatrix = {
      {simd_double4{1, 0, 0, 0}, simd_double4{0, 0, -1, 0}, simd_double4{0, 1, 0, 0}, simd_double4{0, -1, 0, 1}}};
  item.normalMatrix = {simd_float3{1, 0, 0}, simd_float3{0, 0, -1}, simd_float3{0, 1, 0}};
  return scene;
}

}  // namespace ornolith::test
