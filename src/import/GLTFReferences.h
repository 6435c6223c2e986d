#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "foundation/FileURL.h"

namespace ornolith {

/// The "uri" texts of the buffers and images of a glTF manifest, each once, in byte order. An object without one refers
/// to a chunk or a buffer view. Throws `SystemError`, `JSONError`, and `InvalidGLTFManifest` where the top level is no
/// object or the file is larger than any manifest.
std::vector<std::string> gltfResourceURIs(const FileURL& manifest);

/// The path below a search root that a manifest's URI means, standardised. Throws `UnsafeResourcePath` for anything but
/// a relative path that stays below the root and names something in it: this is the only place where paths from inside
/// a file are trusted at all.
std::string gltfResourcePath(const std::string& uri);

}  // namespace ornolith
