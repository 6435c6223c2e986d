#pragma once

#include <functional>
#include <string>
#include <vector>

#include "contracts/ModelNodeSourceID.h"
#include "foundation/JSONCoding.h"
#include "parts/ModelNodePath.h"

namespace ornolith {

/// One node of a model's logical tree of parts. Its identity is its `path`. Trees may be very deep: copying, comparing,
/// destroying and everything declared here works without recursion.
struct ModelPartDescriptor {
  ModelNodeSourceID sourceID;
  ModelNodePath path;                         ///< Ends in this node's own component.
  std::string name;                           ///< The authored name; equal to the last component's `originalName`.
  bool hasGeometry = false;                   ///< The node owns geometry.
  bool isAuthoredHidden = false;              ///< The scene node was hidden when it was loaded.
  std::vector<ModelPartDescriptor> children;  ///< The identified children, in child order.

  ModelPartDescriptor() = default;
  ModelPartDescriptor(ModelNodeSourceID nodeSourceID, ModelNodePath nodePath, std::string nodeName, bool ownsGeometry,
                      bool authoredHidden, std::vector<ModelPartDescriptor> nodeChildren = {});
  ModelPartDescriptor(const ModelPartDescriptor& other);
  ModelPartDescriptor(ModelPartDescriptor&&) noexcept = default;
  ModelPartDescriptor& operator=(ModelPartDescriptor other) noexcept;
  ~ModelPartDescriptor();

  /// This descriptor and all its descendants in pre-order: the node first, then each child's list in child order. The
  /// pointers hold as long as this tree is not changed.
  std::vector<const ModelPartDescriptor*> flattened() const;

  /// True where this descriptor or any descendant has geometry.
  bool containsGeometry() const;

  /// Keys "sourceID", "path", "name", "hasGeometry", "isAuthoredHidden", "children", all required. How deep a tree can
  /// be read is bounded by the depth that the JSON reader allows.
  static ModelPartDescriptor fromJSON(const JSONElement& element);
  JSONValue toJSON() const;

  /// Over all fields.
  friend bool operator==(const ModelPartDescriptor& left, const ModelPartDescriptor& right);
};

}  // namespace ornolith

template <>
struct std::hash<ornolith::ModelPartDescriptor> {
  std::size_t operator()(const ornolith::ModelPartDescriptor& descriptor) const;
};
