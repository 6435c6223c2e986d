#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "imaging/Image.h"

namespace ornolith {

/// The image kinds that textures may have. The kind is told by content, never by a file's extension (TGA, which has no
/// signature, last and only where its header is consistent).
enum class ImageKind { png, jpeg, tiff, tga, bmp, heic, exr, webp };

/// The limits under which an image from an untrusted file is decoded; a larger one is refused. The most that one image
/// can take is thus 512 MiB, and a small file can only claim a fraction of it (see DecodeLimits.h).
inline constexpr std::uint32_t maximumDecodedImageSide = 16'384;
inline constexpr std::uint64_t maximumDecodedImagePixels = 16'384ull * 8'192ull;

/// The kind of `data`, or nothing where no decoder would take it.
std::optional<ImageKind> imageKind(std::span<const std::byte> data) noexcept;

/// The first image of `data`, as 8-bit RGBA: 16-bit samples rounded, grey and palettes expanded, the orientation of
/// JPEG, TIFF and HEIC applied, premultiplied alpha undone, half and float samples (linear) clamped to 0..1 and encoded
/// to sRGB. Of an animation the first frame on its transparent canvas, of several pages or parts the first. Samples are
/// taken as sRGB: embedded colour profiles, gamma and chromaticities play no part.
///
/// Nothing where the data is no image of a known kind, is damaged or cut short, does not tell its size
/// (`claimedImageSize`), or is over the limits. Never throws but for lack of memory, and writes to no stream; memory is
/// set aside only after the header's claim has been checked against the limits and the size of the data. May be called
/// from several threads at once.
///
/// The decoders of TIFF, HEIC and EXR are modules that are loaded at the first image of their kind, from
/// `../lib/ornolith-render` beside the program's directory (from the build folder where the program runs inside it);
/// without its module a kind does not decode.
std::optional<Image> decodeImage(std::span<const std::byte> data);

/// The bytes of an image file, which must be a regular file (a link is followed). Nothing where it cannot be read, is
/// empty, or is larger than any texture.
std::optional<std::vector<std::byte>> readImageFile(const std::string& path);

/// `decodeImage` of a file, which must be a regular file (a link is followed). Nothing where it cannot be read.
std::optional<Image> decodeImageFile(const std::string& path);

}  // namespace ornolith
