#pragma once

#include <ufbx.h>

#include <cstddef>
#include <optional>
#include <string>

namespace ornolith {

/// The text of `length` bytes, or nothing where `data` is null, `length` is 0 or the bytes are not UTF-8.
std::optional<std::string> StringFromUfbx(const char* data, std::size_t length);
inline std::optional<std::string> StringFromUfbx(const ufbx_string& text) {
  return StringFromUfbx(text.data, text.length);
}

/// "__fbx_7__Wheel": the element's number and the node's name, or its mesh's name, or "Mesh". Unique within a file.
std::string SceneNodeNameForUfbxNode(const ufbx_node& node);

/// The name under which the authored hierarchy shows a node: its own, or its mesh's, or "Node 7" by its element number.
std::string authoredNodeName(const ufbx_node& node);

/// "0-Take": the position in the file and the stack's name, or "Animation 1" for a first stack without one.
std::string AnimationIdentifierForStack(std::size_t index, const ufbx_anim_stack& stack);

/// The stack's name, or "Animation 1" for a first stack without one.
std::string animationNameForStack(std::size_t index, const ufbx_anim_stack& stack);

}  // namespace ornolith
