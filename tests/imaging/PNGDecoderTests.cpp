#include <gtest/gtest.h>

#include <random>

#include "TestImages.h"
#include "imaging/ImageDecoder.h"
#include "imaging/PNGEncoder.h"

namespace ornolith {
namespace {

using namespace ornolith::testing;

ByteVector bytesOf(std::initializer_list<unsigned> values) {
  ByteVector bytes;
  for (const unsigned value : values) bytes.push_back(static_cast<std::byte>(value));
  return bytes;
}

TEST(PNGDecoding, EveryFormMatchesTheReferenceReader) {
  std::mt19937 random(11);
  const std::vector<std::pair<int, std::vector<int>>> forms{
      {0, {1, 2, 4, 8, 16}}, {2, {8, 16}}, {3, {1, 2, 4, 8}}, {4, {8, 16}}, {6, {8, 16}}};
  for (const auto& [colorType, depths] : forms) {
    for (const int depth : depths) {
      for (const bool isInterlaced : {false, true}) {
        for (const auto& [width, height] : std::vector<std::pair<std::uint32_t, std::uint32_t>>{
                 {1, 1}, {3, 2}, {5, 5}, {8, 8}, {33, 17}, {100, 40}}) {
          const unsigned channels = colorType == 2 ? 3 : colorType == 4 ? 2 : colorType == 6 ? 4 : 1;
          std::vector<ByteVector> rows(height, ByteVector((width * channels * static_cast<unsigned>(depth) + 7) / 8));
          // Slow changes with some noise, so that every filter is chosen somewhere.
          unsigned y = 0;
          for (ByteVector& row : rows) {
            for (std::size_t i = 0; i < row.size(); ++i) {
              row[i] = static_cast<std::byte>((y % 3 == 0 ? random() : i * 2 + y * 3 + random() % 3) & 255U);
            }
            ++y;
          }
          std::vector<std::uint8_t> palette;
          if (colorType == 3) {
            for (int i = 0; i < 3 << depth; ++i) palette.push_back(static_cast<std::uint8_t>(random()));
          }
          const ByteVector file = writePNG(width, height, {depth, colorType, isInterlaced}, rows, palette);
          const std::optional<Image> actual = decodeImage(file);
          ASSERT_TRUE(actual) << colorType << " " << depth << " " << isInterlaced << " " << width;
          EXPECT_TRUE(*actual == readPNGByLibrary(file))
              << colorType << " " << depth << " " << isInterlaced << " " << width << "x" << height;
        }
      }
    }
  }
}

TEST(PNGDecoding, SixteenBitsRoundToTheNearest) {
  // 128.49 and 128.51 parts of 257, and both ends.
  const ByteVector row = bytesOf({0, 128, 0, 129, 255, 127, 255, 126, 255, 255, 0, 0});
  const std::optional<Image> image = decodeImage(writePNG(6, 1, {16, 0, false}, {row}));
  ASSERT_TRUE(image);
  const unsigned expected[] = {0, 1, 255, 254, 255, 0};
  for (std::uint32_t x = 0; x < 6; ++x) EXPECT_EQ(image->pixel(x, 0)[0], expected[x]) << x;
}

TEST(PNGDecoding, TransparentColorsAndPaletteAlphaApply) {
  EXPECT_EQ(pixelsOf(decodeImage(writePNG(2, 1, {8, 0, false}, {bytesOf({7, 8})}, {}, {}, {8}))),
            (std::vector<unsigned>{7, 7, 7, 255, 8, 8, 8, 0}));
  EXPECT_EQ(pixelsOf(decodeImage(writePNG(2, 1, {8, 2, false}, {bytesOf({1, 2, 3, 1, 2, 4})}, {}, {}, {1, 2, 3}))),
            (std::vector<unsigned>{1, 2, 3, 0, 1, 2, 4, 255}));
  // The key counts with all 16 bits.
  EXPECT_EQ(pixelsOf(decodeImage(writePNG(2, 1, {16, 0, false}, {bytesOf({16, 1, 16, 2})}, {}, {}, {0x1001}))),
            (std::vector<unsigned>{16, 16, 16, 0, 16, 16, 16, 255}));
  EXPECT_EQ(pixelsOf(decodeImage(writePNG(2, 1, {8, 3, false}, {bytesOf({0, 1})}, {10, 20, 30, 40, 50, 60}, {77}))),
            (std::vector<unsigned>{10, 20, 30, 77, 40, 50, 60, 255}));
}

TEST(PNGDecoding, DamageIsNoticed) {
  const ByteVector good = encodePNG(noiseImage(20, 20));
  ASSERT_TRUE(decodeImage(good));
  // A byte changed anywhere is caught by a check sum or changes what the chunk is.
  for (std::size_t i = 0; i < good.size(); ++i) {
    ByteVector bad = good;
    bad[i] ^= std::byte{0x20};
    EXPECT_FALSE(decodeImage(bad)) << i;
  }
}

}  // namespace
}  // namespace ornolith
