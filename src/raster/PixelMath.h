#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

namespace ornolith::raster {

// Per-pixel functions of additions, multiplications and divisions alone, so that every processor and every vector width
// computes the same bits.

/// The largest whole number that is not above `x`; infinities and NaN come back as they are. (The library's own is a
/// call on processors without SSE 4.1, which the program must run on.)
inline float fastFloor(float x) noexcept {
  constexpr float noFractionFrom = 8388608.0f;
  if (!(std::abs(x) < noFractionFrom)) return x;
  const auto truncated = static_cast<float>(static_cast<std::int32_t>(x));
  return truncated > x ? truncated - 1.0f : truncated;
}

/// A float of that size has whole numbers in its lowest bits: adding this to a magnitude below 2^22 rounds it.
inline constexpr float wholeBits = 0x1.8p23f;

/// log2 of a positive normal number: within 3e-7 + 1e-7 * |result| of the true value. Writes the argument as m * 2^e
/// with m in [sqrt(1/2), sqrt(2)) and sums the series of 2 artanh((m - 1) / (m + 1)) to the seventh power.
inline float fastLog2(float x) noexcept {
  constexpr std::uint32_t sqrtHalfBits = 0x3f3504f3;
  const std::uint32_t bits = std::bit_cast<std::uint32_t>(x) - sqrtHalfBits;
  const auto exponent = static_cast<float>(static_cast<std::int32_t>(bits) >> 23);
  const auto m = std::bit_cast<float>((bits & 0x007fffff) + sqrtHalfBits);
  const float s = (m - 1.0f) / (m + 1.0f);
  const float s2 = s * s;
  const float series = s * (2.88539008f + s2 * (0.961796694f + s2 * (0.577078016f + s2 * 0.412198583f)));
  return exponent + series;
}

/// 2^x within 4e-7 relative error for x in [-126, 126]; clamps beyond, so that the result is always a positive normal.
inline float fastExp2(float x) noexcept {
  const float clamped = x > 126.0f ? 126.0f : x > -126.0f ? x : -126.0f;
  const float shifted = clamped + wholeBits;
  const float f = (clamped - (shifted - wholeBits)) * 0.693147181f;
  const float series =
      1.0f +
      f * (1.0f + f * (0.5f + f * (0.166666667f + f * (0.0416666667f + f * (0.00833333333f + f * 0.00138888889f)))));
  // Of the bits of `shifted`, all but those of the whole number leave the word.
  return series * std::bit_cast<float>((std::bit_cast<std::uint32_t>(shifted) + 127) << 23);
}

/// base^exponent for a base in 0..1 and an exponent of 0 to 1024: within 4e-7 * (2 + exponent * |log2(base)|) relative
/// error, and at least 2^-126; 0 where the base is below 1e-30 or not a number.
inline float fastPow(float base, float exponent) noexcept {
  return base > 1e-30f ? fastExp2(exponent * fastLog2(base)) : 0.0f;
}

/// `value` limited to 0..1; NaN gives 0.
inline float saturate(float value) noexcept {
  return value > 0.0f ? (value < 1.0f ? value : 1.0f) : 0.0f;
}

}  // namespace ornolith::raster
