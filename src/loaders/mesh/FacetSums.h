#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "loaders/mesh/MeshPlaces.h"

namespace ornolith {

/// What the facets at one place add up to. All zero where there is none yet.
struct alignas(32) PlaceSum {
  /// Four of the facets' normals, weighted, of which the last means nothing; four of their unit normals, of which the
  /// last counts the facets.
  std::array<float, 8> values{};

  bool hasFacets() const noexcept { return values.back() > 0; }
};

/// `finishNormals` looks at whole groups of sums: behind the last one stand as many that are zero.
inline constexpr std::size_t sumsBehindTheLast = 8;

/// How a mesh uses a vertex, kept where several may stand at one place.
namespace vertex_use {
inline constexpr std::uint8_t none = 0;
inline constexpr std::uint8_t inTriangle = 1;  ///< Has the normal of the first vertex at its place.
inline constexpr std::uint8_t withOwnNormal = 2;
}  // namespace vertex_use

/// What is known of the corners of some triangles.
enum class CornersLie {
  inside,   ///< All stand apart from other vertices, lie in the range, and none is the mesh's last vertex.
  apart,    ///< All stand apart from other vertices.
  anywhere  ///< Nothing.
};

// The same bits come from every instruction set.

/// The lowest and the highest of some numbers, of which there is at least one.
struct NumberBounds {
  std::uint32_t lowest = 0;
  std::uint32_t highest = 0;
};
NumberBounds boundsOf(std::span<const std::uint32_t> numbers);

/// Adds the facets of `triangles`, in their order, to the sums of those corners that lie in the range; `sums` has one
/// more than places, for what lies outside. Marks the vertices of these corners in `used` (`vertex_use`) where corners
/// lie `anywhere`. It counts in floats: a facet for which these are too coarse or too small, one without an area among
/// them, adds so much to the count that its places do not pass for smooth.
void addFacets(const MeshPlaces& places, std::span<const std::uint32_t> triangles, CornersLie cornersLie,
               const PlaceRange& range, std::span<PlaceSum> sums, std::span<std::uint8_t> used);

/// Which places have one normal for all their facets: those without a crease, or all.
enum class Smoothness { byAngle, everywhere };

/// Writes the unit normals of `count` sums, three components each, and gives the numbers of those sums, from
/// `firstNumber`, that may not have one, or not one that floats can tell: those of no facet, and unless smooth
/// `everywhere` all but those whose facets are found to lie within 60 degrees of each other: n unit vectors of which
/// two lie more than 60 degrees apart add up to less than n - 2 (1 - cos 30). `others` has room for all. `sums` goes on
/// for `sumsBehindTheLast` behind the ones counted.
std::size_t finishNormals(const PlaceSum* sums, std::size_t count, Smoothness smoothness, float* normals,
                          std::uint32_t firstNumber, std::uint32_t* others);

}  // namespace ornolith
