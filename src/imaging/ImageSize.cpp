#include "imaging/ImageSize.h"

#include <webp/decode.h>

#include <algorithm>

#include "imaging/ByteOrder.h"
#include "imaging/CodecModule.h"
#include "imaging/DecodeLimits.h"
#include "imaging/EXRHeader.h"
#include "imaging/ImageDecoder.h"
#include "imaging/TIFFHeader.h"

namespace ornolith {

namespace {

using Bytes = std::span<const std::byte>;

std::optional<ImageSize> sizeOfPNG(Bytes data) noexcept {
  constexpr std::size_t widthOffset = 16;  // Behind the signature and the beginning of IHDR.
  if (data.size() < widthOffset + 8) return std::nullopt;
  return ImageSize{bigEndian32(data, widthOffset), bigEndian32(data, widthOffset + 4)};
}

/// The frame header of ITU-T T.81: the first segment of a start of frame. What the decoder passes over until the next
/// marker is passed over here: whatever it decodes has to tell its size.
std::optional<ImageSize> sizeOfJPEG(Bytes data) noexcept {
  std::size_t offset = 2;
  while (offset + 9 <= data.size()) {
    const unsigned marker = byteAt(data, offset + 1);
    if (byteAt(data, offset) != 0xff || marker == 0xff || marker == 0) {
      ++offset;
      continue;
    }
    const bool isAlone = marker == 0x01 || (marker >= 0xd0 && marker <= 0xd8);
    if (isAlone) {
      offset += 2;
      continue;
    }
    const bool isFrame = marker >= 0xc0 && marker <= 0xcf && marker != 0xc4 && marker != 0xc8 && marker != 0xcc;
    if (isFrame) return ImageSize{bigEndian16(data, offset + 7), bigEndian16(data, offset + 5)};
    const bool isScanOrEnd = marker == 0xda || marker == 0xd9;
    const std::size_t length = bigEndian16(data, offset + 2);
    if (isScanOrEnd) return std::nullopt;
    offset += 2 + std::max<std::size_t>(length, 2);
  }
  return std::nullopt;
}

std::optional<ImageSize> sizeOfWebP(Bytes data) noexcept {
  WebPBitstreamFeatures features{};
  const auto* const bytes = reinterpret_cast<const std::uint8_t*>(data.data());
  if (WebPGetFeatures(bytes, data.size(), &features) != VP8_STATUS_OK) return std::nullopt;
  return ImageSize{static_cast<std::uint32_t>(features.width), static_cast<std::uint32_t>(features.height)};
}

std::optional<ImageSize> sizeOfBMP(Bytes data) noexcept {
  constexpr std::uint32_t coreHeaderBytes = 12;
  if (data.size() < 26) return std::nullopt;
  if (littleEndian32(data, 14) == coreHeaderBytes) {
    return ImageSize{littleEndian16(data, 18), littleEndian16(data, 20)};
  }
  const std::uint32_t height = littleEndian32(data, 22);
  const bool isTopDown = (height & 0x80000000U) != 0;
  return ImageSize{littleEndian32(data, 18), isTopDown ? 0U - height : height};
}

std::optional<ImageSize> sizeOfTGA(Bytes data) noexcept {
  if (data.size() < 16) return std::nullopt;
  return ImageSize{littleEndian16(data, 12), littleEndian16(data, 14)};
}

}  // namespace

std::optional<ImageSize> claimedImageSize(std::span<const std::byte> data) noexcept {
  const std::optional<ImageKind> kind = imageKind(data);
  if (!kind) return std::nullopt;
  switch (*kind) {
    case ImageKind::png:
      return sizeOfPNG(data);
    case ImageKind::jpeg:
      return sizeOfJPEG(data);
    case ImageKind::webp:
      return sizeOfWebP(data);
    case ImageKind::bmp:
      return sizeOfBMP(data);
    case ImageKind::tga:
      return sizeOfTGA(data);
    case ImageKind::tiff:
      return claimedTIFFSize(data);
    case ImageKind::heic:
      return sizeByModule(CodecModule::heic, data);
    case ImageKind::exr:
      return claimedEXRSize(data);
  }
  return std::nullopt;
}

std::optional<std::uint64_t> decodedByteCount(std::span<const std::byte> data) noexcept {
  const std::optional<ImageSize> size = claimedImageSize(data);
  if (!size || !isDecodableSize(size->width, size->height, data.size())) return std::nullopt;
  return std::uint64_t{size->width} * size->height * 4;
}

}  // namespace ornolith
