#include "foundation/Text.h"

#include <utf8proc.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <numeric>
#include <optional>
#include <span>
#include <tuple>

namespace ornolith {
namespace {

constexpr utf8proc_int32_t replacementCharacter = 0xFFFD;

/// One step through a text: a code point, or one byte that is no part of a well-formed sequence.
struct Unit {
  std::optional<utf8proc_int32_t> codePoint;
  std::size_t length = 1;  ///< Bytes.
};

/// The unit at the front of `text`, which must not be empty.
Unit firstUnit(std::string_view text) noexcept {
  const auto lead = static_cast<unsigned char>(text.front());
  if (lead < 0x80) return {lead, 1};
  utf8proc_int32_t codePoint = 0;
  const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
  const utf8proc_ssize_t length =
      utf8proc_iterate(bytes, static_cast<utf8proc_ssize_t>(std::min<std::size_t>(text.size(), 4)), &codePoint);
  if (length <= 0) return {std::nullopt, 1};
  return {codePoint, static_cast<std::size_t>(length)};
}

/// The unit at the back of `text`, which must not be empty.
Unit lastUnit(std::string_view text) noexcept {
  for (std::size_t length = 1; length <= std::min<std::size_t>(text.size(), 4); ++length) {
    const Unit unit = firstUnit(text.substr(text.size() - length));
    if (unit.codePoint && unit.length == length) return unit;
  }
  return {std::nullopt, 1};
}

bool isASCII(std::string_view text) noexcept {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

/// The White_Space property of the Unicode Character Database (PropList).
bool isWhitespace(utf8proc_int32_t c) noexcept {
  return (c >= 0x09 && c <= 0x0D) || c == 0x20 || c == 0x85 || c == 0xA0 || c == 0x1680 ||
         (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 || c == 0x202F || c == 0x205F || c == 0x3000;
}

void append(std::string& text, utf8proc_int32_t codePoint) {
  std::array<utf8proc_uint8_t, 4> bytes{};
  const utf8proc_ssize_t length = utf8proc_encode_char(codePoint, bytes.data());
  text.append(reinterpret_cast<const char*>(bytes.data()), static_cast<std::size_t>(length));
}

/// Appends the canonical decomposition of `codePoint`, case folded where asked for. The marks are not yet in order.
void appendDecomposed(std::vector<utf8proc_int32_t>& codePoints, utf8proc_int32_t codePoint, bool folding) {
  std::array<utf8proc_int32_t, 32> parts{};
  const int options = UTF8PROC_DECOMPOSE | (folding ? UTF8PROC_CASEFOLD : 0);
  int boundClass = 0;
  const utf8proc_ssize_t count =
      utf8proc_decompose_char(codePoint, parts.data(), static_cast<utf8proc_ssize_t>(parts.size()),
                              static_cast<utf8proc_option_t>(options), &boundClass);
  if (count < 0 || static_cast<std::size_t>(count) > parts.size()) {
    codePoints.push_back(codePoint);
    return;
  }
  codePoints.insert(codePoints.end(), parts.begin(), parts.begin() + count);
}

std::size_t combiningClass(utf8proc_int32_t codePoint) noexcept {
  return static_cast<std::size_t>(utf8proc_get_property(codePoint)->combining_class);
}

/// Sorts combining marks by their class and keeps the order within a class. By counting, so that a text made of marks
/// alone takes no longer than any other of its length.
void sortMarks(std::span<utf8proc_int32_t> marks) {
  std::array<std::size_t, 257> starts{};
  for (const utf8proc_int32_t mark : marks) ++starts[combiningClass(mark) + 1];
  std::partial_sum(starts.begin(), starts.end(), starts.begin());
  const std::vector<utf8proc_int32_t> unordered(marks.begin(), marks.end());
  for (const utf8proc_int32_t mark : unordered) marks[starts[combiningClass(mark)]++] = mark;
}

/// Puts each run of combining marks in canonical order.
void orderMarks(std::vector<utf8proc_int32_t>& codePoints) {
  const auto isMark = [](utf8proc_int32_t c) { return combiningClass(c) != 0; };
  const auto inOrder = [](utf8proc_int32_t a, utf8proc_int32_t b) { return combiningClass(a) < combiningClass(b); };
  for (auto first = codePoints.begin(); first != codePoints.end();) {
    first = std::find_if(first, codePoints.end(), isMark);
    const auto last = std::find_if_not(first, codePoints.end(), isMark);
    if (!std::is_sorted(first, last, inOrder)) sortMarks({first, last});
    first = last;
  }
}

/// Appends the normal form C of one well-formed run and empties the run.
void appendComposed(std::string& text, std::vector<utf8proc_int32_t>& run) {
  if (run.empty()) return;
  orderMarks(run);
  const utf8proc_ssize_t count =
      utf8proc_normalize_utf32(run.data(), static_cast<utf8proc_ssize_t>(run.size()),
                               static_cast<utf8proc_option_t>(UTF8PROC_COMPOSE | UTF8PROC_STABLE));
  for (utf8proc_ssize_t i = 0; i < count; ++i) append(text, run[static_cast<std::size_t>(i)]);
  run.clear();
}

std::string normalFormC(std::string_view text, bool folding) {
  std::string result;
  result.reserve(text.size());
  std::vector<utf8proc_int32_t> run;
  while (!text.empty()) {
    const Unit unit = firstUnit(text);
    if (unit.codePoint) {
      appendDecomposed(run, *unit.codePoint, folding);
    } else {
      appendComposed(result, run);
      result.push_back(text.front());
    }
    text.remove_prefix(unit.length);
  }
  appendComposed(result, run);
  return result;
}

// The order of file names.

/// What a character is to the order of names, first to last.
enum class SortClass : unsigned char { space, punctuation, symbol, digits, letter, strayByte };

/// ASCII punctuation and symbols in the order of the default Unicode collation table.
constexpr std::string_view asciiPunctuationOrder = "_-,;:!?.'\"()[]{}@*/\\&#%";
constexpr std::string_view asciiSymbolOrder = "`^+<=>|~$";

bool isDigit(char c) noexcept {
  return c >= '0' && c <= '9';
}

bool isMarkCategory(utf8proc_category_t category) noexcept {
  return category == UTF8PROC_CATEGORY_MN || category == UTF8PROC_CATEGORY_MC || category == UTF8PROC_CATEGORY_ME;
}

SortClass sortClass(utf8proc_int32_t codePoint) noexcept {
  if (codePoint < 0x80) {
    const char c = static_cast<char>(codePoint);
    if (asciiPunctuationOrder.find(c) != std::string_view::npos) return SortClass::punctuation;
    if (asciiSymbolOrder.find(c) != std::string_view::npos) return SortClass::symbol;
  }
  const utf8proc_category_t category = utf8proc_category(codePoint);
  if (category >= UTF8PROC_CATEGORY_ZS || category == UTF8PROC_CATEGORY_CN) return SortClass::space;
  if (category >= UTF8PROC_CATEGORY_SM && category <= UTF8PROC_CATEGORY_SO) return SortClass::symbol;
  if (category >= UTF8PROC_CATEGORY_PC && category <= UTF8PROC_CATEGORY_PO) return SortClass::punctuation;
  if (category >= UTF8PROC_CATEGORY_ND && category <= UTF8PROC_CATEGORY_NO) return SortClass::digits;
  return SortClass::letter;
}

/// The place of a code point among those of its class.
std::uint32_t rank(utf8proc_int32_t codePoint) noexcept {
  if (codePoint < 0x80) {
    const char c = static_cast<char>(codePoint);
    if (const auto at = asciiPunctuationOrder.find(c); at != std::string_view::npos)
      return static_cast<std::uint32_t>(at);
    if (const auto at = asciiSymbolOrder.find(c); at != std::string_view::npos) return static_cast<std::uint32_t>(at);
  }
  return static_cast<std::uint32_t>(codePoint);
}

/// One key for each thing that may decide, compared in this order as bytes.
struct SortKeys {
  std::string letters;
  std::string accents;
  std::string cases;
  std::string leadingZeros;

  auto tied() const { return std::tie(letters, accents, cases, leadingZeros); }
};

void appendBigEndian(std::string& key, std::uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) key.push_back(static_cast<char>((value >> shift) & 0xFF));
}

/// Adds one run of decimal digits: by its value, told apart by its leading zeros.
void addDigits(SortKeys& keys, std::string_view digits) {
  const std::size_t zeros = std::min(digits.find_first_not_of('0'), digits.size() - 1);
  const std::string_view significant = digits.substr(zeros);
  keys.letters.push_back(static_cast<char>(SortClass::digits));
  appendBigEndian(keys.letters, static_cast<std::uint32_t>(significant.size()));
  keys.letters += significant;
  appendBigEndian(keys.accents, 0);
  keys.cases.push_back(0);
  appendBigEndian(keys.leadingZeros, static_cast<std::uint32_t>(zeros));
}

/// Adds one decomposed code point that is no ASCII digit.
void addCodePoint(SortKeys& keys, utf8proc_int32_t codePoint) {
  if (isMarkCategory(utf8proc_category(codePoint))) {
    appendBigEndian(keys.accents, static_cast<std::uint32_t>(codePoint));
    return;
  }
  std::vector<utf8proc_int32_t> folded;
  appendDecomposed(folded, codePoint, true);
  for (const utf8proc_int32_t part : folded) {
    keys.letters.push_back(static_cast<char>(sortClass(part)));
    appendBigEndian(keys.letters, rank(part));
  }
  appendBigEndian(keys.accents, 0);
  keys.cases.push_back(folded.size() == 1 && folded.front() == codePoint ? 0 : 1);
}

SortKeys sortKeys(std::string_view text) {
  SortKeys keys;
  std::vector<utf8proc_int32_t> decomposed;
  while (!text.empty()) {
    if (isDigit(text.front())) {
      const auto end = std::find_if_not(text.begin(), text.end(), isDigit);
      const auto length = static_cast<std::size_t>(end - text.begin());
      addDigits(keys, text.substr(0, length));
      text.remove_prefix(length);
      continue;
    }
    const Unit unit = firstUnit(text);
    if (unit.codePoint) {
      decomposed.clear();
      appendDecomposed(decomposed, *unit.codePoint, false);
      for (const utf8proc_int32_t part : decomposed) addCodePoint(keys, part);
    } else {
      keys.letters.push_back(static_cast<char>(SortClass::strayByte));
      keys.letters.push_back(text.front());
    }
    text.remove_prefix(unit.length);
  }
  return keys;
}

}  // namespace

bool isValidUTF8(std::string_view text) noexcept {
  while (!text.empty()) {
    const Unit unit = firstUnit(text);
    if (!unit.codePoint) return false;
    text.remove_prefix(unit.length);
  }
  return true;
}

std::string repairingUTF8(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const Unit unit = firstUnit(text);
    if (unit.codePoint) {
      result += text.substr(0, unit.length);
    } else {
      append(result, replacementCharacter);
    }
    text.remove_prefix(unit.length);
  }
  return result;
}

std::string_view trimmingWhitespace(std::string_view text) noexcept {
  const auto isBlankUnit = [](const Unit& unit) { return unit.codePoint && isWhitespace(*unit.codePoint); };
  while (!text.empty()) {
    const Unit unit = firstUnit(text);
    if (!isBlankUnit(unit)) break;
    text.remove_prefix(unit.length);
  }
  while (!text.empty()) {
    const Unit unit = lastUnit(text);
    if (!isBlankUnit(unit)) break;
    text.remove_suffix(unit.length);
  }
  return text;
}

std::size_t characterCount(std::string_view text) noexcept {
  // A stray byte breaks on both sides, as a control character does.
  constexpr utf8proc_int32_t strayByte = 0;
  std::size_t count = 0;
  std::optional<utf8proc_int32_t> previous;
  utf8proc_int32_t state = 0;
  while (!text.empty()) {
    const Unit unit = firstUnit(text);
    const utf8proc_int32_t current = unit.codePoint.value_or(strayByte);
    if (!previous || utf8proc_grapheme_break_stateful(*previous, current, &state)) ++count;
    previous = current;
    text.remove_prefix(unit.length);
  }
  return count;
}

std::vector<std::string_view> splitting(std::string_view text, char separator) {
  std::vector<std::string_view> pieces;
  pieces.reserve(static_cast<std::size_t>(std::count(text.begin(), text.end(), separator)) + 1);
  while (true) {
    const std::size_t end = text.find(separator);
    pieces.push_back(text.substr(0, end));
    if (end == std::string_view::npos) return pieces;
    text.remove_prefix(end + 1);
  }
}

std::string canonicalKey(std::string_view text) {
  if (isASCII(text)) return std::string(text);
  return normalFormC(text, false);
}

bool canonicallyEqual(std::string_view left, std::string_view right) {
  if (left == right) return true;
  if (isASCII(left) && isASCII(right)) return false;
  return canonicalKey(left) == canonicalKey(right);
}

std::string lowercased(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const Unit unit = firstUnit(text);
    if (unit.codePoint) {
      append(result, utf8proc_tolower(*unit.codePoint));
    } else {
      result.push_back(text.front());
    }
    text.remove_prefix(unit.length);
  }
  return result;
}

std::string caseFolded(std::string_view text) {
  return normalFormC(text, true);
}

std::strong_ordering localizedStandardCompare(std::string_view left, std::string_view right) {
  if (const auto order = sortKeys(left).tied() <=> sortKeys(right).tied(); std::is_neq(order)) return order;
  return left <=> right;
}

}  // namespace ornolith
