// ornolith_imaging ornolith_foundation PNG::PNG
//
// Writing and reading PNG pictures that look like rendered ones: a lit sphere on a transparent ground, smooth, faceted,
// with a fine texture or with noise.

#include <benchmark/benchmark.h>
#include <png.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <random>

#include "foundation/Parallel.h"
#include "imaging/Color.h"
#include "imaging/Image.h"
#include "imaging/ImageDecoder.h"
#include "imaging/PNGEncoder.h"

namespace {

using namespace ornolith;

enum Surface : std::int64_t { smooth, faceted, textured, noisy };

Image sphere(std::uint32_t side, Surface surface) {
  Image image{.width = side, .height = side, .pixels = {}};
  image.pixels.resize(image.rowBytes() * side, 0);
  std::mt19937 random(1);
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
      if (surface == noisy) albedo = 0.8 + 0.2 * static_cast<double>(random() % 256) / 255.0;
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

/// How many bytes libpng takes with zlib's level 6 and its own choice of filters.
std::size_t bytesByLibrary(const Image& image) {
  std::size_t size = 0;
  png_structp writer = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(writer);
  png_set_write_fn(
      writer, &size,
      [](png_structp to, png_bytep, png_size_t count) { *static_cast<std::size_t*>(png_get_io_ptr(to)) += count; },
      nullptr);
  png_set_IHDR(writer, info, image.width, image.height, 8, PNG_COLOR_TYPE_RGBA, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_set_compression_level(writer, 6);
  png_write_info(writer, info);
  for (std::uint32_t y = 0; y < image.height; ++y) png_write_row(writer, image.pixel(0, y));
  png_write_end(writer, info);
  png_destroy_write_struct(&writer, &info);
  return size;
}

/// Arguments: surface, threads (0: all). `ratio` is the size beside that by libpng.
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
  state.counters["ratio"] = static_cast<double>(size) / static_cast<double>(bytesByLibrary(image));
}
BENCHMARK(encode)
    ->ArgNames({"surface", "threads"})
    ->ArgsProduct({{smooth, faceted, textured, noisy}, {0, 1}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MeasureProcessCPUTime();

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
BENCHMARK(decode)->ArgName("surface")->DenseRange(smooth, noisy)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
