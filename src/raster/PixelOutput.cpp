#include "raster/PixelOutput.h"

#include <bit>

#include "imaging/Color.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "raster/PixelOutput.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace ornolith::raster::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Floats = hn::ScalableTag<float>;
using Integers = hn::RebindToSigned<Floats>;
using FloatVector = hn::Vec<Floats>;
using IntegerVector = hn::Vec<Integers>;
using Pixel = hn::CappedTag<float, 4>;

/// Calls `combine(pixel of the picture, fragment's four values, four factors)` for each fragment of the batch in order.
template <typename Prepare, typename Combine>
HWY_INLINE void forEachFragment(const FragmentBatch& batch, TileColors& colors, const Prepare& prepare,
                                const Combine& combine) {
  constexpr Floats floats;
  const std::size_t lanes = hn::Lanes(floats);
  HWY_ALIGN float values[4 * hn::MaxLanes(Floats())];
  HWY_ALIGN float factors[4 * hn::MaxLanes(Floats())];
  for (std::size_t i = 0; i < batch.count; i += lanes) {
    prepare(i, values, factors);
    const std::size_t end = HWY_MIN(lanes, batch.count - i);
    for (std::size_t k = 0; k < end; ++k) {
      constexpr Pixel part;
      float* const out = colors.values.data() + std::size_t{4} * batch.pixel[i + k];
      for (std::size_t c = 0; c < 4; c += hn::MaxLanes(Pixel())) {
        hn::Store(combine(hn::Load(part, values + 4 * k + c), hn::Load(part, factors + 4 * k + c), out + c), part,
                  out + c);
      }
    }
  }
}

void store(const FragmentBatch& batch, bool keepsAlpha, TileColors& colors) {
  constexpr Floats floats;
  const Lane4& result = batch.result;
  const auto prepare = [&](std::size_t i, float* values, float*) {
    const FloatVector alpha = keepsAlpha ? hn::Load(floats, &result.w[i]) : hn::Set(floats, 1.0f);
    hn::StoreInterleaved4(hn::Mul(hn::Load(floats, &result.x[i]), alpha),
                          hn::Mul(hn::Load(floats, &result.y[i]), alpha),
                          hn::Mul(hn::Load(floats, &result.z[i]), alpha), alpha, floats, values);
  };
  forEachFragment(batch, colors, prepare, [](auto value, auto, const float*) { return value; });
}

void blend(const FragmentBatch& batch, device::BlendMode mode, TileColors& colors) {
  constexpr Floats floats;
  const Lane4& result = batch.result;
  const auto prepare = [&](std::size_t i, float* values, float* factors) {
    const FloatVector alpha = hn::Load(floats, &result.w[i]);
    const FloatVector rest = hn::Sub(hn::Set(floats, 1.0f), alpha);
    const FloatVector keepsColor = mode == device::BlendMode::add     ? hn::Set(floats, 1.0f)
                                   : mode == device::BlendMode::alpha ? rest
                                                                      : hn::Zero(floats);
    const FloatVector keepsAlpha = mode == device::BlendMode::replace ? hn::Zero(floats) : rest;
    hn::StoreInterleaved4(hn::Mul(hn::Load(floats, &result.x[i]), alpha),
                          hn::Mul(hn::Load(floats, &result.y[i]), alpha),
                          hn::Mul(hn::Load(floats, &result.z[i]), alpha), alpha, floats, values);
    hn::StoreInterleaved4(keepsColor, keepsColor, keepsColor, keepsAlpha, floats, factors);
  };
  forEachFragment(batch, colors, prepare, [](auto value, auto factor, const float* out) {
    return hn::Add(value, hn::Mul(hn::Load(Pixel(), out), factor));
  });
}

HWY_INLINE IntegerVector codes(const std::int32_t* entries, FloatVector linear) {
  constexpr Floats floats;
  constexpr Integers integers;
  // The first comparison turns NaN into the code 0.
  const FloatVector least = hn::Set(floats, 0x1p-13f), most = hn::Set(floats, 1.0f);
  const FloatVector atLeast = hn::IfThenElse(hn::Gt(linear, least), linear, least);
  const IntegerVector bits = hn::BitCast(integers, hn::IfThenElse(hn::Lt(atLeast, most), atLeast, most));
  const IntegerVector bucket =
      hn::Sub(hn::ShiftRight<16>(bits), hn::Set(integers, static_cast<std::int32_t>(OutputTable::firstBucket)));
  const IntegerVector entry = hn::GatherIndex(integers, entries, bucket);
  return hn::ShiftRight<16>(hn::Add(entry, hn::And(bits, hn::Set(integers, 0xffff))));
}

void encode(const std::int32_t* entries, const float* colors, std::uint8_t* out) {
  constexpr Floats floats;
  constexpr Integers integers;
  const FloatVector zero = hn::Zero(floats), one = hn::Set(floats, 1.0f);
  HWY_ALIGN std::int32_t pixels[tileSide];
  for (std::size_t i = 0; i < tileSide; i += hn::Lanes(floats)) {
    FloatVector red, green, blue, coverage;
    hn::LoadInterleaved4(floats, colors + 4 * i, red, green, blue, coverage);
    // As in `saturate`: NaN gives 0.
    const FloatVector positive = hn::IfThenElse(hn::Gt(coverage, zero), coverage, zero);
    const FloatVector alpha = hn::IfThenElse(hn::Lt(positive, one), positive, one);
    const FloatVector scale = hn::IfThenElse(hn::Gt(alpha, zero), hn::Div(one, alpha), zero);
    const IntegerVector alphaCode =
        hn::ConvertTo(integers, hn::Add(hn::Mul(alpha, hn::Set(floats, 255.0f)), hn::Set(floats, 0.5f)));
    const IntegerVector pixel =
        hn::Or(hn::Or(codes(entries, hn::Mul(red, scale)), hn::ShiftLeft<8>(codes(entries, hn::Mul(green, scale)))),
               hn::Or(hn::ShiftLeft<16>(codes(entries, hn::Mul(blue, scale))), hn::ShiftLeft<24>(alphaCode)));
    hn::Store(pixel, integers, pixels + i);
  }
  static_assert(std::endian::native == std::endian::little, "a pixel's first byte is the lowest of its 32 bits");
  hwy::CopyBytes<sizeof(pixels)>(pixels, out);
}

}  // namespace ornolith::raster::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace ornolith::raster {

HWY_EXPORT(store);
HWY_EXPORT(blend);
HWY_EXPORT(encode);

void TileColors::clear(const std::array<float, 4>& color) noexcept {
  for (std::size_t i = 0; i < values.size(); i += 4) {
    for (std::size_t c = 0; c < 4; ++c) values[i + c] = color[c];
  }
}

OutputTable::OutputTable() {
  const auto codeAt = [](std::uint32_t bits) { return sRGB8FromLinear(std::bit_cast<float>(bits)); };
  for (std::uint32_t bucket = firstBucket; bucket <= lastBucket; ++bucket) {
    const std::uint32_t base = bucket << 16;
    const std::uint32_t code = codeAt(base);
    std::uint32_t entry = code << 16;
    if (bucket < lastBucket && codeAt(base | 0xffff) != code) {
      // The least value with the next code lies above `low` and not above `high`.
      std::uint32_t low = 0, high = 0xffff;
      while (high - low > 1) {
        const std::uint32_t middle = (low + high) / 2;
        (codeAt(base | middle) == code ? low : high) = middle;
      }
      entry += 0x10000 - high;
    }
    entries_[bucket - firstBucket] = static_cast<std::int32_t>(entry);
  }
}

void storeFragments(const FragmentBatch& batch, bool keepsAlpha, TileColors& colors) noexcept {
  HWY_DYNAMIC_DISPATCH(store)(batch, keepsAlpha, colors);
}

void blendFragments(const FragmentBatch& batch, device::BlendMode mode, TileColors& colors) noexcept {
  HWY_DYNAMIC_DISPATCH(blend)(batch, mode, colors);
}

void encodePixels(const OutputTable& table, std::span<const float, rowValues> colors, EncodedRow& codes) noexcept {
  HWY_DYNAMIC_DISPATCH(encode)(table.entries(), colors.data(), codes.data());
}

}  // namespace ornolith::raster

#endif
