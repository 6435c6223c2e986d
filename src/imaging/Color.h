#pragma once

#include <cstdint>

namespace ornolith {

/// The sRGB transfer function of IEC 61966-2-1 and its inverse, on 0..1, from the deterministic maths of foundation.
float linearFromSRGB(float encoded) noexcept;
float sRGBFromLinear(float linear) noexcept;

/// `linearFromSRGB(value / 255)` by table.
float linearFromSRGB8(std::uint8_t encoded) noexcept;

/// The nearest 8-bit code of `sRGBFromLinear(linear)`, exactly rounded; values outside 0..1 clamp, NaN gives 0.
std::uint8_t sRGB8FromLinear(float linear) noexcept;

}  // namespace ornolith
