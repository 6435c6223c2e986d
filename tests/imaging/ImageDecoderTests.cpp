#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <string>
#include <thread>

#include "TestImages.h"
#include "imaging/ImageDecoder.h"
#include "imaging/Orientation.h"
#include "imaging/PNGEncoder.h"

namespace ornolith {
namespace {

using namespace ornolith::testing;
using namespace std::string_literals;

/// What an orientation says in the tag's own words: where the stored first row and first column belong.
Image storedFor(const Image& upright, unsigned orientation) {
  const bool swapsAxes = orientation >= 5;
  Image stored = swapsAxes ? blankImage(upright.height, upright.width) : blankImage(upright.width, upright.height);
  for (std::uint32_t row = 0; row < stored.height; ++row) {
    for (std::uint32_t column = 0; column < stored.width; ++column) {
      std::uint32_t x = 0;
      std::uint32_t y = 0;
      const std::uint32_t right = upright.width - 1;
      const std::uint32_t bottom = upright.height - 1;
      switch (orientation) {
        case 1:
          x = column, y = row;
          break;
        case 2:
          x = right - column, y = row;
          break;
        case 3:
          x = right - column, y = bottom - row;
          break;
        case 4:
          x = column, y = bottom - row;
          break;
        case 5:
          x = row, y = column;
          break;
        case 6:
          x = right - row, y = column;
          break;
        case 7:
          x = right - row, y = bottom - column;
          break;
        case 8:
          x = row, y = bottom - column;
          break;
        default:
          break;
      }
      std::copy_n(upright.pixel(x, y), 4, stored.pixels.begin() + (row * stored.width + column) * 4);
    }
  }
  return stored;
}

TEST(Orientation, EveryOneIsUndone) {
  const Image upright = noiseImage(5, 3);
  for (unsigned orientation = 1; orientation <= 8; ++orientation) {
    EXPECT_TRUE(uprightImage(storedFor(upright, orientation), orientation) == upright) << orientation;
  }
  EXPECT_TRUE(uprightImage(upright, 0) == upright);
  EXPECT_TRUE(uprightImage(upright, 9) == upright);
}

// PNG.

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

ByteVector bytesOf(std::initializer_list<unsigned> values) {
  ByteVector bytes;
  for (const unsigned value : values) bytes.push_back(static_cast<std::byte>(value));
  return bytes;
}

std::vector<unsigned> pixelsOf(const std::optional<Image>& image) {
  return image ? std::vector<unsigned>(image->pixels.begin(), image->pixels.end()) : std::vector<unsigned>{};
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

// JPEG.

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

// WebP.

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

// TIFF.

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

// EXR.

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

// HEIC.

TEST(HEICDecoding, ThePrimaryImageComesBack) {
  const Image image = gradientImage(64, 48);
  const std::optional<Image> decoded = decodeImage(writeHEIC(image));
  ASSERT_TRUE(decoded);
  EXPECT_LE(largestDifference(*decoded, image), 8);
}

// TGA.

ByteWriter tgaHeader(unsigned type, unsigned width, unsigned height, unsigned bits, unsigned descriptor,
                     unsigned mapCount = 0, unsigned mapBits = 0, unsigned identifierBytes = 0) {
  ByteWriter file;
  file.u8(identifierBytes).u8(mapCount > 0 ? 1 : 0).u8(type).u16(0).u16(mapCount).u8(mapBits);
  file.u16(0).u16(0).u16(width).u16(height).u8(bits).u8(descriptor).zeros(identifierBytes);
  return file;
}

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

// BMP.

ByteWriter bmpHeader(int width, int height, unsigned bits, unsigned compression, unsigned paletteCount,
                     std::size_t maskBytes = 0) {
  ByteWriter file;
  const auto offset = static_cast<std::uint32_t>(54 + paletteCount * 4 + maskBytes);
  file.text("BM").u32(0).u32(0).u32(offset).u32(40);
  file.u32(static_cast<std::uint32_t>(width)).u32(static_cast<std::uint32_t>(height)).u16(1).u16(bits);
  file.u32(compression).u32(0).u32(0).u32(0).u32(paletteCount).u32(0);
  return file;
}

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

// What all kinds have in common.

struct Sample {
  std::string name;
  ImageKind kind;
  ByteVector file;
};

const std::vector<Sample>& samples() {
  static const std::vector<Sample> all = [] {
    const Image small = gradientImage(24, 16);
    const Image clear = noiseImage(24, 16);
    ByteWriter tga = tgaHeader(10, 24, 16, 24, 0);
    for (int i = 0; i < 48; ++i) tga.u8(0x87).u8(1).u8(2).u8(3);
    ByteWriter bmp = bmpHeader(24, 16, 24, 0, 0);
    bmp.zeros(24 * 16 * 3);
    return std::vector<Sample>{
        {"png", ImageKind::png, encodePNG(clear)},
        {"interlaced png", ImageKind::png, writePNG(24, 16, {8, 0, true}, std::vector<ByteVector>(16, ByteVector(24)))},
        {"jpeg", ImageKind::jpeg, writeJPEG(small, {})},
        {"progressive jpeg", ImageKind::jpeg, writeJPEG(small, {.isProgressive = true, .orientation = 6})},
        {"tiff", ImageKind::tiff, writeTIFF(clear, {.compression = 5})},
        {"converted tiff", ImageKind::tiff, writeTIFF(clear, {.samples = 1, .isTiled = true, .isPalette = true})},
        {"tga", ImageKind::tga, tga.take()},
        {"bmp", ImageKind::bmp, bmp.take()},
        {"heic", ImageKind::heic, writeHEIC(small)},
        {"exr", ImageKind::exr, writeEXR(clear, {})},
        {"tiled exr", ImageKind::exr, writeEXR(clear, {.isTiled = true})},
        {"webp", ImageKind::webp, writeWebP(clear)},
        {"animated webp", ImageKind::webp, writeAnimatedWebP(small, 0, 0, 24, 16)}};
  }();
  return all;
}

void expectSoundOrNothing(const std::optional<Image>& image) {
  if (!image) return;
  EXPECT_GT(image->width, 0U);
  EXPECT_GT(image->height, 0U);
  EXPECT_EQ(image->pixels.size(), std::size_t{image->width} * image->height * 4);
}

TEST(ImageDecoder, TheKindIsToldByContent) {
  for (const Sample& sample : samples()) {
    EXPECT_EQ(imageKind(sample.file), sample.kind) << sample.name;
    const std::optional<Image> image = decodeImage(sample.file);
    ASSERT_TRUE(image) << sample.name;
    EXPECT_EQ(image->width * image->height, 24U * 16U) << sample.name;
  }
}

TEST(ImageDecoder, AFileCutAtAnyLengthIsNothingOrSound) {
  for (const Sample& sample : samples()) {
    for (std::size_t length = 0; length < sample.file.size(); ++length) {
      // A copy of exactly this size, so that reading behind it is noticed.
      const ByteVector cut(sample.file.begin(), sample.file.begin() + static_cast<std::ptrdiff_t>(length));
      const std::optional<Image> image = decodeImage(cut);
      expectSoundOrNothing(image);
      // What is cut by half has lost pixels in every kind.
      if (length < sample.file.size() / 2) {
        EXPECT_FALSE(image) << sample.name << " " << length;
      }
    }
  }
}

TEST(ImageDecoder, PatchedBytesGiveNothingOrASoundImage) {
  std::mt19937 random(5);
  for (const Sample& sample : samples()) {
    const int rounds = sample.kind == ImageKind::heic ? 150 : 500;
    for (int round = 0; round < rounds; ++round) {
      ByteVector patched = sample.file;
      for (unsigned i = 0; i <= random() % 4; ++i) {
        // Headers stand in front: half of the patches go there.
        const std::size_t range = random() % 2 == 0 ? std::min<std::size_t>(patched.size(), 64) : patched.size();
        patched[random() % range] = static_cast<std::byte>(random());
      }
      expectSoundOrNothing(decodeImage(patched));
    }
  }
}

void writeBigEndian(ByteVector& file, std::size_t offset, std::uint32_t value) {
  for (std::size_t i = 0; i < 4; ++i) file[offset + i] = static_cast<std::byte>(value >> (24 - 8 * i) & 255U);
}

TEST(ImageDecoder, ClaimsOutOfProportionAreRefused) {
  // 16384 x 8192 pixels, half a gigabyte, in a few bytes.
  ByteWriter tga = tgaHeader(10, 16'384, 8192, 24, 0);
  EXPECT_FALSE(decodeImage(tga.zeros(1000).take()));
  ByteWriter bmp = bmpHeader(16'384, 8192, 8, 1, 0);
  EXPECT_FALSE(decodeImage(bmp.u16(0x0100).take()));
  ByteVector tiff = writeTIFF(noiseImage(4, 4), {});
  for (std::size_t i = 0; i + 12 <= tiff.size(); ++i) {
    const auto tag = std::to_integer<unsigned>(tiff[i]) | std::to_integer<unsigned>(tiff[i + 1]) << 8;
    if (tag == 256 || tag == 257) tiff[i + 9] = std::byte{0x20};  // Type and count lie between.
  }
  EXPECT_FALSE(decodeImage(tiff));
  ByteVector jpeg = writeJPEG(gradientImage(16, 16), {});
  for (std::size_t i = 0; i + 9 < jpeg.size(); ++i) {
    if (jpeg[i] == std::byte{0xff} && jpeg[i + 1] == std::byte{0xc0}) writeBigEndian(jpeg, i + 5, 0x20002000);
  }
  EXPECT_FALSE(decodeImage(jpeg));
  // A flat picture of 12288 x 12288 that its own coder writes in a few hundred bytes.
  EXPECT_FALSE(decodeImage(writeWebP(blankImage(12'288, 12'288))));
}

TEST(ImageDecoder, WhatIsNoImageIsNothing) {
  EXPECT_FALSE(decodeImage({}));
  EXPECT_FALSE(imageKind({}));
  ByteWriter text;
  text.text("This is a text and no image, whatever its name says. It goes on for a while, and then it ends.\n");
  EXPECT_FALSE(decodeImage(text.take()));
  EXPECT_FALSE(decodeImage(ByteVector(5000)));
  EXPECT_FALSE(decodeImage(ByteVector(5000, std::byte{0xff})));
}

class ImageFile : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = "/tmp/ornolith-imaging-XXXXXX";
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
  }
  void TearDown() override {
    for (const char* const name : {"file", "pipe", "link"}) ::unlink(path(name).c_str());
    ::rmdir(folder_.c_str());
  }
  std::string path(const std::string& name) const { return folder_ + "/" + name; }
  void write(const ByteVector& bytes) const {
    std::ofstream file(path("file"), std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  }

  std::string folder_;
};

TEST_F(ImageFile, IsDecodedWhateverItsName) {
  const Image image = noiseImage(9, 9);
  write(encodePNG(image));
  EXPECT_TRUE(decodeImageFile(path("file")) == image);
  ASSERT_EQ(::symlink(path("file").c_str(), path("link").c_str()), 0);
  EXPECT_TRUE(decodeImageFile(path("link")) == image);
}

TEST_F(ImageFile, ThatIsNoRegularFileOrHoldsNothingIsNothing) {
  EXPECT_FALSE(decodeImageFile(path("absent")));
  EXPECT_FALSE(decodeImageFile(folder_));
  EXPECT_FALSE(decodeImageFile(""));
  write({});
  EXPECT_FALSE(decodeImageFile(path("file")));
  ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
  EXPECT_FALSE(decodeImageFile(path("pipe")));  // And does not wait for a writer.
}

TEST(ImageDecoder, SeveralThreadsMayDecodeAtOnce) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([] {
      for (const Sample& sample : samples()) EXPECT_TRUE(decodeImage(sample.file)) << sample.name;
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(Image, TransparencyIsFoundInAnyPixel) {
  EXPECT_FALSE(hasTransparency({}));
  Image image = opaque(noiseImage(13, 7));
  EXPECT_FALSE(hasTransparency(image));
  for (const std::size_t pixel : {0U, 45U, 90U}) {
    image.pixels[pixel * 4 + 3] = 254;
    EXPECT_TRUE(hasTransparency(image));
    image.pixels[pixel * 4 + 3] = 255;
  }
}

}  // namespace
}  // namespace ornolith
