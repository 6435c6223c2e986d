#include "imaging/Image.h"

namespace ornolith {

bool hasTransparency(const Image& image) noexcept {
  const std::uint8_t* pixels = image.pixels.data();
  const std::size_t rowBytes = image.rowBytes();
  if (rowBytes == 0) return false;
  // A row at a time without a branch inside, so that it runs at the speed of memory.
  for (std::size_t y = 0; y < image.height; ++y, pixels += rowBytes) {
    std::uint8_t least = 255;
    for (std::size_t i = 3; i < rowBytes; i += 4) least = static_cast<std::uint8_t>(least & pixels[i]);
    if (least != 255) return true;
  }
  return false;
}

}  // namespace ornolith
