// ornolith_loaders_mesh ornolith_scenegraph ornolith_foundation
//
// Reading STL files, from the bytes to the scene, on one thread. ORNOLITH_BENCH_MEGABYTES=500 makes large files.

#include "MeshBench.h"
#include "loaders/mesh/STLReader.h"

namespace {

using namespace ornolith;
using namespace ornolith::bench;

std::string binaryFile(std::size_t size) {
  const Ripples mesh = ripples(size / 50);
  std::string file(80, ' ');
  append(file, static_cast<std::uint32_t>(mesh.triangles.size() / 3));
  for (std::size_t i = 0; i < mesh.triangles.size(); i += 3) {
    file.append(12, '\0');
    for (std::size_t corner = 0; corner < 3; ++corner) {
      file.append(reinterpret_cast<const char*>(mesh.positions.data() + std::size_t{mesh.triangles[i + corner]} * 3),
                  12);
    }
    file.append(2, '\0');
  }
  return file;
}

std::string textFile(std::size_t size) {
  const Ripples mesh = ripples(size / 260);
  std::string file = "solid ripples\n";
  for (std::size_t i = 0; i < mesh.triangles.size(); i += 3) {
    file += "  facet normal 0.000000e+00 0.000000e+00 1.000000e+00\n    outer loop\n";
    for (std::size_t corner = 0; corner < 3; ++corner) {
      const float* p = mesh.positions.data() + std::size_t{mesh.triangles[i + corner]} * 3;
      char line[80];
      std::snprintf(line, sizeof line, "      vertex %.6e %.6e %.6e\n", double{p[0]}, double{p[1]}, double{p[2]});
      file += line;
    }
    file += "    endloop\n  endfacet\n";
  }
  return file + "endsolid ripples\n";
}

void readBinary(benchmark::State& state) {
  readRepeatedly(state, binaryFile(fileSize()), [](auto bytes) { return readSTL(bytes); });
}
BENCHMARK(readBinary)->Unit(benchmark::kMillisecond);

void readText(benchmark::State& state) {
  readRepeatedly(state, textFile(fileSize()), [](auto bytes) { return readSTL(bytes); });
}
BENCHMARK(readText)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
