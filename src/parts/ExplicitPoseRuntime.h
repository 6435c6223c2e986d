#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "contracts/ExplicitPoseDocument.h"
#include "parts/AddressableParts.h"
#include "parts/RigidLocalTransform.h"

namespace ornolith {

/// The poses of a document, tied to the nodes of one loaded model. Whatever can be wrong with the document against the
/// model is found when the runtime is made; applying a pose then fails only with a bad index.
class ExplicitPoseRuntime {
 public:
  /// A node that some pose turns, at rest.
  struct BaseNodeState {
    SCNNode::Pointer node;
    SCNMatrix4 transform;         ///< Its local matrix, put back bit for bit.
    RigidLocalTRS decomposition;  ///< Of that matrix in 32-bit floats.
  };
  /// One rotation of a pose.
  struct ResolvedRotation {
    std::size_t baseStateIndex = 0;
    ModelPartRotation rotation;  ///< As the document has it.
  };

  /// Resolves the rotations of `poses`, which have passed `ExplicitPoseDocument::validate`, against all addressable
  /// `parts` of a model, every one of which must be fit to be turned. Changes no node. Throws
  /// `ExplicitPoseRuntimeError`.
  ExplicitPoseRuntime(std::span<const ExplicitModelPose> poses, std::span<const AddressableLogicalPart> parts);

  /// One per node that any pose turns, in order of first use.
  const std::vector<BaseNodeState>& baseStates() const noexcept { return baseStates_; }
  /// One list per pose, in document order.
  const std::vector<std::vector<ResolvedRotation>>& resolvedPoses() const noexcept { return resolvedPoses_; }

  /// Puts all nodes to rest and then turns those of one pose about their local axes, so that no pose depends on the one
  /// before. A turn by nothing leaves a node's matrix as it was loaded, bit for bit. Throws `ExplicitPoseRuntimeError`
  /// (`InvalidPoseIndex`) before anything is changed.
  void apply(std::int64_t poseIndex) const;
  /// Puts all nodes to rest.
  void restoreRestPose() const;

 private:
  std::vector<BaseNodeState> baseStates_;
  std::vector<std::vector<ResolvedRotation>> resolvedPoses_;
};

/// Why a part cannot be turned, apart from a model that deforms.
enum class PartRotationObstacle { none, authoredHierarchyUnavailable, unsafeLocalTransform };

/// The obstacle of one part; `unsafeLocalTransform` is looked for second.
PartRotationObstacle rotationObstacle(const AddressableLogicalPart& part);

/// True where `node` or a descendant has a skinner, a morpher or a native animation.
bool nodeTreeHasDeformationOrAnimation(const SCNNode& node);

}  // namespace ornolith
