#include "raster/TileBins.h"

#include <algorithm>
#include <cstdlib>

#include "raster/EdgeFunction.h"
#include "raster/PixelBox.h"

namespace ornolith::raster {
namespace {

/// How many groups a group has along its side, as a power of two.
constexpr int groupShift = 2;

/// A square of pixels, as large as a group of tiles.
struct Square {
  std::int32_t x, y, side;
};

enum class Contact : std::uint8_t { none, part, whole };

Contact contactOfTriangle(const EdgeFunction (&edges)[3], const Square& square) noexcept {
  Contact contact = Contact::whole;
  for (const EdgeFunction& edge : edges) {
    if (edge.excludes(square.x, square.y, square.side, square.side)) return Contact::none;
    if (!edge.includes(square.x, square.y, square.side, square.side)) contact = Contact::part;
  }
  return contact;
}

/// A line keeps clear where the centre is farther from it than any corner can be.
Contact contactOfLine(const PrimitiveRecord& record, const Square& square) noexcept {
  const std::int64_t dx = record.outline.x[1] - record.outline.x[0];
  const std::int64_t dy = record.outline.y[1] - record.outline.y[0];
  const std::int64_t centerX = std::int64_t{square.x + square.side / 2} * subpixelOne;
  const std::int64_t centerY = std::int64_t{square.y + square.side / 2} * subpixelOne;
  const std::int64_t value = dx * (centerY - record.outline.y[0]) - dy * (centerX - record.outline.x[0]);
  const bool isClear = std::abs(value) > (std::abs(dx) + std::abs(dy)) * (square.side / 2 + 1) * subpixelOne;
  return isClear ? Contact::none : Contact::part;
}

Contact contactOfPoint(const PrimitiveRecord& record, const Square& square) noexcept {
  // One pixel more than the radius on the way out, since a point always covers its own pixel.
  const std::int64_t radius = record.outline.x[1], reach = radius + subpixelOne;
  const auto distances = [&](std::int32_t center, std::int32_t first) {
    const std::int64_t low = std::int64_t{first} * subpixelOne - center;
    const std::int64_t high = low + std::int64_t{square.side} * subpixelOne;
    const std::int64_t nearest = low > 0 ? low : high < 0 ? -high : 0;
    return std::pair{nearest, std::max(std::abs(low), std::abs(high))};
  };
  const auto [nearX, farX] = distances(record.outline.x[0], square.x);
  const auto [nearY, farY] = distances(record.outline.y[0], square.y);
  if (nearX * nearX + nearY * nearY > reach * reach) return Contact::none;
  return farX * farX + farY * farY <= radius * radius ? Contact::whole : Contact::part;
}

}  // namespace

/// Finds the groups that one record is noted at.
class TileBins::Placement {
 public:
  Placement(TileBins& bins, const PrimitiveRecord& record, std::uint32_t number, const TileGrid& grid)
      : bins_(bins),
        record_(record),
        number_(number),
        edges_{{record.outline.x[0], record.outline.y[0], record.outline.x[1], record.outline.y[1]},
               {record.outline.x[1], record.outline.y[1], record.outline.x[2], record.outline.y[2]},
               {record.outline.x[2], record.outline.y[2], record.outline.x[0], record.outline.y[0]}},
        tiles_(tileBox(pixelBox(record, grid))),
        finestLevel_(bins.placed_.size() > fewEntries + std::size_t{entriesPerRecord} * number ? 1 : 0) {}

  void place() {
    // The level at which the record's box is a handful of groups.
    std::size_t level = 0;
    while (level + 1 < bins_.levelCount_ && groupsOfBox(level) > mostGroups) ++level;
    const Box groups = boxAt(level);
    visit(level, groups);
  }

 private:
  static constexpr std::int64_t mostGroups = 16;
  /// Where records take more entries than that on the average (a great many slivers across a large picture), the
  /// further ones are noted at groups alone, so that memory stays in proportion to the records.
  static constexpr std::size_t fewEntries = 16384;
  static constexpr std::size_t entriesPerRecord = 24;

  Box boxAt(std::size_t level) const {
    const int shift = groupShift * static_cast<int>(level);
    return {tiles_.left >> shift, tiles_.top >> shift, tiles_.right >> shift, tiles_.bottom >> shift};
  }
  std::int64_t groupsOfBox(std::size_t level) const {
    const Box box = boxAt(level);
    return std::int64_t{box.right - box.left + 1} * (box.bottom - box.top + 1);
  }

  Contact contact(const Square& square) const {
    switch (record_.kind) {
      case PrimitiveKind::triangle:
        return contactOfTriangle(edges_, square);
      case PrimitiveKind::line:
        return contactOfLine(record_, square);
      case PrimitiveKind::point:
        return contactOfPoint(record_, square);
    }
    return Contact::part;
  }

  /// The depth of this recursion is the number of levels.
  void visit(std::size_t level, const Box& groups) {
    const std::int32_t side = tileSide << (groupShift * static_cast<int>(level));
    for (std::int32_t row = groups.top; row <= groups.bottom; ++row) {
      for (std::int32_t column = groups.left; column <= groups.right; ++column) {
        const Contact found = contact({column * side, row * side, side});
        if (found == Contact::none) continue;
        if (found == Contact::whole || level <= finestLevel_) {
          note(level, column, row);
        } else {
          const Box inner = boxAt(level - 1);
          const std::int32_t left = column << groupShift, top = row << groupShift;
          constexpr std::int32_t last = (1 << groupShift) - 1;
          visit(level - 1, {std::max(left, inner.left), std::max(top, inner.top), std::min(left + last, inner.right),
                            std::min(top + last, inner.bottom)});
        }
      }
    }
  }

  void note(std::size_t level, std::int32_t column, std::int32_t row) {
    const Level& l = bins_.levels_[level];
    const std::uint32_t bin = l.firstBin + static_cast<std::uint32_t>(row) * static_cast<std::uint32_t>(l.columns) +
                              static_cast<std::uint32_t>(column);
    bins_.placed_.push_back({bin, number_});
    bins_.usesGroups_ = bins_.usesGroups_ || level > 0;
  }

  TileBins& bins_;
  const PrimitiveRecord& record_;
  std::uint32_t number_;
  EdgeFunction edges_[3];
  Box tiles_;
  std::size_t finestLevel_;
};

void TileBins::layOut(const TileGrid& grid) {
  std::int32_t columns = grid.columns, rows = grid.rows;
  std::uint32_t bins = 0;
  levelCount_ = 0;
  while (levelCount_ < maximumLevels) {
    levels_[levelCount_++] = {columns, bins};
    bins += static_cast<std::uint32_t>(columns) * static_cast<std::uint32_t>(rows);
    if (columns <= 1 && rows <= 1) break;
    constexpr std::int32_t last = (1 << groupShift) - 1;
    columns = (columns + last) >> groupShift;
    rows = (rows + last) >> groupShift;
  }
  offsets_.assign(std::size_t{bins} + 2, 0);
}

void TileBins::build(const RecordList& records, const TileGrid& grid) {
  // Count, turn counts into the beginnings of runs, then fill; records come in order, so that each run is in order too.
  layOut(grid);
  placed_.clear();
  usesGroups_ = false;
  const std::span<const std::uint32_t> tiles = records.tiles();
  for (std::uint32_t number = 0; number < tiles.size(); ++number) {
    if (tiles[number] != severalTiles) {
      ++offsets_[tiles[number] + 2];
    } else {
      const std::size_t before = placed_.size();
      Placement(*this, records[number], number, grid).place();
      for (std::size_t i = before; i < placed_.size(); ++i) ++offsets_[placed_[i].bin + 2];
    }
  }
  for (std::size_t i = 2; i < offsets_.size(); ++i) offsets_[i] += offsets_[i - 1];
  entries_.resize(offsets_.back());
  auto placed = placed_.begin();
  for (std::uint32_t number = 0; number < tiles.size(); ++number) {
    if (tiles[number] != severalTiles) {
      entries_[offsets_[tiles[number] + 1]++] = number;
    } else {
      for (; placed != placed_.end() && placed->record == number; ++placed) {
        entries_[offsets_[placed->bin + 1]++] = number;
      }
    }
  }
}

std::span<const std::uint32_t> TileBins::recordsOf(std::size_t tile, std::vector<std::uint32_t>& scratch) const {
  if (!usesGroups_) return bin(tile);
  const auto columns = static_cast<std::size_t>(levels_[0].columns);
  std::size_t column = tile % columns, row = tile / columns;
  scratch.clear();
  for (std::size_t level = 0; level < levelCount_; ++level) {
    const Level& l = levels_[level];
    const std::span<const std::uint32_t> found = bin(l.firstBin + row * static_cast<std::size_t>(l.columns) + column);
    const auto middle = static_cast<std::ptrdiff_t>(scratch.size());
    scratch.insert(scratch.end(), found.begin(), found.end());
    if (!found.empty() && middle > 0) std::inplace_merge(scratch.begin(), scratch.begin() + middle, scratch.end());
    column >>= groupShift;
    row >>= groupShift;
  }
  return scratch;
}

}  // namespace ornolith::raster
