#pragma once

#include <cstddef>
#include <cstdint>

namespace ornolith {

/// Filters of the rows of 8-bit RGBA pictures, by the names and numbers of the PNG specification (third edition, 9.2).
enum class PNGFilter : std::uint8_t { none = 0, sub = 1, up = 2, average = 3, paeth = 4 };

/// The filter of which the row of `count` bytes, a multiple of 4, may be expected to compress best: the one whose
/// result has the least sum of distances from zero (the same, 12.7), where Average and Paeth must lead by a quarter of
/// their own, as their results repeat less often; Up in doubt. `above` is the row before, or zeros for the first.
PNGFilter choosePNGFilter(const std::uint8_t* row, const std::uint8_t* above, std::size_t count);

/// Writes the filtered row to `out`, which overlaps neither of the others.
void applyPNGFilter(PNGFilter filter, const std::uint8_t* row, const std::uint8_t* above, std::size_t count,
                    std::uint8_t* out);

}  // namespace ornolith
