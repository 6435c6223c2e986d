#pragma once

#include "contracts/LocalRotationDegrees.h"
#include "contracts/ModelPartSelector.h"

namespace ornolith {

/// One node and how far it turns.
struct ModelPartRotation {
  ModelPartSelector selector;
  LocalRotationDegrees localDegrees;

  static ModelPartRotation fromJSON(const JSONElement& element);
  JSONValue toJSON() const;

  bool operator==(const ModelPartRotation&) const = default;
};

}  // namespace ornolith
