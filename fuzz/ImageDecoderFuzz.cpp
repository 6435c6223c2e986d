// links: ornolith_imaging

// Any bytes decode to nothing or to an image that keeps what ImageDecoder.h promises, twice the same, and that PNG
// carries unchanged.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "FuzzCheck.h"
#include "imaging/DecodeLimits.h"
#include "imaging/ImageDecoder.h"
#include "imaging/ImageSize.h"
#include "imaging/PNGEncoder.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace ornolith;
  const std::span<const std::byte> bytes = fuzz::bytes(data, size);
  const std::optional<Image> image = decodeImage(bytes);
  if (!image) return 0;
  fuzz::check(imageKind(bytes).has_value(), "what decodes has a kind");
  // An orientation may have swapped the sides, which the rule treats alike.
  fuzz::check(isDecodableSize(image->width, image->height, size), "the size is one that is decoded");
  const ImageSize upright{image->width, image->height}, turned{image->height, image->width};
  const std::optional<ImageSize> claim = claimedImageSize(bytes);
  fuzz::check(claim == upright || claim == turned, "the header tells the size");
  fuzz::check(decodedByteCount(bytes) == image->pixels.size(), "the header tells the bytes");
  fuzz::check(image->pixels.size() == image->rowBytes() * image->height, "there are four bytes for each pixel");

  constexpr std::size_t smallPixels = std::size_t{128} * 128;
  if (image->pixels.size() > smallPixels * 4) return 0;
  fuzz::check(decodeImage(bytes) == image, "decoding is repeatable");
  fuzz::check(decodeImage(encodePNG(*image)) == image, "PNG carries the image unchanged");
  return 0;
}
