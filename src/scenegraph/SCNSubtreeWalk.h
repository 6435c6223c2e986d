#pragma once

#include <cstddef>

#include "scenegraph/SCNNode.h"

namespace ornolith {

/// A walk over a node and all its descendants, parents before children, children in order, without recursion and
/// without memory of its own. It carries what depends on the ancestors, so that a walk of the whole tree stays linear
/// however deep the tree is. The tree must not change during the walk, but values of nodes may.
///
///     for (SCNSubtreeWalk walk(root); !walk.isAtEnd(); walk.next()) use(walk.node(), walk.isHidden());
class SCNSubtreeWalk {
 public:
  /// Begins at `top` itself. Climbs once from there to learn whether an ancestor is hidden.
  explicit SCNSubtreeWalk(SCNNode& top) noexcept;

  bool isAtEnd() const noexcept { return node_ == nullptr; }
  SCNNode& node() const noexcept { return *node_; }
  /// What `node().isHiddenInTree()` answers.
  bool isHidden() const noexcept { return hiddenTop_ != nullptr || ancestorIsHidden_; }
  /// Levels below `top`, which has 0.
  std::size_t depth() const noexcept { return depth_; }

  /// On to the next node.
  void next() noexcept;
  /// On to the next node that is not below this one.
  void nextBesideSubtree() noexcept;

 private:
  void enter() noexcept;

  SCNNode* top_;
  SCNNode* node_;
  SCNNode* hiddenTop_ = nullptr;  // The uppermost hidden node on the way from `top_` to `node_`.
  bool ancestorIsHidden_ = false;
  std::size_t depth_ = 0;
};

}  // namespace ornolith
