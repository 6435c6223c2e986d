#pragma once

#include <cstddef>
#include <span>

#include "imaging/Image.h"

namespace ornolith {

/// `image` turned and mirrored so that it stands upright, for an orientation as the tag 274 of TIFF 6.0 and Exif counts
/// it: 1 is upright, 3 turned by 180 degrees, 6 to be turned clockwise by 90, 8 counter-clockwise, 2, 4, 5 and 7
/// mirrored. Any other number leaves the image as it is.
Image uprightImage(Image image, unsigned orientation);

/// The orientation in an Exif block that starts with its TIFF header ("II" or "MM"); 1 where there is none.
unsigned exifOrientation(std::span<const std::byte> tiff) noexcept;

}  // namespace ornolith
