#include <gtest/gtest.h>

#include "TestImages.h"
#include "imaging/ImageDecoder.h"

namespace ornolith {
namespace {

using namespace ornolith::testing;

TEST(WebPDecoding, LosslessImagesComeBack) {
  const Image image = noiseImage(37, 21);
  EXPECT_TRUE(decodeImage(writeWebP(image)) == image);
}

TEST(WebPDecoding, TheFirstFrameStandsOnATransparentCanvas) {
  const Image frame = opaque(noiseImage(6, 4));
  const std::optional<Image> image = decodeImage(writeAnimatedWebP(frame, 2, 4, 12, 10));
  ASSERT_TRUE(image);
  Image expected = blankImage(12, 10);
  for (std::uint32_t y = 0; y < 4; ++y) {
    std::copy_n(frame.pixel(0, y), 24, expected.pixels.begin() + ((y + 4) * 12 + 2) * 4);
  }
  EXPECT_TRUE(*image == expected);
}

}  // namespace
}  // namespace ornolith
