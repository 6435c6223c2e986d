#pragma once

#include <optional>
#include <string>
#include <vector>

#include "contracts/ViewportAxis.h"
#include "foundation/JSONCoding.h"
#include "foundation/UUID.h"
#include "parts/ModelNodePath.h"
#include "parts/RigidArticulationValidation.h"

namespace ornolith {

/// Ties a `RigidArticulationDescriptor` to the node paths of one loaded model instance.
struct RigidArticulationBinding {
  UUID modelInstanceID;
  std::string descriptorFingerprint;
  ModelNodePath rootPath;
  ModelNodePath pivotPath;
  std::vector<ModelNodePath> fixedPartPaths;
  std::optional<ModelNodePath> pivotPartPath;
  std::vector<ModelNodePath> movingPartPaths;
  ViewportAxis axis = ViewportAxis::y;
  RigidArticulationValidation validation;

  /// The keys are the field names; "pivotPartPath" alone is optional.
  static RigidArticulationBinding fromJSON(const JSONElement& element);
  JSONValue toJSON() const;

  bool operator==(const RigidArticulationBinding&) const = default;
};

}  // namespace ornolith
