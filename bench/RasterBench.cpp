// ornolith_raster ornolith_imaging ornolith_foundation
#include <benchmark/benchmark.h>

#include "raster/FrameBuilder.h"

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

void report(benchmark::State& state, const FrameBuilder& scene) {
  const auto device = makeCPURenderDevice();
  Image image = device->render(scene.frame);
  for (auto _ : state) {
    image = device->render(scene.frame);
    benchmark::DoNotOptimize(image.pixels.data());
  }
  double triangles = 0;
  for (const auto& item : scene.frame.opaqueItems) triangles += item.indexCount / 3.0;
  state.counters["triangles/s"] = benchmark::Counter(triangles, benchmark::Counter::kIsIterationInvariantRate);
  state.counters["covered"] = static_cast<double>(coveredPixels(image));
}

/// 131,072 lit triangles at 1024x1024.
void litSphere131k(benchmark::State& state) {
  FrameBuilder scene(1024, 1024);
  litSphere(scene, 256, 256, device::LightingModel::blinn);
  report(state, scene);
}
BENCHMARK(litSphere131k)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

void physicalSphere131k(benchmark::State& state) {
  FrameBuilder scene(1024, 1024);
  litSphere(scene, 256, 256, device::LightingModel::physicallyBased);
  report(state, scene);
}
BENCHMARK(physicalSphere131k)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

void litSphere2M(benchmark::State& state) {
  FrameBuilder scene(1024, 1024);
  litSphere(scene, 1000, 1000, device::LightingModel::blinn);
  report(state, scene);
}
BENCHMARK(litSphere2M)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

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
BENCHMARK(texturedSphere)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

/// A screen-filling rectangle: the cost of pixels alone.
void fullScreen(benchmark::State& state) {
  FrameBuilder scene(1024, 1024);
  scene.frame.directionalLights.push_back(keyLight());
  scene.add(quad(-3, -3, 3, 3, -2), FrameBuilder::litMaterial(device::LightingModel::blinn, {0.5f, 0.5f, 0.5f, 1}));
  report(state, scene);
}
BENCHMARK(fullScreen)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

void wireSphere(benchmark::State& state) {
  FrameBuilder scene(1024, 1024);
  litSphere(scene, 64, 64, device::LightingModel::constant);
  scene.frame.materials[0].fillsLines = true;
  report(state, scene);
}
BENCHMARK(wireSphere)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

void emptyFrame(benchmark::State& state) {
  const FrameBuilder scene(1024, 1024);
  report(state, scene);
}
BENCHMARK(emptyFrame)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

}  // namespace
}  // namespace ornolith

BENCHMARK_MAIN();
