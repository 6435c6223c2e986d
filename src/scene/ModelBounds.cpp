#include "scene/ModelBounds.h"

#include <array>
#include <limits>

#include "scenegraph/SCNNodeBounds.h"
#include "scenegraph/Transforms.h"

namespace ornolith {

namespace {

/// A box that grows by points; components that are no numbers are left out.
class GrowingBox {
 public:
  void add(SCNVector3 point) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      if (point[axis] < minimum_[axis]) minimum_[axis] = point[axis];
      if (point[axis] > maximum_[axis]) maximum_[axis] = point[axis];
    }
    isFound_ = true;
  }
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

std::array<SCNVector3, 8> cornersOf(const SCNBoundingBox& box) {
  const std::array<SCNVector3, 2> ends{box.minimum, box.maximum};
  std::array<SCNVector3, 8> corners;
  for (std::size_t corner = 0; corner < corners.size(); ++corner) {
    corners[corner] = {ends[corner & 1U].x, ends[(corner >> 1U) & 1U].y, ends[(corner >> 2U) & 1U].z};
  }
  return corners;
}

}  // namespace

ModelBounds modelBounds(std::span<const SCNNode::Pointer> nodes, const SCNNode* reference, bool includesHiddenNodes) {
  const SCNMatrix4 fromWorld = reference ? invertedAffine(reference->worldTransform()) : SCNMatrix4{};
  GrowingBox result;
  for (const SCNNode::Pointer& root : nodes) {
    if (!root->hasParent()) continue;
    for (const SCNNodeBounds& measured : geometryNodeBounds(*root)) {
      if (!measured.boundingBox || (measured.isHiddenInTree && !includesHiddenNodes)) continue;
      const SCNMatrix4& toWorld = measured.node->worldTransform();
      for (const SCNVector3 corner : cornersOf(*measured.boundingBox)) {
        const SCNVector3 inWorld = transformPoint(toWorld, corner);
        result.add(reference ? transformPoint(fromWorld, inWorld) : inWorld);
      }
    }
  }
  return result.bounds();
}

}  // namespace ornolith
