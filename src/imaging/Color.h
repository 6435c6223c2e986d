#pragma once

#include <cstdint>

namespace ornolith {

/// The sRGB transfer function of IEC 61966-2-1 and its inverse, from the deterministic maths of foundation, rounded
/// once from double precision. Meant for 0..1; beyond, the same formulas go on, and NaN stays NaN.
float linearFromSRGB(float encoded) noexcept;
float sRGBFromLinear(float linear) noexcept;

/// The float nearest to the linear value of the code `encoded / 255`, by table.
float linearFromSRGB8(std::uint8_t encoded) noexcept;

/// The 8-bit code nearest to the exact sRGB encoding of `linear`, by table; values outside 0..1 clamp, NaN gives 0.
/// `sRGB8FromLinear(linearFromSRGB8(code)) == code` for every code.
std::uint8_t sRGB8FromLinear(float linear) noexcept;

}  // namespace ornolith
