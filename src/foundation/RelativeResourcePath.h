#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ornolith {

/// The path below a root that a reference inside an untrusted file means: the reference read as a URI reference, its
/// path percent-decoded and standardised. Nothing for anything but a relative path that stays below the root and names
/// something in it: what is no URI reference, has a scheme, a host, a query or a fragment, does not decode, is
/// absolute, holds "\", or ends at the root or above it. A path that descends and comes back is fine.
std::optional<std::string> relativeResourcePath(std::string_view reference);

/// The same for formats whose references are file names as people type them: white space around the name is dropped,
/// and characters that a URI cannot hold as they are, blanks and brackets among them, stand for themselves. A "%" still
/// needs its two digits. A name that begins with "~" or holds a zero byte is refused too.
std::optional<std::string> relativeResourcePathOfFileName(std::string_view name);

}  // namespace ornolith
