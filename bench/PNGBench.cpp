// ornolith_imaging ornolith_foundation
//
// Writing and reading PNG pictures that look like rendered ones: a lit sphere on a transparent ground, smooth, faceted
// or with a fine texture.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>

#include "foundation/Parallel.h"
#include "imaging/Color.h"
#include "imaging/Image.h"
#include "imaging/ImageDecoder.h"
#include "imaging/PNGEncoder.h"

namespace {

using namespace ornolith;

enum Surface : std::int64_t { smooth, faceted, textured };

Image sphere(std::uint32_t side, Surface surface) {
  Image image{.width = side, .height = side, .pixels = {}};
  image.pixels.resize(image.rowBytes() * side);
  const double center = side / 2.0;
  const double radius = side * 0.42;
  for (std::uint32_t row = 0; row < side; ++row) {
    for (std::uint32_t column = 0; column < side; ++column) {
      double x = (column - center) / radius;
      double y = (center - row) / radius;
      if (x * x + y * y >= 1) continue;
      double z = std::sqrt(1 - x * x - y * y);
      if (surface == faceted) {
        x = std::round(x * 8) / 8;
        y = std::round(y * 8) / 8;
        z = std::sqrt(std::max(0.0, 1 - x * x - y * y));
      }
      double albedo = 1;
      if (surface == textured) {
        const std::uint32_t cell = (column / 3 * 7919U + row / 3 * 104'729U) * 2'654'435'761U;
        albedo = 0.7 + 0.3 * (cell >> 24) / 255.0;
      }
      const double light = albedo * (0.1 + 0.9 * std::max(0.0, 0.4 * x + 0.5 * y + 0.77 * z));
      std::uint8_t* const pixel = image.pixels.data() + (std::size_t{row} * side + column) * 4;
      pixel[0] = sRGB8FromLinear(static_cast<float>(0.8 * light));
      pixel[1] = sRGB8FromLinear(static_cast<float>(0.5 * light));
      pixel[2] = sRGB8FromLinear(static_cast<float>(0.3 * light));
      pixel[3] = 255;
    }
  }
  return image;
}

/// Arguments: surface, threads (0: all).
void encode(benchmark::State& state) {
  const Image image = sphere(1024, static_cast<Surface>(state.range(0)));
  std::size_t size = 0;
  const auto run = [&] {
    for (auto _ : state) size = encodePNG(image).size();
  };
  if (state.range(1) == 0) {
    run();
  } else {
    withThreadLimit(static_cast<std::size_t>(state.range(1)), run);
  }
  state.counters["bytes"] = static_cast<double>(size);
}
BENCHMARK(encode)
    ->ArgNames({"surface", "threads"})
    ->ArgsProduct({{smooth, faceted, textured}, {0, 1}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

/// Argument: surface. Items are pixels.
void decode(benchmark::State& state) {
  const Image image = sphere(1024, static_cast<Surface>(state.range(0)));
  const auto file = encodePNG(image);
  for (auto _ : state) {
    std::optional<Image> decoded = decodeImage(file);
    benchmark::DoNotOptimize(decoded);
  }
  state.SetItemsProcessed(state.iterations() * 1024 * 1024);
}
BENCHMARK(decode)->ArgName("surface")->DenseRange(smooth, textured)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
