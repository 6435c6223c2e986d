#pragma once

#include <array>
#include <bit>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>
#include <system_error>
#include <type_traits>

#include "foundation/NumberText.h"

namespace ornolith {

// Numbers at the front of a text, for readers of files that are mostly numbers. Each function takes the longest number
// that begins at `begin` and gives the place behind it, or `begin` where there is none. Blanks are not skipped, what
// follows is not looked at, and nothing depends on the locale.

namespace number_scanner {

inline constexpr std::array<double, 23> powersOfTen = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                       1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                                       1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

inline bool isDigit(char letter) noexcept {
  return static_cast<unsigned char>(letter - '0') < 10;
}

/// The number by the library's own scanner, which also knows "inf" and "nan"; beyond the type's range it is infinite,
/// subnormal or zero.
template <typename Real>
const char* scanRarely(const char* begin, const char* end, Real& value) {
  const char* digits = begin != end && *begin == '+' ? begin + 1 : begin;
  if (digits != begin && digits != end && (*digits == '-' || *digits == '+')) return begin;
  const auto [stop, fault] = std::from_chars(digits, end, value);
  if (fault == std::errc::invalid_argument) return begin;
  if (fault == std::errc::result_out_of_range) {
    const std::string_view token(digits, static_cast<std::size_t>(stop - digits));
    if constexpr (sizeof(Real) == sizeof(float)) {
      value = parseFloat(token).value_or(0.0F);
    } else {
      value = parseDouble(token).value_or(0.0);
    }
  }
  return stop;
}

/// True where a double that is the nearest one to some number also tells on which side of the middle between two floats
/// that number lies. Below the range of normal floats it says nothing.
inline bool roundsToFloatOnce(double value) noexcept {
  constexpr std::uint64_t bitsLost = (std::uint64_t{1} << 29U) - 1;
  constexpr std::uint64_t middle = std::uint64_t{1} << 28U;
  return (std::bit_cast<std::uint64_t>(value) & bitsLost) != middle;
}

}  // namespace number_scanner

/// Reads a decimal number, with an optional sign (also "+"), point and exponent, or "inf" or "nan" in any case, as the
/// nearest value of its type. Short numbers with small exponents, which is nearly all, come from one exact division or
/// multiplication: W. D. Clinger, "How to read floating point numbers accurately" (1990).
template <typename Real>
const char* scanReal(const char* begin, const char* end, Real& value) {
  static_assert(std::is_same_v<Real, float> || std::is_same_v<Real, double>);
  using number_scanner::isDigit;
  constexpr int digitsThatFit = 19;
  constexpr std::uint64_t exactIntegers = std::uint64_t{1} << 53U;
  constexpr std::int64_t exactPowers = 22;

  const char* p = begin;
  const bool isNegative = p != end && *p == '-';
  if (p != end && (*p == '-' || *p == '+')) ++p;
  std::uint64_t mantissa = 0;
  const char* const firstDigit = p;
  while (p != end && isDigit(*p)) mantissa = mantissa * 10 + static_cast<std::uint64_t>(*p++ - '0');
  std::ptrdiff_t digitCount = p - firstDigit;
  std::int64_t exponent = 0;
  if (p != end && *p == '.') {
    const char* const firstFractionDigit = ++p;
    while (p != end && isDigit(*p)) mantissa = mantissa * 10 + static_cast<std::uint64_t>(*p++ - '0');
    exponent = firstFractionDigit - p;
    digitCount -= exponent;
  }
  if (digitCount == 0 || digitCount > digitsThatFit) return number_scanner::scanRarely(begin, end, value);
  if (p != end && (*p == 'e' || *p == 'E')) {
    const char* q = p + 1;
    const bool isDown = q != end && *q == '-';
    if (q != end && (*q == '-' || *q == '+')) ++q;
    if (q != end && isDigit(*q)) {
      std::int64_t written = 0;
      for (; q != end && isDigit(*q); ++q) written = written < 100000 ? written * 10 + (*q - '0') : written;
      exponent += isDown ? -written : written;
      p = q;
    }
  }
  if (mantissa > exactIntegers || exponent < -exactPowers || exponent > exactPowers) {
    return number_scanner::scanRarely(begin, end, value);
  }
  const auto whole = static_cast<double>(mantissa);
  double result = exponent < 0 ? whole / number_scanner::powersOfTen[static_cast<std::size_t>(-exponent)]
                               : whole * number_scanner::powersOfTen[static_cast<std::size_t>(exponent)];
  if constexpr (std::is_same_v<Real, float>) {
    if (!number_scanner::roundsToFloatOnce(result)) return number_scanner::scanRarely(begin, end, value);
  }
  if (isNegative) result = -result;
  value = static_cast<Real>(result);
  return p;
}

/// Reads decimal digits with an optional sign (also "+"). A value beyond 18 digits becomes the largest or smallest of
/// the type.
inline const char* scanInteger(const char* begin, const char* end, std::int64_t& value) noexcept {
  using number_scanner::isDigit;
  constexpr std::ptrdiff_t digitsThatFit = 18;
  const char* p = begin;
  const bool isNegative = p != end && *p == '-';
  if (p != end && (*p == '-' || *p == '+')) ++p;
  while (p != end && *p == '0' && p + 1 != end && p[1] == '0') ++p;
  const char* const firstDigit = p;
  std::uint64_t magnitude = 0;
  while (p != end && isDigit(*p)) magnitude = magnitude * 10 + static_cast<std::uint64_t>(*p++ - '0');
  if (p == firstDigit) return begin;
  if (p - firstDigit > digitsThatFit) {
    value = isNegative ? std::numeric_limits<std::int64_t>::min() : std::numeric_limits<std::int64_t>::max();
  } else {
    value = isNegative ? -static_cast<std::int64_t>(magnitude) : static_cast<std::int64_t>(magnitude);
  }
  return p;
}

}  // namespace ornolith
