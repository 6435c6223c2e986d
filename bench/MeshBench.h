#pragma once

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/Parallel.h"

namespace ornolith::bench {

// Files of meshes as the readers' benchmarks make them, in memory, as large as asked for.

/// A sphere with ripples, as a grid of vertices.
struct Ripples {
  std::vector<float> positions;
  std::vector<std::uint32_t> triangles;
};

/// As many triangles as wanted, or a few more.
inline Ripples ripples(std::size_t triangleCount) {
  const auto rows = static_cast<std::uint32_t>(std::sqrt(static_cast<double>(triangleCount) / 4) + 1);
  const std::uint32_t columns = rows * 2;
  Ripples mesh;
  for (std::uint32_t column = 0; column <= columns; ++column) {
    for (std::uint32_t row = 0; row <= rows; ++row) {
      const double u = 2 * 3.14159265358979 * (column % columns) / columns;
      const double v = 0.01 + 3.12 * row / rows;
      const double radius = 50 * (1 + 0.05 * std::sin(20 * u) * std::sin(20 * v));
      for (const double value : {std::sin(v) * std::cos(u), std::sin(v) * std::sin(u), std::cos(v)}) {
        mesh.positions.push_back(static_cast<float>(radius * value));
      }
    }
  }
  for (std::uint32_t column = 0; column < columns; ++column) {
    for (std::uint32_t row = 0; row < rows; ++row) {
      const std::uint32_t a = column * (rows + 1) + row;
      const std::uint32_t b = a + rows + 1;
      mesh.triangles.insert(mesh.triangles.end(), {a, b + 1, b, a, a + 1, b + 1});
    }
  }
  return mesh;
}

template <typename Value>
void append(std::string& bytes, const Value& value) {
  bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

/// Reads `file` again and again on one thread and shows bytes for a second of the processor's time.
template <typename Read>
void readRepeatedly(benchmark::State& state, const std::string& file, const Read& read) {
  withThreadLimit(1, [&] {
    for (auto _ : state) benchmark::DoNotOptimize(read(std::as_bytes(std::span(file))));
  });
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(file.size()));
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  state.counters["peakMB"] = static_cast<double>(usage.ru_maxrss) / 1024;
}

/// The files' sizes in megabytes: 10, or what the environment variable `ORNOLITH_BENCH_MEGABYTES` says.
inline std::size_t fileSize() {
  const char* wanted = std::getenv("ORNOLITH_BENCH_MEGABYTES");
  return (wanted != nullptr ? std::strtoull(wanted, nullptr, 10) : 10) * 1'000'000;
}

}  // namespace ornolith::bench
