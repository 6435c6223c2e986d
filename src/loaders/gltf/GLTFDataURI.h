#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace ornolith {

// Data URIs (RFC 2397): resources that stand in the manifest itself.

/// Whether `uri` is a data URI; a scheme may be written in either case (RFC 3986, section 3.1).
bool isDataURI(std::string_view uri) noexcept;

/// The bytes that a data URI holds, in base64 (RFC 4648, section 4; padding may be missing, white space and
/// percent-encoded digits may stand in it) or percent-encoded. Nothing where `uri` is none or its text is malformed.
std::optional<std::vector<std::byte>> decodeDataURI(std::string_view uri);

}  // namespace ornolith
