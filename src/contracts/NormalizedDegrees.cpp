#include "contracts/NormalizedDegrees.h"

#include <cmath>

namespace ornolith {

double normalizedDegrees(double degrees) noexcept {
  if (!std::isfinite(degrees)) return degrees;
  double remainder = std::fmod(degrees, 360.0);
  if (remainder < 0.0) remainder += 360.0;
  // A tiny negative remainder rounds up to a full turn.
  if (remainder >= 360.0) remainder = 0.0;
  return remainder == 0.0 ? 0.0 : remainder;
}

LocalRotationDegrees normalizedDegrees(const LocalRotationDegrees& degrees) noexcept {
  LocalRotationDegrees result = degrees;
  for (std::optional<double>* axis : {&result.x, &result.y, &result.z}) {
    if (*axis) *axis = normalizedDegrees(**axis);
  }
  return result;
}

}  // namespace ornolith
