#pragma once

#include <algorithm>
#include <cstdint>
#include <span>

namespace ornolith {

/// The vertices of a mesh and the places where they stand: a place is named by the first vertex there.
struct MeshPlaces {
  std::span<const float> positions;  ///< Three components for each vertex.
  /// How far before each vertex the first one at its place stands; empty where all differ.
  std::span<const std::uint32_t> stepsToFirst;

  std::uint32_t placeOf(std::uint32_t vertex) const noexcept {
    return stepsToFirst.empty() ? vertex : vertex - stepsToFirst[vertex];
  }
};

/// Some places in a row.
struct PlaceRange {
  std::uint32_t first = 0;
  std::uint32_t count = 0;

  /// The place's number in the range; `count` for all that lie outside.
  std::uint32_t numberOf(std::uint32_t place) const noexcept { return std::min(place - first, count); }
};

}  // namespace ornolith
