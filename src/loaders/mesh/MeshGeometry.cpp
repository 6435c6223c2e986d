#include "loaders/mesh/MeshGeometry.h"

#include <cstdint>
#include <utility>

namespace ornolith {

namespace {

std::size_t cornersOfOne(SCNGeometryPrimitiveType type) noexcept {
  return type == SCNGeometryPrimitiveType::triangles ? 3 : type == SCNGeometryPrimitiveType::line ? 2 : 1;
}

}  // namespace

std::shared_ptr<const SCNGeometrySource> packedSource(LargeVector<float> values, SCNGeometrySourceSemantic semantic,
                                                      std::size_t components) {
  const std::size_t count = values.size() / components;
  return SCNGeometrySource::geometrySourceWithData(SharedBytes::takingOver(std::move(values)), semantic, count, true,
                                                   components, sizeof(float), 0, components * sizeof(float));
}

std::shared_ptr<SCNGeometryElement> elementOfCorners(SharedBytes indices, SCNGeometryPrimitiveType type,
                                                     std::size_t cornerCount) {
  constexpr double pointRadius = 2;
  auto element = SCNGeometryElement::geometryElementWithData(std::move(indices), type, cornerCount / cornersOfOne(type),
                                                             sizeof(std::uint32_t));
  if (type == SCNGeometryPrimitiveType::point) {
    element->minimumPointScreenSpaceRadius = pointRadius;
    element->maximumPointScreenSpaceRadius = pointRadius;
  }
  return element;
}

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

}  // namespace ornolith
