// ornolith_raster ornolith_imaging ornolith_foundation
#include <benchmark/benchmark.h>

#include "raster/FrameBuilder.h"

/// Wall time, with the processor time of all threads beside it.
#define ORNOLITH_BENCHMARK(name) BENCHMARK(name)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime()

namespace ornolith {
namespace {

using namespace test;

device::DirectionalLight keyLight() {
  const float s = 1.0f / std::sqrt(3.0f);
  return {{-s, -s, -s}, {0.9f, 0.9f, 0.9f}};
}

void litSphere(FrameBuilder& scene, std::uint32_t rings, std::uint32_t segments, device::LightingModel model) {
  scene.frame.ambientLight = {0.2f, 0.2f, 0.2f};
  scene.frame.directionalLights.push_back(keyLight());
  device::Material material = FrameBuilder::litMaterial(model, {0.8f, 0.7f, 0.6f, 1});
  material.roughness.value = {0.4f, 0.4f, 0.4f, 1};
  material.metalness.value = {0, 0, 0, 1};
  scene.add(sphere({0, 0, -2}, 1.4f, rings, segments), material);
}

std::uint64_t trianglesOf(const FrameBuilder& scene) {
  std::uint64_t triangles = 0;
  for (const auto* items : {&scene.frame.opaqueItems, &scene.frame.blendedItems}) {
    for (const device::DrawItem& item : *items) triangles += item.indexCount / 3;
  }
  return triangles;
}

void report(benchmark::State& state, const FrameBuilder& scene) {
  const auto device = makeCPURenderDevice();
  Image image = device->render(scene.frame);
  for (auto _ : state) {
    image = device->render(scene.frame);
    benchmark::DoNotOptimize(image.pixels.data());
  }
  state.counters["triangles"] = static_cast<double>(trianglesOf(scene));
  state.counters["covered"] = static_cast<double>(coveredPixels(image));
}

/// 131,072 lit triangles at 1024x1024.
void litSphere131k(benchmark::State& state) {
  FrameBuilder scene(1024, 1024);
  litSphere(scene, 256, 256, device::LightingModel::blinn);
  report(state, scene);
}
ORNOLITH_BENCHMARK(litSphere131k);

/// The same with a highlight.
void shinySphere131k(benchmark::State& state) {
  FrameBuilder scene(1024, 1024);
  litSphere(scene, 256, 256, device::LightingModel::blinn);
  scene.frame.materials[0].specular.value = {0.2f, 0.2f, 0.2f, 1};
  scene.frame.materials[0].shininess = 0.25f;
  report(state, scene);
}
ORNOLITH_BENCHMARK(shinySphere131k);

void physicalSphere131k(benchmark::State& state) {
  FrameBuilder scene(1024, 1024);
  litSphere(scene, 256, 256, device::LightingModel::physicallyBased);
  report(state, scene);
}
ORNOLITH_BENCHMARK(physicalSphere131k);

void litSphere2M(benchmark::State& state) {
  FrameBuilder scene(1024, 1024);
  litSphere(scene, 1000, 1000, device::LightingModel::blinn);
  report(state, scene);
}
ORNOLITH_BENCHMARK(litSphere2M);

/// A 4096x4096 colour texture and a normal map on 20,000 triangles.
void texturedSphere(benchmark::State& state) {
  FrameBuilder scene(1024, 1024);
  litSphere(scene, 100, 100, device::LightingModel::physicallyBased);
  Image checker = solidImage(4096, 4096, {200, 180, 160, 255});
  for (std::size_t i = 0; i < checker.pixels.size(); i += 4) {
    if (((i / 4 / 64) ^ (i / 4 / 4096 / 64)) & 1) checker.pixels[i] = 40;
  }
  scene.frame.materials[0].diffuse.texture = scene.addTexture(std::move(checker), true);
  scene.frame.materials[0].normal.texture = scene.addTexture(solidImage(4096, 4096, {140, 120, 250, 255}), false);
  report(state, scene);
}
ORNOLITH_BENCHMARK(texturedSphere);

/// A screen-filling rectangle: the cost of pixels alone.
void fullScreen(benchmark::State& state) {
  FrameBuilder scene(1024, 1024);
  scene.frame.directionalLights.push_back(keyLight());
  scene.add(quad(-3, -3, 3, 3, -2), FrameBuilder::litMaterial(device::LightingModel::blinn, {0.5f, 0.5f, 0.5f, 1}));
  report(state, scene);
}
ORNOLITH_BENCHMARK(fullScreen);

void wireSphere(benchmark::State& state) {
  FrameBuilder scene(1024, 1024);
  litSphere(scene, 64, 64, device::LightingModel::constant);
  scene.frame.materials[0].fillsLines = true;
  report(state, scene);
}
ORNOLITH_BENCHMARK(wireSphere);

void emptyFrame(benchmark::State& state) {
  const auto side = static_cast<std::uint32_t>(state.range(0));
  const FrameBuilder scene(side, side);
  report(state, scene);
}
ORNOLITH_BENCHMARK(emptyFrame)->ArgName("side")->Arg(64)->Arg(1024);

/// One cell of a series: a model of 100,352 triangles on few pixels.
void smallCell(benchmark::State& state) {
  const auto side = static_cast<std::uint32_t>(state.range(0));
  FrameBuilder scene(side, side);
  const auto cells = static_cast<std::uint32_t>(state.range(1));
  litSphere(scene, cells, cells, device::LightingModel::blinn);
  report(state, scene);
}
ORNOLITH_BENCHMARK(smallCell)->ArgNames({"side", "cells"})->Args({64, 10})->Args({64, 224})->Args({512, 224});

/// From a thousand to ten million triangles on 1024x1024 pixels: `cells` squared times two.
void byTriangles(benchmark::State& state) {
  FrameBuilder scene(1024, 1024);
  const auto cells = static_cast<std::uint32_t>(state.range(0));
  litSphere(scene, cells, cells, device::LightingModel::blinn);
  report(state, scene);
}
ORNOLITH_BENCHMARK(byTriangles)->ArgName("cells")->Arg(22)->Arg(71)->Arg(224)->Arg(707)->Arg(2236);

/// The sphere of 131,072 triangles on more and more pixels.
void byPixels(benchmark::State& state) {
  const auto side = static_cast<std::uint32_t>(state.range(0));
  FrameBuilder scene(side, side);
  litSphere(scene, 256, 256, device::LightingModel::blinn);
  report(state, scene);
}
ORNOLITH_BENCHMARK(byPixels)->ArgName("side")->RangeMultiplier(2)->Range(256, 8192);

/// Spheres side by side all over the picture: `items` of `rings` by `rings` cells, dealt out to `materials`.
FrameBuilder field(std::uint32_t items, std::uint32_t rings, std::uint32_t materials) {
  FrameBuilder scene(1024, 1024);
  scene.frame.ambientLight = {0.2f, 0.2f, 0.2f};
  scene.frame.directionalLights.push_back(keyLight());
  const auto columns = static_cast<std::uint32_t>(std::ceil(std::sqrt(static_cast<double>(items))));
  const float step = 4.0f / static_cast<float>(columns);
  for (std::uint32_t i = 0; i < materials; ++i) {
    const float level = static_cast<float>(i) / static_cast<float>(materials);
    scene.frame.materials.push_back(FrameBuilder::litMaterial(device::LightingModel::blinn, {level, 0.7f, 0.6f, 1}));
  }
  for (std::uint32_t i = 0; i < items; ++i) {
    const float x = -2 + step * (static_cast<float>(i % columns) + 0.5f);
    const float y = -2 + step * (static_cast<float>(i / columns) + 0.5f);
    scene.add(sphere({x, y, -2}, step * 0.4f, rings, rings), {}).material = i % materials;
  }
  return scene;
}

/// About 100,000 triangles in more and more items.
void byItems(benchmark::State& state) {
  const double cells = 50000.0 / static_cast<double>(state.range(0));
  report(state, field(static_cast<std::uint32_t>(state.range(0)),
                      static_cast<std::uint32_t>(std::lround(std::sqrt(cells))), 1));
}
ORNOLITH_BENCHMARK(byItems)->ArgName("items")->RangeMultiplier(10)->Range(1, 10000)->Arg(20000);

/// A thousand items with more and more materials.
void byMaterials(benchmark::State& state) {
  report(state, field(1000, 7, static_cast<std::uint32_t>(state.range(0))));
}
ORNOLITH_BENCHMARK(byMaterials)->ArgName("materials")->RangeMultiplier(10)->Range(1, 1000);

/// Slivers a pixel and a half wide across much of the picture, in all directions.
void longThinTriangles(benchmark::State& state) {
  const auto side = static_cast<std::uint32_t>(state.range(1));
  FrameBuilder scene(side, side);
  scene.pixelUnits();
  std::mt19937 random(2);
  std::uniform_real_distribution<float> place(-0.5f, 0.5f);
  const auto extent = static_cast<float>(side);
  MeshData mesh;
  for (std::uint32_t t = 0; t < state.range(0); ++t) {
    const float angle = 6.2831853f * place(random), x = extent * place(random), y = extent * place(random);
    const auto dx = static_cast<float>(math::cos(angle)), dy = static_cast<float>(math::sin(angle));
    const float reach = 0.4f * extent, z = -2 + place(random);
    mesh.positions.insert(mesh.positions.end(), {x - reach * dx, y - reach * dy, z, x + reach * dx + dy,
                                                 y + reach * dy - dx, z, x + reach * dx, y + reach * dy, z});
    mesh.indices.insert(mesh.indices.end(), {3 * t, 3 * t + 1, 3 * t + 2});
  }
  device::Material material = FrameBuilder::constantMaterial({0.8f, 0.8f, 0.8f, 1});
  material.isDoubleSided = true;
  scene.add(mesh, material);
  report(state, scene);
}
ORNOLITH_BENCHMARK(longThinTriangles)
    ->ArgNames({"triangles", "side"})
    ->Args({10000, 1024})
    ->Args({100000, 1024})
    ->Args({10000, 8192});

/// Rectangles over the whole picture, each nearer than the one before.
void fullScreenLayers(benchmark::State& state) {
  FrameBuilder scene(1024, 1024);
  const bool isBlended = state.range(1) != 0;
  for (std::uint32_t i = 0; i < state.range(0); ++i) {
    const float z = -3 + static_cast<float>(i) / static_cast<float>(state.range(0));
    scene.add(quad(-4, -4, 4, 4, z), FrameBuilder::constantMaterial({0.8f, 0.8f, 0.8f, isBlended ? 0.5f : 1.0f}),
              isBlended);
  }
  report(state, scene);
}
ORNOLITH_BENCHMARK(fullScreenLayers)->ArgNames({"layers", "blended"})->Args({100, 0})->Args({100, 1});

/// A million triangles over one another within one tile, each smaller than a pixel.
void subpixelTriangles(benchmark::State& state) {
  FrameBuilder scene(1024, 1024);
  scene.pixelUnits();
  MeshData mesh;
  constexpr std::uint32_t cells = 707;
  constexpr float step = 60.0f / cells;
  for (std::uint32_t j = 0; j <= cells; ++j) {
    for (std::uint32_t i = 0; i <= cells; ++i) {
      mesh.positions.insert(mesh.positions.end(),
                            {2 + step * static_cast<float>(i), 2 + step * static_cast<float>(j), -1});
    }
  }
  for (std::uint32_t j = 0; j < cells; ++j) {
    for (std::uint32_t i = 0; i < cells; ++i) {
      const std::uint32_t a = j * (cells + 1) + i, b = a + 1, c = a + cells + 1, d = c + 1;
      mesh.indices.insert(mesh.indices.end(), {a, b, d, a, d, c});
    }
  }
  scene.add(mesh, FrameBuilder::constantMaterial({1, 1, 1, 1}));
  report(state, scene);
}
ORNOLITH_BENCHMARK(subpixelTriangles);

/// The sphere of 131,072 triangles as glass: both sides of each face, blended in order.
void glassSphere(benchmark::State& state) {
  FrameBuilder scene(1024, 1024);
  litSphere(scene, 256, 256, device::LightingModel::blinn);
  scene.frame.materials[0].diffuse.value.w = 0.5f;
  scene.frame.materials[0].isDoubleSided = true;
  scene.frame.blendedItems.swap(scene.frame.opaqueItems);
  report(state, scene);
}
ORNOLITH_BENCHMARK(glassSphere);

/// The same with an opacity of 0.
void invisibleSphere(benchmark::State& state) {
  FrameBuilder scene(1024, 1024);
  litSphere(scene, 256, 256, device::LightingModel::blinn);
  scene.frame.materials[0].transparency = 0;
  scene.frame.blendedItems.swap(scene.frame.opaqueItems);
  report(state, scene);
}
ORNOLITH_BENCHMARK(invisibleSphere);

}  // namespace
}  // namespace ornolith

BENCHMARK_MAIN();
