#pragma once

#include <algorithm>
#include <cstdint>

#include "raster/PrimitiveRecord.h"

namespace ornolith::raster {

/// One side of a triangle on the sub-pixel grid: a pixel belongs to the inner side exactly where the value at its
/// centre is not negative. A centre on the line itself belongs to it where the side is a top or a left one, so that of
/// two triangles that share an edge exactly one takes the pixel. Values are the cross product of the side and the way
/// to the centre, less 1 where the line itself does not count, divided by 256 and rounded down: the step from one pixel
/// to the next is a multiple of 256, so that the sign is kept exactly.
struct EdgeFunction {
  std::int64_t atOrigin;  ///< At pixel (0, 0).
  std::int32_t stepX;     ///< From a pixel to its right neighbour.
  std::int32_t stepY;     ///< From a pixel to the one below.

  EdgeFunction(std::int32_t ax, std::int32_t ay, std::int32_t bx, std::int32_t by) noexcept {
    const std::int32_t dx = bx - ax;
    const std::int32_t dy = by - ay;
    const bool ownsLine = dy < 0 || (dy == 0 && dx > 0);
    const std::int64_t value = std::int64_t{dx} * (subpixelHalf - ay) - std::int64_t{dy} * (subpixelHalf - ax);
    atOrigin = (value - (ownsLine ? 0 : 1)) >> subpixelBits;
    stepX = -dy;
    stepY = dx;
  }

  std::int64_t at(std::int32_t x, std::int32_t y) const noexcept {
    return atOrigin + std::int64_t{stepX} * x + std::int64_t{stepY} * y;
  }

  /// The value at the origin, limited so that no step inside of a tile from there overflows and no sign changes.
  std::int32_t limitedAtOrigin() const noexcept {
    constexpr std::int64_t limit = std::int64_t{1} << 30;
    return static_cast<std::int32_t>(std::clamp(atOrigin, -limit, limit));
  }

  /// Whether no pixel of the box can be on the inner side.
  bool excludes(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height) const noexcept {
    return at(x, y) + std::max<std::int64_t>(0, std::int64_t{stepX} * (width - 1)) +
               std::max<std::int64_t>(0, std::int64_t{stepY} * (height - 1)) <
           0;
  }

  /// Whether all pixels of the box are on the inner side.
  bool includes(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height) const noexcept {
    return at(x, y) + std::min<std::int64_t>(0, std::int64_t{stepX} * (width - 1)) +
               std::min<std::int64_t>(0, std::int64_t{stepY} * (height - 1)) >=
           0;
  }
};

}  // namespace ornolith::raster
