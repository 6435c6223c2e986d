#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

#include "TestImages.h"
#include "foundation/Parallel.h"
#include "imaging/ImageDecoder.h"
#include "imaging/PNGEncoder.h"

namespace ornolith {
namespace {

using testing::blankImage;
using testing::ByteVector;
using testing::gradientImage;
using testing::noiseImage;
using testing::readPNGByLibrary;
using testing::writePNG;

struct Chunk {
  std::string type;
  ByteVector data;
};

std::uint32_t bigEndian(const ByteVector& bytes, std::size_t offset) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < 4; ++i) value = value << 8 | std::to_integer<std::uint32_t>(bytes.at(offset + i));
  return value;
}

/// Takes the file apart by the format's rules alone, and checks each chunk's CRC with zlib's.
std::vector<Chunk> chunksOf(const ByteVector& file) {
  std::vector<Chunk> chunks;
  const std::string signature = "\x89PNG\r\n\x1a\n";
  for (std::size_t i = 0; i < 8; ++i) {
    EXPECT_EQ(std::to_integer<unsigned>(file.at(i)), static_cast<unsigned char>(signature[i]));
  }
  for (std::size_t offset = 8; offset < file.size();) {
    const std::size_t length = bigEndian(file, offset);
    Chunk chunk;
    for (std::size_t i = 4; i < 8; ++i) chunk.type += static_cast<char>(file.at(offset + i));
    const auto begin = file.begin() + static_cast<std::ptrdiff_t>(offset + 8);
    chunk.data.assign(begin, begin + static_cast<std::ptrdiff_t>(length));
    const auto* checked = reinterpret_cast<const Bytef*>(file.data() + offset + 4);
    EXPECT_EQ(bigEndian(file, offset + 8 + length), crc32(0, checked, static_cast<uInt>(length + 4)));
    chunks.push_back(std::move(chunk));
    offset += 12 + length;
  }
  return chunks;
}

TEST(PNGEncoder, WritesHeaderDataAndEndAlone) {
  const std::vector<Chunk> chunks = chunksOf(encodePNG(gradientImage(300, 20)));
  ASSERT_EQ(chunks.size(), 3U);
  EXPECT_EQ(chunks[0].type, "IHDR");
  EXPECT_EQ(chunks[1].type, "IDAT");
  EXPECT_EQ(chunks[2].type, "IEND");
  ASSERT_EQ(chunks[0].data.size(), 13U);
  EXPECT_EQ(bigEndian(chunks[0].data, 0), 300U);
  EXPECT_EQ(bigEndian(chunks[0].data, 4), 20U);
  const unsigned format[] = {8, 6, 0, 0, 0};
  for (std::size_t i = 0; i < 5; ++i) EXPECT_EQ(std::to_integer<unsigned>(chunks[0].data[8 + i]), format[i]);
  EXPECT_TRUE(chunks[2].data.empty());
}

TEST(PNGEncoder, DataIsOneZlibStreamWithNothingBehindIt) {
  // Several strips, so that the stream is joined and its checksum too.
  const Image image = noiseImage(700, 500);
  const ByteVector stream = chunksOf(encodePNG(image)).at(1).data;
  const std::size_t expected = (image.rowBytes() + 1) * image.height;
  std::vector<Bytef> rows(expected + 1);
  z_stream reader{};
  ASSERT_EQ(inflateInit(&reader), Z_OK);
  reader.next_in = reinterpret_cast<Bytef*>(const_cast<std::byte*>(stream.data()));
  reader.avail_in = static_cast<uInt>(stream.size());
  reader.next_out = rows.data();
  reader.avail_out = static_cast<uInt>(rows.size());
  EXPECT_EQ(inflate(&reader, Z_FINISH), Z_STREAM_END);  // Which also says that the Adler-32 is right.
  EXPECT_EQ(reader.total_out, expected);
  EXPECT_EQ(reader.avail_in, 0U);
  inflateEnd(&reader);
}

TEST(PNGEncoder, EveryImageComesBackAsItWas) {
  std::vector<Image> images;
  for (const auto& [width, height] : std::vector<std::pair<std::uint32_t, std::uint32_t>>{
           {1, 1}, {2, 1}, {1, 2}, {3, 3}, {5000, 1}, {1, 5000}, {70'000, 2}, {17, 300}, {256, 256}}) {
    images.push_back(noiseImage(width, height, width * 31 + height));
    images.push_back(gradientImage(width, height));
    images.push_back(blankImage(width, height));
  }
  for (const Image& image : images) {
    const ByteVector file = encodePNG(image);
    EXPECT_TRUE(readPNGByLibrary(file) == image) << image.width << " x " << image.height;
    // The decoder refuses sides over its limit.
    if (image.width <= maximumDecodedImageSide) {
      EXPECT_TRUE(decodeImage(file) == image) << image.width << " x " << image.height;
    }
  }
}

TEST(PNGEncoder, SizesAroundAStripsEndComeBack) {
  // 1021 or 1025 bytes a row with the filter's byte: 513 or 511 rows fill a strip of 512 KiB.
  for (const std::uint32_t width : {255U, 256U}) {
    for (const std::uint32_t height : {510U, 511U, 512U, 513U, 514U, 1021U, 1022U, 1026U, 1027U}) {
      const Image image = noiseImage(width, height, height);
      EXPECT_TRUE(readPNGByLibrary(encodePNG(image)) == image) << width << " x " << height;
    }
  }
}

TEST(PNGEncoder, ColorsOfTransparentPixelsAreKept) {
  Image image = noiseImage(64, 64);
  for (std::size_t i = 3; i < image.pixels.size(); i += 4) image.pixels[i] = 0;
  EXPECT_TRUE(decodeImage(encodePNG(image)) == image);
}

TEST(PNGEncoder, AnyNumberOfThreadsGivesTheSameBytes) {
  Image image = gradientImage(900, 700);
  const Image noise = noiseImage(900, 700);
  std::copy(noise.pixels.begin(), noise.pixels.begin() + 1'000'000, image.pixels.begin());
  ByteVector expected;
  withThreadLimit(1, [&] { expected = encodePNG(image); });
  for (const std::size_t threads : {2U, 3U, 16U}) {
    ByteVector actual;
    withThreadLimit(threads, [&] { actual = encodePNG(image); });
    EXPECT_TRUE(actual == expected) << threads;
  }
  EXPECT_TRUE(encodePNG(image) == expected);
}

/// How many bytes libpng takes for the picture with its own choice of filters and zlib's level 6.
std::size_t bytesByLibrary(const Image& image) {
  std::vector<ByteVector> rows(image.height, ByteVector(image.rowBytes()));
  for (std::uint32_t y = 0; y < image.height; ++y) std::memcpy(rows[y].data(), image.pixel(0, y), image.rowBytes());
  return writePNG(image.width, image.height, {}, rows).size();
}

/// A lit sphere on a clear ground. `roughness` is how far noise may move its colours.
Image shadedSphere(std::uint32_t side, unsigned roughness) {
  Image image = blankImage(side, side);
  std::mt19937 random(3);
  const double radius = side * 0.42;
  for (std::uint32_t row = 0; row < side; ++row) {
    for (std::uint32_t column = 0; column < side; ++column) {
      const double x = (column - side / 2.0) / radius;
      const double y = (side / 2.0 - row) / radius;
      if (x * x + y * y >= 1) continue;
      const double light = 40 + 180 * std::max(0.0, 0.4 * x + 0.5 * y + 0.77 * std::sqrt(1 - x * x - y * y));
      std::uint8_t* const pixel = image.pixels.data() + (std::size_t{row} * side + column) * 4;
      const double noise = roughness == 0 ? 0 : static_cast<double>(random() % roughness);
      for (std::size_t c = 0; c < 3; ++c) {
        pixel[c] =
            static_cast<std::uint8_t>(std::clamp(light * (1 - 0.2 * static_cast<double>(c)) + noise, 0.0, 255.0));
      }
      pixel[3] = 255;
    }
  }
  return image;
}

TEST(PNGEncoder, RenderedPicturesTakeLittleMoreThanByTheLibrary) {
  for (const unsigned roughness : {0U, 3U, 10U, 60U}) {
    const Image image = shadedSphere(512, roughness);
    const ByteVector file = encodePNG(image);
    EXPECT_LT(static_cast<double>(file.size()), 1.15 * static_cast<double>(bytesByLibrary(image))) << roughness;
    EXPECT_TRUE(readPNGByLibrary(file) == image) << roughness;
  }
  EXPECT_LT(encodePNG(blankImage(1024, 1024)).size(), 6000U);
  EXPECT_LT(encodePNG(blankImage(1, 1)).size(), 80U);
}

}  // namespace
}  // namespace ornolith
