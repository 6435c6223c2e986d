#include "loaders/mesh/MeshGeometry.h"

#include <span>

namespace ornolith {

namespace {

template <typename Value>
std::shared_ptr<const std::vector<std::byte>> bytesOf(const std::vector<Value>& values) {
  const std::span<const std::byte> bytes = std::as_bytes(std::span(values));
  return std::make_shared<const std::vector<std::byte>>(bytes.begin(), bytes.end());
}

}  // namespace

std::shared_ptr<SCNMaterial> defaultMeshMaterial(bool hasVertexColors) {
  const double level = hasVertexColors ? 1 : 0.65;
  std::shared_ptr<SCNMaterial> material = SCNMaterial::material();
  material->lightingModelName = SCNLightingModelPhysicallyBased;
  material->diffuse.contents = NSColor{.red = level, .green = level, .blue = level, .alpha = 1};
  material->blendMode = SCNBlendMode::replace;
  material->roughness.contents = 0.85;
  material->metalness.contents = 0.0;
  material->isDoubleSided = true;
  return material;
}

std::shared_ptr<const SCNGeometrySource> floatSource(const std::vector<float>& values,
                                                     SCNGeometrySourceSemantic semantic,
                                                     std::size_t componentsPerVector) {
  return SCNGeometrySource::geometrySourceWithData(bytesOf(values), semantic, values.size() / componentsPerVector, true,
                                                   componentsPerVector, sizeof(float), 0, 0);
}

std::shared_ptr<SCNGeometryElement> triangleElement(const std::vector<std::uint32_t>& indices) {
  return SCNGeometryElement::geometryElementWithData(bytesOf(indices), SCNGeometryPrimitiveType::triangles,
                                                     indices.size() / 3, sizeof(std::uint32_t));
}

}  // namespace ornolith
