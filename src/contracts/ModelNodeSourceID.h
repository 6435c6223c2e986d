#pragma once

#include <compare>
#include <functional>
#include <string>
#include <utility>

#include "foundation/JSONCoding.h"

namespace ornolith {

/// The stable identity of an authored node: "fbx:<element id>" or "gltf:<node index>". Equality, hashing and order are
/// those of the raw text, so "fbx:10" sorts before "fbx:9". The form is checked by the selector parser alone.
struct ModelNodeSourceID {
  std::string rawValue;

  /// A plain JSON string of any form.
  static ModelNodeSourceID fromJSON(const JSONElement& element) { return {element.asString()}; }
  JSONValue toJSON() const { return {rawValue}; }

  bool operator==(const ModelNodeSourceID&) const = default;
  std::strong_ordering operator<=>(const ModelNodeSourceID&) const = default;
};

}  // namespace ornolith

template <>
struct std::hash<ornolith::ModelNodeSourceID> {
  std::size_t operator()(const ornolith::ModelNodeSourceID& id) const noexcept {
    return std::hash<std::string>{}(id.rawValue);
  }
};
