#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "TestImages.h"
#include "imaging/ImageDecoder.h"

namespace ornolith {
namespace {

using namespace ornolith::testing;
using namespace std::string_literals;

TEST(EXRDecoding, LinearLightBecomesStraightSRGB) {
  Image image = noiseImage(40, 70);
  for (std::size_t i = 3; i < image.pixels.size(); i += 4) image.pixels[i] = std::max<std::uint8_t>(image.pixels[i], 8);
  for (const bool isTiled : {false, true}) {
    const std::optional<Image> exact = decodeImage(writeEXR(image, {.isFloat = true, .isTiled = isTiled}));
    ASSERT_TRUE(exact);
    EXPECT_LE(largestDifference(*exact, image), 0);
    const std::optional<Image> half = decodeImage(writeEXR(image, {.isFloat = false, .isTiled = isTiled}));
    ASSERT_TRUE(half);
    EXPECT_LE(largestDifference(*half, image), 1);
  }
  const std::optional<Image> grey = decodeImage(writeEXR(image, {.isFloat = true, .isGrey = true}));
  ASSERT_TRUE(grey);
  EXPECT_EQ(grey->pixel(5, 6)[1], image.pixel(5, 6)[0]);
  EXPECT_EQ(grey->pixel(5, 6)[3], 255);
}

TEST(EXRDecoding, ValuesClampAndNaNIsBlack) {
  constexpr float infinity = std::numeric_limits<float>::infinity();
  const std::optional<Image> image =
      decodeImage(writeGreyEXR({-1.0F, 0.0F, 1.0F, 17.5F, infinity, -infinity, std::nanf("")}));
  ASSERT_TRUE(image);
  const unsigned expected[] = {0, 0, 255, 255, 255, 0, 0};
  for (std::uint32_t x = 0; x < 7; ++x) EXPECT_EQ(image->pixel(x, 0)[0], expected[x]) << x;
}

TEST(EXRDecoding, AnAttributeThatHasNotTheSizeOfItsTypeIsRefused) {
  const ByteVector good = writeEXR(gradientImage(8, 8), {});
  ASSERT_TRUE(decodeImage(good));
  // The size stands behind the type's text. A window of four integers with more or fewer bytes than they take.
  const std::string type = "dataWindow\0box2i\0"s;
  const auto found = std::search(good.begin(), good.end(), type.begin(), type.end(), [](std::byte a, char b) {
    return std::to_integer<unsigned>(a) == static_cast<unsigned char>(b);
  });
  ASSERT_NE(found, good.end());
  const std::ptrdiff_t size = found - good.begin() + static_cast<std::ptrdiff_t>(type.size());
  for (const unsigned wrong : {0U, 15U, 17U, 255U}) {
    ByteVector bad = good;
    bad[static_cast<std::size_t>(size)] = static_cast<std::byte>(wrong);
    EXPECT_FALSE(decodeImage(bad)) << wrong;
  }
}

}  // namespace
}  // namespace ornolith
