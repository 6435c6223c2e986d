#pragma once

#include <array>
#include <cstddef>

namespace ornolith {

/// Facets of which a normal and the angles at the corners are wanted.
struct FacetBatch {
  static constexpr std::size_t capacity = 64;

  // What is given: the corners' positions, whose fourth component means nothing.
  alignas(64) std::array<std::array<std::array<float, 4>, capacity>, 3> corners{};

  // What is found. Where a facet has no area, or one that is no number, all is zero but the weight of its direction.
  /// Normals as long as twice the facet's area, and 1 over that length.
  alignas(64) std::array<std::array<double, 4>, capacity> areaNormals{};
  /// By corner and facet, within 4e-8.
  alignas(64) std::array<std::array<double, capacity>, 3> angles{};
  /// Normals of unit length, and as a weight 1, or 2 without an area.
  alignas(64) std::array<std::array<float, 4>, capacity> directions{};

  bool hasArea(std::size_t facet) const noexcept { return directions[facet][3] == 1; }
};

// The same bits come from every instruction set, and for a facet whatever its place in a batch.

/// Measures all facets of the batch.
void measureFacets(FacetBatch& batch);

}  // namespace ornolith
