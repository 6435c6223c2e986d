#include "loaders/mesh/TriangleBlocks.h"

#include <algorithm>

#include "foundation/Parallel.h"

namespace ornolith {

namespace {

constexpr std::size_t cornersOfABlock = std::size_t{3} << 11;
constexpr std::size_t placesOfAnOrderedRange = std::size_t{1} << 15;  // A megabyte of sums.
// Triangles in no order meet every range, which each looks at all of them.
constexpr std::size_t rangesWithoutOrder = 2;

void include(std::uint32_t number, NumberBounds& bounds) noexcept {
  bounds.lowest = std::min(bounds.lowest, number);
  bounds.highest = std::max(bounds.highest, number);
}

/// Calls `body(range)` for the ranges of `size` places that the block may have corners in.
template <typename Body>
void forEachRangeOf(const TriangleBlock& block, std::size_t size, const Body& body) {
  const auto rangesOf = [&](const NumberBounds& bounds) {
    const std::size_t first = bounds.lowest / size;
    return std::pair(first, std::max(first, bounds.lowest <= bounds.highest ? bounds.highest / size + 1 : first));
  };
  const auto [first, end] = rangesOf(block.firstVertices);
  const auto [firstOfOthers, endOfOthers] = rangesOf(block.placesOfOthers);
  for (std::size_t range = first; range < end; ++range) body(range);
  for (std::size_t range = firstOfOthers; range < endOfOthers; ++range) {
    if (range < first || range >= end) body(range);
  }
}

}  // namespace

TriangleBlocks::TriangleBlocks(const MeshPlaces& places, std::span<const std::uint32_t> triangles,
                               const CoincidingVertices& coinciding)
    : vertexCount_(places.positions.size() / 3) {
  makeBlocks(places, triangles, coinciding);
  makeRanges();
  findMeetings();
}

void TriangleBlocks::makeBlocks(const MeshPlaces& places, std::span<const std::uint32_t> triangles,
                                const CoincidingVertices& coinciding) {
  blocks_.resize((triangles.size() + cornersOfABlock - 1) / cornersOfABlock);
  parallelFor(blocks_.size(), 16, [&](std::size_t i) {
    TriangleBlock& block = blocks_[i];
    block.firstCorner = i * cornersOfABlock;
    block.cornerCount = std::min(cornersOfABlock, triangles.size() - block.firstCorner);
    const auto vertices = triangles.subspan(block.firstCorner, block.cornerCount);
    block.firstVertices = boundsOf(vertices);
    block.standApart = !coinciding.mayBeBetween(block.firstVertices.lowest, block.firstVertices.highest);
    if (block.standApart) return;
    block.firstVertices = TriangleBlock::nothing;
    for (const std::uint32_t vertex : vertices) {
      const std::uint32_t place = places.placeOf(vertex);
      include(place, place == vertex ? block.firstVertices : block.placesOfOthers);
    }
  });
}

/// Small ranges where most blocks meet one or two of them, else few.
void TriangleBlocks::makeRanges() {
  std::size_t meetingCount = 0;
  for (const TriangleBlock& block : blocks_) {
    forEachRangeOf(block, placesOfAnOrderedRange, [&](std::size_t /*range*/) { ++meetingCount; });
  }
  const std::size_t rangeCount = (vertexCount_ + placesOfAnOrderedRange - 1) / placesOfAnOrderedRange;
  const bool hasOrder = meetingCount <= blocks_.size() * 2 + rangeCount;
  // Ranges begin where ranges do that are as small as can be.
  const std::size_t rangesOfAPart = (rangeCount + rangesWithoutOrder - 1) / rangesWithoutOrder;
  placesOfARange_ = hasOrder ? placesOfAnOrderedRange : rangesOfAPart * placesOfAnOrderedRange;
  for (std::size_t first = 0; first < vertexCount_; first += placesOfARange_) {
    const std::size_t count = std::min(placesOfARange_, vertexCount_ - first);
    ranges_.push_back({static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(count)});
  }
}

void TriangleBlocks::findMeetings() {
  firstMeeting_.assign(ranges_.size() + 1, 0);
  for (const TriangleBlock& block : blocks_) {
    forEachRangeOf(block, placesOfARange_, [&](std::size_t range) { ++firstMeeting_[range + 1]; });
  }
  for (std::size_t range = 1; range < firstMeeting_.size(); ++range) firstMeeting_[range] += firstMeeting_[range - 1];
  meetings_.resize(firstMeeting_.back());
  std::vector<std::size_t> next(firstMeeting_.begin(), firstMeeting_.end());
  for (std::size_t i = 0; i < blocks_.size(); ++i) {
    forEachRangeOf(blocks_[i], placesOfARange_,
                   [&](std::size_t range) { meetings_[next[range]++] = static_cast<std::uint32_t>(i); });
  }
}

}  // namespace ornolith
