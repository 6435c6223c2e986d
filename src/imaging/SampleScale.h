#pragma once

#include <cstddef>
#include <cstdint>

#include "imaging/Image.h"

namespace ornolith {

/// `value` of 0..`maximum` as the nearest of 0..255.
constexpr std::uint8_t scaledTo8(std::uint64_t value, std::uint64_t maximum) noexcept {
  return static_cast<std::uint8_t>((value * 255 + maximum / 2) / maximum);
}

/// Makes an image opaque whose alpha is zero everywhere: kinds whose fourth byte may be padding leave it zero.
inline void makeOpaqueIfBlank(Image& image) noexcept {
  for (std::size_t i = 3; i < image.pixels.size(); i += 4) {
    if (image.pixels[i] != 0) return;
  }
  for (std::size_t i = 3; i < image.pixels.size(); i += 4) image.pixels[i] = 255;
}

}  // namespace ornolith
