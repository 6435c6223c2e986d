#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "imaging/ImageSize.h"

namespace ornolith {

/// Where the header of a file's first part begins: behind the magic number and the version.
inline constexpr std::size_t exrFirstHeaderOffset = 8;

/// A box of pixels with both its corners inside.
struct EXRBox {
  std::int32_t minX = 0;
  std::int32_t minY = 0;
  std::int32_t maxX = 0;
  std::int32_t maxY = 0;
};

/// One part's header, as "OpenEXR File Layout" lays it out.
struct EXRHeader {
  std::optional<EXRBox> dataWindow;  ///< The pixels that the part has; the last where it is told several times.
  std::size_t end = 0;               ///< Behind the zero byte that ends the header.
};

/// The header at `offset`; nothing where some attribute does not lie in the file or does not have the size of its type.
std::optional<EXRHeader> readEXRHeader(std::span<const std::byte> data, std::size_t offset) noexcept;

/// The size of an EXR image by its first part. Nothing for an empty window and one of more than 2^31 pixels a side.
std::optional<ImageSize> claimedEXRSize(std::span<const std::byte> data) noexcept;

}  // namespace ornolith
