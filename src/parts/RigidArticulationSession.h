#pragma once

#include <array>

#include "foundation/JSONCoding.h"
#include "foundation/UUID.h"
#include "parts/ModelNodePath.h"

namespace ornolith {

/// The place from which a hinge is moved.
enum class RigidArticulationSessionSource { inspectorSlider, viewportRing };

template <>
inline constexpr auto rawValueTable<RigidArticulationSessionSource> =
    std::to_array<RawValueEntry<RigidArticulationSessionSource>>(
        {{RigidArticulationSessionSource::inspectorSlider, "inspectorSlider"},
         {RigidArticulationSessionSource::viewportRing, "viewportRing"}});

/// One gesture of a person on a hinge.
struct RigidArticulationSession {
  using Source = RigidArticulationSessionSource;

  UUID id;
  UUID modelInstanceID;
  ModelNodePath pivotPath;
  float startingAngleDegrees = 0;
  Source source = Source::inspectorSlider;

  /// The keys are the field names, all required.
  static RigidArticulationSession fromJSON(const JSONElement& element);
  JSONValue toJSON() const;

  bool operator==(const RigidArticulationSession&) const = default;
};

}  // namespace ornolith
