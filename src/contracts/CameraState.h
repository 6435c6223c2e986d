#pragma once

#include "contracts/CodableVector3.h"

namespace ornolith {

/// What a camera sees where nothing else is said: vertically, in degrees.
inline constexpr double defaultFieldOfView = 45.0;

/// Where a camera stands, how it is turned, what it looks at and how wide. Scene coordinates.
struct CameraState {
  CodableVector3 position;
  CodableVector3 eulerAngles;  ///< Radians, in the convention of the scene graph's nodes.
  CodableVector3 target;
  double fieldOfView = defaultFieldOfView;  ///< Vertical, degrees.

  /// The keys are the field names, all required.
  static CameraState fromJSON(const JSONElement& element);
  JSONValue toJSON() const;

  bool operator==(const CameraState&) const = default;
};

}  // namespace ornolith
