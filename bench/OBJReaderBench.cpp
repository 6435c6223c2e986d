// ornolith_loaders_obj ornolith_scenegraph
//
// How fast OBJ text becomes a scene: a wavy sheet of quads or triangles, written as exporters do, with and without
// normals. ORNOLITH_BENCH_MEGABYTES=500 makes large files.

#include "MeshBench.h"
#include "loaders/obj/OBJReader.h"
#include "loaders/obj/OBJStatements.h"

using namespace ornolith;

namespace {

constexpr std::size_t allThreads = 0;

enum class Attributes { positions, texcoordsAndNormals };

template <typename... Values>
void print(std::string& text, const char* format, Values... values) {
  char line[160];
  text.append(line, static_cast<std::size_t>(std::snprintf(line, sizeof line, format, values...)));
}

/// Faces of three corners or four over a sheet of `side` by `side` vertices.
std::string sheet(int side, Attributes attributes, int corners) {
  std::string text = "o sheet\n";
  const bool isFull = attributes == Attributes::texcoordsAndNormals;
  for (int y = 0; y < side; ++y) {
    for (int x = 0; x < side; ++x) {
      const double u = x / static_cast<double>(side);
      const double v = y / static_cast<double>(side);
      print(text, "v %.6f %.6f %.6f\n", u * 10 - 5, std::sin(u * 40) * std::cos(v * 30) * 0.1, v * 10 - 5);
      if (isFull) print(text, "vt %.6f %.6f\nvn %.4f %.4f %.4f\n", u, v, std::sin(u) * 0.1, 0.9949, std::cos(v) * 0.1);
    }
  }
  text += "usemtl cloth\ns 1\n";
  const auto corner = [&](int index) {
    if (isFull) {
      print(text, " %d/%d/%d", index, index, index);
    } else {
      print(text, " %d", index);
    }
  };
  const auto face = [&](std::initializer_list<int> indices) {
    text += 'f';
    for (const int index : indices) corner(index);
    text += '\n';
  };
  for (int y = 0; y + 1 < side; ++y) {
    for (int x = 0; x + 1 < side; ++x) {
      const int a = y * side + x + 1;
      const int c = a + side;
      if (corners == 4) {
        face({a, a + 1, c + 1, c});
      } else {
        face({a, a + 1, c + 1});
        face({a, c + 1, c});
      }
    }
  }
  return text;
}

/// The sheet that comes closest to the size wanted.
const std::string& text(Attributes attributes, int corners) {
  static std::string texts[2][2];
  std::string& text = texts[attributes == Attributes::positions ? 0 : 1][corners - 3];
  if (text.empty()) {
    constexpr int sample = 300;
    const double perVertex = static_cast<double>(sheet(sample, attributes, corners).size()) / (sample * sample);
    text = sheet(static_cast<int>(std::sqrt(static_cast<double>(bench::fileSize()) / perVertex)), attributes, corners);
  }
  return text;
}

void readSheet(benchmark::State& state, Attributes attributes, int corners, std::size_t threads) {
  const std::string& obj = text(attributes, corners);
  const auto read = [&] { benchmark::DoNotOptimize(readOBJ(std::as_bytes(std::span(obj)))); };
  for (auto _ : state) {
    if (threads == allThreads) {
      read();
    } else {
      withThreadLimit(threads, read);
    }
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(obj.size()));
}

void parseSheet(benchmark::State& state, Attributes attributes, int corners) {
  const std::string& obj = text(attributes, corners);
  for (auto _ : state) withThreadLimit(1, [&] { benchmark::DoNotOptimize(readOBJStatements(obj)); });
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(obj.size()));
}

BENCHMARK_CAPTURE(parseSheet, full_triangles, Attributes::texcoordsAndNormals, 3)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(parseSheet, positions_triangles, Attributes::positions, 3)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readSheet, full_triangles, Attributes::texcoordsAndNormals, 3, 1)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readSheet, full_quads, Attributes::texcoordsAndNormals, 4, 1)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readSheet, positions_triangles, Attributes::positions, 3, 1)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readSheet, positions_quads, Attributes::positions, 4, 1)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readSheet, full_triangles_all_threads, Attributes::texcoordsAndNormals, 3, allThreads)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readSheet, positions_triangles_all_threads, Attributes::positions, 3, allThreads)
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
