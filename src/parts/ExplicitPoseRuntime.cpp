#include "parts/ExplicitPoseRuntime.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "contracts/NormalizedDegrees.h"
#include "foundation/Math.h"
#include "foundation/Rotation.h"
#include "parts/ExplicitPoseRuntimeError.h"
#include "scenegraph/NodeMetadata.h"

namespace ornolith {

namespace {

using namespace explicit_pose_runtime_error;

void requireRotatable(const AddressableLogicalPart& part) {
  switch (rotationObstacle(part)) {
    case PartRotationObstacle::none:
      return;
    case PartRotationObstacle::authoredHierarchyUnavailable:
      throw ExplicitPoseRuntimeError(AuthoredHierarchyUnavailable{.path = part.canonicalSelector().canonicalString()});
    case PartRotationObstacle::unsafeLocalTransform:
      throw ExplicitPoseRuntimeError(UnsafeLocalTransform{.path = part.canonicalSelector().canonicalString()});
  }
}

bool isNeutral(const LocalRotationDegrees& degrees) {
  return std::ranges::all_of(degrees.resolvedInXYZOrder(),
                             [](const auto& axis) { return normalizedDegrees(axis.second) == 0.0; });
}

/// The turn about the local x axis, then about y as turned, then about z as turned.
simd_quatf localXYZDelta(const LocalRotationDegrees& degrees) {
  simd_quatf delta;
  for (const auto& [axis, value] : degrees.resolvedInXYZOrder()) {
    const double radians = normalizedDegrees(value) * math::pi / 180.0;
    const float half = static_cast<float>(radians) * 0.5F;
    const float s = math::sin(half);
    const float c = math::cos(half);
    const simd_quatf turn = axis == ViewportAxis::x   ? simd_quatf{s, 0, 0, c}
                            : axis == ViewportAxis::y ? simd_quatf{0, s, 0, c}
                                                      : simd_quatf{0, 0, s, c};
    delta = delta * turn;
  }
  return normalized(delta);
}

}  // namespace

PartRotationObstacle rotationObstacle(const AddressableLogicalPart& part) {
  if (!metadataBool(ornolithUsesAuthoredHierarchyKey, *part.node())) {
    return PartRotationObstacle::authoredHierarchyUnavailable;
  }
  if (!RigidLocalTransformAnalyzer::decompose(part.node()->simdTransform())) {
    return PartRotationObstacle::unsafeLocalTransform;
  }
  return PartRotationObstacle::none;
}

bool nodeTreeHasDeformationOrAnimation(const SCNNode& node) {
  const auto deforms = [](const SCNNode& candidate) {
    return candidate.skinner || candidate.morpher || !candidate.animationKeys().empty();
  };
  if (deforms(node)) return true;
  bool found = false;
  node.enumerateChildNodesUntil([&](SCNNode& descendant) {
    found = deforms(descendant);
    return !found;
  });
  return found;
}

ExplicitPoseRuntime::ExplicitPoseRuntime(std::span<const ExplicitModelPose> poses,
                                         std::span<const AddressableLogicalPart> parts) {
  // A part above a posed part moves it too, so all of them must be fit.
  for (const AddressableLogicalPart& part : parts) requireRotatable(part);

  const PartResolver resolver(parts);
  std::unordered_map<const SCNNode*, std::size_t> baseStateOfNode;
  for (const ExplicitModelPose& pose : poses) {
    std::vector<ResolvedRotation>& resolved = resolvedPoses_.emplace_back();
    std::unordered_set<const SCNNode*> seen;
    for (const ModelPartRotation& rotation : pose.rotations) {
      const AddressableLogicalPart& part = resolver.resolvePart(rotation.selector);
      if (!seen.insert(part.node().get()).second) {
        throw ExplicitPoseRuntimeError(
            DuplicateResolvedNode{.poseID = pose.id, .path = part.canonicalSelector().canonicalString()});
      }
      const auto [entry, isNew] = baseStateOfNode.try_emplace(part.node().get(), baseStates_.size());
      if (isNew) {
        // Every part's transform decomposes: requireRotatable has seen it.
        baseStates_.push_back({.node = part.node(),
                               .transform = part.node()->transform(),
                               .decomposition = *RigidLocalTransformAnalyzer::decompose(part.node()->simdTransform())});
      }
      resolved.push_back({.baseStateIndex = entry->second, .rotation = rotation});
    }
  }
}

void ExplicitPoseRuntime::restoreRestPose() const {
  for (const BaseNodeState& base : baseStates_) base.node->setTransform(base.transform);
}

void ExplicitPoseRuntime::apply(std::int64_t poseIndex) const {
  if (poseIndex < 0 || static_cast<std::uint64_t>(poseIndex) >= resolvedPoses_.size()) {
    throw ExplicitPoseRuntimeError(InvalidPoseIndex{.index = poseIndex});
  }
  restoreRestPose();
  for (const ResolvedRotation& resolved : resolvedPoses_[static_cast<std::size_t>(poseIndex)]) {
    if (isNeutral(resolved.rotation.localDegrees)) continue;
    const BaseNodeState& base = baseStates_[resolved.baseStateIndex];
    const simd_quatf orientation = base.decomposition.orientation * localXYZDelta(resolved.rotation.localDegrees);
    base.node->setSimdTransform(base.decomposition.matrix(orientation));
  }
}

}  // namespace ornolith
