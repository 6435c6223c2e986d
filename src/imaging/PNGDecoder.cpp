#include <libdeflate.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "imaging/ByteOrder.h"
#include "imaging/DecodeLimits.h"
#include "imaging/Decoders.h"
#include "imaging/PNGFilters.h"

// Section numbers are those of the PNG specification, third edition. Own code, since inflating in one piece with
// libdeflate takes a fraction of the time that a row-wise reader over zlib does.

namespace ornolith {

namespace {

using Bytes = std::span<const std::byte>;

enum class ColorType : std::uint8_t { grey = 0, rgb = 2, palette = 3, greyAlpha = 4, rgba = 6 };

struct Header {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  unsigned bitDepth = 0;
  ColorType colorType = ColorType::grey;
  bool isInterlaced = false;

  std::size_t channelCount() const noexcept {
    switch (colorType) {
      case ColorType::rgb:
        return 3;
      case ColorType::greyAlpha:
        return 2;
      case ColorType::rgba:
        return 4;
      default:
        return 1;
    }
  }
  std::size_t rowBytes(std::size_t pixelCount) const noexcept {
    return (pixelCount * channelCount() * bitDepth + 7) / 8;
  }
  std::size_t pixelBytes() const noexcept { return std::max<std::size_t>(channelCount() * bitDepth / 8, 1); }
};

/// What the chunks say.
struct Contents {
  Header header;
  std::array<std::array<std::uint8_t, 4>, 256> palette{};  ///< RGBA, opaque black beyond the last entry.
  bool hasPalette = false;
  std::optional<std::array<std::uint16_t, 3>> transparentColor;  ///< In the samples' own depth; grey in front.
  std::vector<Bytes> compressed;
  std::size_t compressedBytes = 0;
};

std::optional<Header> parseHeader(Bytes data) {
  if (data.size() != 13) return std::nullopt;
  Header header;
  header.width = bigEndian32(data, 0);
  header.height = bigEndian32(data, 4);
  header.bitDepth = byteAt(data, 8);
  const unsigned colorType = byteAt(data, 9);
  header.colorType = static_cast<ColorType>(colorType);
  header.isInterlaced = byteAt(data, 12) == 1;
  if (byteAt(data, 10) != 0 || byteAt(data, 11) != 0 || byteAt(data, 12) > 1) return std::nullopt;
  // The depths that table 12 allows, as bits.
  constexpr unsigned depth1 = 1U << 1, depth2 = 1U << 2, depth4 = 1U << 4, depth8 = 1U << 8, depth16 = 1U << 16;
  constexpr std::array<unsigned, 7> allowedDepths{depth1 | depth2 | depth4 | depth8 | depth16,
                                                  0,
                                                  depth8 | depth16,
                                                  depth1 | depth2 | depth4 | depth8,
                                                  depth8 | depth16,
                                                  0,
                                                  depth8 | depth16};
  const bool isAllowed = colorType < allowedDepths.size() && header.bitDepth <= 16 &&
                         (allowedDepths[colorType] >> header.bitDepth & 1U) != 0;
  return isAllowed ? std::optional(header) : std::nullopt;
}

bool parsePalette(Bytes data, Contents& contents) {
  if (data.empty() || data.size() % 3 != 0 || data.size() > 768 || contents.hasPalette) return false;
  contents.hasPalette = true;
  for (std::size_t i = 0; i < data.size() / 3; ++i) {
    for (std::size_t c = 0; c < 3; ++c) contents.palette[i][c] = byteAt(data, i * 3 + c);
  }
  return true;
}

/// 11.3.1.1. Malformed transparency is left out, as one of an image with an alpha channel is.
void parseTransparency(Bytes data, Contents& contents) {
  switch (contents.header.colorType) {
    case ColorType::palette:
      if (data.size() > 256) return;
      for (std::size_t i = 0; i < data.size(); ++i) contents.palette[i][3] = byteAt(data, i);
      return;
    case ColorType::grey:
      if (data.size() == 2) contents.transparentColor = {bigEndian16(data, 0), 0, 0};
      return;
    case ColorType::rgb:
      if (data.size() == 6)
        contents.transparentColor = {bigEndian16(data, 0), bigEndian16(data, 2), bigEndian16(data, 4)};
      return;
    default:
      return;
  }
}

constexpr std::uint32_t chunkType(const char (&name)[5]) {
  std::uint32_t type = 0;
  for (std::size_t i = 0; i < 4; ++i) type = type << 8 | static_cast<std::uint8_t>(name[i]);
  return type;
}

/// Reads one chunk that matters; false for damage.
bool readChunk(std::uint32_t type, Bytes data, Contents& contents) {
  if (type == chunkType("PLTE")) return parsePalette(data, contents);
  if (type == chunkType("tRNS")) {
    parseTransparency(data, contents);
  } else if (type == chunkType("IDAT")) {
    contents.compressed.push_back(data);
    contents.compressedBytes += data.size();
  }
  return true;
}

/// Walks the chunks (5.3) up to IEND, which must be there.
std::optional<Contents> readChunks(Bytes file) {
  constexpr std::size_t signatureBytes = 8;
  constexpr std::size_t frameBytes = 12;
  constexpr std::uint32_t ancillaryBit = 1U << 29;
  Contents contents;
  for (auto& entry : contents.palette) entry = {0, 0, 0, 255};
  bool isFirst = true;
  for (std::size_t offset = signatureBytes; file.size() - offset >= frameBytes;) {
    const std::size_t length = bigEndian32(file, offset);
    if (length > file.size() - offset - frameBytes) return std::nullopt;
    const std::uint32_t type = bigEndian32(file, offset + 4);
    const Bytes data = file.subspan(offset + 8, length);
    const bool isKnown = type == chunkType("IHDR") || type == chunkType("PLTE") || type == chunkType("tRNS") ||
                         type == chunkType("IDAT") || type == chunkType("IEND");
    if (!isKnown && (type & ancillaryBit) == 0) return std::nullopt;
    if (isKnown &&
        libdeflate_crc32(0, file.data() + offset + 4, length + 4) != bigEndian32(file, offset + 8 + length)) {
      return std::nullopt;
    }
    if (isFirst != (type == chunkType("IHDR"))) return std::nullopt;
    if (isFirst) {
      const std::optional<Header> header = parseHeader(data);
      if (!header) return std::nullopt;
      contents.header = *header;
      isFirst = false;
    } else if (type == chunkType("IEND")) {
      return contents;
    } else if (!readChunk(type, data, contents)) {
      return std::nullopt;
    }
    offset += frameBytes + length;
  }
  return std::nullopt;
}

/// A rectangular lattice of pixels that is stored as an image of its own (8.1).
struct Pass {
  std::uint32_t firstX = 0;
  std::uint32_t firstY = 0;
  std::uint32_t stepX = 1;
  std::uint32_t stepY = 1;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
};

/// The passes that hold any pixel, in file order.
std::vector<Pass> passesOf(const Header& header) {
  if (!header.isInterlaced) return {Pass{.width = header.width, .height = header.height}};
  constexpr std::array<Pass, 7> adam7{Pass{0, 0, 8, 8, 0, 0}, Pass{4, 0, 8, 8, 0, 0}, Pass{0, 4, 4, 8, 0, 0},
                                      Pass{2, 0, 4, 4, 0, 0}, Pass{0, 2, 2, 4, 0, 0}, Pass{1, 0, 2, 2, 0, 0},
                                      Pass{0, 1, 1, 2, 0, 0}};
  std::vector<Pass> passes;
  for (Pass pass : adam7) {
    if (pass.firstX >= header.width || pass.firstY >= header.height) continue;
    pass.width = (header.width - pass.firstX + pass.stepX - 1) / pass.stepX;
    pass.height = (header.height - pass.firstY + pass.stepY - 1) / pass.stepY;
    passes.push_back(pass);
  }
  return passes;
}

struct DecompressorDeleter {
  void operator()(libdeflate_decompressor* decompressor) const noexcept { libdeflate_free_decompressor(decompressor); }
};

/// Inflates the IDAT data to exactly `size` bytes; null where it is damaged or short.
std::unique_ptr<std::uint8_t[]> inflateRows(const Contents& contents, std::size_t size) {
  // DEFLATE cannot expand further: 258 bytes take two bits at least.
  constexpr std::size_t maximumRatio = 1032;
  if (size / maximumRatio > contents.compressedBytes) return nullptr;
  std::vector<std::byte> joined;
  Bytes stream;
  if (contents.compressed.size() == 1) {
    stream = contents.compressed.front();
  } else {
    joined.reserve(contents.compressedBytes);
    for (const Bytes part : contents.compressed) joined.insert(joined.end(), part.begin(), part.end());
    stream = joined;
  }
  const std::unique_ptr<libdeflate_decompressor, DecompressorDeleter> decompressor(libdeflate_alloc_decompressor());
  if (!decompressor) throw std::bad_alloc();

  // Some writers leave more in the stream than the rows need.
  constexpr std::size_t surplusBytes = std::size_t{1} << 20;
  for (const std::size_t surplus : {std::size_t{0}, surplusBytes}) {
    auto rows = std::make_unique_for_overwrite<std::uint8_t[]>(size + std::max(surplus, pngRowSlack));
    std::size_t inflated = 0;
    const libdeflate_result result = libdeflate_zlib_decompress(decompressor.get(), stream.data(), stream.size(),
                                                                rows.get(), size + surplus, &inflated);
    if (result == LIBDEFLATE_INSUFFICIENT_SPACE) continue;
    if (result != LIBDEFLATE_SUCCESS || inflated < size) return nullptr;
    std::memset(rows.get() + size, 0, pngRowSlack);
    return rows;
  }
  return nullptr;
}

std::uint8_t rounded8(unsigned sample16) noexcept {
  return static_cast<std::uint8_t>((sample16 + 128) / 257);
}

unsigned sample16(const std::uint8_t* bytes) noexcept {
  return static_cast<unsigned>(bytes[0]) << 8 | bytes[1];
}

/// Turns rows of samples into RGBA.
class RowExpander {
 public:
  explicit RowExpander(const Contents& contents) : contents_(contents) {}

  void expand(const std::uint8_t* row, std::uint8_t* out, std::size_t count) const {
    const bool isWide = contents_.header.bitDepth == 16;
    switch (contents_.header.colorType) {
      case ColorType::grey:
        return isWide ? expandWideGrey(row, out, count) : expandGrey(row, out, count);
      case ColorType::rgb:
        return isWide ? expandWideRGB(row, out, count) : expandRGB(row, out, count);
      case ColorType::palette:
        return expandPalette(row, out, count);
      case ColorType::greyAlpha:
        return expandGreyAlpha(row, out, count, isWide ? 2 : 1);
      case ColorType::rgba:
        if (!isWide) {
          std::memcpy(out, row, count * 4);
          return;
        }
        for (std::size_t i = 0; i < count * 4; ++i) out[i] = rounded8(sample16(row + i * 2));
    }
  }

 private:
  unsigned narrowSample(const std::uint8_t* row, std::size_t index) const noexcept {
    const unsigned depth = contents_.header.bitDepth;
    const std::size_t bit = index * depth;
    return static_cast<unsigned>(row[bit / 8]) >> (8 - depth - bit % 8) & ((1U << depth) - 1);
  }

  static void writeGrey(std::uint8_t* out, std::uint8_t grey, std::uint8_t alpha) noexcept {
    out[0] = out[1] = out[2] = grey;
    out[3] = alpha;
  }

  void expandGrey(const std::uint8_t* row, std::uint8_t* out, std::size_t count) const {
    // 255 is a multiple of the greatest sample of every depth.
    const unsigned scale = 255U / ((1U << contents_.header.bitDepth) - 1);
    for (std::size_t i = 0; i < count; ++i) {
      const unsigned sample = narrowSample(row, i);
      const bool isKey = contents_.transparentColor && (*contents_.transparentColor)[0] == sample;
      writeGrey(out + i * 4, static_cast<std::uint8_t>(sample * scale), isKey ? 0 : 255);
    }
  }

  void expandWideGrey(const std::uint8_t* row, std::uint8_t* out, std::size_t count) const {
    for (std::size_t i = 0; i < count; ++i) {
      const unsigned sample = sample16(row + i * 2);
      const bool isKey = contents_.transparentColor && (*contents_.transparentColor)[0] == sample;
      writeGrey(out + i * 4, rounded8(sample), isKey ? 0 : 255);
    }
  }

  void expandRGB(const std::uint8_t* row, std::uint8_t* out, std::size_t count) const {
    for (std::size_t i = 0; i < count; ++i) {
      out[i * 4] = row[i * 3];
      out[i * 4 + 1] = row[i * 3 + 1];
      out[i * 4 + 2] = row[i * 3 + 2];
      out[i * 4 + 3] = 255;
    }
    if (!contents_.transparentColor) return;
    const auto& key = *contents_.transparentColor;
    for (std::size_t i = 0; i < count; ++i) {
      if (row[i * 3] == key[0] && row[i * 3 + 1] == key[1] && row[i * 3 + 2] == key[2]) out[i * 4 + 3] = 0;
    }
  }

  void expandWideRGB(const std::uint8_t* row, std::uint8_t* out, std::size_t count) const {
    for (std::size_t i = 0; i < count; ++i) {
      bool isKey = contents_.transparentColor.has_value();
      for (std::size_t c = 0; c < 3; ++c) {
        const unsigned sample = sample16(row + (i * 3 + c) * 2);
        out[i * 4 + c] = rounded8(sample);
        isKey = isKey && (*contents_.transparentColor)[c] == sample;
      }
      out[i * 4 + 3] = isKey ? 0 : 255;
    }
  }

  void expandPalette(const std::uint8_t* row, std::uint8_t* out, std::size_t count) const {
    for (std::size_t i = 0; i < count; ++i) {
      const unsigned index = contents_.header.bitDepth == 8 ? row[i] : narrowSample(row, i);
      std::memcpy(out + i * 4, contents_.palette[index].data(), 4);
    }
  }

  static void expandGreyAlpha(const std::uint8_t* row, std::uint8_t* out, std::size_t count, std::size_t sampleBytes) {
    for (std::size_t i = 0; i < count; ++i, row += 2 * sampleBytes) {
      if (sampleBytes == 1) {
        writeGrey(out + i * 4, row[0], row[1]);
      } else {
        writeGrey(out + i * 4, rounded8(sample16(row)), rounded8(sample16(row + 2)));
      }
    }
  }

  const Contents& contents_;
};

/// Unfilters and expands one pass, whose rows begin at `rows`; `spare` has room for a row of RGBA.
bool decodePass(const Contents& contents, const Pass& pass, std::uint8_t* rows, std::vector<std::uint8_t>& spare,
                Image& image) {
  const Header& header = contents.header;
  const RowExpander expander(contents);
  const std::size_t rowBytes = header.rowBytes(pass.width);
  const std::uint8_t* above = nullptr;
  for (std::uint32_t y = 0; y < pass.height; ++y, rows += rowBytes + 1) {
    std::uint8_t* const row = rows + 1;
    if (!undoPNGFilter(rows[0], row, above, rowBytes, header.pixelBytes())) return false;
    above = row;
    std::uint8_t* const target = image.pixels.data() + (pass.firstY + std::size_t{y} * pass.stepY) * image.rowBytes();
    if (!header.isInterlaced) {
      expander.expand(row, target, pass.width);
      continue;
    }
    expander.expand(row, spare.data(), pass.width);
    for (std::size_t x = 0; x < pass.width; ++x) {
      std::memcpy(target + (pass.firstX + x * pass.stepX) * 4, spare.data() + x * 4, 4);
    }
  }
  return true;
}

}  // namespace

std::optional<Image> decodePNG(std::span<const std::byte> data) {
  if (data.size() < 8) return std::nullopt;
  const std::optional<Contents> contents = readChunks(data);
  if (!contents) return std::nullopt;
  const Header& header = contents->header;
  if (!isDecodableSize(header.width, header.height, data.size())) return std::nullopt;
  if (header.colorType == ColorType::palette && !contents->hasPalette) return std::nullopt;

  const std::vector<Pass> passes = passesOf(header);
  std::size_t size = 0;
  for (const Pass& pass : passes) size += (header.rowBytes(pass.width) + 1) * pass.height;
  const std::unique_ptr<std::uint8_t[]> rows = inflateRows(*contents, size);
  if (!rows) return std::nullopt;

  Image image{.width = header.width, .height = header.height, .pixels = {}};
  image.pixels.resize(image.rowBytes() * header.height);
  std::vector<std::uint8_t> spare(header.isInterlaced ? image.rowBytes() : 0);
  std::uint8_t* passRows = rows.get();
  for (const Pass& pass : passes) {
    if (!decodePass(*contents, pass, passRows, spare, image)) return std::nullopt;
    passRows += (header.rowBytes(pass.width) + 1) * pass.height;
  }
  return image;
}

}  // namespace ornolith
