// Functions of whole vectors, made of additions, multiplications, quotients and roots alone, so that every lane of
// every instruction set computes the same bits. Included once per target by files that Highway compiles for several.
#if defined(ORNOLITH_RASTER_KERNELMATH_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORNOLITH_RASTER_KERNELMATH_INL_H_
#undef ORNOLITH_RASTER_KERNELMATH_INL_H_
#else
#define ORNOLITH_RASTER_KERNELMATH_INL_H_
#endif

#include <hwy/highway.h>

#include <limits>

#include "foundation/LinearAlgebra.h"
#include "raster/FragmentBatch.h"
#include "raster/PixelMath.h"
#include "raster/VectorTypes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ornolith::raster::HWY_NAMESPACE {

static_assert(batchSize % (HWY_MAX_BYTES / 4) == 0, "Whole vectors reach to the end of a lane at most.");

HWY_INLINE FloatVector all(float value) {
  return hn::Set(Floats(), value);
}

HWY_INLINE FloatVector load(const Lane& lane, std::size_t i) {
  return hn::Load(Floats(), lane.data() + i);
}

HWY_INLINE void store(FloatVector value, Lane& lane, std::size_t i) {
  hn::Store(value, Floats(), lane.data() + i);
}

/// As std::max: `a` where either is not a number.
HWY_INLINE FloatVector larger(FloatVector a, FloatVector b) {
  return hn::IfThenElse(hn::Lt(a, b), b, a);
}

/// As std::min: `a` where either is not a number.
HWY_INLINE FloatVector smaller(FloatVector a, FloatVector b) {
  return hn::IfThenElse(hn::Lt(b, a), b, a);
}

HWY_INLINE FloatVector positive(FloatVector value) {
  return hn::IfThenElseZero(hn::Gt(value, all(0.0f)), value);
}

HWY_INLINE FloatVector saturate(FloatVector value) {
  const FloatVector limited = hn::IfThenElse(hn::Lt(value, all(1.0f)), value, all(1.0f));
  return hn::IfThenElseZero(hn::Gt(value, all(0.0f)), limited);
}

/// log2 of a positive normal number: within 3e-7 + 1e-7 * |result| of the true value. Writes the argument as m * 2^e
/// with m in [sqrt(1/2), sqrt(2)) and sums the series of 2 artanh((m - 1) / (m + 1)) to the seventh power.
HWY_INLINE FloatVector fastLog2(FloatVector x) {
  const BitVector sqrtHalf = hn::Set(Bits(), 0x3f3504f3u);
  const BitVector bits = hn::BitCast(Bits(), x) - sqrtHalf;
  const FloatVector exponent = hn::ConvertTo(Floats(), hn::ShiftRight<23>(hn::BitCast(Integers(), bits)));
  const FloatVector m = hn::BitCast(Floats(), hn::And(bits, hn::Set(Bits(), 0x007fffffu)) + sqrtHalf);
  const FloatVector s = (m - all(1.0f)) / (m + all(1.0f));
  const FloatVector s2 = s * s;
  const FloatVector series =
      s * (all(2.88539008f) + s2 * (all(0.961796694f) + s2 * (all(0.577078016f) + s2 * all(0.412198583f))));
  return exponent + series;
}

/// 2^x within 4e-7 relative error for x in [-126, 126]; clamps beyond, so that the result is always a positive normal.
HWY_INLINE FloatVector fastExp2(FloatVector x) {
  const FloatVector limited =
      hn::IfThenElse(hn::Gt(x, all(126.0f)), all(126.0f), hn::IfThenElse(hn::Gt(x, all(-126.0f)), x, all(-126.0f)));
  const FloatVector shifted = limited + all(wholeBits);
  const FloatVector f = (limited - (shifted - all(wholeBits))) * all(0.693147181f);
  const FloatVector series =
      all(1.0f) +
      f * (all(1.0f) +
           f * (all(0.5f) + f * (all(0.166666667f) +
                                 f * (all(0.0416666667f) + f * (all(0.00833333333f) + f * all(0.00138888889f))))));
  // Of the bits of `shifted`, all but those of the whole number leave the word.
  const IntegerVector exponent = hn::BitCast(Integers(), shifted) + hn::Set(Integers(), 127);
  return series * hn::BitCast(Floats(), hn::ShiftLeft<23>(exponent));
}

/// base^exponent for a base in 0..1 and an exponent of 0 to 1024: within 4e-7 * (2 + exponent * |log2(base)|) relative
/// error, and at least 2^-126; 0 where the base is below 1e-30 or not a number.
HWY_INLINE FloatVector fastPow(FloatVector base, FloatVector exponent) {
  return hn::IfThenElseZero(hn::Gt(base, all(1e-30f)), fastExp2(exponent * fastLog2(base)));
}

struct FloatVector3 {
  FloatVector x, y, z;
};

HWY_INLINE FloatVector3 all(simd_float3 value) {
  return {all(value.x), all(value.y), all(value.z)};
}

HWY_INLINE FloatVector3 load(const Lane3& lanes, std::size_t i) {
  return {load(lanes.x, i), load(lanes.y, i), load(lanes.z, i)};
}

HWY_INLINE void store(FloatVector3 value, Lane3& lanes, std::size_t i) {
  store(value.x, lanes.x, i);
  store(value.y, lanes.y, i);
  store(value.z, lanes.z, i);
}

HWY_INLINE FloatVector3 operator+(FloatVector3 a, FloatVector3 b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}

HWY_INLINE FloatVector3 operator-(FloatVector3 a, FloatVector3 b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}

HWY_INLINE FloatVector3 operator*(FloatVector3 a, FloatVector s) {
  return {a.x * s, a.y * s, a.z * s};
}

HWY_INLINE FloatVector3 operator*(FloatVector3 a, FloatVector3 b) {
  return {a.x * b.x, a.y * b.y, a.z * b.z};
}

HWY_INLINE FloatVector dot(FloatVector3 a, FloatVector3 b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

HWY_INLINE FloatVector3 cross(FloatVector3 a, FloatVector3 b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

HWY_INLINE FloatVector3 select(FloatMask mask, FloatVector3 yes, FloatVector3 no) {
  return {hn::IfThenElse(mask, yes.x, no.x), hn::IfThenElse(mask, yes.y, no.y), hn::IfThenElse(mask, yes.z, no.z)};
}

/// Where a vector of that squared length can be made unit.
HWY_INLINE FloatMask isUsable(FloatVector squaredLength) {
  return hn::And(hn::Gt(squaredLength, all(1e-24f)),
                 hn::Lt(squaredLength, all(std::numeric_limits<float>::infinity())));
}

HWY_INLINE FloatVector inverseRoot(FloatVector value) {
  return all(1.0f) / hn::Sqrt(value);
}

}  // namespace ornolith::raster::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
