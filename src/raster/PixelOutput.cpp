#include "raster/PixelOutput.h"

#include <bit>

#include "foundation/Math.h"
#include "imaging/Color.h"
#include "raster/PixelMath.h"

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

HWY_INLINE IntegerVector tableCodes(const std::int32_t* entries, IntegerVector bits) {
  constexpr Integers integers;
  const IntegerVector bucket =
      hn::Sub(hn::ShiftRight<16>(bits), hn::Set(integers, static_cast<std::int32_t>(OutputTable::firstBucket)));
  const IntegerVector entry = hn::GatherIndex(integers, entries, bucket);
  return hn::ShiftRight<16>(hn::Add(entry, hn::And(bits, hn::Set(integers, 0xffff))));
}

/// From 2^-13 to 1; NaN becomes the least, as comparisons with it fail.
HWY_INLINE IntegerVector limitedBits(FloatVector linear) {
  constexpr Floats floats;
  const FloatVector least = hn::Set(floats, 0x1p-13f), most = hn::Set(floats, 1.0f);
  const FloatVector atLeast = hn::IfThenElse(hn::Gt(linear, least), linear, least);
  return hn::BitCast(Integers(), hn::Min(atLeast, most));
}

/// Codes by a formula, in the lowest bits of `code` as a float above `wholeBits`.
struct FormulaCode {
  IntegerVector code;
  FloatVector distance;  ///< Of the unrounded code from the whole number.
};

/// Good to a little less than `formulaDoubt` of a code: where that leaves two codes, the table decides. Gathering from
/// the table takes about twice as long. For vectors that hold a factor for each power of two.
constexpr float formulaDoubt = 0.0004f;

HWY_INLINE FormulaCode formulaCode(const OutputTable& table, IntegerVector bits) {
  constexpr Floats floats;
  constexpr Integers integers;
  constexpr int mantissaBits = 23;
  constexpr auto firstPower = static_cast<std::int32_t>(OutputTable::firstBucket >> (mantissaBits - 16));
  const FloatVector linear = hn::BitCast(floats, bits);
  const IntegerVector power = hn::Sub(hn::ShiftRight<mantissaBits>(bits), hn::Set(integers, firstPower));
  const FloatVector m = hn::BitCast(floats, hn::OrAnd(hn::BitCast(integers, hn::Set(floats, 1.0f)), bits,
                                                      hn::Set(integers, (1 << mantissaBits) - 1)));
  // m^(1 / 2.4) for 1 <= m < 2, the polynomial of the least maximal error, in pairs that do not wait for each other.
  const auto pair = [&](float constant, float slope) {
    return hn::Add(hn::Set(floats, constant), hn::Mul(m, hn::Set(floats, slope)));
  };
  const FloatVector m2 = hn::Mul(m, m);
  const FloatVector upper =
      hn::Add(pair(-0.488464832f, 0.206318095f), hn::Mul(m2, pair(-0.0506533347f, 0.00533313164f)));
  const FloatVector root = hn::Add(pair(0.376987725f, 0.95048058f), hn::Mul(m2, upper));
  const FloatVector factor = hn::TableLookupLanes(hn::LoadU(floats, table.powers()), hn::IndicesFromVec(floats, power));
  const FloatVector curved = hn::Add(hn::Mul(root, factor), hn::Set(floats, -255.0f * 0.055f));
  const FloatVector straight = hn::Mul(linear, hn::Set(floats, 255.0f * 12.92f));
  const FloatVector value = hn::IfThenElse(hn::Le(linear, hn::Set(floats, 0.0031308f)), straight, curved);
  const FloatVector whole = hn::Add(value, hn::Set(floats, wholeBits));
  return {hn::BitCast(integers, whole), hn::Abs(hn::Sub(value, hn::Sub(whole, hn::Set(floats, wholeBits))))};
}

HWY_INLINE IntegerVector pixelOf(IntegerVector red, IntegerVector green, IntegerVector blue, IntegerVector alpha) {
  static_assert(std::endian::native == std::endian::little, "a pixel's first byte is the lowest of its 32 bits");
  return hn::Or(hn::Or(red, hn::ShiftLeft<8>(green)), hn::Or(hn::ShiftLeft<16>(blue), hn::ShiftLeft<24>(alpha)));
}

/// Pixels of straight light, without the alpha.
HWY_INLINE IntegerVector opaqueCodes(const OutputTable& table, FloatVector red, FloatVector green, FloatVector blue) {
  const IntegerVector zero = hn::Zero(Integers());
  const IntegerVector bits[3] = {limitedBits(red), limitedBits(green), limitedBits(blue)};
  if constexpr (hn::MaxLanes(Floats()) >= OutputTable::powerCount) {
    const FormulaCode r = formulaCode(table, bits[0]), g = formulaCode(table, bits[1]), b = formulaCode(table, bits[2]);
    const FloatVector farthest = hn::Max(r.distance, hn::Max(g.distance, b.distance));
    const auto isDoubtful = hn::Gt(farthest, hn::Set(Floats(), 0.5f - formulaDoubt));
    if (HWY_LIKELY(hn::AllFalse(Floats(), isDoubtful))) {
      // The upper bits of the three add up to the same everywhere.
      constexpr auto upper = std::bit_cast<std::uint32_t>(wholeBits);
      constexpr std::uint32_t sum = upper + (upper << 8) + (upper << 16);
      const IntegerVector packed = hn::Add(r.code, hn::Add(hn::ShiftLeft<8>(g.code), hn::ShiftLeft<16>(b.code)));
      return hn::Sub(packed, hn::Set(Integers(), std::bit_cast<std::int32_t>(sum)));
    }
  }
  const std::int32_t* const entries = table.entries();
  return pixelOf(tableCodes(entries, bits[0]), tableCodes(entries, bits[1]), tableCodes(entries, bits[2]), zero);
}

/// Pixels from light multiplied by alpha.
HWY_INLINE IntegerVector encodedPixels(const OutputTable& table, FloatVector red, FloatVector green, FloatVector blue,
                                       FloatVector coverage) {
  constexpr Floats floats;
  const FloatVector zero = hn::Zero(floats), one = hn::Set(floats, 1.0f);
  // As in `saturate`: NaN gives 0.
  const FloatVector positive = hn::IfThenElse(hn::Gt(coverage, zero), coverage, zero);
  const FloatVector alpha = hn::IfThenElse(hn::Lt(positive, one), positive, one);
  const FloatVector scale = hn::IfThenElse(hn::Gt(alpha, zero), hn::Div(one, alpha), zero);
  const IntegerVector alphaCode =
      hn::ConvertTo(Integers(), hn::Add(hn::Mul(alpha, hn::Set(floats, 255.0f)), hn::Set(floats, 0.5f)));
  const IntegerVector opaque = opaqueCodes(table, hn::Mul(red, scale), hn::Mul(green, scale), hn::Mul(blue, scale));
  return hn::Or(opaque, hn::ShiftLeft<24>(alphaCode));
}

void encode(const OutputTable& table, const float* colors, std::uint8_t* out) {
  constexpr Floats floats;
  constexpr Integers integers;
  HWY_ALIGN std::int32_t pixels[tileSide];
  for (std::size_t i = 0; i < tileSide; i += hn::Lanes(floats)) {
    FloatVector red, green, blue, coverage;
    hn::LoadInterleaved4(floats, colors + 4 * i, red, green, blue, coverage);
    hn::Store(encodedPixels(table, red, green, blue, coverage), integers, pixels + i);
  }
  hwy::CopyBytes<sizeof(pixels)>(pixels, out);
}

/// Puts the fragments from `i` into their pixels: most often these are neighbours.
HWY_INLINE void put(IntegerVector encoded, const FragmentBatch& batch, std::size_t i, const TilePixels& out) {
  constexpr Integers integers;
  constexpr hn::Rebind<std::uint16_t, Integers> numbers;
  const std::size_t lanes = hn::Lanes(integers);
  const std::uint16_t* const pixel = batch.pixel.data() + i;
  const auto neighbours = hn::Add(hn::Iota(numbers, 0), hn::Set(numbers, pixel[0]));
  const bool fitsRow = static_cast<std::size_t>(pixelColumn(pixel[0])) + lanes <= tileSide;
  if (fitsRow && i + lanes <= batch.count && hn::AllTrue(numbers, hn::Eq(hn::LoadU(numbers, pixel), neighbours))) {
    return hn::StoreU(encoded, integers, reinterpret_cast<std::int32_t*>(out.at(pixel[0])));
  }
  HWY_ALIGN std::int32_t pixels[hn::MaxLanes(Integers())];
  hn::Store(encoded, integers, pixels);
  const std::size_t end = HWY_MIN(lanes, batch.count - i);
  for (std::size_t k = 0; k < end; ++k) hwy::CopyBytes<sizeof(pixels[0])>(pixels + k, out.at(pixel[k]));
}

void encodeBatch(const OutputTable& table, const FragmentBatch& batch, bool keepsAlpha, const TilePixels& out) {
  constexpr Floats floats;
  constexpr Integers integers;
  const std::size_t lanes = hn::Lanes(floats);
  const Lane4& result = batch.result;
  for (std::size_t i = 0; i < batch.count; i += lanes) {
    const FloatVector red = hn::Load(floats, &result.x[i]);
    const FloatVector green = hn::Load(floats, &result.y[i]);
    const FloatVector blue = hn::Load(floats, &result.z[i]);
    if (keepsAlpha) {
      const FloatVector alpha = hn::Load(floats, &result.w[i]);
      put(encodedPixels(table, hn::Mul(red, alpha), hn::Mul(green, alpha), hn::Mul(blue, alpha), alpha), batch, i, out);
    } else {
      const IntegerVector encoded = opaqueCodes(table, red, green, blue);
      put(hn::Or(encoded, hn::Set(integers, std::bit_cast<std::int32_t>(0xff000000u))), batch, i, out);
    }
  }
}

}  // namespace ornolith::raster::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace ornolith::raster {

HWY_EXPORT(store);
HWY_EXPORT(blend);
HWY_EXPORT(encode);
HWY_EXPORT(encodeBatch);

void TileColors::clear(const std::array<float, 4>& color) noexcept {
  for (std::size_t i = 0; i < values.size(); i += 4) {
    for (std::size_t c = 0; c < 4; ++c) values[i + c] = color[c];
  }
}

OutputTable::OutputTable() {
  for (int i = 0; i < static_cast<int>(powerCount); ++i) {
    powers_[static_cast<std::size_t>(i)] = static_cast<float>(255 * 1.055 * math::pow(2.0, (i + firstExponent) / 2.4));
  }
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
  HWY_DYNAMIC_DISPATCH(encode)(table, colors.data(), codes.data());
}

void encodeFragments(const OutputTable& table, const FragmentBatch& batch, bool keepsAlpha,
                     const TilePixels& out) noexcept {
  HWY_DYNAMIC_DISPATCH(encodeBatch)(table, batch, keepsAlpha, out);
}

}  // namespace ornolith::raster

#endif
