#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <type_traits>

#include "foundation/JSON.h"
#include "foundation/Text.h"

namespace ornolith {
namespace {

JSONError unwritable(std::string description) {
  return JSONError(json_error::Malformed{.description = std::move(description), .place = {}});
}

/// A finite number's shortest decimal digits d1 d2 ... dn, which stand for d1.d2...dn times ten to the exponent.
struct DecimalNumber {
  bool isNegative = false;
  std::string digits;
  int exponent = 0;
};

template <typename Real>
DecimalNumber shortestDigits(Real number) {
  std::array<char, 64> buffer{};
  const auto written =
      std::to_chars(buffer.data(), buffer.data() + buffer.size(), std::abs(number), std::chars_format::scientific);
  const std::string_view text(buffer.data(), static_cast<std::size_t>(written.ptr - buffer.data()));
  const std::size_t e = text.find('e');

  DecimalNumber result;
  result.isNegative = std::signbit(number);
  result.digits = text.front();
  if (e > 2) result.digits += text.substr(2, e - 2);
  // "from_chars" takes no "+".
  const std::size_t exponentStart = text[e + 1] == '+' ? e + 2 : e + 1;
  std::from_chars(text.data() + exponentStart, text.data() + text.size(), result.exponent);
  return result;
}

/// Lays the digits out as the serialisation of numbers of RFC 8785 (section 3.2.2.3) does.
std::string layOut(const DecimalNumber& number) {
  constexpr int firstExponentialForm = 21;
  constexpr int lastPlainFraction = -6;
  const auto digitCount = static_cast<int>(number.digits.size());
  const std::string sign = number.isNegative ? "-" : "";

  if (number.exponent >= firstExponentialForm || number.exponent < lastPlainFraction) {
    std::string text = sign + number.digits.front();
    if (digitCount > 1) text += "." + number.digits.substr(1);
    return text + (number.exponent < 0 ? "e-" : "e+") + std::to_string(std::abs(number.exponent));
  }
  const auto zeros = [](int count) { return std::string(static_cast<std::size_t>(count), '0'); };
  if (number.exponent < 0) return sign + "0." + zeros(-number.exponent - 1) + number.digits;
  if (digitCount <= number.exponent + 1) return sign + number.digits + zeros(number.exponent + 1 - digitCount);
  const std::size_t wholeCount = static_cast<std::size_t>(number.exponent) + 1;
  return sign + number.digits.substr(0, wholeCount) + "." + number.digits.substr(wholeCount);
}

template <typename Real>
std::string numberText(Real number) {
  if (!std::isfinite(number)) throw unwritable("A number that is not finite cannot be written as JSON.");
  return layOut(shortestDigits(number));
}

void appendQuoted(std::string& text, std::string_view value) {
  constexpr std::string_view hexadecimal = "0123456789abcdef";
  // The escapes of one letter: each character of the first text is written as the one below it.
  constexpr std::string_view escaped = "\"\\/\b\f\n\r\t";
  constexpr std::string_view letters = "\"\\/bfnrt";
  if (!isValidUTF8(value)) throw unwritable("A text that is not UTF-8 cannot be written as JSON.");
  text += '"';
  for (const char c : value) {
    const auto byte = static_cast<unsigned char>(c);
    if (const std::size_t at = escaped.find(c); at != std::string_view::npos) {
      text += '\\';
      text += letters[at];
    } else if (byte < 0x20) {
      text += "\\u00";
      text += hexadecimal[byte >> 4];
      text += hexadecimal[byte & 0xF];
    } else {
      text += c;
    }
  }
  text += '"';
}

/// Writes values one after the other; the two layouts differ in what stands between the tokens.
class Writer {
 public:
  Writer(bool isPretty, JSONKeyOrder order) : isPretty_(isPretty), order_(order) {}

  void write(const JSONValue& value) {
    std::visit([this](const auto& content) { writeContent(content); }, value.storage());
  }

  std::string take() { return std::move(text_); }

 private:
  void writeContent(std::nullptr_t) { text_ += "null"; }
  void writeContent(bool value) { text_ += value ? "true" : "false"; }
  void writeContent(std::int64_t value) { text_ += std::to_string(value); }
  void writeContent(std::uint64_t value) { text_ += std::to_string(value); }
  void writeContent(double value) { text_ += numberText(value); }
  void writeContent(float value) { text_ += numberText(value); }
  void writeContent(const std::string& value) { appendQuoted(text_, value); }

  void writeContent(const JSONValue::Array& array) {
    writeElements(array.size(), [&](std::size_t index) -> const JSONValue& { return array[index]; });
  }

  void writeContent(const JSONValue::LazyArray& array) { writeElements(array.count, array.element); }

  template <typename Element>
  void writeElements(std::size_t count, const Element& element) {
    open('[');
    for (std::size_t i = 0; i < count; ++i) {
      beginEntry(i == 0);
      write(element(i));
    }
    close(']', count == 0);
  }

  void writeContent(const JSONValue::Object& object) {
    open('{');
    bool isFirst = true;
    for (const auto* member : ordered(object)) {
      beginEntry(isFirst);
      isFirst = false;
      appendQuoted(text_, member->first);
      text_ += isPretty_ ? " : " : ":";
      write(member->second);
    }
    close('}', object.empty());
  }

  std::vector<const JSONValue::Object::value_type*> ordered(const JSONValue::Object& object) const {
    std::vector<const JSONValue::Object::value_type*> members;
    members.reserve(object.size());
    for (const auto& member : object) members.push_back(&member);
    if (order_ == JSONKeyOrder::sortedByBytes) {
      std::stable_sort(members.begin(), members.end(),
                       [](const auto* left, const auto* right) { return left->first < right->first; });
    }
    return members;
  }

  void open(char bracket) {
    ++depth_;
    text_ += bracket;
  }

  void beginEntry(bool isFirst) {
    if (depth_ > maximumJSONDepth) throw unwritable("The value is nested too deep to be written as JSON.");
    if (!isFirst) text_ += ',';
    if (isPretty_) breakLine();
  }

  void close(char bracket, bool isEmpty) {
    --depth_;
    if (isPretty_) {
      if (isEmpty) text_ += '\n';
      breakLine();
    }
    text_ += bracket;
  }

  void breakLine() {
    text_ += '\n';
    text_.append(depth_ * 2, ' ');
  }

  bool isPretty_;
  JSONKeyOrder order_;
  std::size_t depth_ = 0;
  std::string text_;
};

}  // namespace

std::string canonicalJSON(const JSONValue& value, JSONKeyOrder order) {
  Writer writer(true, order);
  writer.write(value);
  return writer.take() + "\n";
}

std::string compactJSON(const JSONValue& value) {
  Writer writer(false, JSONKeyOrder::asAdded);
  writer.write(value);
  return writer.take();
}

}  // namespace ornolith
