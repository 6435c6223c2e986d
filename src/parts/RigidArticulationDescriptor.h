#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "contracts/ViewportAxis.h"
#include "foundation/JSONCoding.h"
#include "parts/RigidArticulationValidation.h"

namespace ornolith {

/// A model's one hinge, by node names: a pivot node that turns about its local Y axis and carries the moving parts,
/// while the fixed parts stay with the root. It can be stored with a document.
struct RigidArticulationDescriptor {
  static constexpr std::int64_t currentSchemaVersion = 1;

  std::int64_t schemaVersion = currentSchemaVersion;
  std::string modelSHA256;  ///< 64 lower-case hexadecimal digits.
  std::string rootNodeName;
  std::string pivotNodeName;
  std::vector<std::string> fixedPartNodeNames;   ///< Sorted, no repeats.
  std::optional<std::string> pivotPartNodeName;  ///< The part that carries the pivot.
  std::vector<std::string> movingPartNodeNames;  ///< Sorted, no repeats; holds the pivot part where there is one.
  ViewportAxis axis = ViewportAxis::y;
  RigidArticulationValidation validation;
  std::string fingerprint;  ///< 64 lower-case hexadecimal digits; see `computedFingerprint`.

  /// Brings the values into their normal form (hash in lower case, name lists sorted and without repeats, the pivot
  /// part among the moving parts) and computes the fingerprint.
  static RigidArticulationDescriptor make(std::string modelSHA256, std::string rootNodeName, std::string pivotNodeName,
                                          std::vector<std::string> fixedPartNodeNames,
                                          std::optional<std::string> pivotPartNodeName,
                                          std::vector<std::string> movingPartNodeNames, ViewportAxis axis,
                                          RigidArticulationValidation validation,
                                          std::int64_t schemaVersion = currentSchemaVersion);

  /// SHA-256 over nine texts, each framed by its length in bytes (unsigned 64 bits, big-endian):
  /// "ornolith.rigid-articulation.v" and the schema version, the model hash in lower case, the root name, the pivot
  /// name, the fixed names sorted and joined with U+001F, the pivot part's name or nothing, the moving names sorted and
  /// joined with U+001F, the axis, the evidence. It tells whether a stored hinge or angle still belongs to this one.
  std::string computedFingerprint() const;

  /// The keys are the field names. A stored fingerprint is not trusted: the values are brought into their normal form
  /// and it is computed anew. Another schema version can be read; the issue `unsupportedSchema` then stands among the
  /// issues.
  static RigidArticulationDescriptor fromJSON(const JSONElement& element);
  JSONValue toJSON() const;

  bool operator==(const RigidArticulationDescriptor&) const = default;
};

}  // namespace ornolith
