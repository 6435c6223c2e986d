#include "raster/TexturePyramid.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "foundation/Parallel.h"
#include "imaging/Color.h"
#include "raster/TextureHalving.h"

namespace ornolith::raster {
namespace {

/// The share of the source texels `first`, `first + 1`, `first + 2` in one texel of the next level, in units of
/// `total`.
struct Taps {
  std::uint32_t first;
  std::array<std::uint64_t, 3> weight;
  std::uint64_t total;
};

Taps tapsFor(std::uint32_t index, std::uint32_t sourceSide) {
  if (sourceSide == 1) return {0, {1, 0, 0}, 1};
  const std::uint32_t half = sourceSide / 2;
  if (sourceSide % 2 == 0) return {2 * index, {1, 1, 0}, 2};
  return {2 * index, {half - index, half, index + 1}, sourceSide};
}

class LevelHalver {
 public:
  LevelHalver(const MipLevel& source, std::uint32_t width, bool isSRGB, bool weighsByAlpha, const TexelTables& tables)
      : source_(source), width_(width), isSRGB_(isSRGB), weighsByAlpha_(weighsByAlpha), tables_(tables) {}

  void writeRow(std::uint32_t row, std::uint8_t* out) const {
    const Taps rows = tapsFor(row, source_.height);
    if (source_.width % 2 == 0 && source_.height % 2 == 0) {
      const std::uint8_t* above = texel(0, rows.first);
      const std::uint8_t* below = above + std::size_t{source_.width} * 4;
      if (weighsByAlpha_) return writeEvenWeighted(above, below, out);
      return isSRGB_ ? writeEvenColors(above, below, out) : averageTexels(above, below, width_, out);
    }
    for (std::uint32_t x = 0; x < width_; ++x) writeTexel(rows, tapsFor(x, source_.width), out + std::size_t{x} * 4);
  }

 private:
  const std::uint8_t* texel(std::uint32_t x, std::uint32_t y) const {
    return source_.texels + (std::size_t{y} * source_.width + x) * 4;
  }
  std::uint64_t decode(std::uint8_t sample) const { return isSRGB_ ? tables_.linear16[sample] : sample * 257u; }
  std::uint8_t encode(std::uint64_t value) const {
    return isSRGB_ ? tables_.sRGBFrom16[value] : static_cast<std::uint8_t>((value + 128) / 257);
  }

  void writeEvenColors(const std::uint8_t* above, const std::uint8_t* below, std::uint8_t* out) const {
    const auto& linear = tables_.linear16;
    for (std::uint32_t x = 0; x < width_; ++x, above += 8, below += 8, out += 4) {
      for (std::size_t c = 0; c < 3; ++c) {
        const std::uint32_t sum =
            std::uint32_t{linear[above[c]]} + linear[above[c + 4]] + linear[below[c]] + linear[below[c + 4]];
        out[c] = tables_.sRGBFrom16[(sum + 2) / 4];
      }
      out[3] = static_cast<std::uint8_t>((above[3] + above[7] + below[3] + below[7] + 2) / 4);
    }
  }

  void writeEvenWeighted(const std::uint8_t* above, const std::uint8_t* below, std::uint8_t* out) const {
    const auto& linear = tables_.linear16;
    for (std::uint32_t x = 0; x < width_; ++x, above += 8, below += 8, out += 4) {
      const std::uint32_t a = above[3], b = above[7], c = below[3], d = below[7];
      const std::uint32_t total = a + b + c + d;
      for (std::size_t k = 0; k < 3; ++k) {
        const std::uint32_t sum =
            a * linear[above[k]] + b * linear[above[k + 4]] + c * linear[below[k]] + d * linear[below[k + 4]];
        out[k] = total == 0 ? std::uint8_t{0} : tables_.sRGBFrom16[(sum + total / 2) / total];
      }
      out[3] = static_cast<std::uint8_t>((total + 2) / 4);
    }
  }

  void writeTexel(const Taps& rows, const Taps& columns, std::uint8_t* out) const {
    std::array<std::uint64_t, 3> color{};
    std::uint64_t alpha = 0;
    std::uint64_t colorWeight = 0;
    for (std::uint32_t j = 0; j < 3; ++j) {
      for (std::uint32_t i = 0; i < 3; ++i) {
        const std::uint64_t weight = rows.weight[j] * columns.weight[i];
        if (weight == 0) continue;
        const std::uint8_t* sample = texel(columns.first + i, rows.first + j);
        const std::uint64_t share = weighsByAlpha_ ? weight * sample[3] : weight;
        for (std::size_t c = 0; c < 3; ++c) color[c] += share * decode(sample[c]);
        colorWeight += share;
        alpha += weight * sample[3];
      }
    }
    const std::uint64_t total = rows.total * columns.total;
    for (std::size_t c = 0; c < 3; ++c) {
      out[c] = colorWeight == 0 ? std::uint8_t{0} : encode((color[c] + colorWeight / 2) / colorWeight);
    }
    out[3] = static_cast<std::uint8_t>((alpha + total / 2) / total);
  }

  const MipLevel& source_;
  std::uint32_t width_;
  bool isSRGB_;
  bool weighsByAlpha_;
  const TexelTables& tables_;
};

}  // namespace

TexelTables::TexelTables() : sRGBFrom16(65536) {
  for (std::size_t i = 0; i < 256; ++i) {
    const float scaled = linearFromSRGB8(static_cast<std::uint8_t>(i)) * 65535.0f + 0.5f;
    linear16[i] = static_cast<std::uint16_t>(scaled);
  }
  // Codes change half-way between two neighbours in the encoded scale.
  std::size_t next = 0;
  for (std::size_t code = 0; code < 256; ++code) {
    const float upper = code == 255 ? 2.0f : linearFromSRGB((static_cast<float>(code) + 0.5f) / 255.0f);
    while (next < 65536 && static_cast<float>(next) < upper * 65535.0f) {
      sRGBFrom16[next++] = static_cast<std::uint8_t>(code);
    }
  }
}

TexturePyramid::TexturePyramid(std::shared_ptr<const Image> image, bool isSRGB, bool hasTransparency,
                               const TexelTables& tables)
    : image_(std::move(image)),
      isSRGB_(isSRGB),
      hasTransparency_(hasTransparency),
      isPremultiplied_(isSRGB && hasTransparency) {
  layOutLevels();
  for (std::size_t i = 1; i < levels_.size(); ++i) {
    const MipLevel& level = levels_[i];
    std::uint8_t* const texels = storage_.get() + (level.texels - storage_.get());
    const LevelHalver halver(levels_[i - 1], level.width, isSRGB, isPremultiplied_, tables);
    const std::size_t grain = std::max<std::size_t>(1, 16384 / level.width);
    parallelFor(level.height, grain, [&](std::size_t row) {
      halver.writeRow(static_cast<std::uint32_t>(row), texels + row * level.width * 4);
    });
  }
}

void TexturePyramid::layOutLevels() {
  constexpr std::uint64_t maximumTexels = std::uint64_t{1} << 30;
  if (std::uint64_t{image_->width} * image_->height > maximumTexels) {
    throw std::length_error("A texture is larger than the render device samples.");
  }
  levels_.push_back({image_->width, image_->height, image_->pixels.data()});
  std::size_t total = 0;
  while (levels_.back().width > 1 || levels_.back().height > 1) {
    const MipLevel& last = levels_.back();
    levels_.push_back({std::max(last.width / 2, 1u), std::max(last.height / 2, 1u), nullptr});
    total += std::size_t{levels_.back().width} * levels_.back().height;
  }
  storage_ = std::make_unique_for_overwrite<std::uint8_t[]>(total * 4);
  std::uint8_t* next = storage_.get();
  for (std::size_t i = 1; i < levels_.size(); ++i) {
    levels_[i].texels = next;
    next += std::size_t{levels_[i].width} * levels_[i].height * 4;
  }
}

}  // namespace ornolith::raster
