#include <tiffio.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "imaging/DecodeLimits.h"
#include "imaging/Orientation.h"
#include "imaging/SampleScale.h"
#include "imaging/codecs/Codec.h"

namespace ornolith {

namespace {

using Bytes = std::span<const std::byte>;

// The file in memory, as the library reads it.

struct MemoryFile {
  Bytes data;
  std::uint64_t position = 0;
  bool isShort = false;  ///< More was asked for than the file holds.
};

MemoryFile& fileOf(thandle_t handle) {
  return *static_cast<MemoryFile*>(handle);
}

tmsize_t readFile(thandle_t handle, void* out, tmsize_t count) {
  MemoryFile& file = fileOf(handle);
  if (count <= 0) return 0;
  const auto wanted = static_cast<std::size_t>(count);
  const std::size_t begin = static_cast<std::size_t>(std::min<std::uint64_t>(file.position, file.data.size()));
  const std::size_t taken = std::min(wanted, file.data.size() - begin);
  if (taken < wanted) file.isShort = true;
  std::memcpy(out, file.data.data() + begin, taken);
  file.position += taken;
  return static_cast<tmsize_t>(taken);
}

tmsize_t writeNothing(thandle_t /*handle*/, void* /*bytes*/, tmsize_t /*count*/) {
  return -1;
}

toff_t seekFile(thandle_t handle, toff_t offset, int origin) {
  MemoryFile& file = fileOf(handle);
  if (origin == SEEK_CUR) offset += file.position;
  if (origin == SEEK_END) offset += file.data.size();
  file.position = offset;
  return offset;
}

int closeNothing(thandle_t /*handle*/) {
  return 0;
}

toff_t fileSize(thandle_t handle) {
  return fileOf(handle).data.size();
}

int mapFile(thandle_t handle, void** base, toff_t* size) {
  const Bytes data = fileOf(handle).data;
  // The library's interface has no const here; a file opened for reading is only read.
  *base = const_cast<std::byte*>(data.data());
  *size = data.size();
  return 1;
}

void unmapNothing(thandle_t /*handle*/, void* /*base*/, toff_t /*size*/) {}

int ignoreMessage(TIFF* /*tiff*/, void* /*user*/, const char* /*module*/, const char* /*format*/, va_list /*values*/) {
  return 1;
}

struct TIFFDeleter {
  void operator()(TIFF* tiff) const noexcept { TIFFClose(tiff); }
};
using File = std::unique_ptr<TIFF, TIFFDeleter>;

struct OptionsDeleter {
  void operator()(TIFFOpenOptions* options) const noexcept { TIFFOpenOptionsFree(options); }
};

/// Sixteen bytes for each pixel that the data can vouch for.
std::uint64_t bufferLimit(std::size_t dataBytes) {
  return 16 * std::min<std::uint64_t>(pixelsWithoutEvidence + std::uint64_t{dataBytes} * pixelsPerDataByte,
                                      maximumDecodedImagePixels);
}

enum class Access { byReading, mapped };

/// By reading, every access passes through `readFile`, which notes where the file is short: the library would go on
/// with what it has, such as a palette image as grey.
File open(MemoryFile& memory, Access access) {
  const std::unique_ptr<TIFFOpenOptions, OptionsDeleter> options(TIFFOpenOptionsAlloc());
  if (!options) throw std::bad_alloc();
  TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), static_cast<tmsize_t>(bufferLimit(memory.data.size())));
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), ignoreMessage, nullptr);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), ignoreMessage, nullptr);
  memory.position = 0;
  return File(TIFFClientOpenExt("image", access == Access::mapped ? "r" : "rm", &memory, readFile, writeNothing,
                                seekFile, closeNothing, fileSize, mapFile, unmapNothing, options.get()));
}

enum class SampleKind { unsigned8, unsigned16, float16, float32 };

/// What the first directory says, for images whose samples can be taken as they lie.
struct Layout {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  SampleKind kind = SampleKind::unsigned8;
  std::size_t sampleBytes = 1;
  std::size_t samplesPerPixel = 1;
  bool isGrey = false;
  bool isInverted = false;  ///< Zero is white.
  bool hasAlpha = false;    ///< In the sample behind the colours.
  bool isPremultiplied = false;
  bool isAlphaCertain = false;  ///< The file says that it is alpha.
  bool isPlanar = false;
};

std::uint16_t field16(TIFF* tiff, std::uint32_t tag, std::uint16_t otherwise) {
  std::uint16_t value = 0;
  return TIFFGetFieldDefaulted(tiff, tag, &value) == 1 ? value : otherwise;
}

std::optional<SampleKind> sampleKind(TIFF* tiff) {
  const unsigned bits = field16(tiff, TIFFTAG_BITSPERSAMPLE, 1);
  const unsigned format = field16(tiff, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
  if (format == SAMPLEFORMAT_UINT || format == SAMPLEFORMAT_VOID) {
    if (bits == 8) return SampleKind::unsigned8;
    if (bits == 16) return SampleKind::unsigned16;
  }
  if (format == SAMPLEFORMAT_IEEEFP) {
    if (bits == 16) return SampleKind::float16;
    if (bits == 32) return SampleKind::float32;
  }
  return std::nullopt;
}

std::size_t bytesOf(SampleKind kind) {
  switch (kind) {
    case SampleKind::unsigned8:
      return 1;
    case SampleKind::unsigned16:
    case SampleKind::float16:
      return 2;
    case SampleKind::float32:
      return 4;
  }
  return 1;
}

std::optional<Layout> readLayout(TIFF* tiff, std::uint32_t width, std::uint32_t height) {
  constexpr std::size_t mostSamples = 8;
  const std::optional<SampleKind> kind = sampleKind(tiff);
  std::uint16_t photometric = 0;
  if (!kind || TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &photometric) != 1) return std::nullopt;
  Layout layout;
  layout.width = width;
  layout.height = height;
  layout.kind = *kind;
  layout.sampleBytes = bytesOf(*kind);
  layout.samplesPerPixel = field16(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
  layout.isGrey = photometric == PHOTOMETRIC_MINISBLACK || photometric == PHOTOMETRIC_MINISWHITE;
  layout.isInverted = photometric == PHOTOMETRIC_MINISWHITE;
  layout.isPlanar = field16(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == PLANARCONFIG_SEPARATE;
  if (!layout.isGrey && photometric != PHOTOMETRIC_RGB) return std::nullopt;
  const std::size_t colors = layout.isGrey ? 1 : 3;
  if (layout.samplesPerPixel < colors || layout.samplesPerPixel > mostSamples) return std::nullopt;

  std::uint16_t extraCount = 0;
  std::uint16_t* extraKinds = nullptr;
  const bool hasExtraKinds =
      TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &extraCount, &extraKinds) == 1 && extraCount > 0;
  const unsigned extraKind = hasExtraKinds ? extraKinds[0] : EXTRASAMPLE_UNSPECIFIED;
  layout.isPremultiplied = extraKind == EXTRASAMPLE_ASSOCALPHA;
  layout.isAlphaCertain = layout.isPremultiplied || extraKind == EXTRASAMPLE_UNASSALPHA;
  // One further sample that the file says nothing about is alpha, by custom.
  layout.hasAlpha = layout.samplesPerPixel > colors && (layout.isAlphaCertain || layout.samplesPerPixel == colors + 1);
  return layout;
}

/// One strip or tile, all its planes one after the other.
struct Block {
  std::vector<std::uint8_t> samples;
  std::uint32_t firstX = 0;
  std::uint32_t firstY = 0;
  std::uint32_t storedWidth = 0;  ///< Of a tile, also where it reaches over the image's edge.
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::size_t planeBytes = 0;
};

float floatOfHalf(std::uint16_t half) noexcept {
  const int exponent = half >> 10 & 31;
  const int mantissa = half & 1023;
  float magnitude = 0;
  if (exponent == 31) {
    magnitude = mantissa == 0 ? INFINITY : NAN;
  } else {
    magnitude = exponent == 0 ? std::ldexp(static_cast<float>(mantissa), -24)
                              : std::ldexp(static_cast<float>(mantissa + 1024), exponent - 25);
  }
  return (half & 0x8000) != 0 ? -magnitude : magnitude;
}

template <typename Sample>
Sample sampleAt(const Layout& layout, const Block& block, std::size_t pixel, std::size_t channel) noexcept {
  const std::size_t offset = layout.isPlanar ? channel * block.planeBytes + pixel * sizeof(Sample)
                                             : (pixel * layout.samplesPerPixel + channel) * sizeof(Sample);
  Sample sample;
  std::memcpy(&sample, block.samples.data() + offset, sizeof sample);
  return sample;
}

template <typename Sample, typename Write>
void writeBlock(const Layout& layout, const Block& block, Image& image, Write write) {
  const std::size_t colors = layout.isGrey ? 1 : 3;
  for (std::size_t y = 0; y < block.height; ++y) {
    std::uint8_t* out = image.pixels.data() + (block.firstY + y) * image.rowBytes() + std::size_t{block.firstX} * 4;
    for (std::size_t x = 0; x < block.width; ++x, out += 4) {
      const std::size_t pixel = y * block.storedWidth + x;
      std::array<Sample, 4> samples{};
      for (std::size_t c = 0; c < 3; ++c) samples[c] = sampleAt<Sample>(layout, block, pixel, colors == 1 ? 0 : c);
      if (layout.hasAlpha) samples[3] = sampleAt<Sample>(layout, block, pixel, colors);
      write(out, samples);
    }
  }
}

template <typename Sample>
void writeIntegers(const Layout& layout, const Block& block, Image& image) {
  constexpr unsigned maximum = static_cast<Sample>(~Sample{0});
  writeBlock<Sample>(layout, block, image, [&](std::uint8_t* out, const std::array<Sample, 4>& samples) {
    const unsigned alpha = layout.hasAlpha ? samples[3] : maximum;
    for (std::size_t c = 0; c < 3; ++c) {
      unsigned value = samples[c];
      if (layout.isPremultiplied) value = straightSample(value, alpha, maximum);
      if (layout.isInverted) value = maximum - value;
      out[c] = scaledTo8(value, maximum);
    }
    out[3] = scaledTo8(alpha, maximum);
  });
}

template <typename Sample, typename ToFloat>
void writeFloats(const Layout& layout, const Block& block, Image& image, ToFloat toFloat) {
  writeBlock<Sample>(layout, block, image, [&](std::uint8_t* out, const std::array<Sample, 4>& samples) {
    std::array<float, 3> color{};
    for (std::size_t c = 0; c < 3; ++c) color[c] = layout.isInverted ? 1 - toFloat(samples[c]) : toFloat(samples[c]);
    const float alpha = layout.hasAlpha ? toFloat(samples[3]) : 1.0F;
    writeLinearPixel(out, color[0], color[1], color[2], alpha, layout.isPremultiplied);
  });
}

void writeSamples(const Layout& layout, const Block& block, Image& image) {
  switch (layout.kind) {
    case SampleKind::unsigned8:
      return writeIntegers<std::uint8_t>(layout, block, image);
    case SampleKind::unsigned16:
      return writeIntegers<std::uint16_t>(layout, block, image);
    case SampleKind::float16:
      return writeFloats<std::uint16_t>(layout, block, image, floatOfHalf);
    case SampleKind::float32:
      return writeFloats<float>(layout, block, image, [](float value) { return value; });
  }
}

/// Reads strip or tile `index` of plane 0 and the ones of the other planes at the same place. False for damage.
bool readBlock(TIFF* tiff, const Layout& layout, std::uint32_t index, std::uint32_t blocksPerPlane, bool isTiled,
               Block& block) {
  const std::size_t planes = layout.isPlanar ? layout.samplesPerPixel : 1;
  const std::size_t rows =
      isTiled
          ? block.planeBytes / (block.storedWidth * layout.sampleBytes * (layout.isPlanar ? 1 : layout.samplesPerPixel))
          : block.height;
  const std::size_t needed =
      rows * block.storedWidth * layout.sampleBytes * (layout.isPlanar ? 1 : layout.samplesPerPixel);
  for (std::size_t plane = 0; plane < planes; ++plane) {
    std::uint8_t* const out = block.samples.data() + plane * block.planeBytes;
    const auto number = static_cast<std::uint32_t>(index + plane * blocksPerPlane);
    const tmsize_t count = isTiled ? TIFFReadEncodedTile(tiff, number, out, static_cast<tmsize_t>(needed))
                                   : TIFFReadEncodedStrip(tiff, number, out, static_cast<tmsize_t>(needed));
    if (count != static_cast<tmsize_t>(needed)) return false;
  }
  return true;
}

bool decodeBlocks(TIFF* tiff, const Layout& layout, std::size_t dataBytes, Image& image) {
  const bool isTiled = TIFFIsTiled(tiff) != 0;
  std::uint32_t blockWidth = layout.width;
  std::uint32_t blockHeight = layout.height;
  if (isTiled) {
    if (TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &blockWidth) != 1) return false;
    if (TIFFGetField(tiff, TIFFTAG_TILELENGTH, &blockHeight) != 1) return false;
  } else {
    std::uint32_t rowsPerStrip = layout.height;
    if (TIFFGetFieldDefaulted(tiff, TIFFTAG_ROWSPERSTRIP, &rowsPerStrip) != 1) return false;
    blockHeight = std::min(blockHeight, rowsPerStrip);
  }
  if (!isDecodableSize(blockWidth, blockHeight, dataBytes)) return false;

  Block block;
  block.storedWidth = blockWidth;
  block.planeBytes = std::size_t{blockWidth} * blockHeight * layout.sampleBytes;
  if (!layout.isPlanar) block.planeBytes *= layout.samplesPerPixel;
  const std::uint64_t blockBytes = std::uint64_t{block.planeBytes} * (layout.isPlanar ? layout.samplesPerPixel : 1);
  // What the library will write must be what was worked out here.
  const std::uint64_t librarySize = isTiled ? TIFFTileSize64(tiff) : TIFFVStripSize64(tiff, blockHeight);
  if (blockBytes > bufferLimit(dataBytes) || librarySize != block.planeBytes) return false;
  block.samples.resize(static_cast<std::size_t>(blockBytes));

  const std::uint32_t columns = (layout.width + blockWidth - 1) / blockWidth;
  const std::uint32_t rows = (layout.height + blockHeight - 1) / blockHeight;
  for (std::uint32_t index = 0; index < columns * rows; ++index) {
    block.firstX = index % columns * blockWidth;
    block.firstY = index / columns * blockHeight;
    block.width = std::min(blockWidth, layout.width - block.firstX);
    block.height = std::min(blockHeight, layout.height - block.firstY);
    if (!readBlock(tiff, layout, index, columns * rows, isTiled, block)) return false;
    writeSamples(layout, block, image);
  }
  if (layout.hasAlpha && !layout.isAlphaCertain) makeOpaqueIfBlank(image);
  return true;
}

/// True where the bytes of all strips or tiles are in proportion: tiles may lie outside of the image for the most part,
/// and any number of them may be the same bytes of the file.
bool blocksAreAcceptable(TIFF* tiff, std::size_t dataBytes) {
  const bool isTiled = TIFFIsTiled(tiff) != 0;
  const std::uint64_t each = isTiled ? TIFFTileSize64(tiff) : TIFFStripSize64(tiff);
  const std::uint64_t count = isTiled ? TIFFNumberOfTiles(tiff) : TIFFNumberOfStrips(tiff);
  return each != 0 && count <= bufferLimit(dataBytes) / each;
}

/// Every other form (palettes, few bits, YCbCr, CMYK, CIE L*a*b*) through the library's own conversion, which gives
/// eight bits with premultiplied alpha.
bool decodeConverted(TIFF* tiff, Image& image) {
  const std::uint16_t orientation = field16(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
  std::vector<std::uint32_t> raster(image.pixels.size() / 4);
  if (TIFFReadRGBAImageOriented(tiff, image.width, image.height, raster.data(), orientation, 1) != 1) return false;
  for (std::size_t i = 0; i < raster.size(); ++i) {
    const unsigned alpha = TIFFGetA(raster[i]);
    std::uint8_t* const out = image.pixels.data() + i * 4;
    out[0] = static_cast<std::uint8_t>(straightSample(TIFFGetR(raster[i]), alpha, 255));
    out[1] = static_cast<std::uint8_t>(straightSample(TIFFGetG(raster[i]), alpha, 255));
    out[2] = static_cast<std::uint8_t>(straightSample(TIFFGetB(raster[i]), alpha, 255));
    out[3] = static_cast<std::uint8_t>(alpha);
  }
  return true;
}

std::optional<Image> decode(Bytes data, ImageSize claim) {
  MemoryFile memory{.data = data};
  File tiff = open(memory, Access::byReading);
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  if (!tiff || TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &width) != 1 ||
      TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &height) != 1 || width != claim.width || height != claim.height ||
      !blocksAreAcceptable(tiff.get(), data.size())) {
    return std::nullopt;
  }
  const std::optional<Layout> layout = readLayout(tiff.get(), width, height);
  Image image{.width = width, .height = height, .pixels = {}};
  image.pixels.resize(image.rowBytes() * height, 0);
  // Unmapped, the library's conversion of 4.5.0 refuses plain tiles unless their size is a multiple of 1024 bytes. The
  // directory has been read by now.
  if (!layout && TIFFIsTiled(tiff.get()) != 0) tiff = open(memory, Access::mapped);
  if (!tiff || !(layout ? decodeBlocks(tiff.get(), *layout, data.size(), image) : decodeConverted(tiff.get(), image)) ||
      memory.isShort) {
    return std::nullopt;
  }
  return uprightImage(std::move(image), field16(tiff.get(), TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT));
}

}  // namespace

}  // namespace ornolith

ORNOLITH_DEFINE_CODEC(ornolith::decode)
