#pragma once

#include <cstdint>
#include <functional>

#include "raster/PreparedFrame.h"
#include "raster/RecordList.h"
#include "raster/TileGrid.h"

namespace ornolith::raster {

/// Triangles of one item whose vertices were transformed ahead.
struct TriangleRun {
  const std::uint32_t* indices;  ///< Of the item, three a triangle.
  const ScreenVertex* vertices;  ///< That of index i stands at `vertices[i - firstVertex]`.
  std::uint32_t firstVertex;
  std::uint32_t first;  ///< The triangles from `first` up to `end`.
  std::uint32_t end;
  std::uint32_t item;
  bool drawsPositive;  ///< Triangles of positive orientation on the screen (clockwise to the eye) are wanted.
  bool drawsNegative;
  bool isPositiveBack;  ///< The positive ones are back faces.
  const TileGrid& grid;
};

/// Appends the records of those triangles that are wanted and may cover a pixel; of small ones, only those that do.
/// Triangles with a corner that is not regular are handed to `addPlain`, with some of their neighbours, which appends
/// to the same list, so that the records come in order. False, with nothing done, where the processor has no vectors
/// for it.
bool setUpTriangles(const TriangleRun& run, const std::function<void(std::uint32_t triangle)>& addPlain,
                    RecordList& records);

}  // namespace ornolith::raster
