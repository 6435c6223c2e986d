#include <libheif/heif.h>

#include <cstring>
#include <memory>

#include "imaging/DecodeLimits.h"
#include "imaging/HEICPictures.h"
#include "imaging/codecs/Codec.h"

namespace ornolith {

namespace {

template <auto Release>
struct Deleter {
  template <typename T>
  void operator()(T* object) const noexcept {
    Release(object);
  }
};

using Context = std::unique_ptr<heif_context, Deleter<heif_context_free>>;
using Handle = std::unique_ptr<heif_image_handle, Deleter<heif_image_handle_release>>;
using Picture = std::unique_ptr<heif_image, Deleter<heif_image_release>>;
using Options = std::unique_ptr<heif_decoding_options, Deleter<heif_decoding_options_free>>;

bool succeeded(const heif_error& error) noexcept {
  return error.code == heif_error_Ok;
}

Handle openPrimaryImage(heif_context* context, std::span<const std::byte> data) {
  heif_context_set_maximum_image_size_limit(context, static_cast<int>(maximumDecodedImageSide));
  // Whoever decodes images does so on several threads already.
  heif_context_set_max_decoding_threads(context, 0);
  heif_image_handle* handle = nullptr;
  if (!succeeded(heif_context_read_from_memory_without_copy(context, data.data(), data.size(), nullptr)) ||
      !succeeded(heif_context_get_primary_image_handle(context, &handle))) {
    return nullptr;
  }
  return Handle(handle);
}

/// The size that the primary image will have once it is turned and cropped.
std::optional<ImageSize> sizeOf(const heif_image_handle* handle) {
  const int width = heif_image_handle_get_width(handle);
  const int height = heif_image_handle_get_height(handle);
  if (width <= 0 || height <= 0) return std::nullopt;
  return ImageSize{static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height)};
}

/// True where decoding costs about as much as an image of this size should.
bool picturesAreAcceptable(std::span<const std::byte> data, ImageSize size) {
  constexpr std::uint64_t pixelsOfAnyPicture = std::uint64_t{1} << 20;
  constexpr std::uint64_t timesTheImage = 4;
  const std::optional<std::uint64_t> largest = largestHEICPicture(data);
  return largest && *largest <= pixelsOfAnyPicture + timesTheImage * size.width * size.height;
}

std::optional<ImageSize> readSize(std::span<const std::byte> data) {
  const Context context(heif_context_alloc());
  if (!context) throw std::bad_alloc();
  const Handle handle = openPrimaryImage(context.get(), data);
  return handle ? sizeOf(handle.get()) : std::nullopt;
}

/// The primary image, turned and cropped as the file says.
std::optional<Image> decode(std::span<const std::byte> data, ImageSize claim) {
  const Context context(heif_context_alloc());
  if (!context) throw std::bad_alloc();
  const Handle handle = openPrimaryImage(context.get(), data);
  if (!handle || sizeOf(handle.get()) != claim || !picturesAreAcceptable(data, claim)) return std::nullopt;

  const Options options(heif_decoding_options_alloc());
  if (!options) throw std::bad_alloc();
  options->convert_hdr_to_8bit = 1;
  heif_image* decoded = nullptr;
  if (!succeeded(heif_decode_image(handle.get(), &decoded, heif_colorspace_RGB, heif_chroma_interleaved_RGBA,
                                   options.get()))) {
    return std::nullopt;
  }
  const Picture picture(decoded);
  const int pictureWidth = heif_image_get_width(decoded, heif_channel_interleaved);
  const int pictureHeight = heif_image_get_height(decoded, heif_channel_interleaved);
  int stride = 0;
  const std::uint8_t* const plane = heif_image_get_plane_readonly(decoded, heif_channel_interleaved, &stride);
  const auto width = static_cast<int>(claim.width);
  if (plane == nullptr || pictureWidth != width || pictureHeight != static_cast<int>(claim.height) ||
      stride < width * 4) {
    return std::nullopt;
  }

  Image image{.width = claim.width, .height = claim.height, .pixels = {}};
  image.pixels.resize(image.rowBytes() * image.height, 0);
  for (std::size_t y = 0; y < image.height; ++y) {
    std::memcpy(image.pixels.data() + y * image.rowBytes(), plane + y * static_cast<std::size_t>(stride),
                image.rowBytes());
  }
  if (heif_image_handle_is_premultiplied_alpha(handle.get()) != 0) {
    for (std::size_t i = 0; i < image.pixels.size(); i += 4) {
      std::uint8_t* const pixel = image.pixels.data() + i;
      for (std::size_t c = 0; c < 3; ++c) pixel[c] = static_cast<std::uint8_t>(straightSample(pixel[c], pixel[3], 255));
    }
  }
  return image;
}

}  // namespace

}  // namespace ornolith

ORNOLITH_DEFINE_CODEC(ornolith::decode)

extern "C" __attribute__((visibility("default"))) bool ornolithImageSize(const std::byte* data, std::size_t byteCount,
                                                                         ornolith::ImageSize& size) noexcept {
  try {
    const std::optional<ornolith::ImageSize> told = ornolith::readSize({data, byteCount});
    if (told) size = *told;
    return told.has_value();
  } catch (const std::exception&) {
    return false;
  }
}
