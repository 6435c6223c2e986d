#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "scenegraph/SCNMaterial.h"
#include "scenegraph/SCNNode.h"

namespace ornolith {

/// The attribute under which a loader records the up axis of a stage, as a vector.
inline constexpr std::string_view SCNSceneUpAxisAttributeKey = "kSceneUpAxisAttributeKey";

using SCNSceneAttribute = std::variant<SCNVector3, double, std::string>;

/// A scene: a root node, a background whose contents is a colour, and attributes.
class SCNScene {
 public:
  static std::shared_ptr<SCNScene> scene() { return std::make_shared<SCNScene>(); }
  SCNScene() : rootNode_(SCNNode::node()) {}

  const SCNNode::Pointer& rootNode() const noexcept { return rootNode_; }
  SCNMaterialProperty background;

  std::optional<SCNSceneAttribute> attributeForKey(std::string_view key) const;
  void setAttribute(SCNSceneAttribute value, std::string_view key);

 private:
  SCNNode::Pointer rootNode_;
  std::map<std::string, SCNSceneAttribute, std::less<>> attributes_;
};

}  // namespace ornolith
