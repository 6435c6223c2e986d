#include "imaging/Compositing.h"

#include <algorithm>
#include <cstring>

namespace ornolith {

namespace {

void drawPixelOver(const std::uint8_t* over, std::uint8_t* under) {
  if (over[3] == 255) {
    std::memcpy(under, over, 4);
    return;
  }
  const std::uint32_t overWeight = over[3] * 255U;
  const std::uint32_t underWeight = under[3] * (255U - over[3]);
  const std::uint32_t weight = overWeight + underWeight;
  if (weight == 0) return;
  for (std::size_t channel = 0; channel < 3; ++channel) {
    under[channel] =
        static_cast<std::uint8_t>((over[channel] * overWeight + under[channel] * underWeight + weight / 2) / weight);
  }
  under[3] = static_cast<std::uint8_t>((weight + 127U) / 255U);
}

}  // namespace

Image filledImage(std::uint32_t width, std::uint32_t height, std::uint8_t red, std::uint8_t green, std::uint8_t blue,
                  std::uint8_t alpha) {
  Image image{.width = width, .height = height, .pixels = {}};
  image.pixels.resize(image.rowBytes() * height);
  const std::uint8_t pixel[4] = {red, green, blue, alpha};
  for (std::size_t offset = 0; offset < image.pixels.size(); offset += 4) {
    std::memcpy(image.pixels.data() + offset, pixel, 4);
  }
  return image;
}

void drawOver(const Image& source, Image& canvas, std::int64_t x, std::int64_t y) {
  const std::int64_t left = std::max<std::int64_t>(x, 0);
  const std::int64_t right = std::min<std::int64_t>(x + source.width, canvas.width);
  const std::int64_t top = std::max<std::int64_t>(y, 0);
  const std::int64_t bottom = std::min<std::int64_t>(y + source.height, canvas.height);
  if (left >= right) return;
  for (std::int64_t row = top; row < bottom; ++row) {
    const std::uint8_t* over = source.pixel(static_cast<std::uint32_t>(left - x), static_cast<std::uint32_t>(row - y));
    std::uint8_t* under =
        canvas.pixels.data() + static_cast<std::size_t>(row) * canvas.rowBytes() + static_cast<std::size_t>(left) * 4;
    for (std::int64_t column = left; column < right; ++column, over += 4, under += 4) drawPixelOver(over, under);
  }
}

}  // namespace ornolith
