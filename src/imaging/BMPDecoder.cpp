#include <algorithm>
#include <array>
#include <bit>
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

constexpr std::size_t fileHeaderBytes = 14;
constexpr std::uint32_t coreHeaderBytes = 12;
constexpr std::uint32_t infoHeaderBytes = 40;
constexpr std::uint32_t os2HeaderBytes = 64;

// The names and numbers of the Windows headers.
enum class Compression : std::uint32_t { rgb = 0, rle8 = 1, rle4 = 2, bitFields = 3, alphaBitFields = 6 };

struct Header {
  std::uint32_t headerBytes = 0;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  bool isTopDown = false;
  unsigned bitCount = 0;
  Compression compression = Compression::rgb;
  std::uint32_t paletteCount = 0;
  std::array<std::uint32_t, 4> masks{};  ///< Red, green, blue, alpha.
  std::size_t pixelOffset = 0;
};

struct Palette {
  std::array<RGBA, 256> colors{};
};

bool readSize(Bytes data, Header& header) noexcept {
  if (header.headerBytes == coreHeaderBytes) {
    header.width = littleEndian16(data, 18);
    header.height = littleEndian16(data, 20);
    header.bitCount = littleEndian16(data, 24);
    return true;
  }
  if (data.size() < fileHeaderBytes + infoHeaderBytes) return false;
  header.width = littleEndian32(data, 18);
  header.height = littleEndian32(data, 22);
  // A negative height says that rows run from the top.
  header.isTopDown = (header.height & 0x80000000U) != 0;
  if (header.isTopDown) header.height = 0U - header.height;
  header.bitCount = littleEndian16(data, 28);
  header.compression = static_cast<Compression>(littleEndian32(data, 30));
  header.paletteCount = littleEndian32(data, 46);
  return true;
}

/// The masks stand in the header of 52 bytes or more, else behind it.
bool readMasks(Bytes data, Header& header) noexcept {
  if (header.bitCount != 16 && header.bitCount != 32) return true;
  if (header.compression == Compression::rgb) {
    header.masks = header.bitCount == 16 ? std::array<std::uint32_t, 4>{0x7c00, 0x03e0, 0x001f, 0}
                                         : std::array<std::uint32_t, 4>{0xff0000, 0xff00, 0xff, 0xff000000};
    return true;
  }
  constexpr std::size_t firstMask = fileHeaderBytes + infoHeaderBytes;
  const bool hasAlphaMask = header.headerBytes >= 56 || header.compression == Compression::alphaBitFields;
  const std::size_t count = hasAlphaMask ? 4 : 3;
  if (data.size() < firstMask + count * 4) return false;
  for (std::size_t i = 0; i < count; ++i) header.masks[i] = littleEndian32(data, firstMask + i * 4);
  return true;
}

bool isConsistent(const Header& header) noexcept {
  switch (header.compression) {
    case Compression::rgb:
      return header.bitCount == 1 || header.bitCount == 2 || header.bitCount == 4 || header.bitCount == 8 ||
             header.bitCount == 16 || header.bitCount == 24 || header.bitCount == 32;
    case Compression::rle8:
      return header.bitCount == 8 && !header.isTopDown;
    case Compression::rle4:
      return header.bitCount == 4 && !header.isTopDown;
    case Compression::bitFields:
    case Compression::alphaBitFields:
      // In OS/2's header the same number is another compression.
      return (header.bitCount == 16 || header.bitCount == 32) && header.headerBytes != os2HeaderBytes;
  }
  return false;
}

std::size_t rowBytesOf(const Header& header) noexcept {
  return (std::size_t{header.width} * header.bitCount + 31) / 32 * 4;
}

std::optional<Header> readHeader(Bytes data) noexcept {
  Header header;
  header.pixelOffset = littleEndian32(data, 10);
  header.headerBytes = littleEndian32(data, 14);
  if (!readSize(data, header) || !isConsistent(header) || !readMasks(data, header)) return std::nullopt;
  if (!isDecodableSize(header.width, header.height, data.size()) || header.pixelOffset > data.size()) {
    return std::nullopt;
  }
  const bool isPlain = header.compression != Compression::rle8 && header.compression != Compression::rle4;
  if (isPlain && rowBytesOf(header) * header.height > data.size() - header.pixelOffset) return std::nullopt;
  return header;
}

/// The palette, opaque black where it ends before the index does.
Palette readPalette(Bytes data, const Header& header) noexcept {
  Palette palette;
  palette.colors.fill({0, 0, 0, 255});
  if (header.bitCount > 8) return palette;
  const std::size_t entryBytes = header.headerBytes == coreHeaderBytes ? 3 : 4;
  std::size_t count = std::size_t{1} << header.bitCount;
  if (header.paletteCount != 0) count = std::min<std::size_t>(count, header.paletteCount);
  const std::size_t begin = fileHeaderBytes + header.headerBytes;
  const std::size_t end = std::min<std::size_t>(std::max(header.pixelOffset, begin), data.size());
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t offset = begin + i * entryBytes;
    if (offset + 3 > end) break;
    palette.colors[i] = {byteAt(data, offset + 2), byteAt(data, offset + 1), byteAt(data, offset), 255};
  }
  return palette;
}

std::uint8_t* rowOf(Image& image, const Header& header, std::uint32_t storedRow) noexcept {
  const std::uint32_t y = header.isTopDown ? storedRow : header.height - 1 - storedRow;
  return image.pixels.data() + y * image.rowBytes();
}

void decodeIndexed(Bytes data, const Header& header, Image& image) noexcept {
  const Palette palette = readPalette(data, header);
  const unsigned mask = (1U << header.bitCount) - 1;
  for (std::uint32_t y = 0; y < header.height; ++y) {
    const Bytes row = data.subspan(header.pixelOffset + y * rowBytesOf(header), rowBytesOf(header));
    std::uint8_t* out = rowOf(image, header, y);
    for (std::size_t x = 0; x < header.width; ++x, out += 4) {
      const std::size_t bit = x * header.bitCount;
      const unsigned index = static_cast<unsigned>(byteAt(row, bit / 8)) >> (8 - header.bitCount - bit % 8) & mask;
      std::memcpy(out, palette.colors[index].data(), 4);
    }
  }
}

void decodeTriples(Bytes data, const Header& header, Image& image) noexcept {
  for (std::uint32_t y = 0; y < header.height; ++y) {
    const Bytes row = data.subspan(header.pixelOffset + y * rowBytesOf(header), rowBytesOf(header));
    std::uint8_t* out = rowOf(image, header, y);
    for (std::size_t x = 0; x < header.width; ++x, out += 4) {
      out[0] = byteAt(row, x * 3 + 2);
      out[1] = byteAt(row, x * 3 + 1);
      out[2] = byteAt(row, x * 3);
      out[3] = 255;
    }
  }
}

/// The bits of one mask, as a value of 0 to its greatest.
std::uint8_t fieldOf(std::uint32_t word, std::uint32_t mask, std::uint8_t otherwise) noexcept {
  if (mask == 0) return otherwise;
  const int shift = std::countr_zero(mask);
  return scaledTo8((word & mask) >> shift, mask >> shift);
}

void decodeFields(Bytes data, const Header& header, Image& image) noexcept {
  for (std::uint32_t y = 0; y < header.height; ++y) {
    const Bytes row = data.subspan(header.pixelOffset + y * rowBytesOf(header), rowBytesOf(header));
    std::uint8_t* out = rowOf(image, header, y);
    for (std::size_t x = 0; x < header.width; ++x, out += 4) {
      const std::uint32_t word = header.bitCount == 16 ? littleEndian16(row, x * 2) : littleEndian32(row, x * 4);
      for (std::size_t c = 0; c < 3; ++c) out[c] = fieldOf(word, header.masks[c], 0);
      out[3] = fieldOf(word, header.masks[3], 255);
    }
  }
  if (header.compression == Compression::rgb && header.bitCount == 32) makeOpaqueIfBlank(image);
}

/// The pixels that run lengths write, from the left bottom corner; what lies outside the image is dropped.
class RunTarget {
 public:
  RunTarget(const Header& header, const Palette& palette, Image& image)
      : header_(header), palette_(palette), image_(image) {}

  void put(unsigned index) noexcept {
    if (x_ < header_.width && y_ < header_.height) {
      std::memcpy(rowOf(image_, header_, y_) + std::size_t{x_} * 4, palette_.colors[index].data(), 4);
      ++x_;
    }
  }
  void endLine() noexcept {
    x_ = 0;
    move(0, 1);
  }
  void move(std::uint32_t right, std::uint32_t up) noexcept {
    x_ = std::min(x_ + right, header_.width);
    y_ = std::min(y_ + up, header_.height);
  }

 private:
  const Header& header_;
  const Palette& palette_;
  Image& image_;
  std::uint32_t x_ = 0;
  std::uint32_t y_ = 0;
};

/// False where the data ends before the end of the bitmap is marked.
bool decodeRuns(Bytes data, const Header& header, Image& image) noexcept {
  const Palette palette = readPalette(data, header);
  for (std::size_t i = 0; i < image.pixels.size(); i += 4) std::memcpy(&image.pixels[i], palette.colors[0].data(), 4);
  RunTarget target(header, palette, image);
  const bool isNibbles = header.compression == Compression::rle4;
  const auto indexOf = [isNibbles](unsigned byte, unsigned i) {
    return isNibbles ? (i % 2 == 0 ? byte >> 4 : byte & 15U) : byte;
  };
  std::size_t offset = header.pixelOffset;
  while (data.size() - offset >= 2) {
    const unsigned count = byteAt(data, offset);
    const unsigned value = byteAt(data, offset + 1);
    offset += 2;
    if (count != 0) {
      for (unsigned i = 0; i < count; ++i) target.put(indexOf(value, i));
    } else if (value == 0) {
      target.endLine();
    } else if (value == 1) {
      return true;
    } else if (value == 2) {
      if (data.size() - offset < 2) return false;
      target.move(byteAt(data, offset), byteAt(data, offset + 1));
      offset += 2;
    } else {
      // So many literal indices, padded to an even number of bytes.
      const std::size_t byteCount = isNibbles ? (value + 1) / 2 : value;
      const std::size_t padded = (byteCount + 1) / 2 * 2;
      if (data.size() - offset < padded) return false;
      for (unsigned i = 0; i < value; ++i) target.put(indexOf(byteAt(data, offset + (isNibbles ? i / 2 : i)), i));
      offset += padded;
    }
  }
  return false;
}

}  // namespace

bool isBMP(std::span<const std::byte> data) noexcept {
  if (data.size() < fileHeaderBytes + coreHeaderBytes || byteAt(data, 0) != 'B' || byteAt(data, 1) != 'M') return false;
  constexpr std::array<std::uint32_t, 7> headerSizes{
      coreHeaderBytes, infoHeaderBytes, 52, 56, os2HeaderBytes, 108, 124};
  const std::uint32_t headerBytes = littleEndian32(data, 14);
  if (std::find(headerSizes.begin(), headerSizes.end(), headerBytes) == headerSizes.end()) return false;
  const std::size_t planeCountOffset = headerBytes == coreHeaderBytes ? 22 : 26;
  return data.size() >= planeCountOffset + 2 && littleEndian16(data, planeCountOffset) == 1;
}

std::optional<Image> decodeBMP(std::span<const std::byte> data) {
  if (!isBMP(data)) return std::nullopt;
  const std::optional<Header> header = readHeader(data);
  if (!header) return std::nullopt;
  Image image{.width = header->width, .height = header->height, .pixels = {}};
  image.pixels.resize(image.rowBytes() * header->height, 0);
  if (header->compression == Compression::rle8 || header->compression == Compression::rle4) {
    if (!decodeRuns(data, *header, image)) return std::nullopt;
  } else if (header->bitCount <= 8) {
    decodeIndexed(data, *header, image);
  } else if (header->bitCount == 24) {
    decodeTriples(data, *header, image);
  } else {
    decodeFields(data, *header, image);
  }
  return image;
}

}  // namespace ornolith
