#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "contracts/ModelPartSelector.h"
#include "import/formats/ModelFormat.h"

namespace ornolith {

struct ListedModelVector3 {
  double x = 0;
  double y = 0;
  double z = 0;

  static ListedModelVector3 fromJSON(const JSONElement& element);
  JSONValue toJSON() const;
  bool operator==(const ListedModelVector3&) const = default;
};

struct ListedModelQuaternion {
  double x = 0;
  double y = 0;
  double z = 0;
  double w = 1;

  static ListedModelQuaternion fromJSON(const JSONElement& element);
  JSONValue toJSON() const;
  bool operator==(const ListedModelQuaternion&) const = default;
};

/// A node's transform in its parent's space. All numbers are 32-bit floats widened.
struct ListedModelLocalTransform {
  /// Column after column; absent where an entry is not finite, and then written as null.
  std::optional<std::array<double, 16>> columnMajorMatrix;
  // The rigid decomposition: all three or none.
  std::optional<ListedModelVector3> translation;
  std::optional<ListedModelQuaternion> rotation;
  std::optional<ListedModelVector3> scale;  ///< A negative x marks a mirrored node.

  static ListedModelLocalTransform fromJSON(const JSONElement& element);
  JSONValue toJSON() const;
  bool operator==(const ListedModelLocalTransform&) const = default;
};

/// One addressable node.
struct ListedModelPart {
  std::string originalName;
  std::string sourceID;
  ModelPartSelector selector;               ///< Always a path.
  std::optional<ModelPartSelector> parent;  ///< Absent for a part at the top.
  bool hasGeometry = false;
  bool hasChildren = false;
  ListedModelLocalTransform localTransform;
  bool isRotatable = false;
  std::optional<std::string> rotationBlockReason;  ///< Absent where the part is rotatable.

  static ListedModelPart fromJSON(const JSONElement& element);
  JSONValue toJSON() const;
  bool operator==(const ListedModelPart&) const = default;
};

/// The inventory of a model, which `--list-parts` prints. Reading it back checks neither schema, version nor hash.
struct ListedModelPartsDocument {
  static constexpr std::string_view schemaText = "ornolabs.ornolith-render.parts";
  static constexpr std::int64_t currentVersion = 1;

  std::string schema{schemaText};
  std::int64_t version = currentVersion;
  std::string modelSHA256;
  ModelFormat format = ModelFormat::fbx;
  std::vector<ListedModelPart> parts;

  /// The bytes of the document. Throws `JSONError` for a text that is not UTF-8.
  std::string canonicalJSONData() const;

  static ListedModelPartsDocument fromJSON(const JSONElement& element);
  JSONValue toJSON() const;
  bool operator==(const ListedModelPartsDocument&) const = default;
};

}  // namespace ornolith
