#include "foundation/RelativeResourcePath.h"

#include "foundation/FileURL.h"
#include "foundation/Text.h"
#include "foundation/URLComponents.h"

namespace ornolith {

namespace {

bool mustBePercentEncoded(char letter) noexcept {
  return static_cast<unsigned char>(letter) < 0x20 || letter == 0x7F ||
         std::string_view(" \"<>[]^`{|}").find(letter) != std::string_view::npos;
}

std::string percentEncodingWhatAURICannotHold(std::string_view name) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string encoded;
  encoded.reserve(name.size());
  for (const char letter : name) {
    if (mustBePercentEncoded(letter)) {
      const auto byte = static_cast<unsigned char>(letter);
      encoded += '%';
      encoded += digits[byte >> 4U];
      encoded += digits[byte & 15U];
    } else {
      encoded += letter;
    }
  }
  return encoded;
}

}  // namespace

std::optional<std::string> relativeResourcePath(std::string_view reference) {
  const std::optional<URLComponents> components = URLComponents::parse(reference);
  if (!components || components->scheme || components->host || components->query || components->fragment) return {};
  const std::optional<std::string> decoded = percentDecoding(components->percentEncodedPath);
  if (!decoded || decoded->starts_with('/') || decoded->find('\\') != std::string::npos) return {};
  std::string normalised = standardizingPath(*decoded);
  if (normalised.empty() || normalised == "." || normalised == ".." || normalised.starts_with("../")) return {};
  return normalised;
}

std::optional<std::string> relativeResourcePathOfFileName(std::string_view name) {
  const std::string_view trimmed = trimmingWhitespace(name);
  if (trimmed.starts_with('~')) return {};
  std::optional<std::string> path = relativeResourcePath(percentEncodingWhatAURICannotHold(trimmed));
  if (path && path->find('\0') != std::string::npos) return {};
  return path;
}

}  // namespace ornolith
