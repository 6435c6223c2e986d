#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "raster/FragmentBatch.h"
#include "raster/PrimitiveRecord.h"
#include "raster/TileGrid.h"

namespace ornolith::raster {

inline constexpr std::uint32_t noPrimitive = 0xffffffff;

/// The nearest depth of each pixel of a tile (larger is nearer), and which primitive is seen there; behind the last
/// pixel there is what whole vectors touch.
struct VisibilityBuffer {
  alignas(64) std::array<float, tilePixels + laneReserve> depth;
  alignas(64) std::array<std::uint32_t, tilePixels + laneReserve> primitive;

  void clear(float farthestDepth) noexcept {
    depth.fill(farthestDepth);
    primitive.fill(noPrimitive);
  }
};

/// Room for the pixels of any tile, and for what whole vectors read and write behind them.
using PixelList = std::array<std::uint16_t, tilePixels + laneReserve>;

/// Pixels that one primitive covers.
struct FragmentList {
  std::uint32_t count = 0;
  PixelList pixel;
  std::array<float, tilePixels> depth;
};

struct DepthRules {
  bool reads =
      true;  ///< Fragments farther than what is there are dropped; an equal depth passes, so that the later wins.
  bool writes = true;
};

/// Triangles to be drawn into one tile one after the other: those of `records` that `entries` numbers.
struct TriangleSequence {
  const PrimitiveRecord* records;
  std::span<const std::uint32_t> entries;
  TileBounds tile;
  DepthRules rules;
};

/// Puts each triangle into the buffer at every pixel of the tile that it covers and the depth test lets through. The
/// first that is put anywhere is numbered `seenCount`, the next one `seenCount + 1`; each is noted in `seen` by its
/// number. The new count; `seen` must have room for all.
std::uint32_t drawTriangles(const TriangleSequence& triangles, VisibilityBuffer& buffer, const PrimitiveRecord** seen,
                            std::uint32_t seenCount) noexcept;

/// Neighbouring pixels of a row that show the same primitive.
struct PixelRun {
  std::uint32_t primitive;
  std::uint16_t first;  ///< Number of the pixel within the tile.
  std::uint16_t count;
};

/// Room for the runs of any tile.
using PixelRuns = std::array<PixelRun, tilePixels>;

/// The runs of the tile's pixels that show a primitive, row by row; how many there are. Adds the pixels of each
/// primitive to its count.
std::size_t findRuns(const VisibilityBuffer& buffer, const TileBounds& tile, PixelRuns& runs,
                     std::span<std::uint32_t> pixelCounts) noexcept;

/// Writes the pixels of the runs primitive by primitive: those of primitive k from `ends[k]` on, in the order of the
/// runs. Afterwards `ends[k]` is where they end.
void sortPixels(std::span<const PixelRun> runs, std::uint32_t* ends, PixelList& pixels) noexcept;

/// The pixels of the tile that a record of any kind covers and, where `readsDepth`, the depth test lets through. Each
/// pixel occurs once.
///
/// A line takes, in each column of its longer direction (or row) whose centre lies between its ends, the pixel that
/// holds its midpoint there; the end of smaller coordinate counts, the other does not, so that the way it runs makes no
/// difference and a chain of lines has neither gaps nor doubles. A point takes the pixels whose centres are within its
/// radius, and always the one that holds its centre.
void collectFragments(const PrimitiveRecord& record, const TileBounds& tile, bool readsDepth,
                      const VisibilityBuffer& buffer, FragmentList& fragments) noexcept;

}  // namespace ornolith::raster
