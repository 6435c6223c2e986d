#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ornolith {

/// The parts of a URI reference (RFC 3986, section 4.1), as written. A part that is present but empty ("a?") is an
/// empty text, not nothing.
struct URLComponents {
  std::optional<std::string> scheme;
  std::optional<std::string> userInfo;
  std::optional<std::string> host;  ///< Set where there is an authority ("//"), also an empty one.
  std::optional<std::string> port;
  std::string percentEncodedPath;
  std::optional<std::string> query;
  std::optional<std::string> fragment;

  /// Nothing for a text that is no URI reference: a blank, a control character or another character that must be
  /// percent-encoded, a "%" without two hexadecimal digits, a malformed scheme or authority. Characters beyond ASCII
  /// may stand as they are, as in an IRI (RFC 3987), if they are well-formed UTF-8.
  static std::optional<URLComponents> parse(std::string_view text);
};

/// The text with each "%" and two hexadecimal digits replaced by the byte they mean; nothing where a "%" is followed by
/// anything else or where the result is not UTF-8.
std::optional<std::string> percentDecoding(std::string_view text);

/// The same without a look at what the bytes are.
std::optional<std::string> percentDecodedBytes(std::string_view text);

}  // namespace ornolith
