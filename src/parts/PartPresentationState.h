#pragma once

#include <optional>
#include <string>
#include <vector>

#include "foundation/JSONCoding.h"
#include "parts/ModelNodePath.h"

namespace ornolith {

/// What a person has done to the parts of a model. A plain value, saved with a document and given back at the next
/// load, which drops from it what no longer exists.
struct PartPresentationState {
  std::optional<ModelNodePath> selectedPartPath;
  std::vector<ModelNodePath> hiddenPartPaths;  ///< Hidden by the person, sorted, no repeats.
  std::optional<ModelNodePath> isolatedPartPath;
  bool showsDiagnosticColors = false;
  std::optional<std::string> articulationFingerprint;  ///< The hinge that the angle belongs to.
  float articulationAngleDegrees = 0;                  ///< -180 to 180, both included.

  /// The keys are the field names, each optional. The hidden paths are sorted and their repeats dropped, the angle is
  /// brought into range.
  static PartPresentationState fromJSON(const JSONElement& element);
  JSONValue toJSON() const;

  bool operator==(const PartPresentationState&) const = default;
};

/// An angle brought into -180 to 180 degrees, both included, in 32-bit arithmetic: the remainder by 360 with the sign
/// of the angle, a turn less above 180, a turn more below -180. An angle that is not finite is 0, and 0 is never
/// negative.
float normalizedArticulationAngleDegrees(float degrees) noexcept;

}  // namespace ornolith
