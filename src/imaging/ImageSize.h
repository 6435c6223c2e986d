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

/// The size of the image that `decodeImage` makes of `data` where it makes one, told without decoding; the sides may be
/// the other way round where the image has an orientation. Nothing where the header is cut short, and for the kinds
/// that modules decode.
std::optional<ImageSize> claimedImageSize(std::span<const std::byte> data) noexcept;

}  // namespace ornolith
