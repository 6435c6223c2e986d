// ornolith_loaders_mesh ornolith_scenegraph ornolith_foundation
//
// Reading PLY files, from the bytes to the scene, on one thread. ORNOLITH_BENCH_MEGABYTES=500 makes large files.

#include "MeshBench.h"
#include "loaders/mesh/PLYReader.h"

namespace {

using namespace ornolith;
using namespace ornolith::bench;

std::string header(const Ripples& mesh, std::string_view format, bool hasNormals) {
  return "ply\nformat " + std::string(format) + " 1.0\nelement vertex " + std::to_string(mesh.positions.size() / 3) +
         "\nproperty float x\nproperty float y\nproperty float z\n" +
         (hasNormals ? "property float nx\nproperty float ny\nproperty float nz\n" : "") + "element face " +
         std::to_string(mesh.triangles.size() / 3) + "\nproperty list uchar int vertex_indices\nend_header\n";
}

std::string binaryFile(std::size_t size, bool hasNormals) {
  const Ripples mesh = ripples(size / (hasNormals ? 25 : 19));
  std::string file = header(mesh, "binary_little_endian", hasNormals);
  for (std::size_t i = 0; i < mesh.positions.size(); i += 3) {
    for (int copy = 0; copy <= (hasNormals ? 1 : 0); ++copy) {
      file.append(reinterpret_cast<const char*>(mesh.positions.data() + i), 12);
    }
  }
  for (std::size_t i = 0; i < mesh.triangles.size(); i += 3) {
    file += '\x03';
    file.append(reinterpret_cast<const char*>(mesh.triangles.data() + i), 12);
  }
  return file;
}

std::string textFile(std::size_t size, bool hasNormals) {
  const Ripples mesh = ripples(size / (hasNormals ? 50 : 35));
  std::string file = header(mesh, "ascii", hasNormals);
  char line[128];
  for (std::size_t i = 0; i < mesh.positions.size(); i += 3) {
    const float* p = mesh.positions.data() + i;
    std::snprintf(line, sizeof line, "%.6f %.6f %.6f", double{p[0]}, double{p[1]}, double{p[2]});
    file += line;
    if (hasNormals) file += std::string(" ") + line;
    file += '\n';
  }
  for (std::size_t i = 0; i < mesh.triangles.size(); i += 3) {
    const std::uint32_t* corners = mesh.triangles.data() + i;
    std::snprintf(line, sizeof line, "3 %u %u %u\n", corners[0], corners[1], corners[2]);
    file += line;
  }
  return file;
}

std::shared_ptr<SCNScene> read(std::span<const std::byte> bytes) {
  return readPLY(bytes);
}

void readBinary(benchmark::State& state) {
  readRepeatedly(state, binaryFile(fileSize(), true), read);
}
BENCHMARK(readBinary)->Unit(benchmark::kMillisecond);

void readBinaryWithoutNormals(benchmark::State& state) {
  readRepeatedly(state, binaryFile(fileSize(), false), read);
}
BENCHMARK(readBinaryWithoutNormals)->Unit(benchmark::kMillisecond);

void readText(benchmark::State& state) {
  readRepeatedly(state, textFile(fileSize(), true), read);
}
BENCHMARK(readText)->Unit(benchmark::kMillisecond);

void readTextWithoutNormals(benchmark::State& state) {
  readRepeatedly(state, textFile(fileSize(), false), read);
}
BENCHMARK(readTextWithoutNormals)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
