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
  spans,    ///< The pixels of one tile row by row, and the plane of depths over that.
};

/// The corners of a triangle in positive orientation (y down), the two ends of a line, or the centre and, in `x[1]`,
/// the radius of a point.
struct Outline {
  std::int32_t x[3];
  std::int32_t y[3];
};

/// Neighbouring pixels of one row of a tile.
struct RowSpan {
  std::uint8_t first;  ///< Below the tile's width.
  std::uint8_t count;
};

/// How many rows a record of the form `spans` has room for.
inline constexpr std::int32_t mostSpanRows = 16;

/// A primitive, or a piece of one (that clipping left, or that lies in one tile), ready to be rasterised. Shading goes
/// back to the draw item's own corners, so that a piece needs nothing but its outline or its pixels.
struct alignas(64) PrimitiveRecord {
  union {
    Outline outline;
    RowSpan rows[mostSpanRows];  ///< In a triangle of the form `spans`.
  };
  /// Depth at the corners; a plane is the depth at the tile's first pixel, and its change from pixel to pixel to the
  /// right and downwards.
  float depth[3];
  std::uint32_t primitive;  ///< Number of the triangle, line or point within its draw item.
  std::uint32_t item;       ///< Number of the prepared item.
  PrimitiveKind kind;
  std::uint8_t edge;  ///< Of a triangle drawn as lines: the edge from corner `edge` to the next.
  bool isBackFacing;
  bool isTriangleEdge;
  TriangleForm form;
  std::uint8_t firstRow;  ///< Of the tile, that `rows` begins with.
  std::uint8_t rowCount;
};

// A line of the cache. The vector code of the triangles' set-up writes it as blocks of 16 bytes.
static_assert(sizeof(PrimitiveRecord) == 64 && offsetof(PrimitiveRecord, depth) == 32 &&
              offsetof(PrimitiveRecord, item) == 48 && offsetof(PrimitiveRecord, form) == 56);

/// The first and last pixel whose centre is at or after `low` and before or at `high`.
inline std::int32_t firstPixel(std::int32_t low) noexcept {
  return (low + subpixelHalf - 1) >> subpixelBits;
}
inline std::int32_t lastPixel(std::int32_t high) noexcept {
  return (high - subpixelHalf) >> subpixelBits;
}

}  // namespace ornolith::raster
