#include "imaging/Color.h"

#include "foundation/Math.h"

namespace ornolith {

float linearFromSRGB(float encoded) noexcept {
  const double value = encoded;
  if (value <= 0.04045) return static_cast<float>(value / 12.92);
  return static_cast<float>(math::pow((value + 0.055) / 1.055, 2.4));
}

float sRGBFromLinear(float linear) noexcept {
  const double value = linear;
  if (value <= 0.0031308) return static_cast<float>(value * 12.92);
  return static_cast<float>(1.055 * math::pow(value, 1.0 / 2.4) - 0.055);
}

}  // namespace ornolith
