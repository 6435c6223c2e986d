#pragma once

#include "contracts/CodableVector3.h"

namespace ornolith {

/// Where a model stands in its scene: position, Euler angles in radians, scale.
struct ModelTransform {
  CodableVector3 position{0, 0, 0};
  CodableVector3 eulerAngles{0, 0, 0};
  CodableVector3 scale{1, 1, 1};

  static ModelTransform identity() { return {}; }
  /// The keys are the field names, all required.
  static ModelTransform fromJSON(const JSONElement& element);
  JSONValue toJSON() const;

  bool operator==(const ModelTransform&) const = default;
};

}  // namespace ornolith
