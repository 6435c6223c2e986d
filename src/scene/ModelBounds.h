#pragma once

#include <span>

#include "scenegraph/SCNNode.h"
#include "scenegraph/SCNTypes.h"

namespace ornolith {

/// A box by its centre and size, in doubles.
struct ModelBounds {
  SCNVector3 center;
  SCNVector3 extent;
  bool operator==(const ModelBounds&) const = default;
};

/// The one definition of extent: the box, in the space of `reference` (world space where it is null), of the bounding
/// boxes of all nodes with geometry among `nodes` and below them. Nodes without a parent, and what hangs below them,
/// count as nothing; unless `includesHiddenNodes`, so do nodes that are hidden or below a hidden node. A node's
/// bounding box covers its whole subtree and is turned with the node, so that a hidden child widens the box of a
/// visible parent. Skinned geometry counts in its bind position. There is no least extent: a flat model has extent zero
/// on one axis.
///
/// With no geometry the centre is zero and the extent one on every axis. Where nothing has a position in 32-bit range
/// the extent is negative and, in 32-bit floats, not finite.
///
/// The time is linear in the nodes; `geometryNodeBounds` tells where the boxes of deeply nested geometry are not the
/// tightest.
ModelBounds modelBounds(std::span<const SCNNode::Pointer> nodes, const SCNNode* reference, bool includesHiddenNodes);

}  // namespace ornolith
