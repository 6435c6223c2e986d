#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "raster/TextureSampler.cpp"
#include "raster/TextureSampler.h"

#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>
#include <cstring>

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

  const FloatVector minor = larger(mean - radius, major * all(1.0f / 4096.0f));
  const FloatVector ratio = hn::IfThenElseZero(isMinified, hn::Sqrt(major / minor) - all(0.01f));
  const FloatVector rounded = hn::ConvertTo(Floats(), hn::ConvertTo(Integers(), ratio)) + one;
  const FloatVector count = smaller(larger(rounded, one), all(static_cast<float>(maximumAnisotropy)));
  const FloatVector level = half * fastLog2(larger(major / (count * count), all(1e-6f)));
  plan.sampleCount = hn::IfThenElse(isMinified, count, one);
  plan.level = hn::IfThenElse(isMinified, smaller(larger(level, hn::Zero(Floats())), all(lastLevel)), plan.level);

  // The long axis is the eigenvector of the larger eigenvalue; of its two forms, the one without cancellation.
  const FloatMask isWide = hn::Ge(difference, hn::Zero(Floats()));
  const FloatVector axisU = hn::IfThenElse(isWide, major - c, b);
  const FloatVector axisV = hn::IfThenElse(isWide, b, major - a);
  const FloatVector axisLength = hn::Sqrt(axisU * axisU + axisV * axisV);
  const FloatVector scale = hn::Sqrt(major) / axisLength;
  const FloatMask hasAxis = hn::And(hn::And(isMinified, hn::Gt(count, one)), hn::Gt(axisLength, hn::Zero(Floats())));
  plan.stepU = hn::IfThenElseZero(hasAxis, axisU * scale / all(width));
  plan.stepV = hn::IfThenElseZero(hasAxis, axisV * scale / all(height));
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

/// The two neighbouring texels of coordinates in 0..1 along one axis, and the share of the second.
struct AxisTaps {
  IntegerVector first, second;
  FloatVector share;
};

HWY_INLINE AxisTaps axisTaps(FloatVector coordinate, IntegerVector side, WrapMode mode) {
  const FloatVector position = coordinate * hn::ConvertTo(Floats(), side) - all(0.5f);
  const FloatVector base = hn::Floor(position);
  const IntegerVector zero = hn::Zero(Integers()), one = hn::Set(Integers(), 1);
  const IntegerVector last = side - one;
  const IntegerVector index = hn::ConvertTo(Integers(), base);
  const IntegerVector next = index + one;
  // A coordinate in 0..1 leaves the texels by one at most.
  const bool isRound = mode == WrapMode::repeat;
  return {hn::IfThenElse(hn::Lt(index, zero), isRound ? last : zero, index),
          hn::IfThenElse(hn::Gt(next, last), isRound ? zero : last, next), position - base};
}

/// One level for each lane, as numbers of texels.
struct Levels {
  IntegerVector width, height, firstTexel;
  hn::Mask<Integers> isImage;  ///< Level 0: its texels stand in the image.
};

HWY_INLINE Levels lookUpLevels(const LevelTables& tables, IntegerVector number) {
  return {hn::GatherIndex(Integers(), tables.width.data(), number),
          hn::GatherIndex(Integers(), tables.height.data(), number),
          hn::GatherIndex(Integers(), tables.firstTexel.data(), number), hn::Eq(number, hn::Zero(Integers()))};
}

/// The places of four neighbouring texels for each lane, good for every pyramid of the size.
struct TexelPlaces {
  IntegerVector aboveRow, belowRow;  ///< The row's first texel, counted as `Levels::firstTexel`.
  AxisTaps x, y;
  hn::Mask<Integers> isImage;
  bool areNeighbours;  ///< In every lane the second column follows the first.
};

/// `u` and `v` are wrapped.
TexelPlaces placesOf(const Levels& levels, WrapMode wrapS, WrapMode wrapT, FloatVector u, FloatVector v) {
  const AxisTaps x = axisTaps(u, levels.width, wrapS);
  const AxisTaps y = axisTaps(v, levels.height, wrapT);
  const hn::Mask<Integers> follows = hn::Eq(x.first + hn::Set(Integers(), 1), x.second);
  return {levels.firstTexel + y.first * levels.width,
          levels.firstTexel + y.second * levels.width,
          x,
          y,
          levels.isImage,
          hn::AllTrue(Integers(), follows)};
}

struct TexelPair {
  BitVector left, right;
};

#if HWY_TARGET != HWY_SCALAR

using WideBits = hn::Repartition<std::uint64_t, Floats>;
using WideIntegers = hn::RebindToSigned<WideBits>;

/// Byte offsets from the image's texels.
hn::Vec<WideIntegers> byteOffsets(hn::Vec<WideIntegers> texel, hn::Vec<WideIntegers> isImage,
                                  std::int64_t smallerFrom) {
  return hn::ShiftLeft<2>(texel) + hn::AndNot(isImage, hn::Set(WideIntegers(), smallerFrom));
}

TexelPair fetchNeighbours(const LevelTables& tables, IntegerVector texel, hn::Mask<Integers> isImage) {
  const IntegerVector imageBits = hn::VecFromMask(Integers(), isImage);
  const std::int64_t smallerFrom =
      reinterpret_cast<std::intptr_t>(tables.smallerTexels) - reinterpret_cast<std::intptr_t>(tables.imageTexels);
  const WideIntegers wide;
  const hn::Half<Integers> halfTag;
  const auto low = byteOffsets(hn::PromoteTo(wide, hn::LowerHalf(halfTag, texel)),
                               hn::PromoteTo(wide, hn::LowerHalf(halfTag, imageBits)), smallerFrom);
  const auto high = byteOffsets(hn::PromoteTo(wide, hn::UpperHalf(halfTag, texel)),
                                hn::PromoteTo(wide, hn::UpperHalf(halfTag, imageBits)), smallerFrom);
  const auto* const base = reinterpret_cast<const std::uint64_t*>(tables.imageTexels);
  const BitVector first = hn::BitCast(Bits(), hn::GatherOffset(WideBits(), base, low));
  const BitVector second = hn::BitCast(Bits(), hn::GatherOffset(WideBits(), base, high));
  return {hn::ConcatEven(Bits(), second, first), hn::ConcatOdd(Bits(), second, first)};
}

#endif

/// The same one by one, where a texture's edge lies between the two columns in some lane.
HWY_NOINLINE TexelPair fetchSeparately(const LevelTables& tables, IntegerVector row, const AxisTaps& x,
                                       hn::Mask<Integers> isImage) {
  constexpr std::size_t mostLanes = HWY_MAX_BYTES / 4;
  HWY_ALIGN std::int32_t first[mostLanes], second[mostLanes], inImage[mostLanes];
  HWY_ALIGN std::uint32_t left[mostLanes], right[mostLanes];
  hn::Store(row + x.first, Integers(), first);
  hn::Store(row + x.second, Integers(), second);
  hn::Store(hn::VecFromMask(Integers(), isImage), Integers(), inImage);
  for (std::size_t i = 0; i < hn::Lanes(Integers()); ++i) {
    const std::uint8_t* base = inImage[i] != 0 ? tables.imageTexels : tables.smallerTexels;
    std::memcpy(&left[i], base + std::ptrdiff_t{first[i]} * 4, 4);
    std::memcpy(&right[i], base + std::ptrdiff_t{second[i]} * 4, 4);
  }
  return {hn::Load(Bits(), left), hn::Load(Bits(), right)};
}

HWY_INLINE TexelPair fetchRow(const LevelTables& tables, const TexelPlaces& places, IntegerVector row) {
#if HWY_TARGET != HWY_SCALAR
  if (HWY_LIKELY(places.areNeighbours)) return fetchNeighbours(tables, row + places.x.first, places.isImage);
#endif
  return fetchSeparately(tables, row, places.x, places.isImage);
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

HWY_INLINE FloatVector mix(FloatVector a, FloatVector b, FloatVector share) {
  return a + (b - a) * share;
}

/// The texels around one place on one level.
struct TexelSquare {
  TexelPair above, below;
};

HWY_INLINE FloatVector bilinear(const TexelPlaces& places, FloatVector aboveLeft, FloatVector aboveRight,
                                FloatVector belowLeft, FloatVector belowRight) {
  return mix(mix(aboveLeft, aboveRight, places.x.share), mix(belowLeft, belowRight, places.x.share), places.y.share);
}

enum class TexelKind { data, color, weightedColor };

/// A component as it is averaged: codes of data and of alpha, linear light of colour, times the alpha's code where
/// `kind` says so.
template <TexelKind kind, int component>
HWY_INLINE FloatVector decode(BitVector texels) {
  const FloatVector codes = codesOf<component>(texels);
  if constexpr (kind == TexelKind::data || component == 3) return codes;
  const FloatVector linear = linearFromCodes(codes);
  if constexpr (kind == TexelKind::weightedColor) return linear * codesOf<3>(texels);
  return linear;
}

template <TexelKind kind, int component>
HWY_INLINE FloatVector filter(const TexelSquare& texels, const TexelPlaces& places) {
  return bilinear(places, decode<kind, component>(texels.above.left), decode<kind, component>(texels.above.right),
                  decode<kind, component>(texels.below.left), decode<kind, component>(texels.below.right));
}

HWY_INLINE TexelSquare fetchSquare(const LevelTables& levels, const TexelPlaces& places) {
  return {fetchRow(levels, places, places.aboveRow), fetchRow(levels, places, places.belowRow)};
}

/// The components that must be fetched for those that are wanted.
std::uint8_t fetchedComponents(const TextureRead& read) {
  const bool weighs = read.pyramid->isPremultiplied() && (read.components & colorComponents) != 0;
  const std::uint8_t wanted = weighs ? read.components | alphaComponent : read.components;
  return read.pyramid->hasTransparency() ? wanted : wanted & colorComponents;
}

Lane& laneOf(Lane4& lanes, int component) {
  return component == 0 ? lanes.x : component == 1 ? lanes.y : component == 2 ? lanes.z : lanes.w;
}

/// One of the places along a footprint.
struct Probe {
  TexelPlaces fine, coarse;
  FloatVector share;  ///< Of the coarse level.
  FloatMask isActive;
  bool needsCoarse;
  bool isFirst;
};

struct ProbeTexels {
  TexelSquare fine, coarse;
};

template <TexelKind kind, int component>
HWY_INLINE void addComponent(const Probe& probe, const ProbeTexels& texels, Lane& sum, std::size_t i) {
  FloatVector value = filter<kind, component>(texels.fine, probe.fine);
  if (probe.needsCoarse) value = mix(value, filter<kind, component>(texels.coarse, probe.coarse), probe.share);
  value = hn::IfThenElseZero(probe.isActive, value);
  store(probe.isFirst ? value : load(sum, i) + value, sum, i);
}

template <TexelKind kind>
void addTexels(std::uint8_t components, const Probe& probe, const ProbeTexels& texels, Lane4& sums, std::size_t i) {
  if (components & redComponent) addComponent<kind, 0>(probe, texels, sums.x, i);
  if (components & greenComponent) addComponent<kind, 1>(probe, texels, sums.y, i);
  if (components & blueComponent) addComponent<kind, 2>(probe, texels, sums.z, i);
  if (components & alphaComponent) addComponent<kind, 3>(probe, texels, sums.w, i);
}

/// Adds one sample of each read to its sums.
void addProbe(std::span<const TextureRead> reads, const Probe& probe, std::size_t i, std::span<Lane4> samples) {
  for (const TextureRead& read : reads) {
    const std::uint8_t components = fetchedComponents(read);
    if (components == 0) continue;
    const LevelTables& levels = read.pyramid->levelTables();
    ProbeTexels texels;
    texels.fine = fetchSquare(levels, probe.fine);
    texels.coarse = probe.needsCoarse ? fetchSquare(levels, probe.coarse) : texels.fine;
    Lane4& sums = samples[read.sample];
    if (read.pyramid->isPremultiplied()) {
      addTexels<TexelKind::weightedColor>(components, probe, texels, sums, i);
    } else if (read.pyramid->isSRGB()) {
      addTexels<TexelKind::color>(components, probe, texels, sums, i);
    } else {
      addTexels<TexelKind::data>(components, probe, texels, sums, i);
    }
  }
}

/// Turns sums into means, codes into 0..1, and colour weighted by alpha back into colour.
void finishSamples(const TextureRead& read, FloatVector spacing, std::size_t i, Lane4& sample) {
  const std::uint8_t components = fetchedComponents(read);
  const FloatVector unit = all(1.0f / 255.0f);
  FloatVector colorScale = read.pyramid->isSRGB() ? spacing : spacing * unit;
  if (components & alphaComponent) {
    const FloatVector alpha = load(sample.w, i);
    if (read.pyramid->isPremultiplied()) {
      colorScale = hn::IfThenElseZero(hn::Gt(alpha, all(0.0f)), all(1.0f) / alpha);
    }
    store(alpha * spacing * unit, sample.w, i);
  } else {
    store(all(1.0f), sample.w, i);
  }
  for (int c = 0; c < 3; ++c) {
    Lane& lane = laneOf(sample, c);
    if (components >> c & 1) store(load(lane, i) * colorScale, lane, i);
  }
}

/// Where one vector of fragments reads the textures of a group.
struct Request {
  FloatVector u, v;
  FilterPlan filter;
  FloatVector fineLevel;
};

Request makeRequest(const TextureRead& read, const CoordinateLanes& coordinates, std::size_t i) {
  const MipLevel& base = read.pyramid->levels().front();
  const auto lastLevel = static_cast<float>(read.pyramid->levels().size() - 1);
  const Footprints footprints = footprintsOf(coordinates, read.slot->transform, i);
  const FilterPlan filter =
      planFilter(footprints, static_cast<float>(base.width), static_cast<float>(base.height), lastLevel);
  return {footprints.u, footprints.v, filter, hn::Floor(filter.level)};
}

/// Samples textures that share footprints, for one vector of fragments.
void sampleShared(std::span<const TextureRead> reads, const Request& request, std::size_t i, std::span<Lane4> samples) {
  const device::MaterialSlot& slot = *reads.front().slot;
  const TexturePyramid& pyramid = *reads.front().pyramid;
  const LevelTables& levels = pyramid.levelTables();
  const FilterPlan& filter = request.filter;
  const FloatVector coarseLevel =
      smaller(request.fineLevel + all(1.0f), all(static_cast<float>(pyramid.levels().size() - 1)));
  const Levels fine = lookUpLevels(levels, hn::ConvertTo(Integers(), request.fineLevel));
  const Levels coarse = lookUpLevels(levels, hn::ConvertTo(Integers(), coarseLevel));
  Probe probe;
  probe.share = filter.level - request.fineLevel;
  probe.needsCoarse = !hn::AllTrue(Floats(), hn::Eq(probe.share, hn::Zero(Floats())));

  const FloatVector spacing = all(1.0f) / filter.sampleCount;
  for (int k = 0; k < maximumAnisotropy; ++k) {
    const FloatVector number = all(static_cast<float>(k));
    probe.isActive = hn::Lt(number, filter.sampleCount);
    probe.isFirst = k == 0;
    if (hn::AllFalse(Floats(), probe.isActive)) break;
    const FloatVector along = (number + all(0.5f)) * spacing - all(0.5f);
    const FloatVector u = wrapCoordinate(request.u + filter.stepU * along, slot.wrapS);
    const FloatVector v = wrapCoordinate(request.v + filter.stepV * along, slot.wrapT);
    probe.fine = placesOf(fine, slot.wrapS, slot.wrapT, u, v);
    probe.coarse = probe.needsCoarse ? placesOf(coarse, slot.wrapS, slot.wrapT, u, v) : probe.fine;
    addProbe(reads, probe, i, samples);
  }
  for (const TextureRead& read : reads) finishSamples(read, spacing, i, samples[read.sample]);
}

void sampleAll(std::span<const TextureRead> reads, std::span<const CoordinateLanes> coordinates, std::size_t count,
               std::span<Lane4> samples) {
  while (!reads.empty()) {
    std::size_t size = 1;
    while (size < reads.size() && reads[size].sharesFootprints) ++size;
    const std::span<const TextureRead> group = reads.first(size);
    const CoordinateLanes& places = coordinates[group.front().coordinateSet];
    for (std::size_t i = 0; i < count; i += hn::Lanes(Floats())) {
      sampleShared(group, makeRequest(group.front(), places, i), i, samples);
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
         sizeA.width == sizeB.width && sizeA.height == sizeB.height &&
         std::equal(std::begin(a.slot->transform), std::end(a.slot->transform), std::begin(b.slot->transform));
}

void sampleTextures(std::span<const TextureRead> reads, std::span<const CoordinateLanes> coordinates, std::size_t count,
                    std::span<Lane4> samples) noexcept {
  HWY_DYNAMIC_DISPATCH(sampleAll)(reads, coordinates, count, samples);
}

}  // namespace ornolith::raster

#endif
