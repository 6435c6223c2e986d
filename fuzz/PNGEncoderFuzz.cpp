// links: ornolith_imaging
//
// The road of a picture out of the program: whatever its pixels are, the PNG decodes to the same ones, and its
// compressed form is a sound stream that stays close to its input's size at worst.

#include <libdeflate.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "FuzzCheck.h"
#include "imaging/DeflateCompressor.h"
#include "imaging/ImageDecoder.h"
#include "imaging/PNGEncoder.h"

using namespace ornolith;

namespace {

std::vector<std::uint8_t> inflated(const std::vector<std::byte>& stream, std::size_t size) {
  const std::unique_ptr<libdeflate_decompressor, decltype(&libdeflate_free_decompressor)> decompressor(
      libdeflate_alloc_decompressor(), &libdeflate_free_decompressor);
  std::vector<std::uint8_t> bytes(size);
  std::size_t count = 0;
  const libdeflate_result result =
      libdeflate_deflate_decompress(decompressor.get(), stream.data(), stream.size(), bytes.data(), size, &count);
  fuzz::check(result == LIBDEFLATE_SUCCESS && count == size, "the stream is sound and whole");
  return bytes;
}

/// In two pieces, as strips are.
void checkStream(std::span<const std::uint8_t> bytes, std::size_t firstCount) {
  DeflateCompressor compressor;
  std::vector<std::byte> stream;
  compressor.compress(bytes.first(firstCount), false, stream);
  compressor.compress(bytes.subspan(firstCount), true, stream);
  const std::vector<std::uint8_t> back = inflated(stream, bytes.size());
  fuzz::check(std::equal(back.begin(), back.end(), bytes.begin()), "the stream holds the bytes");
  fuzz::check(stream.size() <= bytes.size() + bytes.size() / 1000 + 64, "no input grows beyond stored blocks");
}

void checkPicture(std::span<const std::uint8_t> bytes, std::size_t width) {
  Image image;
  image.width = static_cast<std::uint32_t>(width);
  image.height = static_cast<std::uint32_t>(std::min<std::size_t>(bytes.size() / 4 / width, maximumImageSide));
  if (image.height == 0) return;
  image.pixels.assign(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(width * image.height * 4));
  fuzz::check(decodeImage(encodePNG(image)) == image, "the PNG holds the pixels");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const std::size_t choice = data[0];
  // The input many times over gives the long matches and the many blocks that short inputs lack.
  std::vector<std::uint8_t> bytes;
  for (std::size_t copy = 0; copy <= data[1] && bytes.size() < 70'000; ++copy) {
    bytes.insert(bytes.end(), data + 2, data + size);
  }
  checkStream(bytes, bytes.size() * choice / 255);
  checkPicture(bytes, choice % 97 + 1);
  return 0;
}
