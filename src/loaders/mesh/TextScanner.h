#pragma once

#include <charconv>
#include <cstddef>
#include <optional>
#include <span>
#include <string_view>
#include <system_error>

#include "foundation/NumberText.h"

namespace ornolith {

/// The number that a whole token writes, with an optional "+" in front; nothing where it is none. A value beyond the
/// type's range becomes infinite, subnormal or zero. It does not depend on the locale.
template <typename Number>
std::optional<Number> numberOf(std::string_view token) {
  const std::string_view digits = token.starts_with('+') ? token.substr(1) : token;
  Number value{};
  const char* end = digits.data() + digits.size();
  const auto [stop, fault] = std::from_chars(digits.data(), end, value);
  if (fault == std::errc() && stop == end) return value;
  if constexpr (sizeof(Number) == sizeof(float)) return parseFloat(token);
  return parseDouble(token);
}

/// Reads the bytes of a text file as lines and blank-separated tokens. Lines end in LF, CR LF or CR.
class TextScanner {
 public:
  explicit TextScanner(std::span<const std::byte> bytes)
      : text_(reinterpret_cast<const char*>(bytes.data()), bytes.size()) {}

  /// The next token, also of a later line; empty at the end.
  std::string_view nextToken() {
    while (position_ < text_.size() && isBlank(text_[position_])) countLineEnd();
    const std::size_t start = position_;
    while (position_ < text_.size() && !isBlank(text_[position_])) ++position_;
    return text_.substr(start, position_ - start);
  }

  /// What is left of the line, without blanks around it; the scanner then stands behind the line's end.
  std::string_view restOfLine() {
    const std::size_t start = position_;
    while (position_ < text_.size() && text_[position_] != '\n' && text_[position_] != '\r') ++position_;
    std::string_view line = text_.substr(start, position_ - start);
    if (position_ < text_.size()) {
      if (text_.substr(position_, 2) == "\r\n") ++position_;
      ++position_;
      ++line_;
    }
    while (!line.empty() && isBlank(line.front())) line.remove_prefix(1);
    while (!line.empty() && isBlank(line.back())) line.remove_suffix(1);
    return line;
  }

  bool isAtEnd() const noexcept { return position_ >= text_.size(); }
  /// Bytes read so far.
  std::size_t position() const noexcept { return position_; }
  /// The number of the line that the scanner stands in, from 1.
  std::size_t line() const noexcept { return line_; }

 private:
  static bool isBlank(char letter) noexcept {
    return letter == ' ' || (letter >= '\t' && letter <= '\r') || letter == '\0';
  }

  void countLineEnd() noexcept {
    const char letter = text_[position_++];
    if (letter == '\n' || (letter == '\r' && (isAtEnd() || text_[position_] != '\n'))) ++line_;
  }

  std::string_view text_;
  std::size_t position_ = 0;
  std::size_t line_ = 1;
};

}  // namespace ornolith
