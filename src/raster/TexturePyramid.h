#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "imaging/Image.h"

namespace ornolith::raster {

/// The decoding and the encoding that mip levels of colour are made with.
struct TexelTables {
  TexelTables();

  std::array<std::uint16_t, 256> linear16;  ///< Colour samples as linear light times 65535, rounded.
  std::vector<std::uint8_t> sRGBFrom16;     ///< 65536 entries: the nearest colour sample of a linear 16-bit value.
};

/// One level of a pyramid: straight RGBA of 8 bits a sample, in the encoding of the image itself.
struct MipLevel {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  const std::uint8_t* texels = nullptr;
};

/// An image with its mip levels down to 1 by 1. Level 0 is the image's own memory. Colour is averaged in linear light
/// and weighted by alpha, so that invisible texels lend no colour; data is averaged as it stands. An odd side is halved
/// with the box that covers it exactly (three texels weighted by their share), so that the mean of an image is kept.
/// Throws std::length_error for more than 2^30 texels.
class TexturePyramid {
 public:
  TexturePyramid(std::shared_ptr<const Image> image, bool isSRGB, bool hasTransparency, const TexelTables& tables);

  const std::vector<MipLevel>& levels() const noexcept { return levels_; }
  bool isSRGB() const noexcept { return isSRGB_; }
  /// Whether sampling multiplies colour by alpha: for colour with some transparency.
  bool isPremultiplied() const noexcept { return isPremultiplied_; }
  /// Whether an alpha other than 1 may come out.
  bool hasTransparency() const noexcept { return hasTransparency_; }

 private:
  void layOutLevels();

  std::shared_ptr<const Image> image_;
  bool isSRGB_;
  bool hasTransparency_;
  bool isPremultiplied_;
  std::unique_ptr<std::uint8_t[]> storage_;  ///< All levels but the image's own.
  std::vector<MipLevel> levels_;
};

}  // namespace ornolith::raster
