#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "imaging/Compositing.h"

namespace ornolith {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::SizeIs;

using Pixel = std::array<int, 4>;

Image filled(std::uint32_t width, std::uint32_t height, Pixel pixel) {
  return filledImage(width, height, static_cast<std::uint8_t>(pixel[0]), static_cast<std::uint8_t>(pixel[1]),
                     static_cast<std::uint8_t>(pixel[2]), static_cast<std::uint8_t>(pixel[3]));
}

Pixel pixelAt(const Image& image, std::uint32_t x, std::uint32_t y) {
  const std::uint8_t* const p = image.pixel(x, y);
  return {p[0], p[1], p[2], p[3]};
}

Pixel over(Pixel source, Pixel canvas) {
  Image result = filled(1, 1, canvas);
  drawOver(filled(1, 1, source), result);
  return pixelAt(result, 0, 0);
}

/// Which pixels of a canvas of 4 by 3 a source of 2 by 2 reaches, "#" for each, row after row.
std::vector<std::string> reached(std::int64_t x, std::int64_t y) {
  Image canvas = filled(4, 3, {0, 0, 0, 0});
  drawOver(filled(2, 2, {9, 9, 9, 255}), canvas, x, y);
  std::vector<std::string> rows;
  for (std::uint32_t row = 0; row < 3; ++row) {
    std::string& text = rows.emplace_back();
    for (std::uint32_t column = 0; column < 4; ++column) text += pixelAt(canvas, column, row)[3] != 0 ? '#' : '.';
  }
  return rows;
}

TEST(FilledImage, HasOneColorThroughout) {
  const Image image = filled(3, 2, {1, 2, 3, 4});
  EXPECT_EQ(image.width, 3U);
  EXPECT_EQ(image.height, 2U);
  ASSERT_THAT(image.pixels, SizeIs(24));
  for (std::uint32_t y = 0; y < 2; ++y) {
    for (std::uint32_t x = 0; x < 3; ++x) EXPECT_EQ(pixelAt(image, x, y), (Pixel{1, 2, 3, 4}));
  }
}

TEST(DrawOver, ReplacesWhatLiesUnderAnOpaquePixel) {
  EXPECT_EQ(over({1, 2, 3, 255}, {200, 100, 50, 255}), (Pixel{1, 2, 3, 255}));
  EXPECT_EQ(over({1, 2, 3, 255}, {200, 100, 50, 7}), (Pixel{1, 2, 3, 255}));
  EXPECT_EQ(over({1, 2, 3, 255}, {0, 0, 0, 0}), (Pixel{1, 2, 3, 255}));
}

TEST(DrawOver, KeepsWhatLiesUnderAClearPixel) {
  for (int alpha = 0; alpha < 256; ++alpha) {
    EXPECT_EQ(over({255, 255, 255, 0}, {200, 100, 50, alpha}), (Pixel{200, 100, 50, alpha})) << alpha;
  }
}

TEST(DrawOver, KeepsATranslucentPixelOnNothing) {
  for (int alpha = 1; alpha < 256; ++alpha) {
    EXPECT_EQ(over({200, 100, 1, alpha}, {77, 77, 77, 0}), (Pixel{200, 100, 1, alpha})) << alpha;
  }
}

TEST(DrawOver, MixesByWeight) {
  EXPECT_EQ(over({255, 0, 0, 51}, {0, 0, 255, 255}), (Pixel{51, 0, 204, 255}));
  EXPECT_EQ(over({255, 0, 0, 153}, {0, 0, 255, 51}), (Pixel{225, 0, 30, 173}));
}

TEST(DrawOver, FollowsTheOperatorInRealNumbersWithinHalfAStep) {
  for (int a = 0; a < 256; a += 3) {
    for (int b = 0; b < 256; b += 5) {
      for (int color = 0; color < 256; color += 17) {
        const Pixel result = over({color, 255 - color, 13, a}, {100, 3, 240, b});
        const double sourceAlpha = a / 255.0;
        const double canvasAlpha = b / 255.0 * (1.0 - sourceAlpha);
        ASSERT_NEAR(result[3], (sourceAlpha + canvasAlpha) * 255.0, 0.5 + 1e-9) << a << " over " << b;
        if (a == 0 && b == 0) continue;
        const double expected = (color * sourceAlpha + 100 * canvasAlpha) / (sourceAlpha + canvasAlpha);
        ASSERT_NEAR(result[0], expected, 0.5 + 1e-9) << a << " over " << b;
      }
    }
  }
}

TEST(DrawOver, PutsItsTopLeftWhereItIsTold) {
  EXPECT_THAT(reached(0, 0), ElementsAre("##..", "##..", "...."));
  EXPECT_THAT(reached(2, 1), ElementsAre("....", "..##", "..##"));
}

TEST(DrawOver, LeavesOutWhatLiesOutside) {
  EXPECT_THAT(reached(-1, -1), ElementsAre("#...", "....", "...."));
  EXPECT_THAT(reached(3, 2), ElementsAre("....", "....", "...#"));
  for (const auto& [x, y] : std::vector<std::pair<std::int64_t, std::int64_t>>{
           {-2, 0}, {4, 0}, {0, 3}, {0, -2}, {-1000, 1}, {1000, 1}, {INT64_C(-8192000), INT64_C(8192000)}}) {
    EXPECT_THAT(reached(x, y), Each("....")) << x << ", " << y;
  }
}

TEST(DrawOver, ShowsTheRightPartOfACutSource) {
  Image source = filled(2, 2, {0, 0, 0, 255});
  source.pixels[12] = 99;  // the red of the bottom right pixel
  Image canvas = filled(1, 1, {1, 1, 1, 255});
  drawOver(source, canvas, -1, -1);
  EXPECT_EQ(pixelAt(canvas, 0, 0), (Pixel{99, 0, 0, 255}));
}

}  // namespace
}  // namespace ornolith
