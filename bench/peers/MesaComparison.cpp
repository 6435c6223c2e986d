// Draws the same frames by the CPU device and through OpenGL on Mesa's software driver, turn by turn in one process,
// and prints the best times of both. Usage: MesaComparison [rounds [directory for the pictures]]

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <functional>
#include <limits>
#include <random>
#include <string>

#include "imaging/PNGEncoder.h"
#include "peers/MesaRenderer.h"
#include "raster/FrameBuilder.h"

namespace ornolith::peers {
namespace {

using test::FrameBuilder;

struct Scene {
  const char* name;
  double targetRatio;
  std::function<void(FrameBuilder&)> build;
};

/// A sphere that fills most of the picture, with one light and some ambient light.
device::Material& addSphere(FrameBuilder& scene, std::uint32_t rings, std::uint32_t segments,
                            device::LightingModel model) {
  const float s = 1.0F / std::sqrt(3.0F);
  scene.frame.ambientLight = {0.2F, 0.2F, 0.2F};
  scene.frame.directionalLights.push_back({{-s, -s, -s}, {0.9F, 0.9F, 0.9F}});
  device::Material material = FrameBuilder::litMaterial(model, {0.8F, 0.7F, 0.6F, 1});
  material.roughness.value = {0.4F, 0.4F, 0.4F, 1};
  material.metalness.value = {0, 0, 0, 1};
  material.specular.value = {0.2F, 0.2F, 0.2F, 1};
  material.shininess = 0.25F;
  test::MeshData mesh = test::sphere({0, 0, -2}, 1.4F, rings, segments);
  for (std::size_t i = 0; i < mesh.normals.size(); i += 3) {
    // Along the circle of latitude.
    const float x = mesh.normals[i + 2];
    const float z = -mesh.normals[i];
    const float length = std::sqrt(x * x + z * z);
    const bool isPole = length < 1e-6F;
    mesh.tangents.insert(mesh.tangents.end(), {isPole ? 1 : x / length, 0, isPole ? 0 : z / length, 1});
  }
  scene.add(std::move(mesh), material);
  return scene.frame.materials.back();
}

/// A checkerboard with grain, and bumps.
void addTextures(FrameBuilder& scene, device::Material& material, std::uint32_t side) {
  std::mt19937 random(1);
  Image color = test::solidImage(side, side, {200, 180, 160, 255});
  Image bumps = color;
  for (std::uint32_t y = 0; y < side; ++y) {
    for (std::uint32_t x = 0; x < side; ++x) {
      const std::size_t i = (std::size_t{y} * side + x) * 4;
      if ((x / 64 + y / 64) % 2 == 1) color.pixels[i] = 40;
      for (std::size_t c = 0; c < 3; ++c)
        color.pixels[i + c] = static_cast<std::uint8_t>(color.pixels[i + c] + random() % 24);
      bumps.pixels[i] = static_cast<std::uint8_t>(128 + 40 * std::sin(x * 0.05));
      bumps.pixels[i + 1] = static_cast<std::uint8_t>(128 + 40 * std::sin(y * 0.05));
      bumps.pixels[i + 2] = 245;
    }
  }
  material.diffuse.texture = scene.addTexture(std::move(color), true);
  material.normal.texture = scene.addTexture(std::move(bumps), false);
}

/// Milliseconds of wall time.
Image timed(double& best, const std::function<Image()>& render) {
  const auto start = std::chrono::steady_clock::now();
  Image image = render();
  const std::chrono::duration<double, std::milli> wall = std::chrono::steady_clock::now() - start;
  best = std::min(best, wall.count());
  return image;
}

double meanDifference(const Image& left, const Image& right) {
  double sum = 0;
  for (std::size_t i = 0; i < left.pixels.size(); ++i) sum += std::abs(int{left.pixels[i]} - int{right.pixels[i]});
  return sum / static_cast<double>(left.pixels.size());
}

void writePicture(const std::string& path, const Image& image) {
  const std::vector<std::byte> png = encodePNG(image);
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(png.data()), static_cast<std::streamsize>(png.size()));
}

void compare(const Scene& scene, MesaRenderer& mesa, int rounds, const std::string& directory) {
  FrameBuilder builder(1024, 1024);
  scene.build(builder);
  const auto device = makeCPURenderDevice();
  mesa.upload(builder.frame);
  // The first frames compile shaders, build mipmaps and take memory.
  Image ours = device->render(builder.frame);
  Image theirs = mesa.render(builder.frame);
  double oursBest = std::numeric_limits<double>::infinity();
  double theirsBest = oursBest;
  for (int i = 0; i < rounds; ++i) {
    ours = timed(oursBest, [&] { return device->render(builder.frame); });
    theirs = timed(theirsBest, [&] { return mesa.render(builder.frame); });
  }
  std::printf("| %s | %.2f | %.2f | %.1f | %.1f | %.2f |\n", scene.name, oursBest, theirsBest, theirsBest / oursBest,
              scene.targetRatio, meanDifference(ours, theirs));
  std::fflush(stdout);
  if (directory.empty()) return;
  std::string name = scene.name;
  std::replace(name.begin(), name.end(), ' ', '-');
  writePicture(directory + "/" + name + "-ours.png", ours);
  writePicture(directory + "/" + name + "-mesa.png", theirs);
}

void run(int rounds, const std::string& directory) {
  using device::LightingModel;
  const Scene scenes[] = {
      {"131,072 triangles Blinn", 5, [](FrameBuilder& b) { addSphere(b, 256, 256, LightingModel::blinn); }},
      {"131,072 triangles physical", 5,
       [](FrameBuilder& b) { addSphere(b, 256, 256, LightingModel::physicallyBased); }},
      {"2,000,000 triangles Blinn", 3, [](FrameBuilder& b) { addSphere(b, 1000, 1000, LightingModel::blinn); }},
      {"20,000 triangles textured", 3,
       [](FrameBuilder& b) { addTextures(b, addSphere(b, 100, 100, LightingModel::physicallyBased), 4096); }},
  };
  MesaRenderer mesa;
  std::printf("%s; best of %d rounds, 1024x1024, milliseconds\n\n", mesa.description().c_str(), rounds);
  std::printf("| Frame | ours | Mesa | ratio | target | mean difference |\n");
  std::printf("| --- | --- | --- | --- | --- | --- |\n");
  for (const Scene& scene : scenes) compare(scene, mesa, rounds, directory);
}

}  // namespace
}  // namespace ornolith::peers

int main(int argumentCount, char** arguments) {
  try {
    const int rounds = argumentCount > 1 ? std::max(std::atoi(arguments[1]), 1) : 20;
    ornolith::peers::run(rounds, argumentCount > 2 ? arguments[2] : "");
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "MesaComparison: %s\n", error.what());
    return 1;
  }
}
