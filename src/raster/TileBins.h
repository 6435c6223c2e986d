#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "raster/RecordList.h"
#include "raster/TileGrid.h"

namespace ornolith::raster {

/// For each tile, the records of a list that can touch it. Tiles are grouped four by four, the groups again four by
/// four, and so on; a record that covers a whole group is noted once there. The memory that a record takes is thus in
/// proportion to the tiles along its outline, and limited on the average; few tiles look at records that keep clear of
/// them.
class TileBins {
 public:
  void build(const RecordList& records, const TileGrid& grid);

  /// Numbers of records, ascending; valid until `scratch` changes or the bins are built anew.
  std::span<const std::uint32_t> recordsOf(std::size_t tile, std::vector<std::uint32_t>& scratch) const;

 private:
  static constexpr std::size_t maximumLevels = 5;

  /// The groups of one size, row by row; level 0 are the tiles.
  struct Level {
    std::int32_t columns = 0;
    std::uint32_t firstBin = 0;
  };
  struct Entry {
    std::uint32_t bin;
    std::uint32_t record;
  };
  class Placement;

  void layOut(const TileGrid& grid);
  std::span<const std::uint32_t> bin(std::size_t number) const noexcept {
    return std::span(entries_).subspan(offsets_[number], offsets_[number + 1] - offsets_[number]);
  }

  std::array<Level, maximumLevels> levels_;
  std::size_t levelCount_ = 0;
  bool usesGroups_ = false;  ///< Some record is noted at a level above 0.
  std::vector<std::uint32_t> offsets_;
  std::vector<std::uint32_t> entries_;
  std::vector<Entry> placed_;  ///< Of records that may touch several tiles, in order of records.
};

}  // namespace ornolith::raster
