// ornolith_loaders_gltf ornolith_scenegraph ornolith_foundation
//
// Reading GLB containers, from the mapped file to the scene. Two layouts of one mesh of a given size: streams that are
// used where they stand, and quantised interleaved ones with short indices, all of which must be converted.
// ORNOLITH_BENCH_MEGABYTES=500 makes large files.

#include <algorithm>

#include "MeshBench.h"
#include "foundation/FileSystem.h"
#include "loaders/gltf/GLTFSceneLoader.h"
#include "support/TemporaryFolder.h"

using namespace ornolith;

namespace {

template <typename Value>
void append(std::string& bytes, const std::vector<Value>& values) {
  const std::size_t start = bytes.size();
  bytes.resize(start + values.size() * sizeof(Value));
  std::memcpy(bytes.data() + start, values.data(), values.size() * sizeof(Value));
}

std::string view(std::size_t offset, std::size_t length, const std::string& further = "") {
  return "{\"buffer\":0,\"byteOffset\":" + std::to_string(offset) + ",\"byteLength\":" + std::to_string(length) +
         further + "}";
}

std::string accessor(int view, int type, std::size_t count, const std::string& shape, const std::string& further = "") {
  return "{\"bufferView\":" + std::to_string(view) + ",\"componentType\":" + std::to_string(type) +
         ",\"count\":" + std::to_string(count) + ",\"type\":\"" + shape + "\"" + further + "}";
}

std::string container(const std::string& views, const std::string& accessors, const std::string& meshes,
                      const std::string& nodes, const std::string& binary) {
  std::string json = "{\"asset\":{\"version\":\"2.0\"},\"buffers\":[{\"byteLength\":" + std::to_string(binary.size()) +
                     "}],\"bufferViews\":[" + views + "],\"accessors\":[" + accessors + "],\"meshes\":[" + meshes +
                     "],\"nodes\":[" + nodes + "]}";
  json.resize((json.size() + 3) / 4 * 4, ' ');
  std::string bytes = "glTF";
  append<std::uint32_t>(bytes, {2, static_cast<std::uint32_t>(28 + json.size() + binary.size()),
                                static_cast<std::uint32_t>(json.size()), 0x4E4F534A});
  bytes += json;
  append<std::uint32_t>(bytes, {static_cast<std::uint32_t>(binary.size()), 0x004E4942});
  return bytes + binary;
}

/// One grid with positions, normals and texture coordinates as floats and indices of 32 bits.
std::string plainFile(std::size_t size) {
  const std::size_t vertices = size / (32 + 24);
  std::vector<float> positions(vertices * 3);
  for (std::size_t i = 0; i < positions.size(); ++i) positions[i] = static_cast<float>(i % 4093);
  std::vector<float> normals(vertices * 3, 0.577F);
  std::vector<float> texcoords(vertices * 2, 0.25F);
  std::vector<std::uint32_t> indices(vertices * 6);
  for (std::size_t i = 0; i < indices.size(); ++i) indices[i] = static_cast<std::uint32_t>((i / 3 + i % 3) % vertices);
  std::string binary;
  append(binary, positions);
  append(binary, normals);
  append(binary, texcoords);
  append(binary, indices);
  const std::string views = view(0, vertices * 12) + "," + view(vertices * 12, vertices * 12) + "," +
                            view(vertices * 24, vertices * 8) + "," + view(vertices * 32, vertices * 24);
  const std::string accessors = accessor(0, 5126, vertices, "VEC3") + "," + accessor(1, 5126, vertices, "VEC3") + "," +
                                accessor(2, 5126, vertices, "VEC2") + "," + accessor(3, 5125, indices.size(), "SCALAR");
  return container(views, accessors,
                   R"({"primitives":[{"attributes":{"POSITION":0,"NORMAL":1,"TEXCOORD_0":2},"indices":3}]})",
                   R"({"mesh":0})", binary);
}

/// Many meshes of 60,000 vertices each: positions, normals and texture coordinates as normalised shorts and bytes in
/// one interleaved view, indices of 16 bits.
std::string quantisedFile(std::size_t size) {
  constexpr std::size_t vertices = 60'000;
  constexpr std::size_t stride = 16;
  constexpr std::size_t meshBytes = vertices * (stride + 12);
  std::vector<std::uint16_t> indices(vertices * 6);
  for (std::size_t i = 0; i < indices.size(); ++i) indices[i] = static_cast<std::uint16_t>((i / 3 + i % 3) % vertices);
  std::string streams(vertices * stride, '\0');
  for (std::size_t i = 0; i < streams.size(); ++i) streams[i] = static_cast<char>(i * 7 % 251);
  std::string binary;
  std::string views;
  std::string accessors;
  std::string meshes;
  std::string nodes;
  for (std::size_t mesh = 0; mesh < std::max<std::size_t>(size / meshBytes, 1); ++mesh) {
    const std::string comma = mesh == 0 ? "" : ",";
    const std::string first = std::to_string(mesh * 4);
    views += comma + view(binary.size(), streams.size(), ",\"byteStride\":16") + ",";
    binary += streams;
    views += view(binary.size(), indices.size() * 2);
    append(binary, indices);
    const int streamView = static_cast<int>(mesh) * 2;
    accessors += comma + accessor(streamView, 5122, vertices, "VEC3", ",\"normalized\":true") + "," +
                 accessor(streamView, 5120, vertices, "VEC3", ",\"normalized\":true,\"byteOffset\":8") + "," +
                 accessor(streamView, 5123, vertices, "VEC2", ",\"normalized\":true,\"byteOffset\":12") + "," +
                 accessor(streamView + 1, 5123, indices.size(), "SCALAR");
    meshes += comma + "{\"primitives\":[{\"attributes\":{\"POSITION\":" + first +
              ",\"NORMAL\":" + std::to_string(mesh * 4 + 1) + ",\"TEXCOORD_0\":" + std::to_string(mesh * 4 + 2) +
              "},\"indices\":" + std::to_string(mesh * 4 + 3) + "}]}";
    nodes += comma + "{\"mesh\":" + std::to_string(mesh) + "}";
  }
  return container(views, accessors, meshes, nodes, binary);
}

void readGLB(benchmark::State& state, std::string (*make)(std::size_t)) {
  const testsupport::TemporaryFolder folder;
  const FileURL url(folder.makeFile("model.glb", make(bench::fileSize())));
  const std::size_t size = attributesOfItem(url).size;
  for (auto _ : state) {
    const auto result = GLTFSceneLoader::loadScene(url, {}, ModelFormat::glb);
    benchmark::DoNotOptimize(result.scene.get());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(size) * static_cast<std::int64_t>(state.iterations()));
}

BENCHMARK_CAPTURE(readGLB, plain, plainFile)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readGLB, quantised, quantisedFile)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
