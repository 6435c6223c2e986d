#include "imaging/Orientation.h"

#include <cstdint>
#include <cstring>
#include <utility>

#include "imaging/ByteOrder.h"

namespace ornolith {

Image uprightImage(Image image, unsigned orientation) {
  if (orientation < 2 || orientation > 8) return image;
  const bool swapsAxes = orientation >= 5;
  Image result;
  result.width = swapsAxes ? image.height : image.width;
  result.height = swapsAxes ? image.width : image.height;
  result.pixels.resize(image.pixels.size());

  // Whether the stored row or column 0 stands at the bottom, and at the right, of the upright image.
  const bool reversesVertically = orientation == 3 || orientation == 4 || orientation == 7 || orientation == 8;
  const bool reversesHorizontally = orientation == 2 || orientation == 3 || orientation == 6 || orientation == 7;
  std::uint8_t* out = result.pixels.data();
  for (std::uint32_t y = 0; y < result.height; ++y) {
    for (std::uint32_t x = 0; x < result.width; ++x, out += 4) {
      std::uint32_t sourceX = x;
      std::uint32_t sourceY = y;
      if (swapsAxes) {
        sourceX = reversesVertically ? image.width - 1 - y : y;
        sourceY = reversesHorizontally ? image.height - 1 - x : x;
      } else {
        if (reversesHorizontally) sourceX = image.width - 1 - x;
        if (reversesVertically) sourceY = image.height - 1 - y;
      }
      std::memcpy(out, image.pixel(sourceX, sourceY), 4);
    }
  }
  return result;
}

unsigned exifOrientation(std::span<const std::byte> tiff) noexcept {
  constexpr std::uint16_t orientationTag = 274;
  constexpr std::uint16_t shortType = 3;
  if (tiff.size() < 8) return 1;
  const bool isLittle = byteAt(tiff, 0) == 'I' && byteAt(tiff, 1) == 'I';
  if (!isLittle && (byteAt(tiff, 0) != 'M' || byteAt(tiff, 1) != 'M')) return 1;
  const auto read16 = [&](std::size_t offset) {
    return isLittle ? littleEndian16(tiff, offset) : bigEndian16(tiff, offset);
  };
  const std::size_t directory = isLittle ? littleEndian32(tiff, 4) : bigEndian32(tiff, 4);
  if (directory > tiff.size() - 2) return 1;
  const std::size_t count = read16(directory);
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t entry = directory + 2 + i * 12;
    if (entry + 12 > tiff.size()) return 1;
    if (read16(entry) != orientationTag) continue;
    const unsigned value = read16(entry + 8);
    return read16(entry + 2) == shortType && value >= 1 && value <= 8 ? value : 1;
  }
  return 1;
}

}  // namespace ornolith
