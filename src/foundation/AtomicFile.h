#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "foundation/FileURL.h"

namespace ornolith {

/// Writes `bytes` to `url` in one step: into a hidden file of a fresh name in the same folder, which is then renamed
/// over the target. Readers see the old contents or the new, never a part; on failure the target is untouched and
/// nothing stays behind, also when the run is interrupted. An existing file is replaced and hands its permissions on; a
/// new one has those of any new file. A link at `url` is replaced, not followed. Throws `SystemError` ("written"), for
/// a folder in the way too.
void writeFileAtomically(const FileURL& url, std::span<const std::byte> bytes);
void writeFileAtomically(const FileURL& url, std::string_view bytes);

}  // namespace ornolith
