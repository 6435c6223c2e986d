#pragma once

#include <cstddef>
#include <cstdint>

namespace ornolith {

/// Readable and writable bytes that must lie behind each row given to `undoPNGFilter`.
inline constexpr std::size_t pngRowSlack = 16;

/// Undoes filter `filter` (PNG, third edition, 9.2) on the `count` bytes of `row` in place. `above` is the row before,
/// already undone, or null for the first row of an image or pass. `pixelBytes` is the distance to the pixel on the
/// left: 1, 2, 3, 4, 6 or 8; a row holds whole ones. False for a filter that does not exist.
bool undoPNGFilter(std::uint8_t filter, std::uint8_t* row, const std::uint8_t* above, std::size_t count,
                   std::size_t pixelBytes) noexcept;

}  // namespace ornolith
