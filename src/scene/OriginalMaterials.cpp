#include "scene/OriginalMaterials.h"

namespace ornolith {

void OriginalMaterials::collect(const SCNNode& root) {
  const auto collectNode = [this](const SCNNode& node) {
    if (!node.geometry) return;
    const SCNGeometry::Materials& materials = node.geometry->materials();
    byGeometry_.insert_or_assign(node.geometry, materials);
    if (node.name() && node.name()->starts_with(fallbackNodeNamePrefix)) {
      byFallbackNodeName_.insert_or_assign(*node.name(), materials);
    }
  };
  collectNode(root);
  root.enumerateChildNodes(collectNode);
}

void OriginalMaterials::clear() {
  byGeometry_.clear();
  byFallbackNodeName_.clear();
}

const SCNGeometry::Materials* OriginalMaterials::find(const std::shared_ptr<SCNGeometry>& geometry) const {
  const auto entry = byGeometry_.find(geometry);
  return entry == byGeometry_.end() ? nullptr : &entry->second;
}

const SCNGeometry::Materials* OriginalMaterials::find(const SCNNode& node) const {
  if (const SCNGeometry::Materials* materials = find(node.geometry)) return materials;
  if (!node.name()) return nullptr;
  const auto entry = byFallbackNodeName_.find(*node.name());
  return entry == byFallbackNodeName_.end() ? nullptr : &entry->second;
}

}  // namespace ornolith
