#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "raster/Coverage.h"
#include "raster/FragmentBatch.h"
#include "raster/PreparedFrame.h"
#include "raster/PrimitiveRecord.h"
#include "raster/TileGrid.h"

namespace ornolith::raster {

// The short way for surfaces of which shading wants the normal and nothing else: no textures, no vertex colours. Over a
// triangle, the normal times the reciprocal of the distance is affine on the screen. Shading takes a normal of any
// length, so that nothing has to be divided out again.

/// The normal of one triangle over one tile: at pixel (i, j) of the tile, `origin + perX * (i - column) + perY * (j -
/// row)`. The fourth elements are for the vectors.
struct NormalPlane {
  alignas(64) std::array<float, 4> origin;
  std::array<float, 4> perX, perY;
  float column, row;  ///< A pixel that is in the triangle or near it.
  float face;         ///< -1 for the back of a face, +1 otherwise.
  bool isSound;       ///< Otherwise nothing else is filled: a corner is not regular, or normals do not agree or have no
                      ///< direction.
};

/// Whether the triangles of the item can go that way.
bool takesNormalPlanes(const PreparedItem& item) noexcept;

/// Triangles of one item, for which `takesNormalPlanes` holds, over one tile.
struct PlaneSource {
  const PreparedFrame& frame;
  const PreparedItem& item;
  TileBounds tile;
  std::span<const PrimitiveRecord* const> records;
  std::span<const std::uint32_t> numbers;  ///< Which of the records.
};

/// Fills `planes[number]` for each of the numbers. The corners are taken where they are on the sub-pixel grid. The same
/// bits on every instruction set.
void setUpNormalPlanes(const PlaneSource& source, NormalPlane* planes) noexcept;

/// How the fragments of runs are made.
struct RunSource {
  const NormalPlane* planes;  ///< By the number of the primitive; null where there is no light and thus no normal.
  bool fillsFaces;            ///< Some may be back faces.
};

/// Appends the runs' pixels to the batch until that is full. How many runs are done with; of the next one, what has
/// been taken is taken away.
std::size_t appendRuns(const RunSource& source, std::span<PixelRun> runs, FragmentBatch& batch) noexcept;

}  // namespace ornolith::raster
