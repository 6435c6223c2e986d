#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "raster/TextureSampler.cpp"
#include "raster/TextureSampler.h"

#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>

#include "raster/KernelMath-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ornolith::raster::HWY_NAMESPACE {
namespace {

using device::WrapMode;

/// Texture coordinates at pixel centres with their change from one pixel to the next, in the texture's own space.
struct Footprints {
  FloatVector u, v, dudx, dvdx, dudy, dvdy;
};

/// What footprints ask of a pyramid.
struct FilterPlan {
  FloatVector sampleCount;
  FloatVector level;         ///< 0 is the image itself.
  FloatVector stepU, stepV;  ///< The whole long axis, in texture coordinates.
};

HWY_INLINE Footprints footprintsOf(const CoordinateLanes& lanes, const float* m, std::size_t i) {
  const FloatVector m0 = all(m[0]), m1 = all(m[1]), m2 = all(m[2]), m3 = all(m[3]);
  const FloatVector u = load(lanes.u, i), v = load(lanes.v, i);
  const FloatVector dudx = load(lanes.dudx, i), dvdx = load(lanes.dvdx, i);
  const FloatVector dudy = load(lanes.dudy, i), dvdy = load(lanes.dvdy, i);
  return {m0 * u + m2 * v + all(m[4]), m1 * u + m3 * v + all(m[5]), m0 * dudx + m2 * dvdx,
          m1 * dudx + m3 * dvdx,       m0 * dudy + m2 * dvdy,       m1 * dudy + m3 * dvdy};
}

FilterPlan planFilter(const Footprints& footprint, float width, float height, float lastLevel) {
  const FloatVector one = all(1.0f), half = all(0.5f);
  const FloatVector xu = footprint.dudx * all(width), xv = footprint.dvdx * all(height);
  const FloatVector yu = footprint.dudy * all(width), yv = footprint.dvdy * all(height);
  const FloatVector a = xu * xu + yu * yu;
  const FloatVector b = xu * xv + yu * yv;
  const FloatVector c = xv * xv + yv * yv;
  const FloatVector mean = (a + c) * half;
  const FloatVector difference = (a - c) * half;
  const FloatVector radius = hn::Sqrt(difference * difference + b * b);
  const FloatVector major = mean + radius;
  const FloatMask isFinite = hn::Lt(major, all(1e30f));
  const FloatMask isMinified = hn::And(isFinite, hn::Gt(major, one));
  FilterPlan plan{one, hn::IfThenElseZero(hn::Not(isFinite), all(lastLevel)), hn::Zero(Floats()), hn::Zero(Floats())};
  if (hn::AllFalse(Floats(), isMinified)) return plan;

  // A footprint narrower than a texel covers no less than that texel's filter does.
  const FloatVector minor = larger(mean - radius, one);
  const FloatVector ratio = hn::IfThenElseZero(isMinified, hn::Sqrt(major / minor) - all(0.01f));
  const FloatVector rounded = hn::ConvertTo(Floats(), hn::ConvertTo(Integers(), ratio)) + one;
  const FloatVector count = smaller(larger(rounded, one), all(static_cast<float>(maximumAnisotropy)));
  const FloatVector spread = major / (count * count);
  plan.sampleCount = hn::IfThenElse(isMinified, count, one);
  const FloatMask isCoarse = hn::And(isMinified, hn::Gt(spread, one));
  if (!hn::AllFalse(Floats(), isCoarse)) {
    plan.level = hn::IfThenElse(isCoarse, smaller(half * fastLog2(spread), all(lastLevel)), plan.level);
  }

  // The long axis is the eigenvector of the larger eigenvalue; of its two forms, the one without cancellation.
  const FloatMask isWide = hn::Ge(difference, hn::Zero(Floats()));
  const FloatVector axisU = hn::IfThenElse(isWide, major - c, b);
  const FloatVector axisV = hn::IfThenElse(isWide, b, major - a);
  const FloatVector axisSquared = axisU * axisU + axisV * axisV;
  const FloatMask hasAxis = hn::And(hn::And(isMinified, hn::Gt(count, one)), hn::Gt(axisSquared, hn::Zero(Floats())));
  const FloatVector scale = hn::Sqrt(major / axisSquared);
  plan.stepU = hn::IfThenElseZero(hasAxis, axisU * scale * all(1.0f / width));
  plan.stepV = hn::IfThenElseZero(hasAxis, axisV * scale * all(1.0f / height));
  return plan;
}

/// A coordinate brought to 0..1 by its wrap mode.
FloatVector wrapCoordinate(FloatVector value, WrapMode mode) {
  switch (mode) {
    case WrapMode::repeat:
      value = value - hn::Floor(value);
      break;
    case WrapMode::mirror: {
      const FloatVector half = value * all(0.5f);
      const FloatVector period = (half - hn::Floor(half)) * all(2.0f);
      value = hn::IfThenElse(hn::Gt(period, all(1.0f)), all(2.0f) - period, period);
      break;
    }
    case WrapMode::clamp:
      break;
  }
  return saturate(value);
}

/// Two neighbouring texels along one axis, and the share of the second.
struct AxisTaps {
  IntegerVector first, second;
  FloatVector share;
  bool areNeighbours;  ///< In every lane the second follows the first.
};

/// `coordinate` is wrapped.
AxisTaps axisTaps(FloatVector coordinate, std::uint32_t side, WrapMode mode) {
  const IntegerVector zero = hn::Zero(Integers()), one = hn::Set(Integers(), 1);
  if (side == 1) return {zero, zero, hn::Zero(Floats()), false};
  const IntegerVector last = hn::Set(Integers(), static_cast<std::int32_t>(side - 1));
  const FloatVector position = coordinate * all(static_cast<float>(side)) - all(0.5f);
  if (mode != WrapMode::repeat) {
    // Before the first texel's centre there is that texel alone, behind the last one's that one.
    const FloatVector held = smaller(positive(position), hn::ConvertTo(Floats(), last));
    const IntegerVector first = hn::Min(hn::ConvertTo(Integers(), held), last - one);
    return {first, first + one, held - hn::ConvertTo(Floats(), first), true};
  }
  // A coordinate in 0..1 leaves the texels by one at most.
  const FloatVector base = hn::Floor(position);
  const IntegerVector index = hn::ConvertTo(Integers(), base);
  const IntegerVector first = hn::IfThenElse(hn::Lt(index, zero), last, index);
  const IntegerVector next = index + one;
  const IntegerVector second = hn::IfThenElse(hn::Gt(next, last), zero, next);
  return {first, second, position - base, hn::AllTrue(Integers(), hn::Eq(first + one, second))};
}

/// Four neighbouring texels of one level for each lane, and what each of them adds to the mean. Good for every pyramid
/// of the size.
struct Tap {
  std::size_t level;
  bool isCompact;           ///< In every lane the right texels follow the left ones, and the lower row the upper one.
  IntegerVector aboveLeft;  ///< Numbers of texels in the level.
  IntegerVector aboveRight, belowLeft, belowRight;  ///< Not filled where the tap is compact.
  FloatVector aboveLeftWeight, aboveRightWeight, belowLeftWeight, belowRightWeight;
};

/// As many as are made before they are read.
constexpr std::size_t tapCapacity = 16;

struct TapList {
  Tap taps[tapCapacity];
  std::size_t count = 0;
};

/// One place of each lane on one level.
struct Probe {
  FloatVector u, v;        ///< Wrapped.
  FloatVector weight;      ///< Of all four texels together.
  FloatMask takesNearest;  ///< Of the four the nearest alone.
};

HWY_INLINE FloatVector nearest(FloatVector share) {
  return hn::IfThenElseZero(hn::Ge(share, all(0.5f)), all(1.0f));
}

void makeTap(const MipLevel& size, const device::MaterialSlot& slot, const Probe& probe, Tap& tap) {
  AxisTaps x = axisTaps(probe.u, size.width, slot.wrapS);
  AxisTaps y = axisTaps(probe.v, size.height, slot.wrapT);
  if (slot.magnificationFilter == device::FilterMode::nearest) {
    x.share = hn::IfThenElse(probe.takesNearest, nearest(x.share), x.share);
    y.share = hn::IfThenElse(probe.takesNearest, nearest(y.share), y.share);
  }
  const IntegerVector width = hn::Set(Integers(), static_cast<std::int32_t>(size.width));
  const IntegerVector above = y.first * width;
  tap.isCompact = x.areNeighbours && y.areNeighbours;
  tap.aboveLeft = above + x.first;
  if (!tap.isCompact) {
    const IntegerVector below = y.second * width;
    tap.aboveRight = above + x.second;
    tap.belowLeft = below + x.first;
    tap.belowRight = below + x.second;
  }
  const FloatVector belowWeight = probe.weight * y.share;
  const FloatVector aboveWeight = probe.weight - belowWeight;
  tap.aboveRightWeight = aboveWeight * x.share;
  tap.aboveLeftWeight = aboveWeight - tap.aboveRightWeight;
  tap.belowRightWeight = belowWeight * x.share;
  tap.belowLeftWeight = belowWeight - tap.belowRightWeight;
}

struct TexelSquare {
  BitVector aboveLeft, aboveRight, belowLeft, belowRight;
};

HWY_INLINE BitVector gather(const std::uint8_t* texels, IntegerVector number) {
  const auto* const base = reinterpret_cast<const std::int32_t*>(texels);
  return hn::BitCast(Bits(), hn::GatherIndex(Integers(), base, number));
}

#if HWY_TARGET == HWY_AVX3

/// Eight pairs of texels. Single loads: they wait for memory at the same time, which a gathering instruction's do not
/// everywhere, and cost no more where all is at hand.
HWY_INLINE BitVector loadPairs(const std::uint8_t* texels, const std::int32_t* numbers) {
  const auto two = [&](int first, int second) {
    const auto place = [&](int i) { return reinterpret_cast<const double*>(texels + std::ptrdiff_t{numbers[i]} * 4); };
    return _mm_castpd_si128(_mm_loadh_pd(_mm_load_sd(place(first)), place(second)));
  };
  const __m256i low = _mm256_inserti128_si256(_mm256_castsi128_si256(two(0, 1)), two(2, 3), 1);
  const __m256i high = _mm256_inserti128_si256(_mm256_castsi128_si256(two(4, 5)), two(6, 7), 1);
  return BitVector{_mm512_inserti64x4(_mm512_castsi256_si512(low), high, 1)};
}

HWY_INLINE TexelSquare fetchCompact(const MipLevel& level, IntegerVector number) {
  HWY_ALIGN std::int32_t numbers[16];
  hn::Store(number, Integers(), numbers);
  const std::uint8_t* const below = level.texels + std::size_t{level.width} * 4;
  const BitVector aboveFirst = loadPairs(level.texels, numbers), aboveSecond = loadPairs(level.texels, numbers + 8);
  const BitVector belowFirst = loadPairs(below, numbers), belowSecond = loadPairs(below, numbers + 8);
  return {hn::ConcatEven(Bits(), aboveSecond, aboveFirst), hn::ConcatOdd(Bits(), aboveSecond, aboveFirst),
          hn::ConcatEven(Bits(), belowSecond, belowFirst), hn::ConcatOdd(Bits(), belowSecond, belowFirst)};
}

#elif HWY_TARGET != HWY_SCALAR

using WideBits = hn::Repartition<std::uint64_t, Floats>;
using WideOffsets = hn::Vec<hn::RebindToSigned<WideBits> >;

/// Fetches pairs of texels, left and right, at byte offsets for the lower and the upper half of the lanes.
HWY_INLINE void gatherPairs(const std::uint8_t* texels, WideOffsets low, WideOffsets high, BitVector& left,
                            BitVector& right) {
  const auto* const base = reinterpret_cast<const std::uint64_t*>(texels);
  const BitVector first = hn::BitCast(Bits(), hn::GatherOffset(WideBits(), base, low));
  const BitVector second = hn::BitCast(Bits(), hn::GatherOffset(WideBits(), base, high));
  left = hn::ConcatEven(Bits(), second, first);
  right = hn::ConcatOdd(Bits(), second, first);
}

HWY_INLINE TexelSquare fetchCompact(const MipLevel& level, IntegerVector number) {
  const hn::RebindToSigned<WideBits> wide;
  const hn::Half<Integers> half;
  const WideOffsets low = hn::ShiftLeft<2>(hn::PromoteTo(wide, hn::LowerHalf(half, number)));
  const WideOffsets high = hn::ShiftLeft<2>(hn::PromoteTo(wide, hn::UpperHalf(half, number)));
  TexelSquare texels;
  gatherPairs(level.texels, low, high, texels.aboveLeft, texels.aboveRight);
  gatherPairs(level.texels + std::size_t{level.width} * 4, low, high, texels.belowLeft, texels.belowRight);
  return texels;
}

#else

HWY_INLINE TexelSquare fetchCompact(const MipLevel& level, IntegerVector number) {
  const std::uint8_t* const below = level.texels + std::size_t{level.width} * 4;
  return {gather(level.texels, number), gather(level.texels + 4, number), gather(below, number),
          gather(below + 4, number)};
}

#endif

HWY_INLINE TexelSquare fetchSquare(const MipLevel& level, const Tap& tap) {
  if (HWY_LIKELY(tap.isCompact)) return fetchCompact(level, tap.aboveLeft);
  return {gather(level.texels, tap.aboveLeft), gather(level.texels, tap.aboveRight),
          gather(level.texels, tap.belowLeft), gather(level.texels, tap.belowRight)};
}

template <int component>
HWY_INLINE FloatVector codesOf(BitVector texels) {
  const BitVector shifted = component == 0 ? texels : hn::ShiftRight<8 * component>(texels);
  const BitVector codes = component == 3 ? shifted : hn::And(shifted, hn::Set(Bits(), 255));
  return hn::ConvertTo(Floats(), hn::BitCast(Integers(), codes));
}

/// Linear light of colour codes, exact for 0 and 255 and elsewhere within 1 % of a code's step: the curve of IEC
/// 61966-2-1 as a polynomial of least error over the codes above its straight beginning.
HWY_INLINE FloatVector linearFromCodes(FloatVector code) {
  FloatVector curve = all(-2.37575219e-16f) * code + all(2.41223355e-13f);
  curve = curve * code + all(-1.12125885e-10f);
  curve = curve * code + all(4.4568516e-08f);
  curve = curve * code + all(7.77615605e-06f);
  curve = curve * code + all(0.000132481888f);
  curve = curve * code + all(0.000893101329f);
  return hn::IfThenElse(hn::Lt(code, all(10.5f)), code * all(0.000303526991f), curve);
}

enum class TexelKind { data, color, weightedColor };

/// A component as it is averaged: codes of data and of alpha, linear light of colour.
template <TexelKind kind, int component>
HWY_INLINE FloatVector decode(BitVector texels) {
  const FloatVector codes = codesOf<component>(texels);
  if constexpr (kind == TexelKind::data || component == 3) return codes;
  return linearFromCodes(codes);
}

/// The components that must be fetched for those that are wanted.
std::uint8_t fetchedComponents(const TextureRead& read) {
  const bool weighs = read.pyramid->isPremultiplied() && (read.components & colorComponents) != 0;
  const std::uint8_t wanted = weighs ? read.components | alphaComponent : read.components;
  return read.pyramid->hasTransparency() ? wanted : wanted & colorComponents;
}

/// Weighted sums of what was read of one texture.
struct Sums {
  FloatVector red, green, blue, alpha;
};

template <TexelKind kind>
HWY_INLINE void addTexels(std::uint8_t components, BitVector texels, FloatVector weight, Sums& sums) {
  if constexpr (kind == TexelKind::weightedColor) {
    weight = weight * codesOf<3>(texels);
    sums.alpha = sums.alpha + weight;
  } else {
    if (components & alphaComponent) sums.alpha = sums.alpha + weight * codesOf<3>(texels);
  }
  if (components & redComponent) sums.red = sums.red + weight * decode<kind, 0>(texels);
  if (components & greenComponent) sums.green = sums.green + weight * decode<kind, 1>(texels);
  if (components & blueComponent) sums.blue = sums.blue + weight * decode<kind, 2>(texels);
}

template <TexelKind kind>
void addTaps(const TapList& list, const TexturePyramid& pyramid, std::uint8_t components, Sums& result) {
  Sums sums = result;
  for (std::size_t t = 0; t < list.count; ++t) {
    const Tap& tap = list.taps[t];
    const TexelSquare texels = fetchSquare(pyramid.levels()[tap.level], tap);
    addTexels<kind>(components, texels.aboveLeft, tap.aboveLeftWeight, sums);
    addTexels<kind>(components, texels.aboveRight, tap.aboveRightWeight, sums);
    addTexels<kind>(components, texels.belowLeft, tap.belowLeftWeight, sums);
    addTexels<kind>(components, texels.belowRight, tap.belowRightWeight, sums);
  }
  result = sums;
}

/// Reads the texels of all taps from each texture and empties the list.
void readTaps(std::span<const TextureRead> reads, TapList& list, Sums* sums) {
  for (std::size_t r = 0; r < reads.size(); ++r) {
    const TexturePyramid& pyramid = *reads[r].pyramid;
    const std::uint8_t components = fetchedComponents(reads[r]);
    if (components == 0) continue;
    if (pyramid.isPremultiplied()) {
      addTaps<TexelKind::weightedColor>(list, pyramid, components, sums[r]);
    } else if (pyramid.isSRGB()) {
      addTaps<TexelKind::color>(list, pyramid, components, sums[r]);
    } else {
      addTaps<TexelKind::data>(list, pyramid, components, sums[r]);
    }
  }
  list.count = 0;
}

/// Turns codes into 0..1, and colour weighted by alpha back into colour.
void finishSample(const TextureRead& read, const Sums& sums, std::size_t i, Lane4& sample) {
  const std::uint8_t components = fetchedComponents(read);
  const FloatVector unit = all(1.0f / 255.0f);
  FloatVector colorScale = read.pyramid->isSRGB() ? all(1.0f) : unit;
  FloatVector alpha = all(1.0f);
  if (components & alphaComponent) {
    if (read.pyramid->isPremultiplied()) {
      colorScale = hn::IfThenElseZero(hn::Gt(sums.alpha, all(0.0f)), all(1.0f) / sums.alpha);
    }
    // To a 1024th of a code, so that even alpha comes out as it went in, and a cutoff at its value lets it pass.
    constexpr float shift = 12288.0f;
    alpha = ((sums.alpha + all(shift)) - all(shift)) * unit;
  }
  store(alpha, sample.w, i);
  if (components & redComponent) store(sums.red * colorScale, sample.x, i);
  if (components & greenComponent) store(sums.green * colorScale, sample.y, i);
  if (components & blueComponent) store(sums.blue * colorScale, sample.z, i);
}

/// Where one vector of fragments reads the textures of a group.
struct Request {
  FloatVector u, v;
  FilterPlan filter;
};

/// Lanes from `count` on ask for what the first one does.
Request makeRequest(const TextureRead& read, const CoordinateLanes& coordinates, std::size_t i, std::size_t count) {
  const MipLevel& base = read.pyramid->levels().front();
  const auto lastLevel = static_cast<float>(read.pyramid->levels().size() - 1);
  const Footprints footprints = footprintsOf(coordinates, read.slot->transform, i);
  Request request{footprints.u, footprints.v,
                  planFilter(footprints, static_cast<float>(base.width), static_cast<float>(base.height), lastLevel)};
  if (i + hn::Lanes(Floats()) > count) {
    const FloatMask isFilled = hn::FirstN(Floats(), count - i);
    FilterPlan& filter = request.filter;
    filter.level = hn::IfThenElse(isFilled, filter.level, all(hn::GetLane(filter.level)));
    filter.sampleCount = hn::IfThenElse(isFilled, filter.sampleCount, all(hn::GetLane(filter.sampleCount)));
  }
  return request;
}

/// Samples textures that share footprints, for one vector of fragments.
void sampleShared(std::span<const TextureRead> reads, const Request& request, std::size_t i, std::span<Lane4> samples) {
  const device::MaterialSlot& slot = *reads.front().slot;
  const std::vector<MipLevel>& levels = reads.front().pyramid->levels();
  const FilterPlan& filter = request.filter;
  const FloatVector zero = hn::Zero(Floats()), one = all(1.0f);
  const bool isOneLevel = slot.mipFilter == device::FilterMode::nearest;
  const FloatVector depth = isOneLevel ? hn::Floor(filter.level + all(0.5f)) : filter.level;
  const FloatVector fine = hn::Floor(depth);
  const FloatVector coarseShare = depth - fine;
  const FloatMask isMagnified = hn::Eq(filter.level, zero);
  const FloatVector coarse = hn::IfThenElse(hn::Gt(coarseShare, zero), fine + one, fine);
  const auto first = static_cast<int>(hn::GetLane(hn::MinOfLanes(Floats(), fine)));
  const auto last = static_cast<int>(hn::GetLane(hn::MaxOfLanes(Floats(), coarse)));
  const auto probes = static_cast<int>(hn::GetLane(hn::MaxOfLanes(Floats(), filter.sampleCount)));
  const FloatVector spacing = one / filter.sampleCount;

  TapList list;
  Sums sums[maximumTextureReads];
  for (std::size_t r = 0; r < reads.size(); ++r) sums[r] = {zero, zero, zero, zero};
  for (int level = first; level <= last; ++level) {
    const FloatVector number = all(static_cast<float>(level));
    const FloatVector share = hn::IfThenElse(hn::Eq(fine, number), one - coarseShare,
                                             hn::IfThenElseZero(hn::Eq(coarse, number), coarseShare));
    if (hn::AllFalse(Floats(), hn::Gt(share, zero))) continue;
    const FloatVector weight = share * spacing;
    for (int k = 0; k < probes; ++k) {
      const FloatVector place = all(static_cast<float>(k));
      const FloatVector along = (place + all(0.5f)) * spacing - all(0.5f);
      if (list.count == tapCapacity) readTaps(reads, list, sums);
      Tap& tap = list.taps[list.count++];
      tap.level = static_cast<std::size_t>(level);
      const Probe probe{wrapCoordinate(request.u + filter.stepU * along, slot.wrapS),
                        wrapCoordinate(request.v + filter.stepV * along, slot.wrapT),
                        hn::IfThenElseZero(hn::Lt(place, filter.sampleCount), weight), isMagnified};
      makeTap(levels[tap.level], slot, probe, tap);
    }
  }
  readTaps(reads, list, sums);
  for (std::size_t r = 0; r < reads.size(); ++r) finishSample(reads[r], sums[r], i, samples[reads[r].sample]);
}

/// Calls for the memory of some texels that will be read next, in the middle of the footprints.
void prefetchTexels(std::span<const TextureRead> reads, const Request& request) {
  const device::MaterialSlot& slot = *reads.front().slot;
  const auto level = static_cast<std::size_t>(hn::GetLane(request.filter.level));
  const MipLevel& size = reads.front().pyramid->levels()[level];
  if (size.height == 1) return;
  const IntegerVector x =
      hn::ConvertTo(Integers(), wrapCoordinate(request.u, slot.wrapS) * all(static_cast<float>(size.width - 1)));
  const IntegerVector y =
      hn::ConvertTo(Integers(), wrapCoordinate(request.v, slot.wrapT) * all(static_cast<float>(size.height - 2)));
  HWY_ALIGN std::int32_t numbers[HWY_MAX_BYTES / 4];
  hn::Store(y * hn::Set(Integers(), static_cast<std::int32_t>(size.width)) + x, Integers(), numbers);
  constexpr std::size_t distance = 5;
  for (const TextureRead& read : reads) {
    const std::uint8_t* const texels = read.pyramid->levels()[level].texels;
    for (std::size_t lane = 0; lane < hn::Lanes(Floats()); lane += distance) {
      const std::uint8_t* const texel = texels + std::ptrdiff_t{numbers[lane]} * 4;
      __builtin_prefetch(texel);
      __builtin_prefetch(texel + std::size_t{size.width} * 4);
    }
  }
}

void sampleAll(std::span<const TextureRead> reads, std::span<const CoordinateLanes> coordinates, std::size_t count,
               std::span<Lane4> samples) {
  while (!reads.empty()) {
    std::size_t size = 1;
    while (size < reads.size() && reads[size].sharesFootprints) ++size;
    const std::span<const TextureRead> group = reads.first(size);
    const CoordinateLanes& places = coordinates[group.front().coordinateSet];
    const std::size_t lanes = hn::Lanes(Floats());
    Request next = makeRequest(group.front(), places, 0, count);
    for (std::size_t i = 0; i < count; i += lanes) {
      const Request request = next;
      if (i + lanes < count) {
        next = makeRequest(group.front(), places, i + lanes, count);
        prefetchTexels(group, next);
      }
      sampleShared(group, request, i, samples);
    }
    reads = reads.subspan(size);
  }
}

}  // namespace
}  // namespace ornolith::raster::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace ornolith::raster {

HWY_EXPORT(sampleAll);

bool sharesFootprints(const TextureRead& a, const TextureRead& b) noexcept {
  const MipLevel& sizeA = a.pyramid->levels().front();
  const MipLevel& sizeB = b.pyramid->levels().front();
  return a.coordinateSet == b.coordinateSet && a.slot->wrapS == b.slot->wrapS && a.slot->wrapT == b.slot->wrapT &&
         a.slot->magnificationFilter == b.slot->magnificationFilter && a.slot->mipFilter == b.slot->mipFilter &&
         sizeA.width == sizeB.width && sizeA.height == sizeB.height &&
         std::equal(std::begin(a.slot->transform), std::end(a.slot->transform), std::begin(b.slot->transform));
}

void sampleTextures(std::span<const TextureRead> reads, std::span<const CoordinateLanes> coordinates, std::size_t count,
                    std::span<Lane4> samples) noexcept {
  HWY_DYNAMIC_DISPATCH(sampleAll)(reads, coordinates, count, samples);
}

}  // namespace ornolith::raster

#endif
