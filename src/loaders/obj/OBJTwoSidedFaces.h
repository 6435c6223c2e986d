#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace ornolith {

/// For each triangle, three indices of places to each, whether there is another over the same places that faces the
/// other way: how some exporters write surfaces that are to be seen from both sides.
std::vector<bool> facesBothWays(std::span<const std::uint32_t> triangles);

}  // namespace ornolith
