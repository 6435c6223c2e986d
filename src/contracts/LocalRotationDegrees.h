#pragma once

#include <array>
#include <optional>
#include <string_view>
#include <utility>

#include "contracts/ModelPoseContractError.h"
#include "contracts/ViewportAxis.h"
#include "foundation/JSONCoding.h"

namespace ornolith {

/// How far a node turns about its local axes, in degrees, neither wrapped nor limited. An absent axis turns by 0 but is
/// not written.
struct LocalRotationDegrees {
  std::optional<double> x;
  std::optional<double> y;
  std::optional<double> z;

  /// Reads a specification such as "x=90, y=-45": each axis once, in any order, angles by the rules of `parseDouble`
  /// and finite. Throws `ModelPoseContractError`.
  static LocalRotationDegrees fromAxisSpec(std::string_view text);

  /// Throws `ModelPoseContractError`: `NoRotationAxes`, or `NonFiniteAngle` for the first such axis.
  void validate() const;

  /// The axes x, y and z with their degrees, 0.0 for an absent one.
  std::array<std::pair<ViewportAxis, double>, 3> resolvedInXYZOrder() const noexcept;

  /// Reading checks the rules of `validate` too and throws `JSONError`.
  static LocalRotationDegrees fromJSON(const JSONElement& element);
  /// Throws what `validate` throws.
  JSONValue toJSON() const;

  bool operator==(const LocalRotationDegrees&) const = default;
};

}  // namespace ornolith
