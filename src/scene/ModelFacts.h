#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "foundation/UUID.h"
#include "scene/OriginalMaterials.h"
#include "scenegraph/SCNNode.h"
#include "viewport/ModelInfo.h"

namespace ornolith {

// What models contain. Every operation takes time linear in the nodes below its roots and does not recurse.

/// The nodes with geometry at and below each root that has a parent, in enumeration order, hidden ones included.
std::vector<SCNNode::Pointer> geometryNodes(std::span<const SCNNode::Pointer> roots);

/// True where a node of `geometryNodes` is neither hidden nor below a hidden node.
bool rootsContainVisibleGeometry(std::span<const SCNNode::Pointer> roots);

/// The skeleton of every skinned node at and below the roots, repeats included; roots need no parent here.
std::vector<SCNNode::Pointer> collectSkeletonRoots(std::span<const SCNNode::Pointer> roots);

/// The same, each skeleton once, at its first place.
std::vector<SCNNode::Pointer> collectUniqueSkeletonRoots(std::span<const SCNNode::Pointer> roots);

/// How many different nodes stand at or below the skeleton roots.
std::int64_t countUniqueBones(std::span<const SCNNode::Pointer> skeletonRoots);

/// The counts of meshes, vertices, faces, triangles, materials and textures of `nodes`, which all have geometry.
/// Materials are those that a geometry had when it was loaded, where they are known.
ModelInfo countGeometry(std::span<const SCNNode::Pointer> nodes, const OriginalMaterials& originalMaterials);

/// A native animation by the node and the key that it is attached under.
struct NativeAnimationTarget {
  SCNNode::Pointer node;
  std::string key;
};

/// Lists the native animations at and below `root`, each id once over all calls that share `seen`. Ids hold the node's
/// identity, differ between runs and must not be stored.
void collectNativeAnimations(const SCNNode::Pointer& root, const UUID& instanceID, std::set<std::string>& seen,
                             std::vector<ModelAnimationInfo>& animations,
                             std::map<std::string, NativeAnimationTarget>& targets);

}  // namespace ornolith
