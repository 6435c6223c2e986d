#pragma once

#include <cstddef>
#include <cstdint>

#include "loaders/mesh/PLYRows.h"

namespace ornolith {

/// The bytes of a triangle's row: one that counts three, and three indices of 32 bits.
inline constexpr std::size_t plyTriangleRowSize = 1 + 3 * sizeof(std::uint32_t);

/// Copies the corners of `count` rows, to each of which three belong, where all are triangles' rows and all indices are
/// below `vertexCount`; else the corners mean nothing, and it says false.
bool copyPLYTriangleRows(const std::byte* rows, std::size_t count, PLYByteOrder order, std::size_t vertexCount,
                         std::uint32_t* corners);

}  // namespace ornolith
