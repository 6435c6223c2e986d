#include <csetjmp>
#include <cstdint>
#include <cstdio>
#include <cstring>

// Need the declarations of cstdio in front.
#include <jpeglib.h>
// Must follow.
#include <jerror.h>

#include <algorithm>
#include <utility>

#include "imaging/DecodeLimits.h"
#include "imaging/Decoders.h"
#include "imaging/Orientation.h"

namespace ornolith {

namespace {

/// A progressive file may have any number of scans, each over the whole image: this bounds the pixels of all of them
/// together, and lets every image have as many scans as encoders write.
constexpr std::uint64_t maximumScannedPixels = std::uint64_t{1} << 31;
constexpr std::uint64_t scansOfAnyImage = 24;

/// The library reports a failure by a call that must not return. It goes back by `longjmp` to the step that was under
/// way; the steps are functions without anything that a destructor would have to clean up.
struct Decoder {
  jpeg_decompress_struct info;
  jpeg_error_mgr errors;
  jpeg_progress_mgr progress;
  std::jmp_buf failure;
  std::uint64_t maximumScans;
  bool endedEarly;
};

Decoder& decoderOf(j_common_ptr info) {
  return *static_cast<Decoder*>(info->client_data);
}

[[noreturn]] void fail(j_common_ptr info) {
  std::longjmp(decoderOf(info).failure, 1);
}

/// Warnings come here (level -1); of them, those of an early end count. Nothing is printed.
void noteMessage(j_common_ptr info, int level) {
  if (level >= 0) return;
  const int code = info->err->msg_code;
  if (code == JWRN_HIT_MARKER || code == JWRN_JPEG_EOF) decoderOf(info).endedEarly = true;
}

void printNothing(j_common_ptr /*info*/) {}

void limitScans(j_common_ptr info) {
  Decoder& decoder = decoderOf(info);
  if (static_cast<std::uint64_t>(decoder.info.input_scan_number) > decoder.maximumScans || decoder.endedEarly) {
    fail(info);
  }
}

void create(Decoder& decoder) {
  std::memset(&decoder, 0, sizeof decoder);
  decoder.info.err = jpeg_std_error(&decoder.errors);
  decoder.errors.error_exit = fail;
  decoder.errors.emit_message = noteMessage;
  decoder.errors.output_message = printNothing;
  decoder.info.client_data = &decoder;
}

bool readHeader(Decoder& decoder, const unsigned char* data, unsigned long size) {
  if (setjmp(decoder.failure) != 0) return false;
  jpeg_create_decompress(&decoder.info);
  decoder.info.client_data = &decoder;
  decoder.progress.progress_monitor = limitScans;
  decoder.maximumScans = scansOfAnyImage;
  decoder.info.progress = &decoder.progress;
  jpeg_mem_src(&decoder.info, data, size);
  jpeg_save_markers(&decoder.info, JPEG_APP0 + 1, 0xffff);
  return jpeg_read_header(&decoder.info, TRUE) == JPEG_HEADER_OK;
}

bool isFourInks(const Decoder& decoder) {
  return decoder.info.jpeg_color_space == JCS_CMYK || decoder.info.jpeg_color_space == JCS_YCCK;
}

/// `pixels` has room for width * height * 4 bytes.
bool readPixels(Decoder& decoder, unsigned char* pixels) {
  if (setjmp(decoder.failure) != 0) return false;
  decoder.info.out_color_space = isFourInks(decoder) ? JCS_CMYK : JCS_EXT_RGBA;
  decoder.info.dct_method = JDCT_ISLOW;
  jpeg_start_decompress(&decoder.info);
  if (decoder.info.output_components != 4) return false;
  const std::size_t rowBytes = std::size_t{decoder.info.output_width} * 4;
  while (decoder.info.output_scanline < decoder.info.output_height) {
    JSAMPROW row = pixels + decoder.info.output_scanline * rowBytes;
    jpeg_read_scanlines(&decoder.info, &row, 1);
    if (decoder.endedEarly) return false;
  }
  jpeg_finish_decompress(&decoder.info);
  return !decoder.endedEarly;
}

/// Inks to light: each colour is what its own ink and black let through. Adobe's files, which say so by their marker,
/// hold the light that is let through instead of the ink.
void convertInks(Image& image, bool holdsLight) {
  for (std::size_t i = 0; i < image.pixels.size(); i += 4) {
    std::uint8_t* const pixel = image.pixels.data() + i;
    const unsigned invert = holdsLight ? 0 : 255;
    const unsigned black = pixel[3] ^ invert;
    for (std::size_t c = 0; c < 3; ++c) {
      pixel[c] = static_cast<std::uint8_t>(((pixel[c] ^ invert) * black + 127) / 255);
    }
    pixel[3] = 255;
  }
}

unsigned orientationOf(const Decoder& decoder) {
  constexpr std::size_t nameBytes = 6;
  for (const jpeg_marker_struct* marker = decoder.info.marker_list; marker != nullptr; marker = marker->next) {
    if (marker->data_length < nameBytes || std::memcmp(marker->data, "Exif\0\0", nameBytes) != 0) continue;
    const std::span<const std::byte> block(reinterpret_cast<const std::byte*>(marker->data), marker->data_length);
    return exifOrientation(block.subspan(nameBytes));
  }
  return 1;
}

/// Ends the library's part however decoding ends.
class DecoderScope {
 public:
  DecoderScope() { create(decoder_); }
  DecoderScope(const DecoderScope&) = delete;
  DecoderScope& operator=(const DecoderScope&) = delete;
  ~DecoderScope() { jpeg_destroy_decompress(&decoder_.info); }
  Decoder& decoder() noexcept { return decoder_; }

 private:
  Decoder decoder_;
};

}  // namespace

std::optional<Image> decodeJPEG(std::span<const std::byte> data) {
  DecoderScope scope;
  Decoder& decoder = scope.decoder();
  if (!readHeader(decoder, reinterpret_cast<const unsigned char*>(data.data()), data.size())) return std::nullopt;
  const std::uint32_t width = decoder.info.image_width;
  const std::uint32_t height = decoder.info.image_height;
  if (!isDecodableSize(width, height, data.size())) return std::nullopt;
  decoder.maximumScans = std::max(scansOfAnyImage, maximumScannedPixels / (std::uint64_t{width} * height));

  // The library forgets the markers when it is done.
  const unsigned orientation = orientationOf(decoder);
  Image image{.width = width, .height = height, .pixels = {}};
  image.pixels.resize(image.rowBytes() * height);
  if (!readPixels(decoder, image.pixels.data())) return std::nullopt;
  if (isFourInks(decoder)) convertInks(image, decoder.info.saw_Adobe_marker != FALSE);
  return uprightImage(std::move(image), orientation);
}

}  // namespace ornolith
