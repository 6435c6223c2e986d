#include "TestImages.h"

#include <ImathBox.h>
#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfIO.h>
#include <OpenEXR/ImfOutputFile.h>
#include <OpenEXR/ImfTiledOutputFile.h>
#include <half.h>
#include <jpeglib.h>
#include <libheif/heif.h>
#include <png.h>
#include <tiffio.h>
#include <webp/encode.h>
#include <webp/mux.h>
#include <zlib.h>

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "imaging/Color.h"

// The HEVC encoder leaves some of its own memory behind.
extern "C" __attribute__((used)) const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
  return "leak:x265_malloc";
}

namespace ornolith::testing {

namespace {

void require(bool condition) {
  if (!condition) throw std::runtime_error("the library could not write the test image");
}

ByteVector toBytes(const void* data, std::size_t size) {
  const auto* begin = static_cast<const std::byte*>(data);
  return {begin, begin + size};
}

}  // namespace

ByteVector writePNG(std::uint32_t width, std::uint32_t height, PNGForm form, const std::vector<ByteVector>& rows,
                    const std::vector<std::uint8_t>& palette, const std::vector<std::uint8_t>& paletteAlpha,
                    const std::vector<std::uint16_t>& transparentColor) {
  ByteVector out;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  if (setjmp(png_jmpbuf(png)) != 0) std::abort();
  png_set_write_fn(
      png, &out,
      [](png_structp writer, png_bytep bytes, std::size_t count) {
        auto* target = static_cast<ByteVector*>(png_get_io_ptr(writer));
        const ByteVector added = toBytes(bytes, count);
        target->insert(target->end(), added.begin(), added.end());
      },
      nullptr);
  png_set_IHDR(png, info, width, height, form.bitDepth, form.colorType,
               form.isInterlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, 0, 0);
  if (!palette.empty()) {
    std::vector<png_color> entries;
    for (std::size_t i = 0; i < palette.size(); i += 3) {
      entries.push_back({palette[i], palette[i + 1], palette[i + 2]});
    }
    png_set_PLTE(png, info, entries.data(), static_cast<int>(entries.size()));
  }
  png_color_16 key{};
  if (!transparentColor.empty()) {
    key.gray = transparentColor[0];
    key.red = transparentColor[0];
    key.green = transparentColor.size() > 1 ? transparentColor[1] : std::uint16_t{0};
    key.blue = transparentColor.size() > 2 ? transparentColor[2] : std::uint16_t{0};
  }
  if (!paletteAlpha.empty() || !transparentColor.empty()) {
    png_set_tRNS(png, info, paletteAlpha.data(), static_cast<int>(paletteAlpha.size()), &key);
  }
  png_set_filter(png, 0, PNG_ALL_FILTERS);
  png_write_info(png, info);
  std::vector<png_bytep> pointers;
  for (const ByteVector& row : rows) {
    pointers.push_back(reinterpret_cast<png_bytep>(const_cast<std::byte*>(row.data())));
  }
  png_write_image(png, pointers.data());
  png_write_end(png, nullptr);
  png_destroy_write_struct(&png, &info);
  return out;
}

Image readPNGByLibrary(const ByteVector& file) {
  struct Source {
    const ByteVector* bytes;
    std::size_t position;
  } source{&file, 0};
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  if (setjmp(png_jmpbuf(png)) != 0) std::abort();
  png_set_read_fn(png, &source, [](png_structp reader, png_bytep out, std::size_t count) {
    auto* from = static_cast<Source*>(png_get_io_ptr(reader));
    if (count > from->bytes->size() - from->position) png_error(reader, "short");
    std::memcpy(out, from->bytes->data() + from->position, count);
    from->position += count;
  });
  png_set_user_limits(png, 100'000, 100'000);
  png_read_info(png, info);
  png_set_expand(png);
  png_set_scale_16(png);
  png_set_gray_to_rgb(png);
  png_set_add_alpha(png, 255, PNG_FILLER_AFTER);
  png_set_interlace_handling(png);
  png_read_update_info(png, info);
  Image image = blankImage(png_get_image_width(png, info), png_get_image_height(png, info));
  std::vector<png_bytep> rows;
  for (std::uint32_t y = 0; y < image.height; ++y) rows.push_back(image.pixels.data() + y * image.rowBytes());
  png_read_image(png, rows.data());
  png_read_end(png, nullptr);
  png_destroy_read_struct(&png, &info, nullptr);
  return image;
}

ByteVector writeJPEG(const Image& image, JPEGForm form) {
  jpeg_compress_struct info{};
  jpeg_error_mgr errors{};
  info.err = jpeg_std_error(&errors);
  jpeg_create_compress(&info);
  unsigned char* buffer = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&info, &buffer, &size);
  info.image_width = image.width;
  info.image_height = image.height;
  info.input_components = form.isGrey ? 1 : form.isFourInks ? 4 : 3;
  info.in_color_space = form.isGrey ? JCS_GRAYSCALE : form.isFourInks ? JCS_CMYK : JCS_RGB;
  jpeg_set_defaults(&info);
  if (form.isFourInks) jpeg_set_colorspace(&info, JCS_YCCK);  // Brings Adobe's marker with it.
  jpeg_set_quality(&info, 100, TRUE);
  for (int i = 0; i < info.num_components; ++i) info.comp_info[i].h_samp_factor = info.comp_info[i].v_samp_factor = 1;
  if (form.isProgressive) jpeg_simple_progression(&info);
  jpeg_start_compress(&info, TRUE);
  if (form.orientation != 1) {
    ByteWriter exif;
    exif.text({"Exif\0\0II*\0", 10}).u32(8).u16(1).u16(274).u16(3).u32(1).u16(form.orientation).u16(0).u32(0);
    const ByteVector block = exif.take();
    jpeg_write_marker(&info, JPEG_APP0 + 1, reinterpret_cast<const JOCTET*>(block.data()),
                      static_cast<unsigned>(block.size()));
  }
  std::vector<std::uint8_t> row(image.rowBytes());
  for (std::uint32_t y = 0; y < image.height; ++y) {
    for (std::uint32_t x = 0; x < image.width; ++x) {
      const std::uint8_t* pixel = image.pixel(x, y);
      if (form.isGrey) {
        row[x] = pixel[0];
      } else if (form.isFourInks) {
        // Adobe stores the light that is let through; no black, so that colours stand as they are.
        const std::uint8_t light[4] = {pixel[0], pixel[1], pixel[2], 255};
        std::memcpy(&row[std::size_t{x} * 4], light, 4);
      } else {
        std::memcpy(&row[std::size_t{x} * 3], pixel, 3);
      }
    }
    JSAMPROW pointer = row.data();
    jpeg_write_scanlines(&info, &pointer, 1);
  }
  jpeg_finish_compress(&info);
  ByteVector out = toBytes(buffer, size);
  jpeg_destroy_compress(&info);
  std::free(buffer);
  return out;
}

ByteVector writeWebP(const Image& image) {
  WebPConfig config;
  WebPPicture picture;
  require(WebPConfigInit(&config) != 0 && WebPPictureInit(&picture) != 0);
  config.lossless = 1;
  config.exact = 1;
  picture.use_argb = 1;
  picture.width = static_cast<int>(image.width);
  picture.height = static_cast<int>(image.height);
  WebPMemoryWriter writer;
  WebPMemoryWriterInit(&writer);
  picture.writer = WebPMemoryWrite;
  picture.custom_ptr = &writer;
  require(WebPPictureImportRGBA(&picture, image.pixels.data(), static_cast<int>(image.rowBytes())) != 0);
  require(WebPEncode(&config, &picture) != 0);
  ByteVector out = toBytes(writer.mem, writer.size);
  WebPMemoryWriterClear(&writer);
  WebPPictureFree(&picture);
  return out;
}

ByteVector writeAnimatedWebP(const Image& first, int x, int y, std::uint32_t width, std::uint32_t height) {
  const ByteVector still = writeWebP(first);
  WebPMux* mux = WebPMuxNew();
  WebPMuxFrameInfo frame{};
  frame.bitstream = {reinterpret_cast<const std::uint8_t*>(still.data()), still.size()};
  frame.id = WEBP_CHUNK_ANMF;
  frame.x_offset = x;
  frame.y_offset = y;
  frame.duration = 100;
  require(WebPMuxPushFrame(mux, &frame, 1) == WEBP_MUX_OK);
  frame.x_offset = frame.y_offset = 0;
  require(WebPMuxPushFrame(mux, &frame, 1) == WEBP_MUX_OK);
  const WebPMuxAnimParams parameters{0xffffffff, 0};
  require(WebPMuxSetAnimationParams(mux, &parameters) == WEBP_MUX_OK);
  require(WebPMuxSetCanvasSize(mux, static_cast<int>(width), static_cast<int>(height)) == WEBP_MUX_OK);
  WebPData assembled{};
  require(WebPMuxAssemble(mux, &assembled) == WEBP_MUX_OK);
  ByteVector out = toBytes(assembled.bytes, assembled.size);
  WebPDataClear(&assembled);
  WebPMuxDelete(mux);
  return out;
}

namespace {

struct TIFFMemory {
  ByteVector bytes;
  std::size_t position = 0;
};

TIFF* openTIFF(TIFFMemory& memory, const TIFFForm& form) {
  return TIFFClientOpen(
      "test", form.isBig ? (form.isBigEndian ? "wm8b" : "wm8l") : (form.isBigEndian ? "wmb" : "wml"), &memory,
      [](thandle_t, void*, tmsize_t) -> tmsize_t { return 0; },
      [](thandle_t handle, void* data, tmsize_t count) -> tmsize_t {
        auto& target = *static_cast<TIFFMemory*>(handle);
        const auto size = static_cast<std::size_t>(count);
        if (target.bytes.size() < target.position + size) target.bytes.resize(target.position + size);
        std::memcpy(target.bytes.data() + target.position, data, size);
        target.position += size;
        return count;
      },
      [](thandle_t handle, toff_t offset, int origin) -> toff_t {
        auto& target = *static_cast<TIFFMemory*>(handle);
        if (origin == SEEK_CUR) offset += target.position;
        if (origin == SEEK_END) offset += target.bytes.size();
        target.position = offset;
        return offset;
      },
      [](thandle_t) { return 0; },
      [](thandle_t handle) -> toff_t { return static_cast<TIFFMemory*>(handle)->bytes.size(); }, nullptr, nullptr);
}

void setTIFFFields(TIFF* tiff, const Image& image, const TIFFForm& form) {
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, image.width);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, image.height);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, form.bits);
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, form.samples);
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, form.compression);
  TIFFSetField(tiff, TIFFTAG_ORIENTATION, form.orientation);
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, form.isPlanar ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
  if (form.bits == 32) TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_IEEEFP);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC,
               form.isPalette     ? PHOTOMETRIC_PALETTE
               : form.samples < 3 ? PHOTOMETRIC_MINISBLACK
                                  : PHOTOMETRIC_RGB);
  if (form.samples == 2 || form.samples == 4) {
    std::uint16_t kind = form.isPremultiplied ? EXTRASAMPLE_ASSOCALPHA : EXTRASAMPLE_UNASSALPHA;
    TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &kind);
  }
  if (form.isPalette) {
    std::vector<std::uint16_t> red(256), green(256), blue(256);
    for (std::size_t i = 0; i < 256; ++i) {
      red[i] = static_cast<std::uint16_t>(i * 257);
      green[i] = static_cast<std::uint16_t>((255 - i) * 257);
      blue[i] = static_cast<std::uint16_t>((i ^ 85U) * 257);
    }
    TIFFSetField(tiff, TIFFTAG_COLORMAP, red.data(), green.data(), blue.data());
  }
  if (form.isTiled) {
    TIFFSetField(tiff, TIFFTAG_TILEWIDTH, 16);
    TIFFSetField(tiff, TIFFTAG_TILELENGTH, 16);
  } else {
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 5);
  }
}

void appendSample(ByteVector& out, const TIFFForm& form, const std::uint8_t* pixel, unsigned sample) {
  const bool isAlpha = (form.samples == 2 && sample == 1) || sample == 3;
  const std::uint8_t code = isAlpha ? pixel[3] : pixel[form.samples < 3 ? 0 : sample];
  if (form.bits == 32) {
    const float value = isAlpha ? static_cast<float>(code) / 255.0F : linearFromSRGB8(code);
    const ByteVector bytes = toBytes(&value, 4);
    out.insert(out.end(), bytes.begin(), bytes.end());
  } else if (form.bits == 16) {
    const auto value = static_cast<std::uint16_t>(code * 257);
    const ByteVector bytes = toBytes(&value, 2);
    out.insert(out.end(), bytes.begin(), bytes.end());
  } else {
    out.push_back(static_cast<std::byte>(form.isPremultiplied && !isAlpha ? (code * pixel[3] + 127) / 255 : code));
  }
}

/// The samples of a rectangle, zero outside the image; of one plane, or of all (plane -1).
ByteVector tiffSamples(const Image& image, const TIFFForm& form, std::uint32_t left, std::uint32_t top,
                       std::uint32_t width, std::uint32_t height, int plane) {
  ByteVector out;
  const std::uint8_t outside[4] = {};
  for (std::uint32_t y = top; y < top + height; ++y) {
    for (std::uint32_t x = left; x < left + width; ++x) {
      const std::uint8_t* pixel = x < image.width && y < image.height ? image.pixel(x, y) : outside;
      for (unsigned s = 0; s < form.samples; ++s) {
        if (plane < 0 || s == static_cast<unsigned>(plane)) appendSample(out, form, pixel, s);
      }
    }
  }
  return out;
}

}  // namespace

ByteVector writeTIFF(const Image& image, TIFFForm form) {
  TIFFMemory memory;
  TIFF* tiff = openTIFF(memory, form);
  require(tiff != nullptr);
  setTIFFFields(tiff, image, form);
  const int planes = form.isPlanar ? static_cast<int>(form.samples) : 1;
  std::uint32_t block = 0;
  for (int plane = 0; plane < planes; ++plane) {
    const std::uint32_t stepX = form.isTiled ? 16 : image.width;
    const std::uint32_t stepY = form.isTiled ? 16 : 5;
    for (std::uint32_t y = 0; y < image.height; y += stepY) {
      for (std::uint32_t x = 0; x < image.width; x += stepX) {
        const std::uint32_t rows = form.isTiled ? stepY : std::min(stepY, image.height - y);
        ByteVector samples = tiffSamples(image, form, x, y, stepX, rows, form.isPlanar ? plane : -1);
        const auto size = static_cast<tmsize_t>(samples.size());
        require((form.isTiled ? TIFFWriteEncodedTile(tiff, block, samples.data(), size)
                              : TIFFWriteEncodedStrip(tiff, block, samples.data(), size)) == size);
        ++block;
      }
    }
  }
  TIFFClose(tiff);
  return memory.bytes;
}

ByteVector writeTIFFOfSharedTiles(std::uint32_t width, std::uint32_t height, std::uint32_t tileWidth,
                                  std::uint32_t tileHeight, unsigned sharedTags, std::uint32_t sharedBytes) {
  const ByteVector zeros(std::size_t{tileWidth} * tileHeight * 3);
  uLongf tileBytes = compressBound(static_cast<uLong>(zeros.size()));
  ByteVector tile(tileBytes);
  require(compress(reinterpret_cast<Bytef*>(tile.data()), &tileBytes, reinterpret_cast<const Bytef*>(zeros.data()),
                   static_cast<uLong>(zeros.size())) == Z_OK);
  const std::uint32_t tiles = (width + tileWidth - 1) / tileWidth * ((height + tileHeight - 1) / tileHeight);

  constexpr unsigned shortType = 3, longType = 4, undefinedType = 7;
  const auto tileOffset = std::uint32_t{8};
  const auto offsetList = tileOffset + static_cast<std::uint32_t>(tileBytes + tileBytes % 2);
  const std::uint32_t sizeList = offsetList + tiles * 4, bits = sizeList + tiles * 4, shared = bits + 8;
  const std::uint32_t directory = shared + sharedBytes + sharedBytes % 2;
  ByteWriter file;
  file.text("II").u16(42).u32(directory);
  for (std::size_t i = 0; i < tileBytes; ++i) file.u8(std::to_integer<unsigned>(tile[i]));
  file.zeros(tileBytes % 2);
  for (std::uint32_t i = 0; i < tiles; ++i) file.u32(tileOffset);
  for (std::uint32_t i = 0; i < tiles; ++i) file.u32(static_cast<std::uint32_t>(tileBytes));
  file.u16(8).u16(8).u16(8).u16(0).zeros(directory - shared);
  const auto entry = [&](unsigned tag, unsigned type, std::uint32_t count, std::uint32_t value) {
    file.u16(tag).u16(type).u32(count).u32(value);
  };
  file.u16(11 + sharedTags);
  entry(TIFFTAG_IMAGEWIDTH, longType, 1, width);
  entry(TIFFTAG_IMAGELENGTH, longType, 1, height);
  entry(TIFFTAG_BITSPERSAMPLE, shortType, 3, bits);
  entry(TIFFTAG_COMPRESSION, shortType, 1, COMPRESSION_ADOBE_DEFLATE);
  entry(TIFFTAG_PHOTOMETRIC, shortType, 1, PHOTOMETRIC_RGB);
  entry(TIFFTAG_SAMPLESPERPIXEL, shortType, 1, 3);
  entry(TIFFTAG_PLANARCONFIG, shortType, 1, PLANARCONFIG_CONTIG);
  entry(TIFFTAG_TILEWIDTH, longType, 1, tileWidth);
  entry(TIFFTAG_TILELENGTH, longType, 1, tileHeight);
  entry(TIFFTAG_TILEOFFSETS, longType, tiles, tiles == 1 ? tileOffset : offsetList);
  entry(TIFFTAG_TILEBYTECOUNTS, longType, tiles, tiles == 1 ? static_cast<std::uint32_t>(tileBytes) : sizeList);
  for (unsigned i = 0; i < sharedTags; ++i) {
    entry(40'000 + i, undefinedType, std::max(sharedBytes, 1U), sharedBytes > 4 ? shared : 0);
  }
  return file.u32(0).take();
}

namespace {

class EXRMemory final : public Imf::OStream {
 public:
  EXRMemory() : Imf::OStream("test") {}
  void write(const char* data, int count) override {
    const auto size = static_cast<std::size_t>(count);
    if (bytes.size() < position + size) bytes.resize(position + size);
    std::memcpy(bytes.data() + position, data, size);
    position += size;
  }
  std::uint64_t tellp() override { return position; }
  void seekp(std::uint64_t target) override { position = target; }

  ByteVector bytes;
  std::size_t position = 0;
};

void writeEXRChannels(Imf::Header header, const std::vector<const char*>& names, std::vector<float>& values,
                      bool isFloat, bool isTiled, EXRMemory& memory) {
  const Imath::Box2i window = header.dataWindow();
  const auto width = static_cast<std::size_t>(window.max.x - window.min.x + 1);
  const auto height = static_cast<std::size_t>(window.max.y - window.min.y + 1);
  std::vector<half> halves(values.begin(), values.end());
  Imf::FrameBuffer frame;
  const std::size_t sampleBytes = isFloat ? sizeof(float) : sizeof(half);
  for (std::size_t c = 0; c < names.size(); ++c) {
    header.channels().insert(names[c], Imf::Channel(isFloat ? Imf::FLOAT : Imf::HALF));
    void* base = isFloat ? static_cast<void*>(values.data() + c) : static_cast<void*>(halves.data() + c);
    frame.insert(names[c], Imf::Slice::Make(isFloat ? Imf::FLOAT : Imf::HALF, base, window.min,
                                            static_cast<std::int64_t>(width), static_cast<std::int64_t>(height),
                                            names.size() * sampleBytes, names.size() * sampleBytes * width));
  }
  if (isTiled) {
    header.setTileDescription(Imf::TileDescription(16, 16));
    Imf::TiledOutputFile file(memory, header, 0);
    file.setFrameBuffer(frame);
    file.writeTiles(0, file.numXTiles() - 1, 0, file.numYTiles() - 1);
  } else {
    Imf::OutputFile file(memory, header, 0);
    file.setFrameBuffer(frame);
    file.writePixels(static_cast<int>(height));
  }
}

}  // namespace

ByteVector writeEXR(const Image& image, EXRForm form) {
  const Imath::Box2i window(Imath::V2i(-3, 7),
                            Imath::V2i(static_cast<int>(image.width) - 4, static_cast<int>(image.height) + 6));
  Imf::Header header(window, window);
  const std::vector<const char*> names =
      form.isGrey ? std::vector<const char*>{"Y"} : std::vector<const char*>{"R", "G", "B", "A"};
  std::vector<float> values;
  for (std::size_t i = 0; i < image.pixels.size(); i += 4) {
    const float alpha = static_cast<float>(image.pixels[i + 3]) / 255.0F;
    if (form.isGrey) {
      values.push_back(linearFromSRGB8(image.pixels[i]));
    } else {
      for (std::size_t c = 0; c < 3; ++c) values.push_back(linearFromSRGB8(image.pixels[i + c]) * alpha);
      values.push_back(alpha);
    }
  }
  EXRMemory memory;
  writeEXRChannels(header, names, values, form.isFloat, form.isTiled, memory);
  return memory.bytes;
}

ByteVector writeGreyEXR(const std::vector<float>& row) {
  std::vector<float> values = row;
  Imf::Header header(static_cast<int>(row.size()), 1);
  EXRMemory memory;
  writeEXRChannels(header, {"Y"}, values, true, false, memory);
  return memory.bytes;
}

ByteVector writeHEIC(const Image& image) {
  heif_context* context = heif_context_alloc();
  heif_encoder* encoder = nullptr;
  require(heif_context_get_encoder_for_format(context, heif_compression_HEVC, &encoder).code == heif_error_Ok);
  heif_encoder_set_lossy_quality(encoder, 95);
  heif_image* picture = nullptr;
  const int width = static_cast<int>(image.width);
  const int height = static_cast<int>(image.height);
  require(heif_image_create(width, height, heif_colorspace_RGB, heif_chroma_interleaved_RGBA, &picture).code ==
          heif_error_Ok);
  require(heif_image_add_plane(picture, heif_channel_interleaved, width, height, 8).code == heif_error_Ok);
  int stride = 0;
  std::uint8_t* plane = heif_image_get_plane(picture, heif_channel_interleaved, &stride);
  for (std::uint32_t y = 0; y < image.height; ++y) {
    std::memcpy(plane + y * static_cast<std::size_t>(stride), image.pixel(0, y), image.rowBytes());
  }
  require(heif_context_encode_image(context, picture, encoder, nullptr, nullptr).code == heif_error_Ok);
  ByteVector out;
  heif_writer writer{1, [](heif_context*, const void* data, std::size_t size, void* target) {
                       *static_cast<ByteVector*>(target) = toBytes(data, size);
                       return heif_error{heif_error_Ok, heif_suberror_Unspecified, ""};
                     }};
  require(heif_context_write(context, &writer, &out).code == heif_error_Ok);
  heif_image_release(picture);
  heif_encoder_release(encoder);
  heif_context_free(context);
  return out;
}

// What an orientation says in the tag's own words: where the stored first row and first column belong.
Image storedFor(const Image& upright, unsigned orientation) {
  const bool swapsAxes = orientation >= 5;
  Image stored = swapsAxes ? blankImage(upright.height, upright.width) : blankImage(upright.width, upright.height);
  for (std::uint32_t row = 0; row < stored.height; ++row) {
    for (std::uint32_t column = 0; column < stored.width; ++column) {
      std::uint32_t x = 0;
      std::uint32_t y = 0;
      const std::uint32_t right = upright.width - 1;
      const std::uint32_t bottom = upright.height - 1;
      switch (orientation) {
        case 1:
          x = column, y = row;
          break;
        case 2:
          x = right - column, y = row;
          break;
        case 3:
          x = right - column, y = bottom - row;
          break;
        case 4:
          x = column, y = bottom - row;
          break;
        case 5:
          x = row, y = column;
          break;
        case 6:
          x = right - row, y = column;
          break;
        case 7:
          x = right - row, y = bottom - column;
          break;
        case 8:
          x = row, y = bottom - column;
          break;
        default:
          break;
      }
      std::copy_n(upright.pixel(x, y), 4, stored.pixels.begin() + (row * stored.width + column) * 4);
    }
  }
  return stored;
}

std::vector<unsigned> pixelsOf(const std::optional<Image>& image) {
  return image ? std::vector<unsigned>(image->pixels.begin(), image->pixels.end()) : std::vector<unsigned>{};
}

ByteWriter tgaHeader(unsigned type, unsigned width, unsigned height, unsigned bits, unsigned descriptor,
                     unsigned mapCount, unsigned mapBits, unsigned identifierBytes) {
  ByteWriter file;
  file.u8(identifierBytes).u8(mapCount > 0 ? 1 : 0).u8(type).u16(0).u16(mapCount).u8(mapBits);
  file.u16(0).u16(0).u16(width).u16(height).u8(bits).u8(descriptor).zeros(identifierBytes);
  return file;
}

ByteWriter bmpHeader(int width, int height, unsigned bits, unsigned compression, unsigned paletteCount,
                     std::size_t maskBytes) {
  ByteWriter file;
  const auto offset = static_cast<std::uint32_t>(54 + paletteCount * 4 + maskBytes);
  file.text("BM").u32(0).u32(0).u32(offset).u32(40);
  file.u32(static_cast<std::uint32_t>(width)).u32(static_cast<std::uint32_t>(height)).u16(1).u16(bits);
  file.u32(compression).u32(0).u32(0).u32(0).u32(paletteCount).u32(0);
  return file;
}

}  // namespace ornolith::testing
