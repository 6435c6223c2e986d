#include "viewport/ViewportTransformGizmo.h"

#include <string>

namespace ornolith {

ViewportTransformGizmo::ViewportTransformGizmo() : rootNode_(SCNNode::node()), contentNode_(SCNNode::node()) {
  rootNode_->setName(std::string(rootNodeName));
  rootNode_->renderingOrder = renderingOrder;
  contentNode_->setName(std::string(contentNodeName));
  contentNode_->renderingOrder = renderingOrder;
  rootNode_->addChildNode(contentNode_);
}

void ViewportTransformGizmo::clear() {
  for (const SCNNode::Pointer& child : contentNode_->childNodes()) child->removeFromParentNode();
  hoveredHandle_.reset();
  activeHandle_.reset();
}

}  // namespace ornolith
