#pragma once

#include <cstddef>
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

/// What a triangle's record holds.
enum class TriangleForm : std::uint8_t {
  corners,  ///< Corners and their depths; the triangle may touch many tiles.
  placed,   ///< Corners, and the plane of depths over the only tile that the triangle can touch.
  mask,     ///< The pixels themselves, which lie in one tile, and the plane of depths over that.
};

/// The sides of the block of pixels that a record of the form `mask` has bits for.
inline constexpr std::int32_t maskSide = 8;

/// A primitive, or a piece that clipping left of one, ready to be rasterised. Shading goes back to the draw item's own
/// corners, so that a piece needs nothing but its outline.
struct PrimitiveRecord {
  /// Triangle: corners in positive orientation (y down). Line: two ends. Point: centre, radius. `mask`: x[0] and y[0]
  /// are the first pixel of a block, x[1] and x[2] hold a bit for each pixel of its upper and lower four rows, eight to
  /// a row from the lowest bit, y[1] is how many rows and y[2] how many columns are in use.
  std::int32_t x[3];
  std::int32_t y[3];
  /// Depth at the corners; a plane is the depth at the tile's first pixel, and its change from pixel to pixel to the
  /// right and downwards.
  float depth[3];
  std::uint32_t primitive;  ///< Number of the triangle, line or point within its draw item.
  std::uint32_t item;       ///< Number of the prepared item.
  PrimitiveKind kind;
  std::uint8_t edge;  ///< Of a triangle drawn as lines: the edge from corner `edge` to the next.
  bool isBackFacing : 1;
  bool isTriangleEdge : 1;
  TriangleForm form;
};

// The vector code of the triangles' set-up writes the first eleven fields as blocks of 16 bytes.
static_assert(sizeof(PrimitiveRecord) == 48 && offsetof(PrimitiveRecord, item) == 40);

/// The first and last pixel whose centre is at or after `low` and before or at `high`.
inline std::int32_t firstPixel(std::int32_t low) noexcept {
  return (low + subpixelHalf - 1) >> subpixelBits;
}
inline std::int32_t lastPixel(std::int32_t high) noexcept {
  return (high - subpixelHalf) >> subpixelBits;
}

}  // namespace ornolith::raster
