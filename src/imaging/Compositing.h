#pragma once

#include <cstdint>

#include "imaging/Image.h"

namespace ornolith {

/// An image of `width` by `height` pixels that is one colour throughout: 8-bit sRGB with straight alpha.
Image filledImage(std::uint32_t width, std::uint32_t height, std::uint8_t red, std::uint8_t green, std::uint8_t blue,
                  std::uint8_t alpha);

/// Draws `source` over `canvas` with its top left at (`x`, `y`), pixel on pixel, both with straight alpha: the
/// source-over operator of Porter and Duff ("Compositing Digital Images", 1984) on the encoded values, rounded once.
/// What lies outside the canvas is left out.
void drawOver(const Image& source, Image& canvas, std::int64_t x = 0, std::int64_t y = 0);

}  // namespace ornolith
