// ornolith_raster ornolith_imaging ornolith_foundation
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <span>
#include <vector>

#include "raster/FrameBuilder.h"
#include "raster/NormalPlanes.h"
#include "raster/PixelOutput.h"
#include "raster/Shading.h"
#include "raster/TexturePyramid.h"
#include "raster/TextureSampler.h"

namespace ornolith {
namespace {

using namespace raster;

std::shared_ptr<const Image> noise(std::uint32_t side) {
  Image image = test::solidImage(side, side, {0, 0, 0, 255});
  std::mt19937 random(1);
  for (std::size_t i = 0; i < image.pixels.size(); ++i) {
    if (i % 4 != 3) image.pixels[i] = static_cast<std::uint8_t>(random());
  }
  return std::make_shared<const Image>(std::move(image));
}

/// All levels of a 4096x4096 texture: of colours (argument 0), of data (1), of colours with transparency (2).
void makePyramid(benchmark::State& state) {
  const TexelTables tables;
  const std::shared_ptr<const Image> image = noise(4096);
  for (auto _ : state) {
    const TexturePyramid pyramid(image, state.range(0) != 1, state.range(0) == 2, tables);
    benchmark::DoNotOptimize(pyramid.levels().back().texels);
  }
}
BENCHMARK(makePyramid)->DenseRange(0, 2)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

/// A million samples of a texture that fits the cache: of colours (0), of data (1); with footprints of `range(1)`
/// texels by one.
void sampleMillion(benchmark::State& state) {
  const TexelTables tables;
  const TexturePyramid pyramid(noise(256), state.range(0) == 0, false, tables);
  device::MaterialSlot slot;
  slot.wrapS = slot.wrapT = device::WrapMode::repeat;
  const auto lanes = std::make_unique<CoordinateLanes>();
  for (std::size_t i = 0; i < batchSize; ++i) {
    lanes->u[i] = static_cast<float>(i) * 0.0078f;
    lanes->v[i] = 0.3f;
    lanes->dudx[i] = static_cast<float>(state.range(1)) * 1.9f / 256;
    lanes->dvdy[i] = 1.9f / 256;
  }
  const TextureRead read{&pyramid, &slot, 0, colorComponents};
  const auto sample = std::make_unique<Lane4>();
  for (auto _ : state) {
    for (std::size_t i = 0; i < 1000000; i += batchSize) {
      sampleTextures({&read, 1}, {lanes.get(), 1}, batchSize, {sample.get(), 1});
    }
    benchmark::DoNotOptimize(sample->x[0]);
  }
}
BENCHMARK(sampleMillion)->ArgsProduct({{0, 1}, {1, 2, 8}})->Unit(benchmark::kMillisecond);

/// Two rows of a tile, with the normals of a sphere that reaches from its one side to the other.
std::unique_ptr<FragmentBatch> twoRows() {
  auto batch = std::make_unique<FragmentBatch>();
  batch->count = batchSize;
  for (std::size_t i = 0; i < batchSize; ++i) {
    batch->pixel[i] = static_cast<std::uint16_t>(i);
    const float x = (static_cast<float>(i % tileSide) - 31.5f) / 32;
    batch->normal.x[i] = x;
    batch->normal.y[i] = 0.3f;
    batch->normal.z[i] = std::sqrt(1.0f - x * x);
    batch->result.x[i] = batch->result.y[i] = batch->result.z[i] = std::abs(x);
    batch->result.w[i] = 1;
  }
  return batch;
}

/// A million fragments lit by Blinn's formula (0), the same with a highlight (1), physically based (2); by `range(1)`
/// lights.
void lightMillion(benchmark::State& state) {
  const auto model = state.range(0) == 2 ? device::LightingModel::physicallyBased : device::LightingModel::blinn;
  device::Material material = test::FrameBuilder::litMaterial(model, {0.8f, 0.7f, 0.6f, 1});
  material.roughness.value = {0.4f, 0.4f, 0.4f, 1};
  material.metalness.value = {0, 0, 0, 1};
  if (state.range(0) == 1) material.specular.value = {0.2f, 0.2f, 0.2f, 1};
  material.shininess = 0.25f;
  device::FrameDescription frame;
  frame.ambientLight = {0.2f, 0.2f, 0.2f};
  const device::DirectionalLight all[] = {
      {{-1, -1, -1}, {0.9f, 0.9f, 0.9f}}, {{1, -0.3f, -1}, {0.4f, 0.4f, 0.4f}}, {{0.3f, 1, -1}, {0.2f, 0.2f, 0.2f}}};
  frame.directionalLights.assign(all, all + state.range(1));
  const LightRig lights = LightRig::make(frame);
  const ShadingPlan plan = ShadingPlan::make(material, {}, false, {});
  const ViewRays rays{{-0.3f, 0.2f, 1}, {0.001f, 0, 0}, {0, -0.001f, 0}};
  const auto scratch = std::make_unique<ShadingScratch>();
  const auto batch = twoRows();
  for (auto _ : state) {
    for (std::size_t i = 0; i < 1000000; i += batchSize) shadeBatch(plan, lights, rays, *scratch, *batch);
    benchmark::DoNotOptimize(batch->result.x[0]);
  }
}
BENCHMARK(lightMillion)->ArgsProduct({{0, 1, 2}, {1, 3}})->Unit(benchmark::kMillisecond);

/// A million fragments as 8-bit pixels, all in the same two rows.
void encodeMillion(benchmark::State& state) {
  const OutputTable table;
  const auto batch = twoRows();
  std::vector<std::uint8_t> image(2 * rowValues);
  for (auto _ : state) {
    for (std::size_t i = 0; i < 1000000; i += batchSize) {
      encodeFragments(table, *batch, false, {image.data(), rowValues});
    }
    benchmark::DoNotOptimize(image[0]);
  }
}
BENCHMARK(encodeMillion)->Unit(benchmark::kMillisecond);

/// A million fragments of runs of `range(0)` pixels and one to three more or fewer.
void appendMillion(benchmark::State& state) {
  NormalPlane plane{{0, 0, 1, 0}, {0.1f, 0, 0, 0}, {0, 0.1f, 0, 0}, 10, 10, 1, true};
  std::mt19937 random(1);
  std::vector<PixelRun> all;
  for (std::size_t row = 0; row < tileSide; ++row) {
    for (std::size_t x = 0; x < tileSide;) {
      const std::size_t length = static_cast<std::size_t>(state.range(0)) - 3 + random() % 7;
      const std::size_t count = std::clamp<std::size_t>(length, 1, tileSide - x);
      all.push_back({0, static_cast<std::uint16_t>(row * tileSide + x), static_cast<std::uint16_t>(count)});
      x += count;
    }
  }
  const auto batch = std::make_unique<FragmentBatch>();
  for (auto _ : state) {
    for (std::size_t i = 0; i < 1000000; i += tilePixels) {
      std::vector<PixelRun> kept = all;
      for (std::span<PixelRun> runs = kept; !runs.empty();) {
        batch->count = 0;
        runs = runs.subspan(appendRuns({&plane, false}, runs, *batch));
      }
    }
    benchmark::DoNotOptimize(batch->normal.x[0]);
  }
}
BENCHMARK(appendMillion)->Arg(4)->Arg(10)->Arg(64)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace ornolith

BENCHMARK_MAIN();
