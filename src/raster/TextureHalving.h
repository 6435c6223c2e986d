#pragma once

#include <cstddef>
#include <cstdint>

namespace ornolith::raster {

/// Writes `count` texels of four 8-bit samples, each the mean of two texels of the row `above` and the two below them,
/// rounded to nearest, halves up. The same bytes on every instruction set.
void averageTexels(const std::uint8_t* above, const std::uint8_t* below, std::size_t count, std::uint8_t* out) noexcept;

}  // namespace ornolith::raster
