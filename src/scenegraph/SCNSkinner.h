#pragma once

#include <memory>

namespace ornolith {

class SCNNode;

/// Marks a node's geometry as skinned; `skeleton` is the root node of the bones, which the skinner does not own.
struct SCNSkinner {
  std::weak_ptr<SCNNode> skeleton;
};

}  // namespace ornolith
