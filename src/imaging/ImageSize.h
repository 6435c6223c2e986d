#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace ornolith {

/// A size in pixels that a header claims.
struct ImageSize {
  std::uint32_t width = 0;
  std::uint32_t height = 0;

  bool operator==(const ImageSize&) const = default;
};

/// The size of the image that `decodeImage` makes of `data`, told without decoding; the sides may be the other way
/// round where the image has an orientation. What does not tell its size, by a header that is cut short or damaged, is
/// never decoded. Loads the module for HEIC, as `decodeImage` does.
std::optional<ImageSize> claimedImageSize(std::span<const std::byte> data) noexcept;

/// The bytes of the pixels that `decodeImage` sets aside for `data`, whether it then finds them or finds damage;
/// nothing where it sees by the header alone that it will not decode. Who decodes many images can count by this what
/// they will take, and what they will cost.
std::optional<std::uint64_t> decodedByteCount(std::span<const std::byte> data) noexcept;

/// What an image of so many bytes takes with its mip levels, which are a third of it.
constexpr std::uint64_t bytesWithMipLevels(std::uint64_t imageBytes) noexcept {
  return imageBytes + imageBytes / 3;
}

}  // namespace ornolith
