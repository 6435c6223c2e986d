#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "imaging/Image.h"

namespace ornolith {

/// The codecs that few runs need and that bring many shared libraries with them.
enum class CodecModule { tiff, heic, exr };

/// `decodeImage` by a module, which is loaded at the first call for it and stays loaded. Nothing where the module is
/// not installed.
std::optional<Image> decodeByModule(CodecModule module, std::span<const std::byte> data);

/// What a module exports under `codecEntryName`, with C linkage. It keeps the promises of `decodeImage`; `image` is
/// only set where the result is true. A module belongs to the program that it was built with.
using CodecEntry = bool (*)(const std::byte* data, std::size_t size, Image& image);
inline constexpr const char* codecEntryName = "ornolithDecodeImage";

}  // namespace ornolith
