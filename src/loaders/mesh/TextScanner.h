#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace ornolith {

/// The number, from 1, of the line that `position` stands in. Lines end in LF, CR LF or CR.
inline std::size_t lineNumberAt(std::string_view text, std::size_t position) noexcept {
  std::size_t line = 1;
  for (std::size_t i = 0; i < position; ++i) {
    if (text[i] == '\n' || (text[i] == '\r' && (i + 1 == text.size() || text[i + 1] != '\n'))) ++line;
  }
  return line;
}

/// Reads the bytes of a text file as lines and blank-separated tokens. Lines end in LF, CR LF or CR.
class TextScanner {
 public:
  explicit TextScanner(std::span<const std::byte> bytes)
      : text_(reinterpret_cast<const char*>(bytes.data()), bytes.size()) {}

  /// The next token, also of a later line; empty at the end.
  std::string_view nextToken() {
    while (position_ < text_.size() && isBlank(text_[position_])) ++position_;
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
    }
    while (!line.empty() && isBlank(line.front())) line.remove_prefix(1);
    while (!line.empty() && isBlank(line.back())) line.remove_suffix(1);
    return line;
  }

  bool isAtEnd() const noexcept { return position_ >= text_.size(); }
  /// Bytes read so far.
  std::size_t position() const noexcept { return position_; }
  /// The number of the line that the scanner stands in, from 1.
  std::size_t line() const noexcept { return lineNumberAt(text_, position_); }

 private:
  static bool isBlank(char letter) noexcept {
    return letter == ' ' || (letter >= '\t' && letter <= '\r') || letter == '\0';
  }

  std::string_view text_;
  std::size_t position_ = 0;
};

}  // namespace ornolith
