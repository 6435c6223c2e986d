#pragma once

#include <compare>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace ornolith {

// Texts are UTF-8 in byte strings. A text that came from the command line or from a file name may hold other bytes:
// every function here takes any bytes, treats each byte that is no part of a well-formed sequence as one character of
// its own (no white space, no letter, equal only to itself), and keeps such bytes as they are.

/// True where `text` is well-formed UTF-8 (no overlong forms, no surrogates, nothing above U+10FFFF).
bool isValidUTF8(std::string_view text) noexcept;

/// `text` with each byte that is no part of a well-formed sequence replaced by U+FFFD. For documents, which must be
/// UTF-8.
std::string repairingUTF8(std::string_view text);

/// `text` without the Unicode White_Space characters at both ends, line breaks included.
std::string_view trimmingWhitespace(std::string_view text) noexcept;

/// True where `text` holds nothing but white space.
inline bool isBlank(std::string_view text) noexcept {
  return trimmingWhitespace(text).empty();
}

/// How many characters a reader sees: the extended grapheme clusters of Unicode Standard Annex 29.
std::size_t characterCount(std::string_view text) noexcept;

/// The pieces of `text` between the separators, empty pieces kept: n separators give n + 1 pieces. Views into `text`.
std::vector<std::string_view> splitting(std::string_view text, char separator);

/// Normal form C of `text`. Two texts are canonically equivalent exactly where their keys have the same bytes, so the
/// key serves for equality, hashing and uniqueness. Takes time in proportion to the text.
std::string canonicalKey(std::string_view text);

/// Canonical equivalence: "é" as one code point equals "e" with a combining accent.
bool canonicallyEqual(std::string_view left, std::string_view right);

/// Each code point mapped by Unicode simple lower-casing.
std::string lowercased(std::string_view text);

/// Unicode full case folding, in normal form C: equal results are texts that differ in case alone.
std::string caseFolded(std::string_view text);

/// The order in which a file browser lists names. What decides, in turn: the letters without case and accents, with
/// runs of decimal digits by value ("file2" before "file10") and white space before punctuation before symbols before
/// digits before letters; then accents; then case, small letters first; then leading zeros, fewer first; and in the end
/// the bytes, so that only identical texts are equal.
std::strong_ordering localizedStandardCompare(std::string_view left, std::string_view right);

}  // namespace ornolith
