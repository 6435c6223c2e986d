#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace ornolith::raster {

inline constexpr std::int32_t tileSide = 64;
inline constexpr std::size_t tilePixels = std::size_t{tileSide} * tileSide;

/// Pixels of a tile are numbered row by row, 64 to a row, whatever the tile's own width.
constexpr std::uint32_t pixelIndex(std::int32_t x, std::int32_t y) noexcept {
  return static_cast<std::uint32_t>(y) * tileSide + static_cast<std::uint32_t>(x);
}
constexpr std::int32_t pixelColumn(std::uint16_t pixel) noexcept {
  return pixel % tileSide;
}
constexpr std::int32_t pixelRow(std::uint16_t pixel) noexcept {
  return pixel / tileSide;
}

/// The pixels of one tile; those at the right and lower border may be smaller than 64 by 64.
struct TileBounds {
  std::int32_t x;
  std::int32_t y;
  std::int32_t width;
  std::int32_t height;
};

/// An image cut into tiles, row by row.
struct TileGrid {
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::int32_t columns = 0;
  std::int32_t rows = 0;

  TileGrid(std::uint32_t imageWidth, std::uint32_t imageHeight)
      : width(static_cast<std::int32_t>(imageWidth)),
        height(static_cast<std::int32_t>(imageHeight)),
        columns((width + tileSide - 1) / tileSide),
        rows((height + tileSide - 1) / tileSide) {}

  std::size_t tileCount() const noexcept { return static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows); }
  std::size_t tileIndex(std::int32_t column, std::int32_t row) const noexcept {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) + static_cast<std::size_t>(column);
  }
  TileBounds bounds(std::size_t tile) const noexcept {
    const std::int32_t x = static_cast<std::int32_t>(tile % static_cast<std::size_t>(columns)) * tileSide;
    const std::int32_t y = static_cast<std::int32_t>(tile / static_cast<std::size_t>(columns)) * tileSide;
    return {x, y, std::min(tileSide, width - x), std::min(tileSide, height - y)};
  }
};

}  // namespace ornolith::raster
