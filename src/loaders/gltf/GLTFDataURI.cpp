#include "loaders/gltf/GLTFDataURI.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>

#include "foundation/Text.h"
#include "foundation/URLComponents.h"

namespace ornolith {

namespace {

constexpr std::string_view dataScheme = "data:";
constexpr std::uint8_t noDigit = 0xFF;

/// What each character counts for in base64.
constexpr std::array<std::uint8_t, 256> makeDigitValues() {
  std::array<std::uint8_t, 256> values{};
  values.fill(noDigit);
  constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  for (std::size_t i = 0; i < digits.size(); ++i) {
    values[static_cast<unsigned char>(digits[i])] = static_cast<std::uint8_t>(i);
  }
  return values;
}
constexpr std::array<std::uint8_t, 256> digitValues = makeDigitValues();

std::uint32_t digitValue(char digit) noexcept {
  return digitValues[static_cast<unsigned char>(digit)];
}

std::byte byteOf(std::uint32_t bits) noexcept {
  return static_cast<std::byte>(bits & 0xFFU);
}

std::optional<std::vector<std::byte>> decodeBase64(std::string_view text) {
  for (int padding = 0; padding < 2 && text.ends_with('='); ++padding) text.remove_suffix(1);
  if (text.size() % 4 == 1) return std::nullopt;
  std::vector<std::byte> bytes(text.size() / 4 * 3 + (text.size() % 4) * 3 / 4);
  std::byte* out = bytes.data();
  std::uint32_t faults = 0;
  std::size_t at = 0;
  for (; at + 4 <= text.size(); at += 4) {
    const std::uint32_t a = digitValue(text[at]);
    const std::uint32_t b = digitValue(text[at + 1]);
    const std::uint32_t c = digitValue(text[at + 2]);
    const std::uint32_t d = digitValue(text[at + 3]);
    faults |= a | b | c | d;  // A value of a digit has no bit above the sixth.
    const std::uint32_t bits = a << 18U | b << 12U | c << 6U | d;
    out[0] = byteOf(bits >> 16U);
    out[1] = byteOf(bits >> 8U);
    out[2] = byteOf(bits);
    out += 3;
  }
  if (at < text.size()) {
    const std::uint32_t a = digitValue(text[at]);
    const std::uint32_t b = digitValue(text[at + 1]);
    const std::uint32_t c = at + 2 < text.size() ? digitValue(text[at + 2]) : 0;
    faults |= a | b | c;
    const std::uint32_t bits = a << 18U | b << 12U | c << 6U;
    *out++ = byteOf(bits >> 16U);
    if (at + 2 < text.size()) *out++ = byteOf(bits >> 8U);
  }
  if (faults > 63) return std::nullopt;
  return bytes;
}

std::optional<std::vector<std::byte>> decodePercent(std::string_view text) {
  const std::optional<std::string> decoded = percentDecodedBytes(text);
  if (!decoded) return std::nullopt;
  const auto bytes = std::as_bytes(std::span(*decoded));
  return std::vector<std::byte>(bytes.begin(), bytes.end());
}

/// The bytes of base64 with percent-encoded digits or with white space, as web browsers take it too (WHATWG, "Fetch",
/// section "data: URLs").
std::optional<std::vector<std::byte>> decodeEscapedBase64(std::string_view text) {
  std::optional<std::string> digits = percentDecodedBytes(text);
  if (!digits) return std::nullopt;
  std::erase_if(*digits,
                [](char letter) { return std::string_view(" \t\n\f\r").find(letter) != std::string_view::npos; });
  return decodeBase64(*digits);
}

/// Whether the text before the comma ends in ";base64", in either case and with blanks behind the semicolon.
bool hasBase64Mark(std::string_view header) {
  const std::size_t semicolon = header.rfind(';');
  return semicolon != std::string_view::npos &&
         lowercased(trimmingWhitespace(header.substr(semicolon + 1))) == "base64";
}

}  // namespace

bool isDataURI(std::string_view uri) noexcept {
  return uri.size() >= dataScheme.size() && lowercased(uri.substr(0, dataScheme.size())) == dataScheme;
}

std::optional<std::vector<std::byte>> decodeDataURI(std::string_view uri) {
  if (!isDataURI(uri)) return std::nullopt;
  const std::size_t comma = uri.find(',');
  if (comma == std::string_view::npos) return std::nullopt;
  const std::string_view header = uri.substr(0, comma);
  const std::string_view body = uri.substr(comma + 1);
  if (!hasBase64Mark(header)) return decodePercent(body);
  std::optional<std::vector<std::byte>> bytes = decodeBase64(body);
  return bytes ? bytes : decodeEscapedBase64(body);
}

}  // namespace ornolith
