#include "scene/ModelFacts.h"

#include <algorithm>
#include <functional>
#include <unordered_set>
#include <utility>

#include "scene/Invariants.h"

namespace ornolith {

namespace {

/// Calls `visit` for the root and then for every node below it.
void enumerateWithRoot(const SCNNode::Pointer& root, const std::function<void(SCNNode&)>& visit) {
  visit(*root);
  root->enumerateChildNodes(visit);
}

bool carriesImage(const SCNMaterial& material) {
  return holdsImage(material.diffuse.contents) || holdsImage(material.normal.contents) ||
         holdsImage(material.roughness.contents) || holdsImage(material.metalness.contents) ||
         holdsImage(material.emission.contents) || holdsImage(material.transparent.contents);
}

void countElement(const SCNGeometryElement& element, ModelInfo& info) {
  const std::int64_t count = checkedCount(element.primitiveCount());
  switch (element.primitiveType()) {
    case SCNGeometryPrimitiveType::triangles:
    case SCNGeometryPrimitiveType::triangleStrip:
      info.faceCount = checkedSum(info.faceCount, count);
      info.triangleCount = checkedSum(info.triangleCount, count);
      break;
    case SCNGeometryPrimitiveType::polygon:
      info.faceCount = checkedSum(info.faceCount, count);
      break;
    case SCNGeometryPrimitiveType::line:
    case SCNGeometryPrimitiveType::point:
      break;
  }
}

}  // namespace

std::vector<SCNNode::Pointer> geometryNodes(std::span<const SCNNode::Pointer> roots) {
  std::vector<SCNNode::Pointer> nodes;
  for (const SCNNode::Pointer& root : roots) {
    if (!root->hasParent()) continue;
    enumerateWithRoot(root, [&](SCNNode& node) {
      if (node.geometry) nodes.push_back(node.shared_from_this());
    });
  }
  return nodes;
}

bool rootsContainVisibleGeometry(std::span<const SCNNode::Pointer> roots) {
  std::vector<SCNNode::Pointer> pending;
  for (const SCNNode::Pointer& root : roots) {
    if (root->hasParent() && !root->isHiddenInTree()) pending.push_back(root);
  }
  while (!pending.empty()) {
    const SCNNode::Pointer node = std::move(pending.back());
    pending.pop_back();
    if (node->geometry) return true;
    for (SCNNode::Pointer& child : node->childNodes()) {
      if (!child->isHidden) pending.push_back(std::move(child));
    }
  }
  return false;
}

std::vector<SCNNode::Pointer> collectSkeletonRoots(std::span<const SCNNode::Pointer> roots) {
  std::vector<SCNNode::Pointer> skeletons;
  for (const SCNNode::Pointer& root : roots) {
    enumerateWithRoot(root, [&](SCNNode& node) {
      if (!node.skinner) return;
      if (SCNNode::Pointer skeleton = node.skinner->skeleton.lock()) skeletons.push_back(std::move(skeleton));
    });
  }
  return skeletons;
}

std::vector<SCNNode::Pointer> collectUniqueSkeletonRoots(std::span<const SCNNode::Pointer> roots) {
  std::vector<SCNNode::Pointer> skeletons = collectSkeletonRoots(roots);
  std::unordered_set<SCNNode::Pointer> seen;
  std::erase_if(skeletons, [&](const SCNNode::Pointer& skeleton) { return !seen.insert(skeleton).second; });
  return skeletons;
}

std::int64_t countUniqueBones(std::span<const SCNNode::Pointer> skeletonRoots) {
  std::unordered_set<SCNNode::Pointer> seen;
  std::vector<SCNNode::Pointer> pending(skeletonRoots.begin(), skeletonRoots.end());
  while (!pending.empty()) {
    const SCNNode::Pointer node = std::move(pending.back());
    pending.pop_back();
    if (!seen.insert(node).second) continue;
    for (SCNNode::Pointer& child : node->childNodes()) pending.push_back(std::move(child));
  }
  return checkedCount(seen.size());
}

ModelInfo countGeometry(std::span<const SCNNode::Pointer> nodes, const OriginalMaterials& originalMaterials) {
  ModelInfo info;
  info.meshCount = checkedCount(nodes.size());
  for (const SCNNode::Pointer& node : nodes) {
    const SCNGeometry& geometry = *node->geometry;
    if (const SCNGeometrySource* vertices = geometry.firstSourceForSemantic(SCNGeometrySourceSemantic::vertex)) {
      info.vertexCount = checkedSum(info.vertexCount, checkedCount(vertices->vectorCount()));
    }
    for (const auto& element : geometry.geometryElements()) countElement(*element, info);
    const SCNGeometry::Materials* recorded = originalMaterials.find(node->geometry);
    const SCNGeometry::Materials& materials = recorded ? *recorded : geometry.materials();
    const auto texturedCount = std::count_if(materials.begin(), materials.end(),
                                             [](const auto& material) { return material && carriesImage(*material); });
    info.materialCount = checkedSum(info.materialCount, checkedCount(materials.size()));
    info.textureCount = checkedSum(info.textureCount, texturedCount);
  }
  return info;
}

void collectNativeAnimations(const SCNNode::Pointer& root, const UUID& instanceID, std::set<std::string>& seen,
                             std::vector<ModelAnimationInfo>& animations,
                             std::map<std::string, NativeAnimationTarget>& targets) {
  const std::string instancePrefix = instanceID.uuidString() + "|";
  enumerateWithRoot(root, [&](SCNNode& node) {
    for (const std::string& key : node.animationKeys()) {
      const std::string identity = std::to_string(std::hash<const SCNNode*>{}(&node));
      const std::string id = instancePrefix + identity + "-" + key;
      if (!seen.insert(id).second) continue;
      const std::shared_ptr<SCNAnimationPlayer> player = node.animationPlayerForKey(key);
      ModelAnimationInfo info;
      info.id = id;
      info.name = node.name().value_or("Node") + ": " + key;
      info.duration = player ? player->animation().duration : 0;
      info.endTime = info.duration;
      targets.insert_or_assign(id, NativeAnimationTarget{node.shared_from_this(), key});
      animations.push_back(std::move(info));
    }
  });
}

}  // namespace ornolith
