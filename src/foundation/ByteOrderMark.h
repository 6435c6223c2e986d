#pragma once

#include <string_view>

namespace ornolith {

/// `text` without the mark U+FEFF that some editors put before a text in UTF-8 (bytes EF BB BF).
constexpr std::string_view withoutByteOrderMark(std::string_view text) noexcept {
  constexpr std::string_view mark = "\xEF\xBB\xBF";
  return text.substr(text.starts_with(mark) ? mark.size() : 0);
}

}  // namespace ornolith
