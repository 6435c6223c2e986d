#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "raster/PreparedFrame.h"
#include "raster/RecordList.h"
#include "raster/TileBins.h"

namespace ornolith::raster {

enum class FaceFilter : std::uint8_t { all, backOnly, frontOnly };

/// A run of primitives of one item.
struct PrimitiveSegment {
  std::uint32_t item;
  std::uint32_t first;
  std::uint32_t end;
  FaceFilter faces;
};

/// A stretch of the frame's primitives in drawing order: their records, and for each tile the records that can touch
/// it, in that order. Chunks are independent of each other, and where one ends and the next begins does not show.
class PrimitiveChunk {
 public:
  void clear() noexcept { segments_.clear(); }
  void addSegment(const PrimitiveSegment& segment) { segments_.push_back(segment); }

  /// Clips, culls and bins the primitives of the segments.
  void build(const PreparedFrame& frame, const Projection& projection, const TileGrid& grid);

  /// The records that may touch the tile, by their numbers in `records`, in drawing order; valid until `scratch`
  /// changes.
  std::span<const std::uint32_t> recordsOf(std::size_t tile, std::vector<std::uint32_t>& scratch) const {
    return bins_.recordsOf(tile, scratch);
  }
  const PrimitiveRecord* records() const noexcept { return records_.data(); }

 private:
  std::vector<PrimitiveSegment> segments_;
  RecordList records_;
  TileBins bins_;
};

}  // namespace ornolith::raster
