#include "loaders/fbx/FbxHierarchy.h"

#include <utility>

#include "loaders/fbx/FbxGeometry.h"
#include "loaders/fbx/FbxText.h"
#include "scenegraph/NodeMetadata.h"

namespace ornolith {

namespace {

/// Hidden as the file has it. Some exporters store the visibility as a real number, which the library's flag reads as
/// an integer 0: only where the real value is zero too is the node hidden.
bool isHiddenInFile(const ufbx_node& node) {
  if (node.visible) return false;
  const ufbx_prop* visibility = ufbx_find_prop(&node.props, "Visibility");
  return visibility == nullptr || visibility->value_real == 0;
}

/// The scene node for `node` alone.
SCNNode::Pointer makeAuthoredNode(const ufbx_node& node, FbxConversion& conversion,
                                  std::vector<std::string>* diagnostics, bool& usedFallback, std::size_t& meshCount) {
  SCNNode::Pointer sceneNode = SCNNode::node();
  sceneNode->setName(authoredNodeName(node));
  sceneNode->setTransform(matrixForUfbxMatrix(node.node_to_parent));
  sceneNode->isHidden = isHiddenInFile(node);
  ConfigureSourceMetadata(*sceneNode, node, true);
  if (auto geometry = GeometryForMeshNode(node, conversion, diagnostics, true, &usedFallback)) {
    sceneNode->geometry = std::move(geometry);
    ++meshCount;
  }
  return sceneNode;
}

}  // namespace

SCNMatrix4 matrixForUfbxMatrix(const ufbx_matrix& matrix) {
  SCNMatrix4 result;
  for (std::size_t row = 0; row < 4; ++row) {
    result.columns[row].x = matrix.cols[row].x;
    result.columns[row].y = matrix.cols[row].y;
    result.columns[row].z = matrix.cols[row].z;
  }
  return result;
}

void ConfigureSourceMetadata(SCNNode& sceneNode, const ufbx_node& node, bool usesAuthoredHierarchy) {
  if (node.is_geometry_transform_helper || node.is_scale_helper) return;
  MetadataDictionary metadata;
  metadata.emplace(ornolithSourceNodeIDKey, "fbx:" + std::to_string(node.element_id));
  metadata.emplace(ornolithSourceNodeNameKey, StringFromUfbx(node.name).value_or(std::string()));
  metadata.emplace(ornolithIsSyntheticPrimitiveKey, false);
  metadata.emplace(ornolithUsesAuthoredHierarchyKey, usesAuthoredHierarchy);
  metadata.emplace(ornolithIsNonAddressableNodeKey, node.camera != nullptr || node.light != nullptr);
  sceneNode.ornolithMetadata = std::move(metadata);
}

SCNNode::Pointer NodeForAuthoredHierarchy(const ufbx_node& node, FbxConversion& conversion,
                                          std::vector<std::string>* diagnostics, bool& usedFallback,
                                          std::size_t& meshCount) {
  struct Pending {
    const ufbx_node* node;
    SCNNode* parent;
  };
  SCNNode::Pointer top;
  // Nodes are made in document order, each before its children: the order in which their findings are to stand.
  std::vector<Pending> pending{{&node, nullptr}};
  while (!pending.empty()) {
    const Pending current = pending.back();
    pending.pop_back();
    const SCNNode::Pointer made = makeAuthoredNode(*current.node, conversion, diagnostics, usedFallback, meshCount);
    if (current.parent == nullptr) {
      top = made;
    } else {
      current.parent->addChildNode(made);
    }
    const ufbx_node_list& children = current.node->children;
    for (std::size_t index = children.count; index > 0; --index) pending.push_back({children[index - 1], made.get()});
  }
  return top;
}

}  // namespace ornolith
