#pragma once

#include "contracts/LocalRotationDegrees.h"

namespace ornolith {

/// The same turn within 0 (included) to 360 (excluded): -90 gives 270, 720 gives 0, and a result of zero is plain zero.
/// A value that is not finite stays as it is.
double normalizedDegrees(double degrees) noexcept;

/// Each axis that is present normalised; an absent one stays absent.
LocalRotationDegrees normalizedDegrees(const LocalRotationDegrees& degrees) noexcept;

}  // namespace ornolith
