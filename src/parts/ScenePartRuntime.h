#pragma once

#include <cstddef>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "contracts/ModelNodeSourceID.h"
#include "foundation/LinearAlgebra.h"
#include "parts/ModelNodePath.h"
#include "parts/ModelPartDescriptor.h"
#include "parts/PartPresentationState.h"
#include "parts/RigidArticulationBinding.h"
#include "parts/RigidArticulationDescriptor.h"
#include "scenegraph/SCNNode.h"

namespace ornolith {

/// The logical tree of a model's identified nodes, and the ways between its paths and scene nodes. A path is held as a
/// number and its parent's number, so that memory and time are linear in the nodes for trees of any depth; whole paths
/// and descriptors, which repeat all their ancestors, are made when they are asked for.
class LogicalPartTree {
 public:
  using PathIndex = std::size_t;
  /// The path with no components: the place above all parts.
  static constexpr PathIndex rootPath = std::numeric_limits<PathIndex>::max();

  /// One logical path. Two nodes may come to the same one; `node` is the later of them.
  struct Path {
    PathIndex parent = rootPath;  ///< Smaller than the path's own number, or `rootPath`.
    ModelNodePath::Component component;
    SCNNode::Pointer node;
    bool isAuthoredHidden = false;  ///< A node of this path was hidden when the tree was built.
  };

  /// One identified node. Parts stand in pre-order; those below a part follow it up to `endOfSubtree`.
  struct Part {
    PathIndex path = rootPath;
    SCNNode::Pointer node;
    std::size_t endOfSubtree = 0;
    bool hasGeometry = false;       ///< The node owns geometry itself or through nodes that are no parts.
    bool isAuthoredHidden = false;  ///< The node was hidden when the tree was built.
  };

  LogicalPartTree() = default;
  /// The tree of the nodes below `container`. A node without an identity, or made by a loader, is transparent: its
  /// children belong to the nearest part above.
  explicit LogicalPartTree(const SCNNode& container);

  std::span<const Path> paths() const noexcept { return paths_; }
  std::span<const Part> parts() const noexcept { return parts_; }

  /// The number of `path`; `rootPath` for the empty path, nothing for one that does not exist.
  std::optional<PathIndex> indexOfPath(const ModelNodePath& path) const;
  /// The number of the path of `node`, or of the part above a transparent node; nothing for a node above all parts.
  std::optional<PathIndex> indexOfNode(const SCNNode& node) const;
  ModelNodePath path(PathIndex index) const;
  /// The descriptors of the topmost parts with all parts below them.
  std::vector<ModelPartDescriptor> descriptors() const;

 private:
  struct Builder;
  struct ChildKey {
    PathIndex parent = rootPath;
    ModelNodePath::Component component;
    bool operator==(const ChildKey&) const = default;
  };
  struct ChildKeyHash {
    std::size_t operator()(const ChildKey& key) const noexcept;
  };

  std::vector<Path> paths_;
  std::vector<Part> parts_;
  std::unordered_map<ChildKey, PathIndex, ChildKeyHash> pathsByChild_;
  std::unordered_map<const SCNNode*, PathIndex> pathsByNode_;
  std::vector<SCNNode::Pointer> transparentNodes_;  ///< Held so that the addresses above stay theirs.
};

/// What a scene keeps of one model's parts. The tree never changes after the load.
struct ScenePartRuntime {
  std::shared_ptr<const LogicalPartTree> tree = std::make_shared<const LogicalPartTree>();
  PartPresentationState presentation;
  std::optional<RigidArticulationDescriptor> articulationDescriptor;
  std::optional<RigidArticulationBinding> articulationBinding;
  bool blocksRigidArticulationInference = false;
  std::optional<simd_quatf> pivotBaseOrientation;

  /// The top of the logical tree.
  std::vector<ModelPartDescriptor> descriptors() const { return tree->descriptors(); }
  /// The node at `path`, or null where there is none, as for the empty path.
  SCNNode::Pointer nodesByPath(const ModelNodePath& path) const;
  /// The path of `node`, or of the part above it; nothing for a node above all parts.
  std::optional<ModelNodePath> pathsByNode(const SCNNode& node) const;
  /// True where the part at `path` was hidden when the model was loaded.
  bool authoredHiddenPaths(const ModelNodePath& path) const;
};

/// The runtime of the parts below `container`. Of `restoredState` the paths that do not exist fall away.
ScenePartRuntime makePartRuntime(const SCNNode& container, const PartPresentationState& restoredState);

/// How many paths `sanitized` has lost against `restored`.
std::size_t discardedPartStateCount(const PartPresentationState& restored, const PartPresentationState& sanitized);

/// Sets the hidden flag of every part's node from the presentation state: hidden are the parts that were hidden when
/// loaded, those that the state hides and, where a part is isolated, all others but those below it and above it.
void applyPartVisibility(const ScenePartRuntime& runtime);

}  // namespace ornolith
