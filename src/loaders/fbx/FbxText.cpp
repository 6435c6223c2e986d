#include "loaders/fbx/FbxText.h"

#include <string_view>
#include <utility>

#include "foundation/Text.h"

namespace ornolith {

namespace {

/// The node's name, or its mesh's; empty where neither has one.
std::string ownOrMeshName(const ufbx_node& node) {
  if (auto name = StringFromUfbx(node.name)) return *std::move(name);
  if (node.mesh != nullptr) {
    if (auto name = StringFromUfbx(node.mesh->name)) return *std::move(name);
  }
  return {};
}

}  // namespace

std::optional<std::string> StringFromUfbx(const char* data, std::size_t length) {
  if (data == nullptr || length == 0) return std::nullopt;
  const std::string_view text(data, length);
  if (!isValidUTF8(text)) return std::nullopt;
  return std::string(text);
}

std::string SceneNodeNameForUfbxNode(const ufbx_node& node) {
  const std::string name = ownOrMeshName(node);
  return "__fbx_" + std::to_string(node.element_id) + "__" + (name.empty() ? "Mesh" : name);
}

std::string authoredNodeName(const ufbx_node& node) {
  std::string name = ownOrMeshName(node);
  return name.empty() ? "Node " + std::to_string(node.element_id) : name;
}

std::string animationNameForStack(std::size_t index, const ufbx_anim_stack& stack) {
  if (auto name = StringFromUfbx(stack.name)) return *std::move(name);
  return "Animation " + std::to_string(index + 1);
}

std::string AnimationIdentifierForStack(std::size_t index, const ufbx_anim_stack& stack) {
  return std::to_string(index) + "-" + animationNameForStack(index, stack);
}

}  // namespace ornolith
