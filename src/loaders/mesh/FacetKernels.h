#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace ornolith {

/// The vertices of a mesh and the places where they stand: a place is named by the first vertex there.
struct MeshPlaces {
  std::span<const float> positions;           ///< Three components for each vertex.
  std::span<const std::uint32_t> firstThere;  ///< For each vertex the first one at its place; empty where all differ.

  std::uint32_t placeOf(std::uint32_t vertex) const noexcept {
    return firstThere.empty() ? vertex : firstThere[vertex];
  }
};

/// Some places in a row.
struct PlaceRange {
  std::uint32_t first = 0;
  std::uint32_t count = 0;

  /// The place's number in the range; `count` for all that lie outside.
  std::uint32_t numberOf(std::uint32_t place) const noexcept { return std::min(place - first, count); }
};

/// What the facets at one place add up to. All zero where there is none yet.
struct alignas(64) PlaceSum {
  std::array<double, 4> normal{};  ///< Of the facets' normals, weighted; the fourth component means nothing.
  /// Of their unit normals; the fourth counts the facets, those without an area twice, so that no place with one passes
  /// for smooth.
  std::array<float, 4> directions{};
};

/// How a mesh uses a vertex, kept where several may stand at one place.
namespace vertex_use {
inline constexpr std::uint8_t none = 0;
inline constexpr std::uint8_t inTriangle = 1;  ///< Has the normal of the first vertex at its place.
inline constexpr std::uint8_t withOwnNormal = 2;
}  // namespace vertex_use

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

/// Adds the facets of `triangles`, in their order, to the sums of those corners that lie in the range. There is one sum
/// more than places, for what lies outside. Marks the vertices of these corners in `used` (`vertex_use`), which is
/// empty where all vertices stand apart.
void addFacets(const MeshPlaces& places, std::span<const std::uint32_t> triangles, const PlaceRange& range,
               std::span<PlaceSum> sums, std::span<std::uint8_t> used);

/// Which places have one normal for all their facets: those without a crease, or all.
enum class Smoothness { byAngle, everywhere };

/// Writes the unit normals of `sums`, three components each, and gives the numbers of those sums that may not have one:
/// those of no facet, and unless smooth `everywhere` all but those whose facets are found to lie within 60 degrees of
/// each other: n unit vectors of which two lie more than 60 degrees apart add up to less than n - 2 (1 - cos 30).
/// `others` has room for all.
std::size_t finishNormals(std::span<const PlaceSum> sums, Smoothness smoothness, float* normals, std::uint32_t* others);

}  // namespace ornolith
