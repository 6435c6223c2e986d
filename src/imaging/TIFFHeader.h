#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "imaging/ImageSize.h"

namespace ornolith {

/// The size of a TIFF image by its first directory (TIFF 6.0, section 2; BigTIFF), as it is stored. Nothing where there
/// is none, and for directories that no image needs: of more entries than any writer makes, or whose values together
/// are larger than the file, as they only are where entries share bytes.
std::optional<ImageSize> claimedTIFFSize(std::span<const std::byte> data) noexcept;

}  // namespace ornolith
