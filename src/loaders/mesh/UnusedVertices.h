#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "foundation/LargeVector.h"

namespace ornolith {

/// Drops some of `vertexCount` vertices: their normals, three components each, and the numbers of those that are left
/// in `triangles`, where numbers from `vertexCount` on are of further ones behind them. `unused` is in rising order.
/// Gives the vertices that are left.
LargeVector<std::uint32_t> dropVertices(std::span<const std::uint32_t> unused, std::size_t vertexCount,
                                        std::span<std::uint32_t> triangles, LargeVector<float>& normals);

}  // namespace ornolith
