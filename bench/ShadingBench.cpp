// ornolith_raster ornolith_imaging ornolith_foundation
#include <benchmark/benchmark.h>

#include "raster/FrameBuilder.h"
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

}  // namespace
}  // namespace ornolith

BENCHMARK_MAIN();
