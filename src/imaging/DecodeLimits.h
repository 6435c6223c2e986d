#pragma once

#include <cstddef>
#include <cstdint>

#include "imaging/ImageDecoder.h"

namespace ornolith {

/// Up to this many pixels (64 MiB of RGBA) are believed of any data, since some kinds store a plain image in a few
/// bytes. Beyond, every byte of data vouches for `pixelsPerDataByte` more.
inline constexpr std::uint64_t pixelsWithoutEvidence = 4096ull * 4096ull;
inline constexpr std::uint64_t pixelsPerDataByte = 2048;

/// True where an image of this size may be decoded from `dataBytes` bytes: within the limits of ImageDecoder.h and not
/// out of all proportion to the data. Every decoder asks before it sets memory aside.
constexpr bool isDecodableSize(std::uint64_t width, std::uint64_t height, std::size_t dataBytes) noexcept {
  if (width == 0 || height == 0 || width > maximumDecodedImageSide || height > maximumDecodedImageSide) return false;
  const std::uint64_t pixels = width * height;
  if (pixels > maximumDecodedImagePixels) return false;
  return pixels <= pixelsWithoutEvidence || (pixels - pixelsWithoutEvidence) / pixelsPerDataByte <= dataBytes;
}

}  // namespace ornolith
