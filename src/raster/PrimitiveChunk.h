#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "raster/PreparedFrame.h"
#include "raster/PrimitiveRecord.h"
#include "raster/TileGrid.h"

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

  /// Calls `visit(record)` in drawing order with every record that may touch the tile.
  template <typename Visit>
  void forEachRecordOfTile(std::size_t tile, const Visit& visit) const {
    std::size_t wide = 0;
    for (std::size_t entry = binOffsets_[tile]; entry < binOffsets_[tile + 1]; ++entry) {
      for (; wide < wideRecords_.size() && wideRecords_[wide] < binEntries_[entry]; ++wide) {
        visit(records_[wideRecords_[wide]]);
      }
      visit(records_[binEntries_[entry]]);
    }
    for (; wide < wideRecords_.size(); ++wide) visit(records_[wideRecords_[wide]]);
  }

 private:
  void bin(const TileGrid& grid);

  std::vector<PrimitiveSegment> segments_;
  std::vector<PrimitiveRecord> records_;
  std::vector<std::uint32_t> binOffsets_;
  std::vector<std::uint32_t> binEntries_;
  std::vector<std::uint32_t> wideRecords_;  ///< Records whose box spans so many tiles that every tile looks at them.
};

}  // namespace ornolith::raster
