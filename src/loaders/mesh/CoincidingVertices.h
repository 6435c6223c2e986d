#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "loaders/mesh/LazyZeros.h"

namespace ornolith {

/// Which vertices of a mesh stand at one place with others: their coordinates have the same bits, but for the sign of
/// zero.
class CoincidingVertices {
 public:
  /// Vertices in a row of which is known whether any stands with others.
  static constexpr std::size_t verticesOfAPage = 64;

  /// None.
  CoincidingVertices() = default;
  /// `positions` has three components for each of no more than `mostWeldedCorners` vertices. Takes time in proportion
  /// to them, on all threads, and for the search five bytes a vertex; where more than some stand at one place 12 bytes
  /// a vertex. The result does not depend on the threads.
  explicit CoincidingVertices(std::span<const float> positions);

  bool areThere() const noexcept { return !concernedBefore_.empty(); }

  /// How far before each vertex the first one at its place stands; empty where all stand apart.
  std::span<const std::uint32_t> stepsToFirst() const noexcept { return stepsToFirst_.values(); }

  /// Whether some vertex of the page stands with others.
  bool areOn(std::size_t page) const noexcept {
    return areThere() && concernedBefore_[page] != concernedBefore_[page + 1];
  }
  /// True at least where one from `first` to `last` does.
  bool mayBeBetween(std::uint32_t first, std::uint32_t last) const noexcept {
    return areThere() && concernedBefore_[first / verticesOfAPage] != concernedBefore_[last / verticesOfAPage + 1];
  }

 private:
  LazyZeros<std::uint32_t> stepsToFirst_;
  std::vector<std::uint32_t> concernedBefore_;  // For each page, and behind the last one, how many before it are.
};

}  // namespace ornolith
