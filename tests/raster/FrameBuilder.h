#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <deque>
#include <memory>
#include <random>
#include <utility>
#include <vector>

#include "foundation/Math.h"
#include "raster/CPURenderDevice.h"

namespace ornolith::test {

/// The geometry of one draw item as plain arrays.
struct MeshData {
  std::vector<float> positions;  ///< 3 a vertex.
  std::vector<float> normals;    ///< 3 a vertex, or empty.
  std::vector<float> tangents;   ///< 4 a vertex, or empty.
  std::vector<float> colors;     ///< 4 a vertex, or empty.
  std::vector<float> texcoords;  ///< 2 a vertex, or empty.
  std::vector<std::uint32_t> indices;
};

/// Builds frame descriptions and keeps what they point to. A camera at the origin looks along negative z.
class FrameBuilder {
 public:
  device::FrameDescription frame;

  FrameBuilder(std::uint32_t width, std::uint32_t height) {
    frame.width = width;
    frame.height = height;
    frame.background = {0, 0, 0, 0};
    frame.camera.verticalFieldOfView = 90;
  }

  /// One pixel is one world unit, the origin is the image's centre.
  FrameBuilder& pixelUnits() {
    frame.camera.usesOrthographicProjection = true;
    frame.camera.orthographicScale = static_cast<double>(frame.height) * 0.5;
    return *this;
  }

  static device::Material constantMaterial(simd_float4 color) {
    device::Material material;
    material.lightingModel = device::LightingModel::constant;
    material.diffuse.value = color;
    material.emission.value = {0, 0, 0, 1};
    material.specular.value = {0, 0, 0, 1};
    return material;
  }

  static device::Material litMaterial(device::LightingModel model, simd_float4 color) {
    device::Material material = constantMaterial(color);
    material.lightingModel = model;
    return material;
  }

  std::int32_t addTexture(Image image, bool isSRGB, bool hasTransparency = false) {
    frame.textures.push_back({std::make_shared<const Image>(std::move(image)), isSRGB, hasTransparency});
    return static_cast<std::int32_t>(frame.textures.size()) - 1;
  }

  std::uint32_t addMesh(MeshData data) {
    const MeshData& kept = *meshes_.emplace_back(std::make_unique<MeshData>(std::move(data)));
    const auto stream = [](const std::vector<float>& values, std::uint32_t components) {
      return device::VertexStream{values.data(), static_cast<std::uint32_t>(values.size()) / components, components,
                                  components};
    };
    device::Mesh mesh;
    mesh.position = stream(kept.positions, 3);
    mesh.normal = stream(kept.normals, 3);
    mesh.tangent = stream(kept.tangents, 4);
    mesh.color = stream(kept.colors, 4);
    if (!kept.texcoords.empty()) mesh.texcoords.push_back(stream(kept.texcoords, 2));
    frame.meshes.push_back(mesh);
    return static_cast<std::uint32_t>(frame.meshes.size()) - 1;
  }

  device::DrawItem& add(MeshData data, const device::Material& material, bool isBlended = false,
                        device::Topology topology = device::Topology::triangles) {
    const std::uint32_t mesh = addMesh(std::move(data));
    frame.materials.push_back(material);
    device::DrawItem item;
    item.mesh = mesh;
    item.material = static_cast<std::uint32_t>(frame.materials.size()) - 1;
    item.topology = topology;
    item.indices = meshes_[mesh]->indices.data();
    item.indexCount = static_cast<std::uint32_t>(meshes_[mesh]->indices.size());
    auto& items = isBlended ? frame.blendedItems : frame.opaqueItems;
    items.push_back(item);
    return items.back();
  }

  Image render() const { return makeCPURenderDevice()->render(frame); }

 private:
  std::deque<std::unique_ptr<MeshData>> meshes_;
};

inline MeshData triangle(simd_float3 a, simd_float3 b, simd_float3 c) {
  return {{a.x, a.y, a.z, b.x, b.y, b.z, c.x, c.y, c.z}, {}, {}, {}, {}, {0, 1, 2}};
}

/// A rectangle that faces positive z, counter-clockwise, with texture coordinates 0..1 from its top left.
inline MeshData quad(float left, float bottom, float right, float top, float z) {
  MeshData mesh;
  mesh.positions = {left, bottom, z, right, bottom, z, right, top, z, left, top, z};
  mesh.normals = {0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1};
  mesh.texcoords = {0, 1, 1, 1, 1, 0, 0, 0};
  mesh.indices = {0, 1, 2, 0, 2, 3};
  return mesh;
}

/// A sphere about `center` of `rings` by `segments` cells of two triangles, facing outwards, with normals and texture
/// coordinates.
inline MeshData sphere(simd_float3 center, float radius, std::uint32_t rings, std::uint32_t segments) {
  MeshData mesh;
  for (std::uint32_t ring = 0; ring <= rings; ++ring) {
    const double theta = math::pi * ring / rings;
    for (std::uint32_t segment = 0; segment <= segments; ++segment) {
      const double phi = 2 * math::pi * segment / segments;
      const auto x = static_cast<float>(math::sin(theta) * math::sin(phi));
      const auto y = static_cast<float>(math::cos(theta));
      const auto z = static_cast<float>(math::sin(theta) * math::cos(phi));
      mesh.positions.insert(mesh.positions.end(),
                            {center.x + radius * x, center.y + radius * y, center.z + radius * z});
      mesh.normals.insert(mesh.normals.end(), {x, y, z});
      mesh.texcoords.insert(mesh.texcoords.end(), {static_cast<float>(segment) / static_cast<float>(segments),
                                                   static_cast<float>(ring) / static_cast<float>(rings)});
    }
  }
  const std::uint32_t row = segments + 1;
  for (std::uint32_t ring = 0; ring < rings; ++ring) {
    for (std::uint32_t segment = 0; segment < segments; ++segment) {
      const std::uint32_t a = ring * row + segment;
      mesh.indices.insert(mesh.indices.end(), {a, a + row, a + 1, a + 1, a + row, a + row + 1});
    }
  }
  return mesh;
}

inline Image solidImage(std::uint32_t width, std::uint32_t height, std::array<std::uint8_t, 4> texel) {
  Image image{width, height, {}};
  for (std::size_t i = 0; i < std::size_t{width} * height; ++i) {
    image.pixels.insert(image.pixels.end(), texel.begin(), texel.end());
  }
  return image;
}

inline std::array<int, 4> pixelAt(const Image& image, std::uint32_t x, std::uint32_t y) {
  const std::uint8_t* p = image.pixel(x, y);
  return {p[0], p[1], p[2], p[3]};
}

/// How many pixels have an alpha above zero.
inline std::size_t coveredPixels(const Image& image) {
  std::size_t count = 0;
  for (std::size_t i = 3; i < image.pixels.size(); i += 4) count += image.pixels[i] > 0 ? 1 : 0;
  return count;
}

}  // namespace ornolith::test
