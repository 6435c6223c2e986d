#include "scene/ModelBounds.h"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

namespace ornolith {

namespace {

constexpr std::size_t none = std::numeric_limits<std::size_t>::max();

/// A box that grows; NaN components of points are ignored.
class GrowingBox {
 public:
  void add(SCNVector3 point) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      if (point[axis] < minimum_[axis]) minimum_[axis] = point[axis];
      if (point[axis] > maximum_[axis]) maximum_[axis] = point[axis];
    }
    isFound_ = true;
  }
  void add(const GrowingBox& other) {
    if (!other.isFound_) return;
    add(other.minimum_);
    add(other.maximum_);
  }
  bool isFound() const { return isFound_; }
  ModelBounds bounds() const {
    if (!isFound_) return {SCNVector3Zero, {1, 1, 1}};
    return {(minimum_ + maximum_) * 0.5, maximum_ - minimum_};
  }

 private:
  static constexpr double largestFloat = std::numeric_limits<float>::max();
  SCNVector3 minimum_{largestFloat, largestFloat, largestFloat};
  SCNVector3 maximum_{-largestFloat, -largestFloat, -largestFloat};
  bool isFound_ = false;
};

/// A node with geometry, in pre-order.
struct Measured {
  const SCNNode* node = nullptr;
  std::size_t above = none;     ///< The nearest node with geometry above.
  std::size_t subtreeSize = 0;  ///< Nodes at and below it, with geometry or not.
  bool counts = true;           ///< Adds a box of its own.
  bool hasGeometryBelow = false;
  GrowingBox geometryBoxes;  ///< Of the geometries at and below it, each mapped into the reference by itself.
};

void addCorners(GrowingBox& box, const SCNNode& node, const SCNBoundingBox& local, const SCNNode* reference) {
  const std::array<SCNVector3, 2> ends{local.minimum, local.maximum};
  for (std::size_t corner = 0; corner < 8; ++corner) {
    const SCNVector3 point{ends[corner & 1U].x, ends[(corner >> 1U) & 1U].y, ends[(corner >> 2U) & 1U].z};
    box.add(reference ? node.convertPositionToNode(point, reference) : transformPoint(node.worldTransform(), point));
  }
}

/// Lists the nodes with geometry at and below `root`.
void listGeometryNodes(const SCNNode::Pointer& root, bool includesHiddenNodes, std::vector<Measured>& measured) {
  struct Step {
    SCNNode::Pointer node;
    std::size_t above;
    bool isHidden;
  };
  std::vector<Step> pending{{root, none, !includesHiddenNodes && root->isHiddenInTree()}};
  while (!pending.empty()) {
    Step step = std::move(pending.back());
    pending.pop_back();
    if (step.node->geometry) {
      measured.push_back({step.node.get(), step.above, 0, !step.isHidden, false, {}});
      step.above = measured.size() - 1;
    }
    if (step.above != none) ++measured[step.above].subtreeSize;
    std::vector<SCNNode::Pointer> children = step.node->childNodes();
    for (auto child = children.rbegin(); child != children.rend(); ++child) {
      const bool isHidden = step.isHidden || (!includesHiddenNodes && (*child)->isHidden);
      pending.push_back({std::move(*child), step.above, isHidden});
    }
  }
}

}  // namespace

ModelBounds modelBounds(std::span<const SCNNode::Pointer> nodes, const SCNNode* reference, bool includesHiddenNodes) {
  std::vector<Measured> measured;
  for (const SCNNode::Pointer& root : nodes) {
    if (root->hasParent()) listGeometryNodes(root, includesHiddenNodes, measured);
  }

  // Children come before their parents here, so that what a node has below it is complete when its turn comes.
  GrowingBox result;
  std::size_t remaining = nestedBoxLimit;
  for (std::size_t index = measured.size(); index-- > 0;) {
    Measured& current = measured[index];
    const SCNNode& node = *current.node;
    if (node.geometry->hasExtent()) {
      addCorners(current.geometryBoxes, node, node.geometry->boundingBox(), reference);
    }
    if (current.counts && current.hasGeometryBelow && current.subtreeSize <= remaining) {
      remaining -= current.subtreeSize;
      if (const std::optional<SCNBoundingBox> box = node.boundingBox()) addCorners(result, node, *box, reference);
    } else if (current.counts) {
      result.add(current.geometryBoxes);
    }
    if (current.above != none) {
      Measured& above = measured[current.above];
      above.hasGeometryBelow = true;
      above.subtreeSize += current.subtreeSize;
      above.geometryBoxes.add(current.geometryBoxes);
    }
  }
  return result.bounds();
}

}  // namespace ornolith
