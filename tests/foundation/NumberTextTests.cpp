#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <charconv>
#include <clocale>
#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "foundation/NumberText.h"

namespace ornolith {
namespace {

TEST(NumberTextInt64, TakesOneOptionalSign) {
  EXPECT_EQ(parseInt64("0"), 0);
  EXPECT_EQ(parseInt64("+12"), 12);
  EXPECT_EQ(parseInt64("-12"), -12);
  EXPECT_EQ(parseInt64("0007"), 7);
  EXPECT_EQ(parseInt64("9223372036854775807"), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(parseInt64("-9223372036854775808"), std::numeric_limits<std::int64_t>::min());
}

TEST(NumberTextInt64, RefusesEverythingElse) {
  for (const char* text : {"", "+", "-", "+-1", "-+1", "--1", "++1", " 1", "1 ", "1\n", "1.0", "1e3", "0x10", "1_000",
                           "a", "9223372036854775808", "-9223372036854775809", "\xEF\xBC\x91"}) {
    EXPECT_EQ(parseInt64(text), std::nullopt) << text;
  }
  EXPECT_EQ(parseInt64(std::string_view("1\0", 2)), std::nullopt);
}

TEST(NumberTextUInt32, ReadsDigitsOfTheRadix) {
  EXPECT_EQ(parseUInt32("ABCDEF", 16), 0xABCDEFu);
  EXPECT_EQ(parseUInt32("abcdef", 16), 0xABCDEFu);
  EXPECT_EQ(parseUInt32("+12345", 16), 0x12345u);
  EXPECT_EQ(parseUInt32("ffffffff", 16), 0xFFFFFFFFu);
  EXPECT_EQ(parseUInt32("4294967295"), 4294967295u);
  EXPECT_EQ(parseUInt32("zz", 36), 35u * 36u + 35u);
}

TEST(NumberTextUInt32, AMinusIsForZeroAlone) {
  EXPECT_EQ(parseUInt32("-00000", 16), 0u);
  EXPECT_EQ(parseUInt32("-00001", 16), std::nullopt);
  EXPECT_EQ(parseUInt32("-", 16), std::nullopt);
  EXPECT_EQ(parseUInt32("--0", 16), std::nullopt);
  EXPECT_EQ(parseUInt32("+-0", 16), std::nullopt);
}

TEST(NumberTextUInt32, RefusesOtherDigitsAndLargerValues) {
  for (const char* text : {"", "+", "g", "0x1", "12 ", " 12", "100000000"}) {
    EXPECT_EQ(parseUInt32(text, 16), std::nullopt) << text;
  }
}

TEST(NumberTextDigit, HasTheValueOfAHexadecimalDigitInEitherCase) {
  constexpr std::string_view digits = "0123456789abcdef";
  for (int character = 0; character < 128; ++character) {
    const char c = static_cast<char>(character);
    const char lower = c >= 'A' && c <= 'F' ? static_cast<char>(c - 'A' + 'a') : c;
    const std::size_t place = digits.find(lower);
    EXPECT_EQ(hexadecimalDigitValue(c), place == std::string_view::npos ? -1 : static_cast<int>(place)) << c;
  }
}

TEST(NumberTextUInt64, ReadsDigitsAlone) {
  EXPECT_EQ(parseUInt64Digits("18446744073709551615"), std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(parseUInt64Digits("0012"), 12u);
  for (const char* text : {"", "+1", "-1", "-0", "18446744073709551616", "1 ", " 1", "1a", "0x1"}) {
    EXPECT_EQ(parseUInt64Digits(text), std::nullopt) << text;
  }
}

TEST(NumberTextReal, ReadsEveryFormOfStrtod) {
  EXPECT_EQ(parseDouble("1"), 1.0);
  EXPECT_EQ(parseDouble("+1.5"), 1.5);
  EXPECT_EQ(parseDouble("-.5"), -0.5);
  EXPECT_EQ(parseDouble("5."), 5.0);
  EXPECT_EQ(parseDouble("1e3"), 1000.0);
  EXPECT_EQ(parseDouble("1E-3"), 0.001);
  EXPECT_EQ(parseDouble("0x1.8p1"), 3.0);
  EXPECT_EQ(parseDouble("-0X10"), -16.0);
  EXPECT_EQ(parseDouble("inf"), std::numeric_limits<double>::infinity());
  EXPECT_EQ(parseDouble("-Infinity"), -std::numeric_limits<double>::infinity());
  EXPECT_TRUE(std::isnan(parseDouble("nan").value()));
  EXPECT_TRUE(std::isnan(parseDouble("NaN(12)").value()));
  EXPECT_TRUE(std::signbit(parseDouble("-0").value()));
}

TEST(NumberTextReal, RefusesPartsBlanksAndNothing) {
  for (const char* text : {"",  " 1",  "1 ",  "\t1", "\n1", "\v1", "\f1", "\r1",  "1,5",  "1.5.2", "e3", ".",
                           "+", "--1", "+-1", "0x",  "0xg", "1e",  "1e+", "infi", "nanx", "abc",   "1f", "1\xC2\xA0"}) {
    EXPECT_EQ(parseDouble(text), std::nullopt) << text;
    EXPECT_EQ(parseFloat(text), std::nullopt) << text;
  }
  EXPECT_EQ(parseDouble(std::string_view("1\0", 2)), std::nullopt);
  EXPECT_EQ(parseDouble(std::string_view("\0", 1)), std::nullopt);
}

TEST(NumberTextReal, BeyondTheTypeIsInfiniteOrTheNearest) {
  EXPECT_EQ(parseDouble("1e999"), std::numeric_limits<double>::infinity());
  EXPECT_EQ(parseDouble("-1e999"), -std::numeric_limits<double>::infinity());
  EXPECT_EQ(parseDouble("1e-999"), 0.0);
  EXPECT_EQ(parseDouble("4e-324"), std::numeric_limits<double>::denorm_min());
  EXPECT_EQ(parseFloat("1e39"), std::numeric_limits<float>::infinity());
  EXPECT_EQ(parseFloat("3.4028235e38"), std::numeric_limits<float>::max());
  EXPECT_EQ(parseFloat("1e-45"), std::numeric_limits<float>::denorm_min());
}

TEST(NumberTextReal, AFloatIsRoundedOnce) {
  // Just above the middle of 1 and the next float, by less than a double can tell.
  const char* text = "1.00000005960464477540";
  EXPECT_EQ(static_cast<float>(parseDouble(text).value()), 1.0f);
  EXPECT_EQ(parseFloat(text), std::nextafter(1.0f, 2.0f));
}

/// The nearest value by another implementation, for texts within the type's range.
template <typename Real>
Real fromChars(const std::string& text) {
  Real value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  EXPECT_EQ(result.ptr, text.data() + text.size()) << text;
  return value;
}

TEST(NumberTextReal, AgreesWithAnotherImplementationForRandomDecimals) {
  std::mt19937_64 random(3);
  for (int round = 0; round < 20'000; ++round) {
    std::string text = random() % 2 == 0 ? "-" : "";
    text += std::to_string(random());
    if (random() % 2 == 0) text += "." + std::to_string(random());
    text += "e" + std::to_string(static_cast<int>(random() % 40) - 30);
    EXPECT_EQ(parseDouble(text), fromChars<double>(text)) << text;
    if (text.find("e9") == std::string::npos) {
      EXPECT_EQ(parseFloat(text), fromChars<float>(text)) << text;
    }
  }
}

TEST(NumberTextReal, ShortestTextsReadBackAsTheSameBits) {
  std::mt19937_64 random(4);
  for (int round = 0; round < 20'000; ++round) {
    const auto number = std::bit_cast<double>(random());
    if (!std::isfinite(number)) continue;
    std::array<char, 400> buffer{};
    for (const auto format : {std::chars_format::general, std::chars_format::hex}) {
      const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), std::abs(number), format).ptr;
      const std::string prefix =
          std::string(std::signbit(number) ? "-" : "") + (format == std::chars_format::hex ? "0x" : "");
      const std::string text = prefix + std::string(buffer.data(), end);
      EXPECT_EQ(std::bit_cast<std::uint64_t>(parseDouble(text).value()), std::bit_cast<std::uint64_t>(number)) << text;
    }
  }
}

TEST(NumberTextReal, TheProcessLocalePlaysNoPart) {
  const std::string before = std::setlocale(LC_ALL, nullptr);
  for (const char* name : {"de_DE.UTF-8", "fr_FR.UTF-8"}) {
    if (std::setlocale(LC_ALL, name) == nullptr) continue;
    EXPECT_EQ(parseDouble("1.5"), 1.5);
    EXPECT_EQ(parseDouble("1,5"), std::nullopt);
  }
  std::setlocale(LC_ALL, before.c_str());
  EXPECT_EQ(parseDouble("1.5"), 1.5);
}

}  // namespace
}  // namespace ornolith
