#include "loaders/mesh/MeshGeometry.h"

namespace ornolith {

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
