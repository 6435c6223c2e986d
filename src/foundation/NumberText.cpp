#include "foundation/NumberText.h"

#include <algorithm>
#include <charconv>
#include <clocale>
#include <cstdlib>
#include <string>
#include <system_error>

namespace ornolith {
namespace {

/// The digits of `text` in `radix`; nothing where there is none, anything else, or a value that does not fit.
template <typename Integer>
std::optional<Integer> parseWhole(std::string_view text, int radix) noexcept {
  Integer value = 0;
  const char* end = text.data() + text.size();
  const auto [next, error] = std::from_chars(text.data(), end, value, radix);
  if (text.empty() || error != std::errc() || next != end) return std::nullopt;
  return value;
}

/// True where `text` begins with white space as the C locale knows it, which `strtod` would skip.
bool beginsWithBlank(std::string_view text) noexcept {
  return text.front() == ' ' || (text.front() >= '\t' && text.front() <= '\r');
}

locale_t cLocale() {
  static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
  return locale;
}

template <typename Real>
std::optional<Real> parseReal(std::string_view text, Real (*convert)(const char*, char**, locale_t)) {
  if (text.empty() || beginsWithBlank(text)) return std::nullopt;
  const std::string terminated(text);
  char* end = nullptr;
  const Real value = convert(terminated.c_str(), &end, cLocale());
  if (end != terminated.c_str() + terminated.size()) return std::nullopt;
  return value;
}

}  // namespace

std::optional<std::int64_t> parseInt64(std::string_view text) noexcept {
  if (!text.empty() && text.front() == '+') {
    text.remove_prefix(1);
    if (!text.empty() && text.front() == '-') return std::nullopt;
  }
  return parseWhole<std::int64_t>(text, 10);
}

std::optional<std::uint32_t> parseUInt32(std::string_view text, int radix) noexcept {
  const bool isNegative = !text.empty() && text.front() == '-';
  if (isNegative || (!text.empty() && text.front() == '+')) text.remove_prefix(1);
  const std::optional<std::uint32_t> value = parseWhole<std::uint32_t>(text, radix);
  if (isNegative && value != 0u) return std::nullopt;
  return value;
}

int hexadecimalDigitValue(char digit) noexcept {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  return -1;
}

std::optional<std::uint64_t> parseUInt64Digits(std::string_view text) noexcept {
  return parseWhole<std::uint64_t>(text, 10);
}

std::optional<double> parseDouble(std::string_view text) {
  return parseReal<double>(text, strtod_l);
}

std::optional<float> parseFloat(std::string_view text) {
  return parseReal<float>(text, strtof_l);
}

}  // namespace ornolith
