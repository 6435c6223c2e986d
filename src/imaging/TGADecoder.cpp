#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "imaging/ByteOrder.h"
#include "imaging/DecodeLimits.h"
#include "imaging/Decoders.h"
#include "imaging/SampleScale.h"

namespace ornolith {

namespace {

using Bytes = std::span<const std::byte>;
using RGBA = std::array<std::uint8_t, 4>;

constexpr std::size_t headerBytes = 18;

struct Header {
  enum class Content { colorMapped, trueColor, grey };
  Content content = Content::trueColor;
  bool isRunLengthEncoded = false;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::size_t pixelBytes = 0;
  unsigned attributeBits = 0;
  bool startsRight = false;
  bool startsTop = false;
  std::size_t firstMapEntry = 0;
  std::size_t mapEntryCount = 0;
  std::size_t mapEntryBytes = 0;
  std::size_t mapOffset = 0;
  std::size_t pixelOffset = 0;
};

std::size_t bytesOfDepth(unsigned bits) noexcept {
  return (bits + 7) / 8;
}

bool isColorDepth(unsigned bits) noexcept {
  return bits == 15 || bits == 16 || bits == 24 || bits == 32;
}

bool readColorMap(Bytes data, Header& header) noexcept {
  const unsigned mapType = byteAt(data, 1);
  if (mapType > 1 || (mapType == 0) == (header.content == Header::Content::colorMapped)) return false;
  header.mapOffset = headerBytes + byteAt(data, 0);
  header.pixelOffset = header.mapOffset;
  if (mapType == 0) return true;
  const unsigned entryBits = byteAt(data, 7);
  if (!isColorDepth(entryBits)) return false;
  header.firstMapEntry = littleEndian16(data, 3);
  header.mapEntryCount = littleEndian16(data, 5);
  header.mapEntryBytes = bytesOfDepth(entryBits);
  header.pixelOffset += header.mapEntryCount * header.mapEntryBytes;
  return header.mapEntryCount > 0;
}

bool readPixelFormat(Bytes data, Header& header) noexcept {
  const unsigned bits = byteAt(data, 16);
  const unsigned descriptor = byteAt(data, 17);
  if ((descriptor & 0xc0U) != 0) return false;  // Interleaving, which version 2.0 gave up.
  header.pixelBytes = bytesOfDepth(bits);
  header.attributeBits = descriptor & 0x0fU;
  header.startsRight = (descriptor & 0x10U) != 0;
  header.startsTop = (descriptor & 0x20U) != 0;
  switch (header.content) {
    case Header::Content::colorMapped:
    case Header::Content::grey:
      return (bits == 8 || bits == 16) && header.attributeBits <= 8;
    case Header::Content::trueColor:
      return isColorDepth(bits) && header.attributeBits <= (bits == 32 ? 8U : 1U);
  }
  return false;
}

/// The header, where it is one that the format allows and that the data can fill.
std::optional<Header> readHeader(Bytes data) noexcept {
  if (data.size() < headerBytes) return std::nullopt;
  Header header;
  const unsigned type = byteAt(data, 2);
  header.isRunLengthEncoded = type >= 9;
  switch (type & ~8U) {
    case 1:
      header.content = Header::Content::colorMapped;
      break;
    case 2:
      header.content = Header::Content::trueColor;
      break;
    case 3:
      header.content = Header::Content::grey;
      break;
    default:
      return std::nullopt;
  }
  header.width = littleEndian16(data, 12);
  header.height = littleEndian16(data, 14);
  if (type > 11 || !readColorMap(data, header) || !readPixelFormat(data, header)) return std::nullopt;
  if (!isDecodableSize(header.width, header.height, data.size()) || header.pixelOffset > data.size()) {
    return std::nullopt;
  }
  // A packet of run lengths holds 128 pixels at most.
  const std::uint64_t pixels = std::uint64_t{header.width} * header.height;
  const std::uint64_t leastBytes =
      header.isRunLengthEncoded ? (pixels + 127) / 128 * (header.pixelBytes + 1) : pixels * header.pixelBytes;
  return leastBytes <= data.size() - header.pixelOffset ? std::optional(header) : std::nullopt;
}

RGBA colorOf(const std::byte* bytes, std::size_t count, unsigned attributeBits) noexcept {
  std::array<std::uint8_t, 4> raw{0, 0, 0, 255};
  std::memcpy(raw.data(), bytes, count);
  if (count > 2) return {raw[2], raw[1], raw[0], raw[3]};
  const unsigned word = raw[0] | static_cast<unsigned>(raw[1]) << 8;
  const bool isTransparent = attributeBits == 1 && (word & 0x8000U) == 0;
  return {scaledTo8(word >> 10 & 31U, 31), scaledTo8(word >> 5 & 31U, 31), scaledTo8(word & 31U, 31),
          isTransparent ? std::uint8_t{0} : std::uint8_t{255}};
}

RGBA pixelOf(Bytes data, const Header& header, std::size_t offset) noexcept {
  const std::byte* const bytes = data.data() + offset;
  switch (header.content) {
    case Header::Content::trueColor:
      return colorOf(bytes, header.pixelBytes, header.attributeBits);
    case Header::Content::grey: {
      const std::uint8_t grey = byteAt(data, offset);
      return {grey, grey, grey, header.pixelBytes == 2 ? byteAt(data, offset + 1) : std::uint8_t{255}};
    }
    case Header::Content::colorMapped: {
      const std::size_t index = header.pixelBytes == 2 ? littleEndian16(data, offset) : byteAt(data, offset);
      if (index < header.firstMapEntry || index - header.firstMapEntry >= header.mapEntryCount) return {0, 0, 0, 255};
      const std::size_t entry = header.mapOffset + (index - header.firstMapEntry) * header.mapEntryBytes;
      return colorOf(data.data() + entry, header.mapEntryBytes, header.attributeBits);
    }
  }
  return {};
}

/// Where the i-th stored pixel goes.
std::size_t targetOf(const Header& header, std::uint64_t index) noexcept {
  const std::uint64_t storedY = index / header.width;
  const std::uint64_t storedX = index % header.width;
  const std::uint64_t x = header.startsRight ? header.width - 1 - storedX : storedX;
  const std::uint64_t y = header.startsTop ? storedY : header.height - 1 - storedY;
  return static_cast<std::size_t>((y * header.width + x) * 4);
}

bool decodePackets(Bytes data, const Header& header, Image& image) noexcept {
  const std::uint64_t pixels = std::uint64_t{header.width} * header.height;
  std::size_t offset = header.pixelOffset;
  for (std::uint64_t index = 0; index < pixels;) {
    if (offset >= data.size()) return false;
    const unsigned packet = byteAt(data, offset++);
    const bool isRun = (packet & 0x80U) != 0;
    const std::uint64_t count = std::min<std::uint64_t>((packet & 0x7fU) + 1, pixels - index);
    const std::size_t needed = header.pixelBytes * (isRun ? 1 : static_cast<std::size_t>(count));
    if (needed > data.size() - offset) return false;
    for (std::uint64_t i = 0; i < count; ++i, ++index) {
      const std::size_t source = offset + (isRun ? 0 : static_cast<std::size_t>(i) * header.pixelBytes);
      std::memcpy(image.pixels.data() + targetOf(header, index), pixelOf(data, header, source).data(), 4);
    }
    offset += needed;
  }
  return true;
}

void decodePlain(Bytes data, const Header& header, Image& image) noexcept {
  const std::uint64_t pixels = std::uint64_t{header.width} * header.height;
  for (std::uint64_t index = 0; index < pixels; ++index) {
    const std::size_t source = header.pixelOffset + static_cast<std::size_t>(index) * header.pixelBytes;
    std::memcpy(image.pixels.data() + targetOf(header, index), pixelOf(data, header, source).data(), 4);
  }
}

}  // namespace

bool isTGA(std::span<const std::byte> data) noexcept {
  return readHeader(data).has_value();
}

std::optional<Image> decodeTGA(std::span<const std::byte> data) {
  const std::optional<Header> header = readHeader(data);
  if (!header) return std::nullopt;
  Image image{.width = header->width, .height = header->height, .pixels = {}};
  image.pixels.resize(image.rowBytes() * header->height, 0);
  if (header->isRunLengthEncoded) {
    if (!decodePackets(data, *header, image)) return std::nullopt;
  } else {
    decodePlain(data, *header, image);
  }
  // Many writers leave the attribute bits at zero for an image with alpha.
  if (header->attributeBits == 0) makeOpaqueIfBlank(image);
  return image;
}

}  // namespace ornolith
