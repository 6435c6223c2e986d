#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

#include "imaging/Color.h"

namespace ornolith {
namespace {

long double exactLinear(long double encoded) {
  return encoded <= 0.04045L ? encoded / 12.92L : std::pow((encoded + 0.055L) / 1.055L, 2.4L);
}

long double exactEncoded(long double linear) {
  return linear <= 0.0031308L ? linear * 12.92L : 1.055L * std::pow(linear, 1 / 2.4L) - 0.055L;
}

int referenceCode(float linear) {
  return static_cast<int>(std::floor(exactEncoded(linear) * 255 + 0.5L));
}

TEST(Color, EveryCodeDecodesToTheNearestFloat) {
  for (int code = 0; code < 256; ++code) {
    const long double exact = exactLinear(code / 255.0L);
    const float value = linearFromSRGB8(static_cast<std::uint8_t>(code));
    const long double error = std::abs(value - exact);
    EXPECT_LE(error, std::abs(std::nextafter(value, 2.0F) - exact)) << code;
    EXPECT_LE(error, std::abs(std::nextafter(value, -1.0F) - exact)) << code;
  }
}

TEST(Color, EveryCodeSurvivesTheWayToLinearAndBack) {
  for (int code = 0; code < 256; ++code) {
    EXPECT_EQ(sRGB8FromLinear(linearFromSRGB8(static_cast<std::uint8_t>(code))), code);
  }
}

TEST(Color, CodesChangeExactlyWhereTheEncodingIsHalfWay) {
  for (int code = 1; code < 256; ++code) {
    // The two floats around the exact threshold.
    const long double threshold = exactLinear((code - 0.5L) / 255);
    float below = static_cast<float>(threshold);
    if (below >= threshold) below = std::nextafter(below, 0.0F);
    const float above = std::nextafter(below, 1.0F);
    ASSERT_LT(below, threshold);
    ASSERT_GT(above, threshold);
    EXPECT_EQ(sRGB8FromLinear(below), code - 1);
    EXPECT_EQ(sRGB8FromLinear(above), code);
  }
}

TEST(Color, ManyValuesRoundAsTheReferenceDoes) {
  for (std::uint32_t i = 0; i <= 400'000; ++i) {
    const float linear = static_cast<float>(i) / 400'000.0F;
    ASSERT_EQ(sRGB8FromLinear(linear), referenceCode(linear)) << linear;
  }
  for (float linear = 1e-7F; linear < 1; linear *= 1.0001F) {
    ASSERT_EQ(sRGB8FromLinear(linear), referenceCode(linear)) << linear;
  }
}

TEST(Color, ValuesOutsideTheRangeClampAndNaNIsZero) {
  constexpr float infinity = std::numeric_limits<float>::infinity();
  EXPECT_EQ(sRGB8FromLinear(-0.0F), 0);
  EXPECT_EQ(sRGB8FromLinear(-1.0F), 0);
  EXPECT_EQ(sRGB8FromLinear(-infinity), 0);
  EXPECT_EQ(sRGB8FromLinear(std::numeric_limits<float>::denorm_min()), 0);
  EXPECT_EQ(sRGB8FromLinear(std::nextafter(1.0F, 0.0F)), 255);
  EXPECT_EQ(sRGB8FromLinear(1.0F), 255);
  EXPECT_EQ(sRGB8FromLinear(std::nextafter(1.0F, 2.0F)), 255);
  EXPECT_EQ(sRGB8FromLinear(infinity), 255);
  EXPECT_EQ(sRGB8FromLinear(std::numeric_limits<float>::quiet_NaN()), 0);
}

TEST(Color, FormulasMatchTheReferenceToTheLastBits) {
  for (int i = 0; i <= 10'000; ++i) {
    const float value = static_cast<float>(i) / 10'000.0F;
    EXPECT_NEAR(linearFromSRGB(value), static_cast<double>(exactLinear(value)), 6.0e-8) << value;
    EXPECT_NEAR(sRGBFromLinear(value), static_cast<double>(exactEncoded(value)), 6.0e-8) << value;
  }
  EXPECT_EQ(linearFromSRGB(1.0F), 1.0F);
  EXPECT_EQ(sRGBFromLinear(1.0F), 1.0F);
  EXPECT_TRUE(std::isnan(linearFromSRGB(std::numeric_limits<float>::quiet_NaN())));
}

}  // namespace
}  // namespace ornolith
