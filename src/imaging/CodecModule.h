#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "imaging/Image.h"
#include "imaging/ImageSize.h"

namespace ornolith {

/// The codecs that few runs need and that bring many shared libraries with them.
enum class CodecModule { tiff, heic, exr };

/// `decodeImage` by a module, which is loaded at the first call for it and stays loaded, for data whose header claims
/// `size` as it is stored. Nothing where the module is not installed, and for an image of another size.
std::optional<Image> decodeByModule(CodecModule module, std::span<const std::byte> data, ImageSize size);

/// The size of the image that the module makes, as its library tells it without decoding. Nothing where the module does
/// not tell sizes: those of TIFF and EXR are read without it.
std::optional<ImageSize> sizeByModule(CodecModule module, std::span<const std::byte> data) noexcept;

// What a module exports, with C linkage. A module belongs to the program that it was built with.

/// Under `codecEntryName`. It keeps the promises of `decodeImage`; `image` is only set where the result is true.
using CodecEntry = bool (*)(const std::byte* data, std::size_t byteCount, ImageSize size, Image& image);
inline constexpr const char* codecEntryName = "ornolithDecodeImage";

/// Under `codecSizeEntryName`, where it tells sizes; `size` is only set where the result is true.
using CodecSizeEntry = bool (*)(const std::byte* data, std::size_t byteCount, ImageSize& size) noexcept;
inline constexpr const char* codecSizeEntryName = "ornolithImageSize";

}  // namespace ornolith
