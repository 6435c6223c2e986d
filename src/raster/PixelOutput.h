#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "raster/FragmentBatch.h"
#include "raster/TileGrid.h"
#include "scenegraph/device/FrameDescription.h"

namespace ornolith::raster {

/// Values of one row of a tile, four a pixel.
inline constexpr std::size_t rowValues = std::size_t{4} * tileSide;

/// The picture of one tile before it is encoded: for each pixel linear red, green and blue multiplied by alpha, and
/// alpha.
struct TileColors {
  alignas(64) std::array<float, rowValues * tileSide> values;

  void clear(const std::array<float, 4>& color) noexcept;
};

/// 64 pixels of straight 8-bit RGBA.
using EncodedRow = std::array<std::uint8_t, rowValues>;

/// Where the pixels of one tile stand in an image of straight 8-bit RGBA.
struct TilePixels {
  std::uint8_t* first;   ///< The tile's own first pixel.
  std::size_t rowBytes;  ///< From a row to the next.

  std::uint8_t* at(std::uint16_t pixel) const noexcept {
    return first + static_cast<std::size_t>(pixelRow(pixel)) * rowBytes +
           static_cast<std::size_t>(pixelColumn(pixel)) * 4;
  }
};

/// Linear light to 8-bit sRGB in one look-up: floats are cut into buckets of 2^16 in which the code rises by one at
/// most. An entry is the code times 2^16, so much more that the low 16 bits of a float, added to it, carry over exactly
/// where the code rises.
class OutputTable {
 public:
  OutputTable();

  static constexpr std::uint32_t firstBucket = 0x3900;  ///< Of 2^-13, below which everything has the code 0.
  static constexpr std::uint32_t lastBucket = 0x3f80;   ///< Of 1.
  const std::int32_t* entries() const noexcept { return entries_.data(); }

  /// 255 * 1.055 * (2^k)^(1 / 2.4) from k = -13 on.
  static constexpr std::size_t powerCount = 16;
  const float* powers() const noexcept { return powers_.data(); }

 private:
  static constexpr int firstExponent = -13;

  std::array<std::int32_t, lastBucket - firstBucket + 1> entries_{};
  std::array<float, powerCount> powers_{};
};

/// Puts the results of a batch into its pixels: the light of opaque surfaces, or, where `keepsAlpha`, light and opacity
/// as they are.
void storeFragments(const FragmentBatch& batch, bool keepsAlpha, TileColors& colors) noexcept;

/// Lays the results of a batch over its pixels, one after the other. Light that is added covers as much of what is
/// behind as its opacity says.
void blendFragments(const FragmentBatch& batch, device::BlendMode mode, TileColors& colors) noexcept;

/// Encodes 64 pixels, just as `sRGB8FromLinear` would one by one.
void encodePixels(const OutputTable& table, std::span<const float, rowValues> colors, EncodedRow& codes) noexcept;

/// Puts the results of a batch into its pixels, with the codes that `storeFragments` and `encodePixels` give them.
void encodeFragments(const OutputTable& table, const FragmentBatch& batch, bool keepsAlpha,
                     const TilePixels& out) noexcept;

}  // namespace ornolith::raster
