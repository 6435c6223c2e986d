#include "scene/SurfaceModeMaterials.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace ornolith {

namespace {

/// As many new materials as `geometry` has slots, and at least one.
template <typename MakeMaterial>
void replaceMaterials(SCNGeometry& geometry, const MakeMaterial& makeMaterial) {
  const std::size_t count = std::max<std::size_t>(1, geometry.materials().size());
  SCNGeometry::Materials materials;
  materials.reserve(count);
  for (std::size_t slot = 0; slot < count; ++slot) materials.push_back(makeMaterial());
  geometry.setMaterials(std::move(materials));
}

/// What a part does in its model's hinge.
enum class PartRole { other, fixed, moving, pivot };

NSColor colorOf(PartRole role) {
  switch (role) {
    case PartRole::pivot:
      return NSColor::systemOrangeColor();
    case PartRole::moving:
      return NSColor::systemTealColor();
    case PartRole::fixed:
      return NSColor::systemIndigoColor();
    case PartRole::other:
      break;
  }
  return NSColor::systemRedColor();
}

std::shared_ptr<SCNMaterial> makeDiagnosticMaterial(PartRole role) {
  const NSColor color = colorOf(role);
  auto material = SCNMaterial::material();
  material->lightingModelName = SCNLightingModelConstant;
  material->diffuse.contents = color.colorWithAlphaComponent(0.72);
  material->emission.contents = color.colorWithAlphaComponent(0.18);
  material->isDoubleSided = true;
  return material;
}

/// Marks the paths that begin with one of `prefixes`, itself included.
std::vector<bool> pathsBelow(const LogicalPartTree& tree, const std::vector<ModelNodePath>& prefixes) {
  const std::span<const LogicalPartTree::Path> paths = tree.paths();
  std::vector<bool> isBelow(paths.size());
  for (const ModelNodePath& prefix : prefixes) {
    const std::optional<LogicalPartTree::PathIndex> index = tree.indexOfPath(prefix);
    if (!index) continue;
    if (*index == LogicalPartTree::rootPath) return std::vector<bool>(paths.size(), true);
    isBelow[*index] = true;
  }
  for (std::size_t index = 0; index < paths.size(); ++index) {
    const LogicalPartTree::PathIndex parent = paths[index].parent;
    if (parent != LogicalPartTree::rootPath && isBelow[parent]) isBelow[index] = true;
  }
  return isBelow;
}

std::vector<PartRole> partRoles(const ScenePartRuntime& parts) {
  const LogicalPartTree& tree = *parts.tree;
  std::vector<PartRole> roles(tree.paths().size(), PartRole::other);
  if (!parts.articulationBinding) return roles;
  const RigidArticulationBinding& binding = *parts.articulationBinding;
  const std::vector<bool> isFixed = pathsBelow(tree, binding.fixedPartPaths);
  const std::vector<bool> isMoving = pathsBelow(tree, binding.movingPartPaths);
  for (std::size_t index = 0; index < roles.size(); ++index) {
    if (isFixed[index]) roles[index] = PartRole::fixed;
    if (isMoving[index]) roles[index] = PartRole::moving;
  }
  const std::optional<LogicalPartTree::PathIndex> pivot = tree.indexOfPath(binding.pivotPath);
  if (pivot && *pivot != LogicalPartTree::rootPath) roles[*pivot] = PartRole::pivot;
  return roles;
}

}  // namespace

std::shared_ptr<SCNMaterial> makeSurfaceModeMaterial(SurfaceMode mode) {
  auto material = SCNMaterial::material();
  material->isDoubleSided = true;
  switch (mode) {
    case SurfaceMode::textured:
      material->isDoubleSided = false;
      break;
    case SurfaceMode::untextured:
      material->diffuse.contents = NSColor::systemGrayColor();
      material->roughness.contents = 0.95;
      material->metalness.contents = 0.0;
      break;
    case SurfaceMode::transparent:
      material->diffuse.contents = NSColor::tertiaryLabelColor();
      material->roughness.contents = 0.95;
      material->metalness.contents = 0.0;
      material->transparency = 0.38;
      material->blendMode = SCNBlendMode::alpha;
      material->writesToDepthBuffer = false;
      material->readsFromDepthBuffer = true;
      break;
    case SurfaceMode::mesh:
      material->lightingModelName = SCNLightingModelConstant;
      material->diffuse.contents = NSColor::blackColor();
      material->emission.contents = NSColor::blackColor();
      material->fillMode = SCNFillMode::lines;
      break;
  }
  return material;
}

void applySurfaceMode(SurfaceMode mode, const SCNNode& node, const OriginalMaterials& originalMaterials) {
  SCNGeometry& geometry = *node.geometry;
  if (mode != SurfaceMode::textured) {
    replaceMaterials(geometry, [mode] { return makeSurfaceModeMaterial(mode); });
    return;
  }
  if (const SCNGeometry::Materials* materials = originalMaterials.find(node)) geometry.setMaterials(*materials);
}

void applyPartDiagnosticColors(const SceneModelEntry& entry) {
  const LogicalPartTree& tree = *entry.parts.tree;
  const std::vector<PartRole> roles = partRoles(entry.parts);

  // A node belongs to its own part, or else to that of the nearest node above that has one.
  using Step = std::pair<SCNNode::Pointer, std::optional<LogicalPartTree::PathIndex>>;
  std::vector<Step> pending;
  const auto push = [&](const SCNNode& parent, std::optional<LogicalPartTree::PathIndex> path) {
    std::vector<SCNNode::Pointer> children = parent.childNodes();
    for (auto child = children.rbegin(); child != children.rend(); ++child)
      pending.emplace_back(std::move(*child), path);
  };
  push(*entry.rootNode, std::nullopt);
  while (!pending.empty()) {
    auto [node, path] = std::move(pending.back());
    pending.pop_back();
    if (const auto ownPath = tree.indexOfNode(*node)) path = ownPath;
    if (node->geometry && path) {
      replaceMaterials(*node->geometry, [role = roles[*path]] { return makeDiagnosticMaterial(role); });
    }
    push(*node, path);
  }
}

}  // namespace ornolith
