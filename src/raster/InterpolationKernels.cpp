#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "raster/InterpolationKernels.cpp"
#include "raster/InterpolationKernels.h"

#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <limits>

#include "raster/FragmentBatch.h"
#include "raster/TileGrid.h"

HWY_BEFORE_NAMESPACE();
namespace ornolith::raster::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

// As many floats at a time as doubles.
using Doubles = hn::ScalableTag<double>;
using Floats = hn::Rebind<float, Doubles>;
using Integers = hn::Rebind<std::int32_t, Doubles>;
using PixelNumbers = hn::Rebind<std::uint16_t, Doubles>;
using DoubleVector = hn::Vec<Doubles>;
using FloatVector = hn::Vec<Floats>;

static_assert(laneReserve >= HWY_MAX_BYTES / sizeof(double));

HWY_INLINE DoubleVector all(double value) {
  return hn::Set(Doubles(), value);
}

struct Weights {
  DoubleVector scale;  ///< 1 over the sum of the planes, 0 where that is none: proportional to the distance.
  FloatVector at[3];
};

HWY_INLINE DoubleVector positive(DoubleVector value) {
  return hn::IfThenElseZero(hn::Gt(value, hn::Zero(Doubles())), value);
}

HWY_INLINE Weights weightsOf(const TrianglePlanes& planes, const std::uint16_t* pixels) {
  const auto pixel = hn::PromoteTo(Integers(), hn::LoadU(PixelNumbers(), pixels));
  constexpr int columnBits = 6;
  static_assert(tileSide == 1 << columnBits);
  const DoubleVector x = hn::PromoteTo(Doubles(), hn::And(pixel, hn::Set(Integers(), tileSide - 1)));
  const DoubleVector y = hn::PromoteTo(Doubles(), hn::ShiftRight<columnBits>(pixel));
  // The grid moves corners by up to 1/512 of a pixel: a centre may lie that little outside.
  const DoubleVector a = positive(all(planes.x[0]) * x + all(planes.y[0]) * y + all(planes.c[0]));
  const DoubleVector b = positive(all(planes.x[1]) * x + all(planes.y[1]) * y + all(planes.c[1]));
  const DoubleVector c = positive(all(planes.x[2]) * x + all(planes.y[2]) * y + all(planes.c[2]));
  const DoubleVector scale = all(1.0) / (a + b + c);
  const auto isSound = hn::Lt(scale, all(std::numeric_limits<double>::infinity()));
  return {hn::IfThenElseZero(isSound, scale),
          {hn::DemoteTo(Floats(), hn::IfThenElse(isSound, a * scale, all(1.0))),
           hn::DemoteTo(Floats(), hn::IfThenElseZero(isSound, b * scale)),
           hn::DemoteTo(Floats(), hn::IfThenElseZero(isSound, c * scale))}};
}

/// (plane - weight * sum) * scale: how a weight changes along one axis. Held within what every set of instructions
/// narrows alike.
HWY_INLINE FloatVector weightChange(double plane, double sum, FloatVector weight, DoubleVector scale) {
  const DoubleVector change = (all(plane) - hn::PromoteTo(Doubles(), weight) * all(sum)) * scale;
  const DoubleVector limit = all(1e37);
  const DoubleVector upper = hn::IfThenElse(hn::Gt(change, limit), limit, change);
  return hn::DemoteTo(Floats(), hn::IfThenElse(hn::Lt(upper, hn::Neg(limit)), hn::Neg(limit), upper));
}

HWY_INLINE void weigh(const std::array<float, 3>& corners, const FloatVector (&weights)[3], float* out) {
  const FloatVector sum = weights[0] * hn::Set(Floats(), corners[0]) + weights[1] * hn::Set(Floats(), corners[1]) +
                          weights[2] * hn::Set(Floats(), corners[2]);
  hn::StoreU(sum, Floats(), out);
}

using Corners = hn::CappedTag<float, 4>;
using CornerVector = hn::Vec<Corners>;

HWY_INLINE CornerVector combine(float a, CornerVector x, float b, CornerVector y, float c, CornerVector z) {
  return hn::Set(Corners(), a) * x + hn::Set(Corners(), b) * y + hn::Set(Corners(), c) * z;
}

void transformCorners(const std::array<simd_float3, 3>& m, CornerNormals& normals) {
  for (std::size_t k = 0; k < normals.x.size(); k += hn::Lanes(Corners())) {
    const CornerVector nx = hn::Load(Corners(), normals.x.data() + k);
    const CornerVector ny = hn::Load(Corners(), normals.y.data() + k);
    const CornerVector nz = hn::Load(Corners(), normals.z.data() + k);
    const CornerVector x = combine(m[0].x, nx, m[1].x, ny, m[2].x, nz);
    const CornerVector y = combine(m[0].y, nx, m[1].y, ny, m[2].y, nz);
    const CornerVector z = combine(m[0].z, nx, m[1].z, ny, m[2].z, nz);
    const CornerVector size = hn::Sqrt(x * x + y * y + z * z);
    const auto isUsable = hn::And(hn::Gt(size, hn::Zero(Corners())),
                                  hn::Lt(size, hn::Set(Corners(), std::numeric_limits<float>::infinity())));
    hn::Store(hn::IfThenElseZero(isUsable, x / size), Corners(), normals.x.data() + k);
    hn::Store(hn::IfThenElseZero(isUsable, y / size), Corners(), normals.y.data() + k);
    hn::Store(hn::IfThenElseZero(isUsable, z / size), Corners(), normals.z.data() + k);
  }
}

void interpolateRun(const TrianglePlanes& planes, const std::uint16_t* pixels, std::size_t count,
                    std::span<const CornerValues> values, std::span<const CornerGradients> gradients) {
  const double sumX = planes.x[0] + planes.x[1] + planes.x[2];
  const double sumY = planes.y[0] + planes.y[1] + planes.y[2];
  for (std::size_t i = 0; i < count; i += hn::Lanes(Doubles())) {
    const Weights weights = weightsOf(planes, pixels + i);
    for (const CornerValues& value : values) weigh(value.corners, weights.at, value.out + i);
    if (gradients.empty()) continue;
    FloatVector perX[3], perY[3];
    for (std::size_t k = 0; k < 3; ++k) {
      perX[k] = weightChange(planes.x[k], sumX, weights.at[k], weights.scale);
      perY[k] = weightChange(planes.y[k], sumY, weights.at[k], weights.scale);
    }
    for (const CornerGradients& gradient : gradients) {
      weigh(gradient.corners, weights.at, gradient.out + i);
      weigh(gradient.corners, perX, gradient.perX + i);
      weigh(gradient.corners, perY, gradient.perY + i);
    }
  }
}

}  // namespace
}  // namespace ornolith::raster::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace ornolith::raster {

HWY_EXPORT(transformCorners);
HWY_EXPORT(interpolateRun);

void transformNormals(const std::array<simd_float3, 3>& normalMatrix, CornerNormals& normals) noexcept {
  HWY_DYNAMIC_DISPATCH(transformCorners)(normalMatrix, normals);
}

void interpolateTriangle(const TrianglePlanes& planes, const std::uint16_t* pixels, std::size_t count,
                         std::span<const CornerValues> values, std::span<const CornerGradients> gradients) noexcept {
  HWY_DYNAMIC_DISPATCH(interpolateRun)(planes, pixels, count, values, gradients);
}

}  // namespace ornolith::raster

#endif
