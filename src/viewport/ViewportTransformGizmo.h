#pragma once

#include <optional>
#include <string_view>

#include "scenegraph/SCNNode.h"
#include "viewport/GizmoHandle.h"

namespace ornolith {

/// The handles at a target's pivot, by which an interactive view moves, turns and scales it. They hang under one root
/// node, which a capture recognises by its name.
class ViewportTransformGizmo {
 public:
  static constexpr std::string_view rootNodeName = "__OrnolithInteractionOverlay";
  static constexpr std::string_view contentNodeName = "__OrnolithTransformGizmoContent";
  static constexpr std::int64_t renderingOrder = 100000;

  ViewportTransformGizmo();
  ViewportTransformGizmo(const ViewportTransformGizmo&) = delete;
  ViewportTransformGizmo& operator=(const ViewportTransformGizmo&) = delete;

  const SCNNode::Pointer& rootNode() const noexcept { return rootNode_; }
  /// The root's child that holds the handles and carries their position, orientation and scale.
  const SCNNode::Pointer& contentNode() const noexcept { return contentNode_; }
  const std::optional<GizmoHandle>& hoveredHandle() const noexcept { return hoveredHandle_; }
  const std::optional<GizmoHandle>& activeHandle() const noexcept { return activeHandle_; }

  /// Takes away all handles, with the marks of a hovered and an active one.
  void clear();

 private:
  SCNNode::Pointer rootNode_;
  SCNNode::Pointer contentNode_;
  std::optional<GizmoHandle> hoveredHandle_;
  std::optional<GizmoHandle> activeHandle_;
};

}  // namespace ornolith
