#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "imaging/Image.h"

namespace ornolith {

// The decoders that are part of the program, one for each kind. All keep the promises of `decodeImage`, for data of
// their kind; data of another kind is damaged to them.

/// PNG (third edition): every colour type, bit depth and interlace, tRNS included. Of an animated PNG the default
/// image. A wrong CRC in IHDR, PLTE, tRNS or IDAT is damage; other chunks are not read.
std::optional<Image> decodePNG(std::span<const std::byte> data);

/// JPEG: baseline and progressive, grey, YCbCr, RGB, CMYK and YCCK. A file that ends early is damaged, even where the
/// decoder could fill in grey.
std::optional<Image> decodeJPEG(std::span<const std::byte> data);

std::optional<Image> decodeWebP(std::span<const std::byte> data);

/// Truevision TGA 2.0: colour-mapped, true-colour and grey, with and without run lengths, from each of the four
/// corners. A 16-bit image has alpha where its attribute bits say so, a 32-bit one also where its fourth byte is not
/// zero everywhere.
std::optional<Image> decodeTGA(std::span<const std::byte> data);
/// TGA has no signature: true where every field of the header is one that the format allows and that fits the data.
bool isTGA(std::span<const std::byte> data) noexcept;

/// Windows and OS/2 bitmaps: 1, 4, 8, 16, 24 and 32 bits a pixel, bit fields and run lengths, bottom-up and top-down.
/// The fourth byte of a 32-bit image is alpha where a bit field says so, or where it is not zero everywhere.
std::optional<Image> decodeBMP(std::span<const std::byte> data);
bool isBMP(std::span<const std::byte> data) noexcept;

}  // namespace ornolith
