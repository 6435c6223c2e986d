#include <gtest/gtest.h>

#include <chrono>

#include "TestImages.h"
#include "imaging/ImageDecoder.h"

namespace ornolith {
namespace {

using namespace ornolith::testing;

TEST(JPEGDecoding, ColorsGreyAndInksComeBack) {
  const Image image = gradientImage(61, 43);
  for (const bool isProgressive : {false, true}) {
    const std::optional<Image> color = decodeImage(writeJPEG(image, {.isProgressive = isProgressive}));
    ASSERT_TRUE(color);
    EXPECT_LE(largestDifference(*color, image), 3);

    const std::optional<Image> inks =
        decodeImage(writeJPEG(image, {.isProgressive = isProgressive, .isFourInks = true}));
    ASSERT_TRUE(inks);
    EXPECT_LE(largestDifference(*inks, image), 4);

    Image grey = image;
    for (std::size_t i = 0; i < grey.pixels.size(); i += 4) grey.pixels[i + 1] = grey.pixels[i + 2] = grey.pixels[i];
    const std::optional<Image> decodedGrey =
        decodeImage(writeJPEG(image, {.isGrey = true, .isProgressive = isProgressive}));
    ASSERT_TRUE(decodedGrey);
    EXPECT_LE(largestDifference(*decodedGrey, grey), 2);
  }
}

TEST(JPEGDecoding, ExifOrientationIsApplied) {
  const Image upright = gradientImage(40, 24);
  for (unsigned orientation = 1; orientation <= 8; ++orientation) {
    const ByteVector file = writeJPEG(storedFor(upright, orientation), {.orientation = orientation});
    const std::optional<Image> image = decodeImage(file);
    ASSERT_TRUE(image);
    EXPECT_LE(largestDifference(*image, upright), 4) << orientation;
  }
}

TEST(JPEGDecoding, AFileOfManyScansEnds) {
  // A progressive file whose one scan is repeated far more often than any encoder does.
  const ByteVector file = writeJPEG(gradientImage(2048, 2048), {.isProgressive = true});
  std::size_t scan = 0;
  for (std::size_t i = 0; i + 1 < file.size(); ++i) {
    if (file[i] == std::byte{0xff} && file[i + 1] == std::byte{0xda}) scan = i;
  }
  ASSERT_GT(scan, 0U);
  ByteVector bomb(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(scan));
  const ByteVector lastScan(file.begin() + static_cast<std::ptrdiff_t>(scan), file.end() - 2);
  for (int i = 0; i < 2000; ++i) bomb.insert(bomb.end(), lastScan.begin(), lastScan.begin() + 40);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(decodeImage(bomb));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
}

}  // namespace
}  // namespace ornolith
