#pragma once

#include <ufbx.h>

#include <cstddef>
#include <string>
#include <vector>

#include "loaders/fbx/FbxConversion.h"
#include "scenegraph/SCNNode.h"

namespace ornolith {

/// `matrix` as the scene writes it: one basis column a row, the translation in the fourth.
SCNMatrix4 matrixForUfbxMatrix(const ufbx_matrix& matrix);

/// Stamps what the file says of `node` on `sceneNode`: identity, name, and whether it may be addressed. Nodes that the
/// FBX library itself put in between are no part of the file and are left without metadata.
void ConfigureSourceMetadata(SCNNode& sceneNode, const ufbx_node& node, bool usesAuthoredHierarchy);

/// A new scene node for `node` with everything below it, named and placed as the file has it. Geometries made are added
/// to `meshCount`; `usedFallback` is set where a surface shows the neutral colour. The tree may be of any depth.
SCNNode::Pointer NodeForAuthoredHierarchy(const ufbx_node& node, FbxConversion& conversion,
                                          std::vector<std::string>* diagnostics, bool& usedFallback,
                                          std::size_t& meshCount);

}  // namespace ornolith
