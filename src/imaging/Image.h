#pragma once

#include <cstddef>
#include <cstdint>

#include "foundation/UninitializedVector.h"

namespace ornolith {

/// The limits that hold wherever an image is sized for output.
inline constexpr std::int64_t maximumImageSide = 8192;
inline constexpr std::int64_t maximumImagePixels = 16'777'216;

/// True for a size in pixels that an output image may have: not empty and within the limits.
constexpr bool isOutputImageSize(std::int64_t width, std::int64_t height) noexcept {
  return width >= 1 && height >= 1 && width <= maximumImageSide && height <= maximumImageSide &&
         width * height <= maximumImagePixels;
}

/// What `resize(n)` adds is uninitialised, since pixels are written next.
using PixelBytes = UninitializedVector<std::uint8_t>;

/// An 8-bit RGBA image with straight (not premultiplied) alpha, rows from the top, pixels from the left, 4 bytes a
/// pixel, no padding. Colour is sRGB unless its user says that the image holds data (normals, roughness).
struct Image {
  std::uint32_t width = 0;   ///< Pixels.
  std::uint32_t height = 0;  ///< Pixels.
  PixelBytes pixels;         ///< `width * height * 4` bytes.

  std::size_t rowBytes() const noexcept { return std::size_t{width} * 4; }
  const std::uint8_t* pixel(std::uint32_t x, std::uint32_t y) const noexcept {
    return pixels.data() + y * rowBytes() + std::size_t{x} * 4;
  }
  bool operator==(const Image&) const = default;
};

/// True where some pixel has an alpha below 255.
bool hasTransparency(const Image& image) noexcept;

}  // namespace ornolith
