#include <gtest/gtest.h>

#include "TestImages.h"
#include "imaging/ImageDecoder.h"

namespace ornolith {
namespace {

using namespace ornolith::testing;

TEST(BMPDecoding, RowsRunFromTheBottomOrFromTheTop) {
  for (const int height : {2, -2}) {
    ByteWriter file = bmpHeader(1, height, 24, 0, 0);
    file.u8(1).u8(2).u8(3).u8(0).u8(4).u8(5).u8(6).u8(0);
    EXPECT_EQ(pixelsOf(decodeImage(file.take())), height > 0 ? (std::vector<unsigned>{6, 5, 4, 255, 3, 2, 1, 255})
                                                             : (std::vector<unsigned>{3, 2, 1, 255, 6, 5, 4, 255}));
  }
}

TEST(BMPDecoding, PalettesFieldsAndPaddingAreRead) {
  ByteWriter bits = bmpHeader(3, 1, 1, 0, 2);
  bits.u32(0x00010203).u32(0x000a0b0c).u8(0xa0).zeros(3);
  EXPECT_EQ(pixelsOf(decodeImage(bits.take())),
            (std::vector<unsigned>{10, 11, 12, 255, 1, 2, 3, 255, 10, 11, 12, 255}));

  ByteWriter nibbles = bmpHeader(2, 1, 4, 0, 2);
  nibbles.u32(0x00010203).u32(0x000a0b0c).u8(0x1f).zeros(3);
  EXPECT_EQ(pixelsOf(decodeImage(nibbles.take())), (std::vector<unsigned>{10, 11, 12, 255, 0, 0, 0, 255}));

  ByteWriter fields = bmpHeader(2, 1, 16, 3, 0, 12);
  fields.u32(0xf800).u32(0x07e0).u32(0x001f).u16(0xf800 | 32 << 5).u16(31);
  EXPECT_EQ(pixelsOf(decodeImage(fields.take())), (std::vector<unsigned>{255, 130, 0, 255, 0, 0, 255, 255}));

  ByteWriter alpha = bmpHeader(1, 1, 32, 6, 0, 16);
  alpha.u32(0xff).u32(0xff00).u32(0xff0000).u32(0xff000000).u32(0x00030201);
  EXPECT_EQ(pixelsOf(decodeImage(alpha.take())), (std::vector<unsigned>{1, 2, 3, 0}));

  ByteWriter padded = bmpHeader(1, 1, 32, 0, 0);
  padded.u32(0x00030201);
  EXPECT_EQ(pixelsOf(decodeImage(padded.take())), (std::vector<unsigned>{3, 2, 1, 255}));
}

TEST(BMPDecoding, RunLengthsAreRead) {
  ByteWriter file = bmpHeader(4, 2, 8, 1, 3);
  file.u32(0).u32(0x010101).u32(0x020202);
  // Two of colour 1, a skip by one, one of colour 2, end of line; three literals and their padding; end.
  file.u8(2).u8(1).u8(0).u8(2).u8(1).u8(0).u8(1).u8(2).u8(0).u8(0);
  file.u8(0).u8(3).u8(2).u8(1).u8(2).u8(0).u8(0).u8(1);
  const ByteVector bytes = file.take();
  const std::optional<Image> image = decodeImage(bytes);
  ASSERT_TRUE(image);
  const unsigned expected[] = {2, 1, 2, 0, 1, 1, 0, 2};
  for (std::size_t i = 0; i < 8; ++i) EXPECT_EQ(image->pixels[i * 4], expected[i]) << i;
  EXPECT_FALSE(decodeImage(std::span(bytes).first(bytes.size() - 2)));

  ByteWriter nibbles = bmpHeader(5, 1, 4, 2, 3);
  nibbles.u32(0).u32(0x010101).u32(0x020202).u8(5).u8(0x12).u8(0).u8(1);
  const std::optional<Image> alternating = decodeImage(nibbles.take());
  ASSERT_TRUE(alternating);
  for (std::size_t i = 0; i < 5; ++i) EXPECT_EQ(alternating->pixels[i * 4], 1 + i % 2) << i;
}

}  // namespace
}  // namespace ornolith
