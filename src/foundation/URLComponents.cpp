#include "foundation/URLComponents.h"

#include <algorithm>

#include "foundation/NumberText.h"
#include "foundation/Text.h"

namespace ornolith {

namespace {

// The character classes of RFC 3986, appendix A.

bool isAlpha(char c) noexcept {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool isDigit(char c) noexcept {
  return c >= '0' && c <= '9';
}
bool isOneOf(char c, std::string_view set) noexcept {
  return set.find(c) != std::string_view::npos;
}

bool isUnreservedOrSubDelimiter(char c) noexcept {
  return isAlpha(c) || isDigit(c) || isOneOf(c, "-._~!$&'()*+,;=") || static_cast<unsigned char>(c) >= 0x80;
}

/// The byte that the three characters at `position` stand for, or -1.
int percentEncodedByte(std::string_view text, std::size_t position) noexcept {
  if (position + 2 >= text.size()) return -1;
  const int high = hexadecimalDigitValue(text[position + 1]);
  const int low = hexadecimalDigitValue(text[position + 2]);
  return high < 0 || low < 0 ? -1 : high * 16 + low;
}

/// True where `text` holds nothing but unreserved characters, sub-delimiters, those in `further` and percent codes.
bool holdsOnly(std::string_view text, std::string_view further) noexcept {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%') {
      if (percentEncodedByte(text, i) < 0) return false;
      i += 2;
    } else if (!isUnreservedOrSubDelimiter(text[i]) && !isOneOf(text[i], further)) {
      return false;
    }
  }
  return true;
}

bool isScheme(std::string_view text) noexcept {
  return !text.empty() && isAlpha(text.front()) &&
         std::all_of(text.begin(), text.end(), [](char c) { return isAlpha(c) || isDigit(c) || isOneOf(c, "+-."); });
}

/// Cuts `text` at the first `separator`; gives what stands behind it, or nothing where there is none.
std::optional<std::string_view> cutAt(std::string_view& text, char separator) noexcept {
  const std::size_t position = text.find(separator);
  if (position == std::string_view::npos) return std::nullopt;
  const std::string_view behind = text.substr(position + 1);
  text = text.substr(0, position);
  return behind;
}

/// The host in brackets: an IPv6 address or a later form, its characters checked, its structure not.
bool isIPLiteral(std::string_view text) noexcept {
  return text.size() > 2 && text.front() == '[' && text.back() == ']' &&
         std::all_of(text.begin() + 1, text.end() - 1, [](char c) {
           return static_cast<unsigned char>(c) < 0x80 && (isUnreservedOrSubDelimiter(c) || c == ':');
         });
}

bool parseAuthority(std::string_view authority, URLComponents& components) {
  if (const std::size_t at = authority.find('@'); at != std::string_view::npos) {
    components.userInfo = authority.substr(0, at);
    authority.remove_prefix(at + 1);
    if (!holdsOnly(*components.userInfo, ":")) return false;
  }
  const std::size_t bracket = authority.rfind(']');
  const std::size_t colon = authority.find(':', bracket == std::string_view::npos ? 0 : bracket);
  if (colon != std::string_view::npos) {
    components.port = authority.substr(colon + 1);
    authority = authority.substr(0, colon);
    if (!std::all_of(components.port->begin(), components.port->end(), isDigit)) return false;
  }
  components.host = authority;
  return authority.starts_with('[') ? isIPLiteral(authority) : holdsOnly(authority, "");
}

}  // namespace

std::optional<URLComponents> URLComponents::parse(std::string_view text) {
  if (!isValidUTF8(text)) return std::nullopt;
  URLComponents components;
  if (const auto fragment = cutAt(text, '#')) {
    components.fragment = *fragment;
    if (!holdsOnly(*fragment, ":@/?")) return std::nullopt;
  }
  if (const auto query = cutAt(text, '?')) {
    components.query = *query;
    if (!holdsOnly(*query, ":@/?")) return std::nullopt;
  }
  // A ":" in the first segment ends a scheme; a relative path must not have one there.
  if (const std::size_t colon = text.substr(0, text.find('/')).find(':'); colon != std::string_view::npos) {
    components.scheme = text.substr(0, colon);
    text.remove_prefix(colon + 1);
    if (!isScheme(*components.scheme)) return std::nullopt;
  }
  if (text.starts_with("//")) {
    text.remove_prefix(2);
    const std::size_t end = std::min(text.find('/'), text.size());
    if (!parseAuthority(text.substr(0, end), components)) return std::nullopt;
    text.remove_prefix(end);
  }
  components.percentEncodedPath = text;
  if (!holdsOnly(text, ":@/")) return std::nullopt;
  return components;
}

std::optional<std::string> percentDecodedBytes(std::string_view text) {
  std::string decoded;
  decoded.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      decoded += text[i];
      continue;
    }
    const int byte = percentEncodedByte(text, i);
    if (byte < 0) return std::nullopt;
    decoded += static_cast<char>(byte);
    i += 2;
  }
  return decoded;
}

std::optional<std::string> percentDecoding(std::string_view text) {
  std::optional<std::string> decoded = percentDecodedBytes(text);
  if (decoded && !isValidUTF8(*decoded)) return std::nullopt;
  return decoded;
}

}  // namespace ornolith
