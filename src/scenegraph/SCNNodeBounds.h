#pragma once

#include <optional>
#include <vector>

#include "scenegraph/SCNNode.h"

namespace ornolith {

/// One node with geometry and its extent.
struct SCNNodeBounds {
  SCNNode* node = nullptr;                    ///< Never null.
  bool isHiddenInTree = false;                ///< As `SCNNode::isHiddenInTree`.
  std::optional<SCNBoundingBox> boundingBox;  ///< As `SCNNode::boundingBox`, in the node's space.
};

/// How many pairs of a node with geometry and a node below it `geometryNodeBounds` looks at to find exact boxes.
inline constexpr std::size_t maximumExactBoundsPairs = std::size_t{1} << 21;
/// In a tree with more pairs, the boxes of nodes with more than this many nodes below them are not the tightest.
inline constexpr std::size_t maximumExactBoundsSubtree = 32;

/// `root` and its descendants that have a geometry, in enumeration order, each with what `boundingBox` and
/// `isHiddenInTree` answer for it.
///
/// The exact boxes of nodes nested in one another cost the product of depth and size. Where the tree asks for more than
/// `maximumExactBoundsPairs`, which no authored model does, a node with a large subtree takes its own geometry's box
/// united with the box, in its space, of its descendants' common box in world space: it holds the exact one, and where
/// transforms keep angles its diagonal is at most three times as long. So the time stays in proportion to the nodes.
std::vector<SCNNodeBounds> geometryNodeBounds(SCNNode& root);

}  // namespace ornolith
