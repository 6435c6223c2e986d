#pragma once

namespace ornolith::raster {

/// A float of that size has whole numbers in its lowest bits: adding this to a magnitude below 2^22 rounds it.
inline constexpr float wholeBits = 0x1.8p23f;

/// `value` limited to 0..1; NaN gives 0.
inline float saturate(float value) noexcept {
  return value > 0.0f ? (value < 1.0f ? value : 1.0f) : 0.0f;
}

}  // namespace ornolith::raster
