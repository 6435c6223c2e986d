#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "scenegraph/SCNNode.h"

namespace ornolith {

// The keys of a node's metadata dictionary, `SCNNode::ornolithMetadata`: what a loader says of the node that a file
// authored.

/// Text: the raw value of the node's source identity, "fbx:" or "gltf:" and a decimal number. Without it a node has
/// none.
inline constexpr std::string_view ornolithSourceNodeIDKey = "OrnolithSourceNodeID";
/// Text: the authored name.
inline constexpr std::string_view ornolithSourceNodeNameKey = "OrnolithSourceNodeName";
/// Flag: the node was made by a loader, not authored; it is treated as having no identity.
inline constexpr std::string_view ornolithIsSyntheticPrimitiveKey = "OrnolithIsSyntheticPrimitive";
/// Flag: the load kept the file's hierarchy, so that the node's local transform is the authored one.
inline constexpr std::string_view ornolithUsesAuthoredHierarchyKey = "OrnolithUsesAuthoredHierarchy";
/// Flag: the node is identified but may not be addressed; set for nodes that hold a camera or a light.
inline constexpr std::string_view ornolithIsNonAddressableNodeKey = "OrnolithIsNonAddressableNode";

/// The text under `key`, or nothing for no value and for a value of another type.
std::optional<std::string> metadataString(std::string_view key, const SCNNode& node);

/// The flag under `key`: a boolean as it is, a number true where it is not zero; false for anything else and for no
/// value.
bool metadataBool(std::string_view key, const SCNNode& node);

}  // namespace ornolith
