#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace ornolith {

// Numbers from texts. Each function consumes the whole text and allows no blanks; anything else, and a value outside
// the type, is nothing. None of them depends on the process's locale.

/// Decimal digits with one optional "+" or "-" in front.
std::optional<std::int64_t> parseInt64(std::string_view text) noexcept;

/// Digits of `radix` (2 to 36, letters in either case) with one optional sign; with "-" every digit must be 0.
std::optional<std::uint32_t> parseUInt32(std::string_view text, int radix = 10) noexcept;

/// The value of one hexadecimal digit, in either case; -1 for any other character.
int hexadecimalDigitValue(char digit) noexcept;

/// Decimal digits alone: no sign.
std::optional<std::uint64_t> parseUInt64Digits(std::string_view text) noexcept;

/// The rules of the C library's `strtod` in the C locale: decimal and exponent forms, hexadecimal floats, "inf",
/// "infinity", "nan" and "nan(...)" in any case, one optional sign. The result is the nearest value; a number too large
/// for the type is infinite and one too small is the nearest of subnormal and zero, so callers that want a finite
/// number test for it.
std::optional<double> parseDouble(std::string_view text);

/// As `parseDouble`, rounded once, straight to 32 bits.
std::optional<float> parseFloat(std::string_view text);

}  // namespace ornolith
