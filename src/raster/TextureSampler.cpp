#include "raster/TextureSampler.h"

#include <algorithm>
#include <cmath>

#include "raster/PixelMath.h"

namespace ornolith::raster {
namespace {

using device::WrapMode;

/// A coordinate brought to 0..1 by its wrap mode.
float wrapCoordinate(float value, WrapMode mode) noexcept {
  switch (mode) {
    case WrapMode::repeat:
      value -= fastFloor(value);
      break;
    case WrapMode::mirror: {
      const float half = value * 0.5f;
      const float period = (half - fastFloor(half)) * 2.0f;
      value = period > 1.0f ? 2.0f - period : period;
      break;
    }
    case WrapMode::clamp:
      break;
  }
  return saturate(value);
}

/// The two neighbouring texels of a coordinate in 0..1 along one axis, and the share of the second.
struct AxisTaps {
  std::uint32_t first;
  std::uint32_t second;
  float share;
};

AxisTaps axisTaps(float coordinate, std::uint32_t side, WrapMode mode) noexcept {
  const float position = coordinate * static_cast<float>(side) - 0.5f;
  const float base = fastFloor(position);
  const float share = position - base;
  const auto last = static_cast<std::int32_t>(side) - 1;
  const auto index = static_cast<std::int32_t>(base);
  std::int32_t first = index;
  std::int32_t second = index + 1;
  // A coordinate in 0..1 leaves the texels by one at most.
  const bool isRound = mode == WrapMode::repeat;
  if (first < 0) first = isRound ? last : 0;
  if (second > last) second = isRound ? 0 : last;
  return {static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(second), share};
}

struct Decoder {
  const float* color;
  const float* unit;
  bool premultiplies;

  simd_float4 operator()(const std::uint8_t* texel) const noexcept {
    const float alpha = unit[texel[3]];
    const float scale = premultiplies ? alpha : 1.0f;
    return {color[texel[0]] * scale, color[texel[1]] * scale, color[texel[2]] * scale, alpha};
  }
};

simd_float4 mix(simd_float4 a, simd_float4 b, float share) noexcept {
  return a + (b - a) * share;
}

simd_float4 sampleBilinear(const MipLevel& level, const Decoder& decode, WrapMode wrapS, WrapMode wrapT, float u,
                           float v) noexcept {
  const AxisTaps x = axisTaps(wrapCoordinate(u, wrapS), level.width, wrapS);
  const AxisTaps y = axisTaps(wrapCoordinate(v, wrapT), level.height, wrapT);
  const std::uint8_t* above = level.texels + std::size_t{y.first} * level.width * 4;
  const std::uint8_t* below = level.texels + std::size_t{y.second} * level.width * 4;
  const std::size_t left = std::size_t{x.first} * 4;
  const std::size_t right = std::size_t{x.second} * 4;
  return mix(mix(decode(above + left), decode(above + right), x.share),
             mix(decode(below + left), decode(below + right), x.share), y.share);
}

/// What a footprint asks of the pyramid.
struct FilterPlan {
  int sampleCount = 1;
  float level = 0;             ///< 0 is the image itself.
  float stepU = 0, stepV = 0;  ///< The whole long axis, in texture coordinates.
};

FilterPlan planFilter(const MipLevel& base, float lastLevel, const TextureFootprint& footprint) noexcept {
  const auto width = static_cast<float>(base.width);
  const auto height = static_cast<float>(base.height);
  const float xu = footprint.dudx * width, xv = footprint.dvdx * height;
  const float yu = footprint.dudy * width, yv = footprint.dvdy * height;
  const float a = xu * xu + yu * yu;
  const float b = xu * xv + yu * yv;
  const float c = xv * xv + yv * yv;
  const float mean = (a + c) * 0.5f;
  const float difference = (a - c) * 0.5f;
  const float radius = std::sqrt(difference * difference + b * b);
  const float major = mean + radius;
  if (!(major < 1e30f)) return {1, lastLevel, 0, 0};
  if (major <= 1.0f) return {};
  const float minor = std::max(mean - radius, major * (1.0f / 4096.0f));

  FilterPlan plan;
  const float ratio = std::sqrt(major / minor);
  plan.sampleCount = std::clamp(static_cast<int>(ratio - 0.01f) + 1, 1, maximumAnisotropy);
  const auto count = static_cast<float>(plan.sampleCount);
  plan.level = std::clamp(0.5f * fastLog2(std::max(major / (count * count), 1e-6f)), 0.0f, lastLevel);
  if (plan.sampleCount == 1) return plan;

  // The long axis is the eigenvector of the larger eigenvalue; of its two forms, the one without cancellation.
  const float axisU = difference >= 0.0f ? major - c : b;
  const float axisV = difference >= 0.0f ? b : major - a;
  const float axisLength = std::sqrt(axisU * axisU + axisV * axisV);
  if (!(axisLength > 0.0f)) return plan;
  const float scale = std::sqrt(major) / axisLength;
  plan.stepU = axisU * scale / width;
  plan.stepV = axisV * scale / height;
  return plan;
}

}  // namespace

simd_float4 sampleTexture(const TexturePyramid& pyramid, const TexelTables& tables, WrapMode wrapS, WrapMode wrapT,
                          const TextureFootprint& footprint) noexcept {
  const std::vector<MipLevel>& levels = pyramid.levels();
  const Decoder decode{pyramid.isSRGB() ? tables.linearFromSRGB.data() : tables.unit.data(), tables.unit.data(),
                       pyramid.isPremultiplied()};
  const FilterPlan plan = planFilter(levels.front(), static_cast<float>(levels.size() - 1), footprint);
  const float whole = fastFloor(plan.level);
  const float share = plan.level - whole;
  const auto fine = static_cast<std::size_t>(whole);
  const MipLevel& fineLevel = levels[fine];
  const MipLevel& coarseLevel = levels[std::min(fine + 1, levels.size() - 1)];

  simd_float4 sum{};
  const float spacing = 1.0f / static_cast<float>(plan.sampleCount);
  for (int i = 0; i < plan.sampleCount; ++i) {
    const float along = (static_cast<float>(i) + 0.5f) * spacing - 0.5f;
    const float u = footprint.u + plan.stepU * along;
    const float v = footprint.v + plan.stepV * along;
    simd_float4 texel = sampleBilinear(fineLevel, decode, wrapS, wrapT, u, v);
    if (share > 0.0f) texel = mix(texel, sampleBilinear(coarseLevel, decode, wrapS, wrapT, u, v), share);
    sum = sum + texel;
  }
  return sum * spacing;
}

}  // namespace ornolith::raster
