#include "scenegraph/device/CheckFrame.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>

namespace ornolith::device {
namespace {

using Fault = std::optional<std::string>;

std::string numbered(std::string_view what, std::size_t number) {
  return std::string(what) + " " + std::to_string(number);
}

Fault checkTexture(const Texture& texture, const std::string& name) {
  if (!texture.image) return name + " has no image.";
  const Image& image = *texture.image;
  if (image.width == 0 || image.height == 0) return name + " is empty.";
  const std::size_t bytes = std::size_t{image.width} * image.height * 4;
  if (image.pixels.size() != bytes) {
    return name + " holds " + std::to_string(image.pixels.size()) + " bytes in place of " + std::to_string(bytes) + ".";
  }
  return std::nullopt;
}

Fault checkMaterial(const Material& material, std::size_t textureCount, const std::string& name) {
  const std::pair<std::string_view, const MaterialSlot*> slots[] = {
      {"diffuse", &material.diffuse},           {"normal", &material.normal},
      {"roughness", &material.roughness},       {"metalness", &material.metalness},
      {"emission", &material.emission},         {"transparent", &material.transparent},
      {"specular", &material.specular},         {"ambientOcclusion", &material.ambientOcclusion},
      {"clearCoat", &material.clearCoat},       {"clearCoatRoughness", &material.clearCoatRoughness},
      {"specularTint", &material.specularTint}, {"specularStrength", &material.specularStrength},
  };
  for (const auto& [slotName, slot] : slots) {
    const std::int64_t texture = slot->texture;
    if (texture < -1 || texture >= static_cast<std::int64_t>(textureCount)) {
      return name + ", slot " + std::string(slotName) + ", names texture " + std::to_string(texture) + " of " +
             std::to_string(textureCount) + ".";
    }
  }
  return std::nullopt;
}

Fault checkStream(const VertexStream& stream, std::uint32_t fewestComponents, std::uint32_t mostComponents,
                  const std::string& name) {
  if (!stream.isPresent()) return std::nullopt;
  if (stream.data == nullptr) return name + " has elements but no memory.";
  if (stream.components < fewestComponents || stream.components > mostComponents) {
    return name + " has " + std::to_string(stream.components) + " components.";
  }
  if (stream.stride < stream.components) {
    return name + " has a stride of " + std::to_string(stream.stride) + " for " + std::to_string(stream.components) +
           " components.";
  }
  return std::nullopt;
}

Fault checkMesh(const Mesh& mesh, const std::string& name) {
  if (Fault fault = checkStream(mesh.position, 3, 3, name + ", position,")) return fault;
  if (Fault fault = checkStream(mesh.normal, 3, 3, name + ", normal,")) return fault;
  if (Fault fault = checkStream(mesh.tangent, 3, 4, name + ", tangent,")) return fault;
  if (Fault fault = checkStream(mesh.color, 3, 4, name + ", color,")) return fault;
  for (std::size_t channel = 0; channel < mesh.texcoords.size(); ++channel) {
    Fault fault = checkStream(mesh.texcoords[channel], 2, 2, name + numbered(", texcoord", channel) + ",");
    if (fault) return fault;
  }
  return std::nullopt;
}

// How many elements every stream has that the mesh's draw items read.
std::uint32_t addressableElements(const Mesh& mesh) {
  std::uint32_t count = mesh.position.count;
  const auto narrow = [&](const VertexStream& stream) {
    if (stream.isPresent()) count = std::min(count, stream.count);
  };
  narrow(mesh.normal);
  narrow(mesh.tangent);
  narrow(mesh.color);
  for (const VertexStream& stream : mesh.texcoords) narrow(stream);
  return count;
}

std::uint32_t cornersPerPrimitive(Topology topology) {
  switch (topology) {
    case Topology::triangles:
      return 3;
    case Topology::lines:
      return 2;
    case Topology::points:
      return 1;
  }
  return 1;
}

Fault checkItem(const DrawItem& item, const FrameDescription& frame, const std::string& name) {
  if (item.mesh >= frame.meshes.size()) {
    return name + " names mesh " + std::to_string(item.mesh) + " of " + std::to_string(frame.meshes.size()) + ".";
  }
  if (item.material >= frame.materials.size()) {
    return name + " names material " + std::to_string(item.material) + " of " + std::to_string(frame.materials.size()) +
           ".";
  }
  if (item.indexCount % cornersPerPrimitive(item.topology) != 0) {
    return name + " has " + std::to_string(item.indexCount) + " indices, which is no whole number of primitives.";
  }
  if (item.indexCount > 0 && item.indices == nullptr) return name + " has an index count but no indices.";
  const auto& columns = item.worldMatrix.columns;
  if (columns[0].w != 0 || columns[1].w != 0 || columns[2].w != 0 || columns[3].w != 1) {
    return name + " has a world matrix that is not affine.";
  }
  const std::uint32_t limit = addressableElements(frame.meshes[item.mesh]);
  for (std::uint32_t i = 0; i < item.indexCount; ++i) {
    if (item.indices[i] >= limit) {
      return name + " has index " + std::to_string(item.indices[i]) + " where its mesh has " + std::to_string(limit) +
             " elements.";
    }
  }
  return std::nullopt;
}

Fault checkItems(const std::vector<DrawItem>& items, std::string_view kind, const FrameDescription& frame) {
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (Fault fault = checkItem(items[i], frame, numbered(kind, i))) return fault;
  }
  return std::nullopt;
}

Fault checkLight(const DirectionalLight& light, const std::string& name) {
  constexpr float tolerance = 1e-4F;
  const float size = length(light.direction);
  if (!(std::abs(size - 1) <= tolerance)) {
    return name + " has a direction of length " + std::to_string(size) + ".";
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string> checkFrame(const FrameDescription& frame) {
  if (frame.width == 0 || frame.height == 0) {
    return "The frame is " + std::to_string(frame.width) + " by " + std::to_string(frame.height) + " pixels.";
  }
  for (std::size_t i = 0; i < frame.textures.size(); ++i) {
    if (Fault fault = checkTexture(frame.textures[i], numbered("Texture", i))) return fault;
  }
  for (std::size_t i = 0; i < frame.materials.size(); ++i) {
    if (Fault fault = checkMaterial(frame.materials[i], frame.textures.size(), numbered("Material", i))) return fault;
  }
  for (std::size_t i = 0; i < frame.meshes.size(); ++i) {
    if (Fault fault = checkMesh(frame.meshes[i], numbered("Mesh", i))) return fault;
  }
  for (std::size_t i = 0; i < frame.directionalLights.size(); ++i) {
    if (Fault fault = checkLight(frame.directionalLights[i], numbered("Directional light", i))) return fault;
  }
  if (Fault fault = checkItems(frame.opaqueItems, "Opaque item", frame)) return fault;
  return checkItems(frame.blendedItems, "Blended item", frame);
}

}  // namespace ornolith::device
