#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "raster/TextureHalving.cpp"
#include "raster/TextureHalving.h"

#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ornolith::raster::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using Texels = hn::ScalableTag<std::uint32_t>;
using TexelVector = hn::Vec<Texels>;

/// Adds samples that stand in every other byte, and with them the half that rounds.
HWY_INLINE TexelVector mean(TexelVector a, TexelVector b, TexelVector c, TexelVector d) {
  const TexelVector mask = hn::Set(Texels(), 0x00ff00ffu);
  const TexelVector sum = a + b + c + d + hn::Set(Texels(), 0x00020002u);
  return hn::And(hn::ShiftRight<2>(sum), mask);
}

HWY_INLINE TexelVector evenBytes(TexelVector texels) {
  return hn::And(texels, hn::Set(Texels(), 0x00ff00ffu));
}

HWY_INLINE TexelVector oddBytes(TexelVector texels) {
  return evenBytes(hn::ShiftRight<8>(texels));
}

void averageRow(const std::uint8_t* above, const std::uint8_t* below, std::size_t count, std::uint8_t* out) {
  const std::size_t lanes = hn::Lanes(Texels());
  std::size_t i = 0;
  for (; i + lanes <= count; i += lanes) {
    TexelVector a, b, c, d;
    hn::LoadInterleaved2(Texels(), reinterpret_cast<const std::uint32_t*>(above + i * 8), a, b);
    hn::LoadInterleaved2(Texels(), reinterpret_cast<const std::uint32_t*>(below + i * 8), c, d);
    const TexelVector even = mean(evenBytes(a), evenBytes(b), evenBytes(c), evenBytes(d));
    const TexelVector odd = mean(oddBytes(a), oddBytes(b), oddBytes(c), oddBytes(d));
    hn::StoreU(hn::Or(even, hn::ShiftLeft<8>(odd)), Texels(), reinterpret_cast<std::uint32_t*>(out + i * 4));
  }
  for (std::size_t sample = i * 4; sample < count * 4; ++sample) {
    const std::size_t from = sample / 4 * 8 + sample % 4;
    out[sample] = static_cast<std::uint8_t>((above[from] + above[from + 4] + below[from] + below[from + 4] + 2) / 4);
  }
}

}  // namespace
}  // namespace ornolith::raster::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace ornolith::raster {

HWY_EXPORT(averageRow);

void averageTexels(const std::uint8_t* above, const std::uint8_t* below, std::size_t count,
                   std::uint8_t* out) noexcept {
  HWY_DYNAMIC_DISPATCH(averageRow)(above, below, count, out);
}

}  // namespace ornolith::raster

#endif
