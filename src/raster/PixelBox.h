#pragma once

#include <algorithm>
#include <cstdint>

#include "raster/PrimitiveRecord.h"
#include "raster/TileGrid.h"

namespace ornolith::raster {

/// Inclusive ranges of pixels or tiles; empty where an end is before its beginning.
struct Box {
  std::int32_t left, top, right, bottom;
  bool isEmpty() const noexcept { return left > right || top > bottom; }
};

/// The pixels of the image that a record (not one of the form `spans`) can cover.
inline Box pixelBox(const PrimitiveRecord& record, const TileGrid& grid) noexcept {
  const std::int32_t(&x)[3] = record.outline.x;
  const std::int32_t(&y)[3] = record.outline.y;
  Box box{};
  if (record.kind == PrimitiveKind::point) {
    const std::int32_t radius = x[1];
    box = {(x[0] - radius) >> subpixelBits, (y[0] - radius) >> subpixelBits, (x[0] + radius) >> subpixelBits,
           (y[0] + radius) >> subpixelBits};
  } else if (record.kind == PrimitiveKind::line) {
    box = {std::min(x[0], x[1]) >> subpixelBits, std::min(y[0], y[1]) >> subpixelBits,
           std::max(x[0], x[1]) >> subpixelBits, std::max(y[0], y[1]) >> subpixelBits};
  } else {
    box = {firstPixel(std::min({x[0], x[1], x[2]})), firstPixel(std::min({y[0], y[1], y[2]})),
           lastPixel(std::max({x[0], x[1], x[2]})), lastPixel(std::max({y[0], y[1], y[2]}))};
  }
  return {std::max(box.left, 0), std::max(box.top, 0), std::min(box.right, grid.width - 1),
          std::min(box.bottom, grid.height - 1)};
}

/// The tiles of a box of pixels.
inline Box tileBox(const Box& pixels) noexcept {
  return {pixels.left / tileSide, pixels.top / tileSide, pixels.right / tileSide, pixels.bottom / tileSide};
}

}  // namespace ornolith::raster
