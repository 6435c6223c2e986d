#include <gtest/gtest.h>

#include "TestImages.h"
#include "imaging/ByteOrder.h"
#include "imaging/ImageDecoder.h"
#include "imaging/ImageSize.h"

namespace ornolith {
namespace {

using namespace ornolith::testing;

TEST(TIFFDecoding, EveryLayoutComesBack) {
  const Image image = noiseImage(37, 23);
  for (const unsigned bits : {8U, 16U, 32U}) {
    for (const bool isTiled : {false, true}) {
      for (const bool isPlanar : {false, true}) {
        for (const unsigned compression : {1U, 5U, 8U, 32773U}) {
          const TIFFForm form{.bits = bits, .compression = compression, .isTiled = isTiled, .isPlanar = isPlanar};
          EXPECT_TRUE(decodeImage(writeTIFF(image, form)) == image)
              << bits << " " << isTiled << " " << isPlanar << " " << compression;
        }
      }
    }
  }
}

TEST(TIFFDecoding, GreyRGBAndPalettesAreExpanded) {
  const Image image = noiseImage(20, 12);
  EXPECT_TRUE(decodeImage(writeTIFF(image, {.samples = 3})) == opaque(image));
  Image grey = image;
  for (std::size_t i = 0; i < grey.pixels.size(); i += 4) grey.pixels[i + 1] = grey.pixels[i + 2] = grey.pixels[i];
  EXPECT_TRUE(decodeImage(writeTIFF(image, {.samples = 1})) == opaque(grey));
  EXPECT_TRUE(decodeImage(writeTIFF(image, {.samples = 2})) == grey);
  Image colored = opaque(image);
  for (std::size_t i = 0; i < colored.pixels.size(); i += 4) {
    const std::uint8_t index = image.pixels[i];
    colored.pixels[i + 1] = static_cast<std::uint8_t>(255 - index);
    colored.pixels[i + 2] = index ^ 85U;
  }
  EXPECT_TRUE(decodeImage(writeTIFF(image, {.samples = 1, .isPalette = true})) == colored);
}

TEST(TIFFDecoding, PremultipliedAlphaIsUndone) {
  Image image = gradientImage(16, 16);
  for (std::size_t i = 3; i < image.pixels.size(); i += 4) image.pixels[i] = 128;
  const std::optional<Image> decoded = decodeImage(writeTIFF(image, {.isPremultiplied = true}));
  ASSERT_TRUE(decoded);
  EXPECT_LE(largestDifference(*decoded, image), 1);
}

TEST(TIFFDecoding, TheOrientationIsApplied) {
  const Image upright = noiseImage(7, 5);
  for (unsigned orientation = 1; orientation <= 8; ++orientation) {
    const ByteVector file = writeTIFF(storedFor(upright, orientation), {.orientation = orientation});
    EXPECT_TRUE(decodeImage(file) == upright) << orientation;
  }
  // Also where the library converts.
  Image grey = opaque(upright);
  for (unsigned orientation = 1; orientation <= 8; ++orientation) {
    const TIFFForm form{.samples = 1, .orientation = orientation, .isPalette = true};
    EXPECT_TRUE(decodeImage(writeTIFF(storedFor(upright, orientation), form)) ==
                decodeImage(writeTIFF(upright, {.samples = 1, .isPalette = true})))
        << orientation;
  }
}

TEST(TIFFDecoding, BothByteOrdersAndOffsetsOf64BitsAreRead) {
  const Image image = noiseImage(37, 23);
  for (const bool isBigEndian : {false, true}) {
    for (const bool isBig : {false, true}) {
      for (const unsigned bits : {8U, 16U, 32U}) {
        const ByteVector file = writeTIFF(image, {.bits = bits, .isBigEndian = isBigEndian, .isBig = isBig});
        EXPECT_EQ(claimedImageSize(file), (ImageSize{37, 23})) << isBigEndian << isBig;
        EXPECT_TRUE(decodeImage(file) == image) << isBigEndian << isBig << " " << bits;
      }
    }
  }
}

TEST(TIFFDecoding, TheSizeIsThatOfThePixelsAsTheyAreStored) {
  const ByteVector file = writeTIFF(storedFor(noiseImage(7, 5), 6), {.orientation = 6});
  EXPECT_EQ(claimedImageSize(file), (ImageSize{5, 7}));
}

TEST(TIFFDecoding, SidesMayBeSignedIntegersThatAreNotNegative) {
  const Image image = noiseImage(37, 200);
  const ByteVector file = writeTIFF(image, {});
  const std::size_t directory = littleEndian32(file, 4);
  const auto withSides = [&](std::uint8_t type, std::uint8_t highestByte) {
    ByteVector changed = file;
    for (std::size_t i = 0; i < littleEndian16(file, directory); ++i) {
      const std::size_t entry = directory + 2 + i * 12;
      const unsigned tag = littleEndian16(file, entry);
      if (tag != 256 && tag != 257) continue;
      changed[entry + 2] = std::byte{type};
      changed[entry + 11] = std::byte{highestByte};
    }
    return changed;
  };
  constexpr std::uint8_t signedByte = 6, signedShort = 8, signedLong = 9, real = 11;
  EXPECT_EQ(claimedImageSize(withSides(signedShort, 0)), (ImageSize{37, 200}));
  EXPECT_TRUE(decodeImage(withSides(signedShort, 0)) == image);
  EXPECT_TRUE(decodeImage(withSides(signedLong, 0)) == image);
  EXPECT_FALSE(claimedImageSize(withSides(signedLong, 0x80)));
  EXPECT_FALSE(claimedImageSize(withSides(signedByte, 0)));  // 200 is -56.
  EXPECT_FALSE(claimedImageSize(withSides(real, 0)));
}

TEST(TIFFDecoding, TilesThatLieOutsideOfTheImageForTheMostPartAreRefused) {
  // Padded as writers do it.
  const std::optional<Image> small = decodeImage(writeTIFFOfSharedTiles(10, 300, 256, 256));
  ASSERT_TRUE(small);
  EXPECT_EQ(small->height, 300U);
  // 16 x 16384 pixels: each of a thousand tiles is unpacked to 16384 x 16.
  const ByteVector file = writeTIFFOfSharedTiles(16, 16'384, 16'384, 16);
  EXPECT_LT(file.size(), 20'000U);
  EXPECT_FALSE(decodeImage(file));
}

TEST(TIFFDecoding, DirectoriesThatNoImageNeedsAreRefused) {
  EXPECT_TRUE(decodeImage(writeTIFFOfSharedTiles(16, 16, 16, 16, 200, 4)));
  EXPECT_FALSE(decodeImage(writeTIFFOfSharedTiles(16, 16, 16, 16, 4000, 4)));
  // The library would keep a copy for each entry.
  EXPECT_TRUE(decodeImage(writeTIFFOfSharedTiles(16, 16, 16, 16, 1, 100'000)));
  EXPECT_FALSE(decodeImage(writeTIFFOfSharedTiles(16, 16, 16, 16, 100, 100'000)));
}

}  // namespace
}  // namespace ornolith
