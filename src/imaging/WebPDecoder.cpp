#include <webp/decode.h>
#include <webp/demux.h>

#include <cstdint>
#include <memory>

#include "imaging/DecodeLimits.h"
#include "imaging/Decoders.h"

namespace ornolith {

namespace {

struct DemuxerDeleter {
  void operator()(WebPDemuxer* demuxer) const noexcept { WebPDemuxDelete(demuxer); }
};

Image transparentImage(std::uint32_t width, std::uint32_t height) {
  Image image{.width = width, .height = height, .pixels = {}};
  image.pixels.resize(image.rowBytes() * height, 0);
  return image;
}

/// Decodes a still WebP file or frame of the given size into `image` with its left top corner at (x, y).
bool decodeInto(Image& image, std::uint32_t x, std::uint32_t y, const WebPData& still) {
  std::uint8_t* const target = image.pixels.data() + y * image.rowBytes() + std::size_t{x} * 4;
  const std::size_t room = image.pixels.size() - static_cast<std::size_t>(target - image.pixels.data());
  return WebPDecodeRGBAInto(still.bytes, still.size, target, room, static_cast<int>(image.rowBytes())) != nullptr;
}

std::optional<Image> decodeFirstFrame(const WebPData& file) {
  const std::unique_ptr<WebPDemuxer, DemuxerDeleter> demuxer(WebPDemux(&file));
  if (!demuxer) return std::nullopt;
  const std::uint32_t width = WebPDemuxGetI(demuxer.get(), WEBP_FF_CANVAS_WIDTH);
  const std::uint32_t height = WebPDemuxGetI(demuxer.get(), WEBP_FF_CANVAS_HEIGHT);
  if (!isDecodableSize(width, height, file.size)) return std::nullopt;

  WebPIterator frame{};
  std::optional<Image> result;
  if (WebPDemuxGetFrame(demuxer.get(), 1, &frame) != 0) {
    WebPBitstreamFeatures features{};
    const bool fits =
        frame.x_offset >= 0 && frame.y_offset >= 0 && frame.width > 0 && frame.height > 0 &&
        std::uint64_t{static_cast<std::uint32_t>(frame.x_offset)} + static_cast<std::uint32_t>(frame.width) <= width &&
        std::uint64_t{static_cast<std::uint32_t>(frame.y_offset)} + static_cast<std::uint32_t>(frame.height) <=
            height &&
        WebPGetFeatures(frame.fragment.bytes, frame.fragment.size, &features) == VP8_STATUS_OK &&
        features.width == frame.width && features.height == frame.height;
    if (fits) {
      result = transparentImage(width, height);
      if (!decodeInto(*result, static_cast<std::uint32_t>(frame.x_offset), static_cast<std::uint32_t>(frame.y_offset),
                      frame.fragment)) {
        result.reset();
      }
    }
  }
  WebPDemuxReleaseIterator(&frame);
  return result;
}

}  // namespace

std::optional<Image> decodeWebP(std::span<const std::byte> data) {
  const WebPData file{reinterpret_cast<const std::uint8_t*>(data.data()), data.size()};
  WebPBitstreamFeatures features{};
  if (WebPGetFeatures(file.bytes, file.size, &features) != VP8_STATUS_OK) return std::nullopt;
  if (features.has_animation != 0) return decodeFirstFrame(file);
  const auto width = static_cast<std::uint32_t>(features.width);
  const auto height = static_cast<std::uint32_t>(features.height);
  if (!isDecodableSize(width, height, data.size())) return std::nullopt;
  Image image = transparentImage(width, height);
  if (!decodeInto(image, 0, 0, file)) return std::nullopt;
  return image;
}

}  // namespace ornolith
