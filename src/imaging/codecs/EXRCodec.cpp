#include <ImathBox.h>
#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfIO.h>
#include <OpenEXR/ImfInputFile.h>
#include <OpenEXR/ImfPartType.h>
#include <OpenEXR/ImfRgbaFile.h>
#include <OpenEXR/ImfTileDescription.h>
#include <OpenEXR/ImfVersion.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "imaging/ByteOrder.h"
#include "imaging/DecodeLimits.h"
#include "imaging/EXRHeader.h"
#include "imaging/codecs/Codec.h"

namespace ornolith {

namespace {

using Bytes = std::span<const std::byte>;

/// The file in memory, as the library reads it.
class MemoryStream final : public Imf::IStream {
 public:
  explicit MemoryStream(Bytes data) : Imf::IStream("image"), data_(data) {}

  bool isMemoryMapped() const override { return true; }

  char* readMemoryMapped(int count) override {
    const std::size_t begin = take(count);
    // The library's interface has no const here; it only reads.
    return const_cast<char*>(reinterpret_cast<const char*>(data_.data() + begin));
  }

  bool read(char out[], int count) override {
    const std::size_t begin = take(count);
    std::memcpy(out, data_.data() + begin, static_cast<std::size_t>(count));
    return position_ < data_.size();
  }

  std::uint64_t tellg() override { return position_; }
  void seekg(std::uint64_t position) override { position_ = position; }
  void clear() override {}

 private:
  std::size_t take(int count) {
    if (count < 0 || position_ > data_.size() || static_cast<std::size_t>(count) > data_.size() - position_) {
      throw std::runtime_error("the file ends early");
    }
    const auto begin = static_cast<std::size_t>(position_);
    position_ += static_cast<std::uint64_t>(count);
    return begin;
  }

  Bytes data_;
  std::uint64_t position_ = 0;
};

struct Size {
  std::uint64_t width = 0;
  std::uint64_t height = 0;
};

Size sizeOf(const Imath::Box2i& box) {
  if (box.isEmpty()) return {};
  return {static_cast<std::uint64_t>(std::int64_t{box.max.x} - box.min.x + 1),
          static_cast<std::uint64_t>(std::int64_t{box.max.y} - box.min.y + 1)};
}

std::uint64_t dividedUp(std::uint64_t value, std::uint64_t divisor) {
  return (value + divisor - 1) / divisor;
}

/// True where the part's table of chunks, eight bytes for each, can be in the file. The library sets this table aside
/// before it looks.
bool chunkTableFits(const Imf::Header& header, Size size, std::size_t dataBytes) {
  std::uint64_t chunks = 0;
  if (header.hasTileDescription()) {
    const Imf::TileDescription& tiles = header.tileDescription();
    if (tiles.xSize == 0 || tiles.ySize == 0) return false;
    chunks = dividedUp(size.width, tiles.xSize) * dividedUp(size.height, tiles.ySize);
  } else {
    constexpr std::uint64_t mostRowsOfChunk = 256;
    chunks = dividedUp(size.height, mostRowsOfChunk);
  }
  return chunks <= dataBytes / 8;
}

/// True where a chunk, of which the library holds one at a time with all its channels, is not out of proportion.
bool chunkIsAcceptable(const Imf::Header& header, Size size, std::size_t dataBytes) {
  constexpr std::uint64_t bytesWithoutEvidence = std::uint64_t{1} << 28;
  constexpr std::uint64_t bytesPerDataByte = 64;
  constexpr std::uint64_t mostRowsOfChunk = 256;
  std::uint64_t pixels = size.width * std::min(size.height, mostRowsOfChunk);
  if (header.hasTileDescription()) {
    const Imf::TileDescription& tiles = header.tileDescription();
    if (tiles.xSize > maximumDecodedImageSide || tiles.ySize > maximumDecodedImageSide) return false;
    pixels = std::uint64_t{tiles.xSize} * tiles.ySize;
  }
  std::uint64_t channels = 0;
  for (auto channel = header.channels().begin(); channel != header.channels().end(); ++channel) ++channels;
  const std::uint64_t limit = bytesWithoutEvidence + std::uint64_t{dataBytes} * bytesPerDataByte;
  return channels > 0 && channels <= limit / (pixels * sizeof(float));
}

/// True where the samples of all channels, which are all unpacked whatever the picture needs, are not out of
/// proportion.
bool samplesAreAcceptable(const Imf::Header& header, Size size, std::size_t dataBytes) {
  constexpr std::uint64_t bytesWithoutEvidence = std::uint64_t{1} << 29;
  constexpr std::uint64_t bytesPerDataByte = 256;
  std::uint64_t bytesPerPixel = 0;
  for (auto channel = header.channels().begin(); channel != header.channels().end(); ++channel) {
    bytesPerPixel += channel.channel().type == Imf::HALF ? 2 : 4;
  }
  const std::uint64_t limit = bytesWithoutEvidence + std::uint64_t{dataBytes} * bytesPerDataByte;
  return bytesPerPixel <= limit / (size.width * size.height);
}

/// Reads every part's header and says whether opening the file keeps within bounds.
bool headersAreAcceptable(Bytes data) {
  constexpr std::size_t mostParts = 64;
  constexpr std::uint32_t versionMask = 0xff;
  if (data.size() <= exrFirstHeaderOffset) return false;
  const std::uint32_t versionField = littleEndian32(data, 4);
  int version = static_cast<int>(versionField);
  if ((versionField & versionMask) != Imf::EXR_VERSION || !Imf::supportsFlags(Imf::getFlags(version))) return false;
  MemoryStream stream(data);
  stream.seekg(exrFirstHeaderOffset);
  for (std::size_t part = 0; part < mostParts; ++part) {
    // The library sets memory aside for what an attribute's size claims, and after one whose content has not that size
    // it reads on in the wrong place. So every attribute is looked at first.
    if (!readEXRHeader(data, static_cast<std::size_t>(stream.tellg()))) return false;
    Imf::Header header;
    header.readFrom(stream, version);
    const Size size = sizeOf(header.dataWindow());
    if (!isDecodableSize(size.width, size.height, data.size()) || !chunkTableFits(header, size, data.size()) ||
        !chunkIsAcceptable(header, size, data.size()) || !samplesAreAcceptable(header, size, data.size())) {
      return false;
    }
    if (header.hasType() && Imf::isDeepData(header.type())) return false;
    if (!Imf::isMultiPart(version)) return !Imf::isNonImage(version);
    // A zero byte in place of another header ends them.
    const std::uint64_t next = stream.tellg();
    if (next >= data.size()) return false;
    if (byteAt(data, static_cast<std::size_t>(next)) == 0) return true;
  }
  return false;
}

/// The channels that make the picture: red, green, blue, alpha; for a grey file three times its luminance.
using ChannelNames = std::array<std::string, 4>;

std::optional<ChannelNames> pictureChannels(const Imf::ChannelList& channels) {
  const auto has = [&](const char* name) { return channels.findChannel(name) != nullptr; };
  if (has("R") || has("G") || has("B")) return ChannelNames{"R", "G", "B", "A"};
  if (has("Y")) return ChannelNames{"Y", "", "", "A"};
  return std::nullopt;
}

/// Band by band through buffers of floats, so that only the bytes of the result grow with the image.
void readFloats(Imf::InputFile& file, const ChannelNames& names, Image& image) {
  constexpr std::uint32_t bandRows = 64;
  const Imath::Box2i window = file.header().dataWindow();
  const std::size_t bandPixels = std::size_t{image.width} * bandRows;
  std::vector<float> band(bandPixels * 4);
  for (std::uint32_t firstRow = 0; firstRow < image.height; firstRow += bandRows) {
    const std::uint32_t rows = std::min(bandRows, image.height - firstRow);
    const Imath::V2i origin(window.min.x, window.min.y + static_cast<int>(firstRow));
    Imf::FrameBuffer frame;
    for (std::size_t c = 0; c < 4; ++c) {
      if (names[c].empty()) continue;
      const double otherwise = c == 3 ? 1.0 : 0.0;
      frame.insert(names[c], Imf::Slice::Make(Imf::FLOAT, band.data() + c, origin, image.width, rows, 4 * sizeof(float),
                                              4 * sizeof(float) * image.width, 1, 1, otherwise));
    }
    file.setFrameBuffer(frame);
    file.readPixels(origin.y, origin.y + static_cast<int>(rows) - 1);
    const bool isGrey = names[1].empty();
    std::uint8_t* out = image.pixels.data() + firstRow * image.rowBytes();
    for (std::size_t i = 0; i < std::size_t{image.width} * rows; ++i, out += 4) {
      const float* const pixel = band.data() + i * 4;
      writeLinearPixel(out, pixel[0], pixel[isGrey ? 0 : 1], pixel[isGrey ? 0 : 2], pixel[3]);
    }
  }
}

/// Luminance with subsampled chroma, which the library's own interface for it turns into half-float RGBA.
void readLuminanceChroma(MemoryStream& stream, Image& image) {
  stream.seekg(0);
  Imf::RgbaInputFile file(stream);
  const Imath::Box2i window = file.dataWindow();
  std::vector<Imf::Rgba> row(image.width);
  for (std::uint32_t y = 0; y < image.height; ++y) {
    const int line = window.min.y + static_cast<int>(y);
    const Imf::Slice slice = Imf::Slice::Make(Imf::HALF, row.data(), Imath::V2i(window.min.x, line), image.width, 1,
                                              sizeof(Imf::Rgba), sizeof(Imf::Rgba) * image.width);
    file.setFrameBuffer(reinterpret_cast<Imf::Rgba*>(slice.base), 1, image.width);
    file.readPixels(line);
    std::uint8_t* out = image.pixels.data() + y * image.rowBytes();
    for (const Imf::Rgba& pixel : row) {
      writeLinearPixel(out, pixel.r, pixel.g, pixel.b, pixel.a);
      out += 4;
    }
  }
}

bool isSubsampled(const Imf::ChannelList& channels, const ChannelNames& names) {
  return std::any_of(names.begin(), names.end(), [&](const std::string& name) {
    const Imf::Channel* const channel = name.empty() ? nullptr : channels.findChannel(name);
    return channel != nullptr && (channel->xSampling != 1 || channel->ySampling != 1);
  });
}

std::optional<Image> decode(Bytes data, ImageSize claim) {
  if (!headersAreAcceptable(data)) return std::nullopt;
  MemoryStream stream(data);
  Imf::InputFile file(stream, 0);
  if (!file.isComplete()) return std::nullopt;
  const Imf::ChannelList& channels = file.header().channels();
  const std::optional<ChannelNames> names = pictureChannels(channels);
  const Size size = sizeOf(file.header().dataWindow());
  if (!names || isSubsampled(channels, *names) || size.width != claim.width || size.height != claim.height) {
    return std::nullopt;
  }
  Image image{
      .width = static_cast<std::uint32_t>(size.width), .height = static_cast<std::uint32_t>(size.height), .pixels = {}};
  image.pixels.resize(image.rowBytes() * image.height, 0);
  if ((*names)[1].empty() && channels.findChannel("RY") != nullptr && channels.findChannel("BY") != nullptr) {
    readLuminanceChroma(stream, image);
  } else {
    readFloats(file, *names, image);
  }
  return image;
}

}  // namespace

}  // namespace ornolith

ORNOLITH_DEFINE_CODEC(ornolith::decode)
