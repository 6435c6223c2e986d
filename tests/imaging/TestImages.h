#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>
#include <string_view>
#include <vector>

#include "imaging/Image.h"

namespace ornolith::testing {

using ByteVector = std::vector<std::byte>;

inline Image blankImage(std::uint32_t width, std::uint32_t height) {
  Image image{.width = width, .height = height, .pixels = {}};
  image.pixels.resize(image.rowBytes() * height, 0);
  return image;
}

inline Image noiseImage(std::uint32_t width, std::uint32_t height, std::uint32_t seed = 1) {
  Image image = blankImage(width, height);
  std::mt19937 random(seed);
  for (std::uint8_t& value : image.pixels) value = static_cast<std::uint8_t>(random());
  return image;
}

/// Colours that change slowly, so that lossy kinds keep them; opaque.
inline Image gradientImage(std::uint32_t width, std::uint32_t height) {
  Image image = blankImage(width, height);
  for (std::uint32_t y = 0; y < height; ++y) {
    for (std::uint32_t x = 0; x < width; ++x) {
      std::uint8_t* pixel = image.pixels.data() + (std::size_t{y} * width + x) * 4;
      pixel[0] = static_cast<std::uint8_t>(40 + 160 * x / width);
      pixel[1] = static_cast<std::uint8_t>(60 + 120 * y / height);
      pixel[2] = static_cast<std::uint8_t>(200 - 100 * (x + y) / (width + height));
      pixel[3] = 255;
    }
  }
  return image;
}

inline Image opaque(Image image) {
  for (std::size_t i = 3; i < image.pixels.size(); i += 4) image.pixels[i] = 255;
  return image;
}

/// The largest difference of any two samples; 256 where the sizes differ.
inline int largestDifference(const Image& left, const Image& right) {
  if (left.width != right.width || left.height != right.height) return 256;
  int largest = 0;
  for (std::size_t i = 0; i < left.pixels.size(); ++i) {
    const int difference = int{left.pixels[i]} - int{right.pixels[i]};
    largest = std::max(largest, difference < 0 ? -difference : difference);
  }
  return largest;
}

/// Bytes of a file under construction, little-endian.
class ByteWriter {
 public:
  ByteWriter& u8(unsigned value) {
    bytes_.push_back(static_cast<std::byte>(value));
    return *this;
  }
  ByteWriter& u16(unsigned value) { return u8(value & 255U).u8(value >> 8 & 255U); }
  ByteWriter& u32(std::uint32_t value) { return u16(value & 0xffffU).u16(value >> 16); }
  ByteWriter& text(std::string_view value) {
    for (const char c : value) u8(static_cast<unsigned char>(c));
    return *this;
  }
  ByteWriter& zeros(std::size_t count) {
    bytes_.resize(bytes_.size() + count);
    return *this;
  }
  std::size_t size() const { return bytes_.size(); }
  ByteVector take() { return std::move(bytes_); }

 private:
  ByteVector bytes_;
};

/// The pixels of `upright` as a file with `orientation` (Exif's numbers, 1 to 8) stores them.
Image storedFor(const Image& upright, unsigned orientation);

/// All samples in order; none where there is no image.
std::vector<unsigned> pixelsOf(const std::optional<Image>& image);

/// A TGA's header; the identifier's bytes are zeros.
ByteWriter tgaHeader(unsigned type, unsigned width, unsigned height, unsigned bits, unsigned descriptor,
                     unsigned mapCount = 0, unsigned mapBits = 0, unsigned identifierBytes = 0);
/// A BMP's headers up to masks and palette. A negative height puts the first row on top.
ByteWriter bmpHeader(int width, int height, unsigned bits, unsigned compression, unsigned paletteCount,
                     std::size_t maskBytes = 0);

// Small files of the kinds that libraries write, each of the same picture.

struct PNGForm {
  int bitDepth = 8;
  int colorType = 6;
  bool isInterlaced = false;
};
/// `rows` are as libpng takes them: packed, 16-bit samples big-endian. `palette` has three bytes an entry.
ByteVector writePNG(std::uint32_t width, std::uint32_t height, PNGForm form, const std::vector<ByteVector>& rows,
                    const std::vector<std::uint8_t>& palette = {}, const std::vector<std::uint8_t>& paletteAlpha = {},
                    const std::vector<std::uint16_t>& transparentColor = {});
/// By libpng, as 8-bit RGBA.
Image readPNGByLibrary(const ByteVector& file);

struct JPEGForm {
  bool isGrey = false;
  bool isProgressive = false;
  bool isFourInks = false;  ///< With Adobe's marker and inverted inks.
  unsigned orientation = 1;
};
ByteVector writeJPEG(const Image& image, JPEGForm form);

ByteVector writeWebP(const Image& image);
/// The first frame is `first` at (x, y) of a larger canvas.
ByteVector writeAnimatedWebP(const Image& first, int x, int y, std::uint32_t width, std::uint32_t height);

struct TIFFForm {
  unsigned bits = 8;     ///< 32: float, of linear light.
  unsigned samples = 4;  ///< 1, 2, 3 or 4.
  unsigned orientation = 1;
  unsigned compression = 1;  ///< The tag's number.
  bool isTiled = false;
  bool isPlanar = false;
  bool isPremultiplied = false;
  bool isPalette = false;
  bool isBigEndian = false;
  bool isBig = false;  ///< BigTIFF.
};
ByteVector writeTIFF(const Image& image, TIFFForm form);

/// A TIFF of zeros, 8-bit RGB, deflated, in tiles that are all the same bytes of the file. Each of `sharedTags`
/// further entries has the same `sharedBytes` bytes as its value.
ByteVector writeTIFFOfSharedTiles(std::uint32_t width, std::uint32_t height, std::uint32_t tileWidth,
                                  std::uint32_t tileHeight, unsigned sharedTags = 0, std::uint32_t sharedBytes = 0);

struct EXRForm {
  bool isFloat = false;
  bool isGrey = false;
  bool isTiled = false;
};
/// Premultiplied linear light; the window's origin is not zero.
ByteVector writeEXR(const Image& image, EXRForm form);
/// Grey floats as they are given.
ByteVector writeGreyEXR(const std::vector<float>& row);

ByteVector writeHEIC(const Image& image);

}  // namespace ornolith::testing
