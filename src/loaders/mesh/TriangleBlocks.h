#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "loaders/mesh/CoincidingVertices.h"
#include "loaders/mesh/FacetSums.h"
#include "loaders/mesh/MeshPlaces.h"

namespace ornolith {

/// Triangles one after the other, and which places their corners lie between: those that are themselves the first
/// vertices at their places, and the places of the others. Where there are none, the lowest is above the highest.
struct TriangleBlock {
  static constexpr NumberBounds nothing{.lowest = 0xFFFFFFFF, .highest = 0};

  std::size_t firstCorner = 0;
  std::size_t cornerCount = 0;
  NumberBounds firstVertices = nothing;
  NumberBounds placesOfOthers = nothing;
  bool standApart = true;  ///< None of the vertices stands at one place with others.
};

/// The triangles of a mesh in blocks, and its places in ranges that are worked on one at a time; which blocks have
/// corners in which ranges. The cuts depend on the mesh alone.
class TriangleBlocks {
 public:
  TriangleBlocks(const MeshPlaces& places, std::span<const std::uint32_t> triangles,
                 const CoincidingVertices& coinciding);

  const std::vector<PlaceRange>& ranges() const noexcept { return ranges_; }

  /// Calls `body(block)` for the blocks that may have corners in the range of that index, in their order.
  template <typename Body>
  void forEachOf(std::size_t range, const Body& body) const {
    for (std::size_t i = firstMeeting_[range]; i < firstMeeting_[range + 1]; ++i) body(blocks_[meetings_[i]]);
  }

  /// What is known of a block's corners.
  CornersLie cornersOf(const TriangleBlock& block, const PlaceRange& range) const noexcept {
    if (!block.standApart) return CornersLie::anywhere;
    const auto& [lowest, highest] = block.firstVertices;
    const bool areInside = lowest >= range.first && highest - range.first < range.count;
    return areInside && highest + std::size_t{1} < vertexCount_ ? CornersLie::inside : CornersLie::apart;
  }

 private:
  void makeBlocks(const MeshPlaces& places, std::span<const std::uint32_t> triangles,
                  const CoincidingVertices& coinciding);
  void makeRanges();
  void findMeetings();

  std::size_t vertexCount_;
  std::size_t placesOfARange_ = 0;
  std::vector<TriangleBlock> blocks_;
  std::vector<PlaceRange> ranges_;
  std::vector<std::size_t> firstMeeting_;  // Of each range, and behind the last one.
  std::vector<std::uint32_t> meetings_;    // The blocks of one range after the other.
};

}  // namespace ornolith
