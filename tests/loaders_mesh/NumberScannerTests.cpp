#include <gmock/gmock.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <random>
#include <string>

#include "loaders/mesh/NumberScanner.h"

namespace ornolith {
namespace {

template <typename Real>
std::size_t scannedLength(std::string_view text, Real& value) {
  return static_cast<std::size_t>(scanReal(text.data(), text.data() + text.size(), value) - text.data());
}

template <typename Real>
void expectAsTheLibraryReads(const std::string& text) {
  Real value{};
  ASSERT_EQ(scannedLength(text, value), text.size()) << text;
  Real expected{};
  if constexpr (sizeof(Real) == sizeof(float)) {
    expected = *parseFloat(text);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(value), std::bit_cast<std::uint32_t>(expected)) << text;
  } else {
    expected = *parseDouble(text);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(value), std::bit_cast<std::uint64_t>(expected)) << text;
  }
}

void expectBothAsTheLibraryReads(const std::string& text) {
  expectAsTheLibraryReads<float>(text);
  expectAsTheLibraryReads<double>(text);
}

TEST(NumberScanner, ReadsNumbersAsExportersWriteThem) {
  for (const char* text : {"0",
                           "-0",
                           "0.0",
                           "-0.000000",
                           "1",
                           "+1",
                           "1.",
                           ".5",
                           "-.5",
                           "+.5e1",
                           "1e5",
                           "1E5",
                           "1e-5",
                           "1e+05",
                           "123.456789",
                           "0.00000000000000000001",
                           "3.4028236e38",
                           "1e39",
                           "-1e39",
                           "1e-46",
                           "1.17e-38",
                           "1e400",
                           "1e-400",
                           "9007199254740993",
                           "18446744073709551616",
                           "1e22",
                           "1e23",
                           "1e-22",
                           "1e-23",
                           "00000000000000000000001.5",
                           "0.1",
                           "16777217",
                           "16777219",
                           "1e99999999999",
                           "inf",
                           "-inf",
                           "INFINITY",
                           "nan"}) {
    expectBothAsTheLibraryReads(text);
  }
}

TEST(NumberScanner, RoundsToFloatOnceWhereTheDoubleLiesBetweenTwoFloats) {
  // 1 + 2^-24 is the middle between two floats; the decimal numbers lie a hair to either side of it.
  for (const char* text : {"1.000000059604644775", "1.0000000596046448", "1.00000005960464477539", "1.000000059604645",
                           "1.00000017881393432617", "1.000000178813934", "8388608.5", "8388609.5", "16777217.0"}) {
    expectAsTheLibraryReads<float>(text);
  }
}

TEST(NumberScanner, AgreesWithTheLibraryOnRandomNumbers) {
  std::mt19937 random(7);
  char text[64];
  for (int i = 0; i < 200000; ++i) {
    const auto bits = static_cast<std::uint32_t>(random());
    const float value = std::bit_cast<float>(bits);
    if (!std::isfinite(value)) continue;
    const int precision = static_cast<int>(random() % 18);
    const char* const formats[] = {"%.*g", "%.*e", "%+.*g"};
    std::snprintf(text, sizeof text, formats[random() % 3], precision, static_cast<double>(value));
    expectBothAsTheLibraryReads(text);
    const double small = (static_cast<double>(random()) - 2e9) / 1e7;
    std::snprintf(text, sizeof text, "%.*f", precision, small);
    expectBothAsTheLibraryReads(text);
  }
}

TEST(NumberScanner, StopsBehindTheNumber) {
  float value = 0;
  EXPECT_EQ(scannedLength("1.5 2", value), 3u);
  EXPECT_EQ(scannedLength("1.5e", value), 3u);
  EXPECT_EQ(scannedLength("1.5e+", value), 3u);
  EXPECT_EQ(scannedLength("1.5.5", value), 3u);
  EXPECT_EQ(value, 1.5F);
  EXPECT_EQ(scannedLength("1,5", value), 1u);
  EXPECT_EQ(value, 1);
}

TEST(NumberScanner, FindsNoNumberWhereThereIsNone) {
  float value = 0;
  for (const char* text : {"", "+", "-", ".", "-.", "e5", "+-1", "++1", "--1", "x", " 1", ",5"}) {
    EXPECT_EQ(scannedLength(text, value), 0u) << text;
  }
}

TEST(NumberScanner, ReadsIntegers) {
  const auto scanned = [](std::string_view text, std::int64_t& value) {
    return static_cast<std::size_t>(scanInteger(text.data(), text.data() + text.size(), value) - text.data());
  };
  std::int64_t value = 0;
  EXPECT_EQ(scanned("12/3", value), 2u);
  EXPECT_EQ(value, 12);
  EXPECT_EQ(scanned("-7", value), 2u);
  EXPECT_EQ(value, -7);
  EXPECT_EQ(scanned("+7", value), 2u);
  EXPECT_EQ(value, 7);
  EXPECT_EQ(scanned("000000000000000000000000042", value), 27u);
  EXPECT_EQ(value, 42);
  EXPECT_EQ(scanned("999999999999999999", value), 18u);
  EXPECT_EQ(value, 999999999999999999);
  EXPECT_EQ(scanned("99999999999999999999", value), 20u);
  EXPECT_EQ(value, std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(scanned("-99999999999999999999", value), 21u);
  EXPECT_EQ(value, std::numeric_limits<std::int64_t>::min());
  for (const char* text : {"", "-", "+", "/1", "x"}) EXPECT_EQ(scanned(text, value), 0u) << text;
}

}  // namespace
}  // namespace ornolith
