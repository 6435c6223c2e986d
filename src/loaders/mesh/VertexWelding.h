#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "foundation/LargeVector.h"

namespace ornolith {

/// Which of some corners are one vertex.
struct WeldedCorners {
  LargeVector<std::uint32_t> vertices;      ///< For each corner its vertex. Vertices are numbered as they first occur.
  LargeVector<std::uint32_t> firstCorners;  ///< For each vertex the first corner that is it.
};

/// The most corners that can be welded.
inline constexpr std::size_t mostWeldedCorners = 0x7FFFFFFF;

/// Corners with three 32-bit floats each, in the machine's byte order, packed at any address.
struct PackedCorners {
  std::span<const std::byte> bytes;
};

/// The corners of facets of 50 bytes, as binary STL files have them: a normal, three corners and a word of 16 bits.
/// Where `wordCounts`, the corners of facets whose words differ are different.
struct FacetCorners {
  std::span<const std::byte> bytes;
  bool wordCounts = false;
};

/// Makes one vertex of all corners at one place: those whose coordinates have the same bits, but for the sign of zero.
/// It takes time in proportion to the corners, on all threads, and no memory besides the result but a table of at most
/// 32 bytes a vertex. Needs no more than `mostWeldedCorners` corners. The result does not depend on the threads.
WeldedCorners weldedCorners(const PackedCorners& corners);
WeldedCorners weldedCorners(const FacetCorners& corners);

/// Numbers things as they first occur. `corners` holds for each corner the first corner with the same thing, and then
/// the thing's number; the first corner of each number is given. No more than `mostWeldedCorners` corners.
LargeVector<std::uint32_t> numberedByFirstCorners(std::span<std::uint32_t> corners);

}  // namespace ornolith
