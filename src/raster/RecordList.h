#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <span>

#include "raster/PrimitiveRecord.h"

namespace ornolith::raster {

/// Stands for the tile of a record that may touch more than one.
inline constexpr std::uint32_t severalTiles = 0xffffffff;

/// Records in drawing order, each with the tile it lies in. The memory is kept from one use to the next, and room can
/// be taken without clearing it.
class RecordList {
 public:
  void clear() noexcept { size_ = 0; }
  std::size_t size() const noexcept { return size_; }
  const PrimitiveRecord& operator[](std::size_t index) const noexcept { return records_[index]; }
  const PrimitiveRecord* data() const noexcept { return records_.get(); }
  std::span<const std::uint32_t> tiles() const noexcept { return {tiles_.get(), size_}; }

  /// Makes room for `count` more records behind the last.
  void reserveMore(std::size_t count) {
    if (capacity_ - size_ < count) grow(count);
  }
  /// Appends; there must be room.
  void append(const PrimitiveRecord& record, std::uint32_t tile) noexcept {
    records_[size_] = record;
    tiles_[size_++] = tile;
  }
  /// The place of the next record and its tile, for who fills them before calling `appended`.
  PrimitiveRecord& nextRecord() noexcept { return records_[size_]; }
  std::uint32_t& nextTile() noexcept { return tiles_[size_]; }
  void appended() noexcept { ++size_; }

 private:
  void grow(std::size_t count) {
    const std::size_t capacity = std::max(size_ + count, capacity_ + capacity_ / 2);
    auto records = std::make_unique_for_overwrite<PrimitiveRecord[]>(capacity);
    auto tiles = std::make_unique_for_overwrite<std::uint32_t[]>(capacity);
    if (size_ > 0) {
      std::memcpy(records.get(), records_.get(), size_ * sizeof(PrimitiveRecord));
      std::memcpy(tiles.get(), tiles_.get(), size_ * sizeof(std::uint32_t));
    }
    records_ = std::move(records);
    tiles_ = std::move(tiles);
    capacity_ = capacity;
  }

  std::unique_ptr<PrimitiveRecord[]> records_;
  std::unique_ptr<std::uint32_t[]> tiles_;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace ornolith::raster
