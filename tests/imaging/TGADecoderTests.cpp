#include <gtest/gtest.h>

#include "TestImages.h"
#include "imaging/ImageDecoder.h"

namespace ornolith {
namespace {

using namespace ornolith::testing;

TEST(TGADecoding, PixelsStandFromEachCorner) {
  // Stored: red, green, then blue, white.
  const std::vector<std::pair<unsigned, std::vector<unsigned>>> corners{
      {0x00, {0, 0, 255, 255, 255, 255, 255, 0, 0, 0, 255, 0}},
      {0x10, {255, 255, 255, 0, 0, 255, 0, 255, 0, 255, 0, 0}},
      {0x20, {255, 0, 0, 0, 255, 0, 0, 0, 255, 255, 255, 255}},
      {0x30, {0, 255, 0, 255, 0, 0, 255, 255, 255, 0, 0, 255}}};
  for (const auto& [descriptor, expected] : corners) {
    ByteWriter file = tgaHeader(2, 2, 2, 24, descriptor, 0, 0, 5);
    file.u8(0).u8(0).u8(255).u8(0).u8(255).u8(0).u8(255).u8(0).u8(0).u8(255).u8(255).u8(255);
    const std::optional<Image> image = decodeImage(file.take());
    ASSERT_TRUE(image);
    for (std::size_t i = 0; i < 4; ++i) {
      for (std::size_t c = 0; c < 3; ++c) EXPECT_EQ(image->pixels[i * 4 + c], expected[i * 3 + c]) << descriptor;
      EXPECT_EQ(image->pixels[i * 4 + 3], 255);
    }
  }
}

TEST(TGADecoding, RunsLiteralsMapsGreyAndAlphaAreRead) {
  // A run of three and two literals.
  ByteWriter runs = tgaHeader(10, 5, 1, 32, 0x28);
  runs.u8(0x82).u8(1).u8(2).u8(3).u8(4).u8(0x01).u32(0x08070605).u32(0x0c0b0a09);
  EXPECT_EQ(pixelsOf(decodeImage(runs.take())), (std::vector<unsigned>{3, 2, 1, 4, 3,  2,  1, 4, 3, 2, 1, 4,  //
                                                                       7, 6, 5, 8, 11, 10, 9, 12}));
  ByteWriter map = tgaHeader(1, 3, 1, 8, 0x20, 2, 24);
  map.u8(1).u8(2).u8(3).u8(4).u8(5).u8(6).u8(1).u8(0).u8(9);
  EXPECT_EQ(pixelsOf(decodeImage(map.take())), (std::vector<unsigned>{6, 5, 4, 255, 3, 2, 1, 255, 0, 0, 0, 255}));

  ByteWriter grey = tgaHeader(11, 3, 1, 8, 0x20);
  grey.u8(0x81).u8(9).u8(0x00).u8(200);
  EXPECT_EQ(pixelsOf(decodeImage(grey.take())),
            (std::vector<unsigned>{9, 9, 9, 255, 9, 9, 9, 255, 200, 200, 200, 255}));

  ByteWriter words = tgaHeader(2, 2, 1, 16, 0x21);
  words.u16(0x8000 | 31 << 10 | 16 << 5).u16(31);
  EXPECT_EQ(pixelsOf(decodeImage(words.take())), (std::vector<unsigned>{255, 132, 0, 255, 0, 0, 255, 0}));
}

TEST(TGADecoding, AlphaThatIsZeroEverywhereIsPadding) {
  ByteWriter padding = tgaHeader(2, 2, 1, 32, 0x20);
  padding.u32(0x00030201).u32(0x00060504);
  EXPECT_EQ(pixelsOf(decodeImage(padding.take())), (std::vector<unsigned>{3, 2, 1, 255, 6, 5, 4, 255}));
  ByteWriter alpha = tgaHeader(2, 2, 1, 32, 0x20);
  alpha.u32(0x00030201).u32(0x80060504);
  EXPECT_EQ(pixelsOf(decodeImage(alpha.take())), (std::vector<unsigned>{3, 2, 1, 0, 6, 5, 4, 128}));
}

TEST(TGADecoding, InconsistentHeadersAreNoTGA) {
  const auto isKnown = [](ByteWriter file) { return imageKind(file.zeros(400).take()).has_value(); };
  EXPECT_TRUE(isKnown(tgaHeader(2, 10, 10, 24, 0)));
  EXPECT_FALSE(isKnown(tgaHeader(4, 10, 10, 24, 0)));
  EXPECT_FALSE(isKnown(tgaHeader(2, 10, 10, 23, 0)));
  EXPECT_FALSE(isKnown(tgaHeader(2, 0, 10, 24, 0)));
  EXPECT_FALSE(isKnown(tgaHeader(2, 10, 10, 24, 0x40)));
  EXPECT_FALSE(isKnown(tgaHeader(2, 10, 10, 24, 8)));
  EXPECT_FALSE(isKnown(tgaHeader(1, 10, 10, 8, 0)));
  EXPECT_FALSE(isKnown(tgaHeader(2, 100, 100, 24, 0)));
}

}  // namespace
}  // namespace ornolith
