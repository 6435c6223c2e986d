#include "foundation/JSONFaultFinder.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "foundation/NumberText.h"
#include "foundation/Text.h"

namespace ornolith {
namespace {

constexpr std::string_view whitespace = " \t\n\r";
constexpr std::string_view decimalDigits = "0123456789";

/// A walk through the text. Each step returns a description where it finds a fault and leaves `at_` there.
class FaultFinder {
 public:
  explicit FaultFinder(std::string_view text) : text_(text) {}

  std::optional<json_error::Malformed> find() {
    const std::optional<std::string> description = walk();
    if (!description) return std::nullopt;
    return json_error::Malformed{.description = *description, .place = lineAndColumn()};
  }

 private:
  using Fault = std::optional<std::string>;
  enum class Expected { value, valueOrEnd, key, keyOrEnd, separator, nothing };

  Fault walk() {
    Expected expected = Expected::value;
    while (true) {
      skip(whitespace);
      if (expected == Expected::nothing) return isAtEnd() ? Fault() : "Nothing may follow the value.";
      if (isAtEnd()) return "The text ends too early.";
      if (Fault fault = step(expected)) return fault;
    }
  }

  /// Reads one token and sets what may follow it.
  Fault step(Expected& expected) {
    const char c = text_[at_];
    if (expected == Expected::separator) return readSeparator(expected);
    if (c == closer() && (expected == Expected::valueOrEnd || expected == Expected::keyOrEnd)) {
      leave(expected);
      return {};
    }
    if (closers_.size() > maximumJSONDepth) {
      return "Lists and objects may be nested at most " + std::to_string(maximumJSONDepth) + " deep.";
    }
    if (expected == Expected::key || expected == Expected::keyOrEnd) return readKey(expected);
    if (c == '[' || c == '{') {
      enter(expected);
      return {};
    }
    expected = afterValue();
    if (c == '"') return readString();
    if (c == '-' || std::isdigit(static_cast<unsigned char>(c)) != 0) return readNumber();
    return readWord();
  }

  void enter(Expected& expected) {
    const bool isList = text_[at_++] == '[';
    closers_.push_back(isList ? ']' : '}');
    expected = isList ? Expected::valueOrEnd : Expected::keyOrEnd;
  }

  void leave(Expected& expected) {
    ++at_;
    closers_.pop_back();
    expected = afterValue();
  }

  Fault readSeparator(Expected& expected) {
    if (text_[at_] == closer()) {
      leave(expected);
      return {};
    }
    if (text_[at_] != ',') return std::string(R"(Expected "," or ")") + closer() + "\".";
    ++at_;
    expected = closer() == ']' ? Expected::value : Expected::key;
    return {};
  }

  Fault readKey(Expected& expected) {
    if (text_[at_] != '"') return "Expected a key in quotes.";
    if (Fault fault = readString()) return fault;
    skip(whitespace);
    if (isAtEnd() || text_[at_] != ':') return "Expected \":\" behind the key.";
    ++at_;
    expected = Expected::value;
    return {};
  }

  Fault readWord() {
    for (const std::string_view word : {"true", "false", "null"}) {
      if (text_.substr(at_, word.size()) == word) {
        at_ += word.size();
        return {};
      }
    }
    return "Expected a value.";
  }

  Fault readNumber() {
    const std::size_t start = at_;
    const auto fault = [&](const char* description) {
      at_ = start;
      return Fault(description);
    };
    const char* const malformed = "The number is not written as JSON requires.";
    if (text_[at_] == '-') ++at_;
    const std::size_t leading = at_;
    if (!skip(decimalDigits) || (text_[leading] == '0' && at_ > leading + 1)) return fault(malformed);
    if (skipOne(".") && !skip(decimalDigits)) return fault(malformed);
    if (skipOne("eE")) {
      skipOne("+-");
      if (!skip(decimalDigits)) return fault(malformed);
    }
    const std::optional<double> value = parseDouble(text_.substr(start, at_ - start));
    if (!value || !std::isfinite(*value)) return fault("The number is too large.");
    return {};
  }

  Fault readString() {
    const std::size_t start = at_++;
    while (!isAtEnd()) {
      const char c = text_[at_];
      if (c == '"') {
        ++at_;
        return {};
      }
      if (static_cast<unsigned char>(c) < 0x20) return "A control character inside a string must be escaped.";
      if (c == '\\') {
        if (Fault fault = readEscape()) return fault;
      } else if (Fault fault = readCodePoint()) {
        return fault;
      }
    }
    at_ = start;
    return "The string is not closed.";
  }

  Fault readCodePoint() {
    const auto lead = static_cast<unsigned char>(text_[at_]);
    const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (length > 1 && !isValidUTF8(text_.substr(at_, length))) return "The text is not UTF-8.";
    at_ += length;
    return {};
  }

  Fault readEscape() {
    const std::size_t start = at_++;
    if (skipOne("\"\\/bfnrt")) return {};
    const std::optional<std::uint32_t> first = readUnicodeEscape();
    if (!first) {
      at_ = start;
      return "The string holds an unknown escape.";
    }
    if (*first < 0xD800 || *first > 0xDFFF) return {};
    if (*first < 0xDC00 && skipOne("\\")) {
      const std::optional<std::uint32_t> second = readUnicodeEscape();
      if (second && *second >= 0xDC00 && *second <= 0xDFFF) return {};
    }
    at_ = start;
    return "The string holds half of a surrogate pair.";
  }

  /// Behind the backslash: "u" and four hexadecimal digits.
  std::optional<std::uint32_t> readUnicodeEscape() {
    if (!skipOne("u")) return std::nullopt;
    const std::string_view digits = text_.substr(at_, 4);
    const auto isHexadecimal = [](char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; };
    if (digits.size() < 4 || !std::all_of(digits.begin(), digits.end(), isHexadecimal)) return std::nullopt;
    at_ += 4;
    return parseUInt32(digits, 16);
  }

  bool isAtEnd() const { return at_ >= text_.size(); }
  char closer() const { return closers_.empty() ? '\0' : closers_.back(); }
  Expected afterValue() const { return closers_.empty() ? Expected::nothing : Expected::separator; }

  /// Skips all that follows of `characters`; says whether there was any.
  bool skip(std::string_view characters) {
    const std::size_t start = at_;
    at_ = std::min(text_.find_first_not_of(characters, at_), text_.size());
    return at_ > start;
  }

  bool skipOne(std::string_view characters) {
    if (isAtEnd() || characters.find(text_[at_]) == std::string_view::npos) return false;
    ++at_;
    return true;
  }

  std::string lineAndColumn() const {
    const std::string_view before = text_.substr(0, at_);
    const auto line = std::count(before.begin(), before.end(), '\n') + 1;
    const std::string_view lineStart = before.substr(before.rfind('\n') + 1);
    return "line " + std::to_string(line) + ", column " + std::to_string(characterCount(lineStart) + 1);
  }

  std::string_view text_;
  std::size_t at_ = 0;
  std::vector<char> closers_;
};

}  // namespace

std::optional<json_error::Malformed> findJSONFault(std::string_view text) {
  if (text.find_first_not_of(whitespace) == std::string_view::npos) {
    return json_error::Malformed{.description = "The text is empty.", .place = {}};
  }
  return FaultFinder(text).find();
}

}  // namespace ornolith
