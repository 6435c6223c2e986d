#include <gtest/gtest.h>

#include "TestImages.h"
#include "imaging/ImageDecoder.h"

namespace ornolith {
namespace {

using namespace ornolith::testing;

TEST(HEICDecoding, ThePrimaryImageComesBack) {
  const Image image = gradientImage(64, 48);
  const std::optional<Image> decoded = decodeImage(writeHEIC(image));
  ASSERT_TRUE(decoded);
  EXPECT_LE(largestDifference(*decoded, image), 8);
}

}  // namespace
}  // namespace ornolith
