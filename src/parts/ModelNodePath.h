#pragma once

#include <compare>
#include <functional>
#include <string>
#include <vector>

#include "contracts/ModelNodeSourceID.h"
#include "foundation/JSONCoding.h"

namespace ornolith {

/// Where an authored node stands among the other identified nodes of its model: the chain of nodes from the outermost
/// one down to the node itself. It survives a reload, which scene nodes and positions in child lists do not.
///
/// Order is lexicographic by components, each by identity and then by name, in plain text order; a path sorts before
/// every longer path that begins with it, so a parent before its children.
struct ModelNodePath {
  struct Component {
    ModelNodeSourceID sourceID;
    std::string originalName;  ///< The authored name.

    /// Keys "sourceID" and "originalName", both required.
    static Component fromJSON(const JSONElement& element);
    JSONValue toJSON() const;

    bool operator==(const Component&) const = default;
    std::strong_ordering operator<=>(const Component&) const = default;
  };

  std::vector<Component> components;

  /// The path with no components: the place above all parts, which names no part.
  static const ModelNodePath root;

  /// This path with one more component.
  ModelNodePath appending(Component component) const;

  /// Key "components", required.
  static ModelNodePath fromJSON(const JSONElement& element);
  JSONValue toJSON() const;

  bool operator==(const ModelNodePath&) const = default;
  std::strong_ordering operator<=>(const ModelNodePath&) const = default;
};

inline const ModelNodePath ModelNodePath::root{};

}  // namespace ornolith

template <>
struct std::hash<ornolith::ModelNodePath> {
  std::size_t operator()(const ornolith::ModelNodePath& path) const noexcept;
};
