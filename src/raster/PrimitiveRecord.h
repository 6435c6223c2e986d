#pragma once

#include <cstdint>

namespace ornolith::raster {

/// Screen coordinates have 8 bits below the pixel; the centre of pixel (i, j) is (256 i + 128, 256 j + 128).
inline constexpr int subpixelBits = 8;
inline constexpr std::int32_t subpixelOne = 1 << subpixelBits;
inline constexpr std::int32_t subpixelHalf = subpixelOne / 2;

/// Vertices farther than this from the image's centre, in pixels, are clipped away. Differences of coordinates then
/// stay below 2^23, so that a row of edge functions over one tile fits 32 bits.
inline constexpr double guardBand = 16000;

/// The largest side of an image, for which the guard band reaches well beyond the image.
inline constexpr std::uint32_t maximumSide = 16384;

enum class PrimitiveKind : std::uint8_t { triangle, line, point };

/// A primitive, or a piece that clipping left of one, ready to be rasterised. Shading goes back to the draw item's own
/// corners, so that a piece needs nothing but its outline.
struct PrimitiveRecord {
  std::int32_t x[3];  ///< Triangle: corners in positive orientation (y down). Line: two ends. Point: centre, radius.
  std::int32_t y[3];
  float depth[3];
  std::uint32_t primitive;  ///< Number of the triangle, line or point within its draw item.
  std::uint32_t item;       ///< Number of the prepared item.
  PrimitiveKind kind;
  std::uint8_t edge;  ///< Of a triangle drawn as lines: the edge from corner `edge` to the next.
  bool isBackFacing;
  bool isTriangleEdge;
};

/// The first and last pixel whose centre is at or after `low` and before or at `high`.
inline std::int32_t firstPixel(std::int32_t low) noexcept {
  return (low + subpixelHalf - 1) >> subpixelBits;
}
inline std::int32_t lastPixel(std::int32_t high) noexcept {
  return (high - subpixelHalf) >> subpixelBits;
}

}  // namespace ornolith::raster
