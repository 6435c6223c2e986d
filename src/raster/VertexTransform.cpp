#include "raster/VertexTransform.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "raster/VertexTransform.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

HWY_BEFORE_NAMESPACE();
namespace ornolith::raster::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

/// Without vectors, the plain code does all.
bool transformVectors(const TransformRun&, ScreenVertex*) {
  return false;
}

#else

namespace hn = hwy::HWY_NAMESPACE;

using Floats = hn::ScalableTag<float>;
using Integers = hn::RebindToSigned<Floats>;
using Unsigned = hn::RebindToUnsigned<Floats>;
using Doubles = hn::Repartition<double, Floats>;
using Longs = hn::RebindToUnsigned<Doubles>;
using HalfUnsigned = hn::Half<Unsigned>;
using DoubleVector = hn::Vec<Doubles>;
using HalfFloats = hn::Half<Floats>;

/// What half a vector of vertices comes to, as the fields of a screen vertex.
struct HalfResult {
  hn::Vec<HalfUnsigned> x, y, isRegular;
  hn::Vec<HalfFloats> depth;
};

class Kernel {
 public:
  explicit Kernel(const TransformRun& run)
      : transform_(run.transform),
        isOrthographic_(run.projection.isOrthographic()),
        zNear_(hn::Set(doubles_, run.projection.zNear())),
        offsetX_(hn::Set(integers_, static_cast<std::int32_t>(run.imageWidth) * subpixelHalf)),
        offsetY_(hn::Set(integers_, static_cast<std::int32_t>(run.imageHeight) * subpixelHalf)) {}

  void apply(hn::Vec<Floats> px, hn::Vec<Floats> py, hn::Vec<Floats> pz, ScreenVertex* out) const {
    const HalfFloats half;
    const HalfResult low = applyHalf(hn::LowerHalf(half, px), hn::LowerHalf(half, py), hn::LowerHalf(half, pz));
    const HalfResult high = applyHalf(hn::UpperHalf(half, px), hn::UpperHalf(half, py), hn::UpperHalf(half, pz));
    const auto isRegular = hn::BitCast(integers_, hn::Combine(unsigned_, high.isRegular, low.isRegular));
    const auto x = hn::Add(hn::BitCast(integers_, hn::Combine(unsigned_, high.x, low.x)), offsetX_);
    const auto y = hn::Add(hn::BitCast(integers_, hn::Combine(unsigned_, high.y, low.y)), offsetY_);
    const auto depth = hn::BitCast(integers_, hn::Combine(floats_, high.depth, low.depth));
    hn::StoreInterleaved4(hn::And(x, isRegular), hn::And(y, isRegular), hn::And(depth, isRegular),
                          hn::And(isRegular, hn::Set(integers_, 1)), integers_, reinterpret_cast<std::int32_t*>(out));
  }

 private:
  DoubleVector affine(const std::array<double, 4>& row, DoubleVector px, DoubleVector py, DoubleVector pz) const {
    const DoubleVector a = hn::Mul(hn::Set(doubles_, row[0]), px);
    const DoubleVector b = hn::Mul(hn::Set(doubles_, row[1]), py);
    const DoubleVector c = hn::Mul(hn::Set(doubles_, row[2]), pz);
    return hn::Add(hn::Add(hn::Add(a, b), c), hn::Set(doubles_, row[3]));
  }

  /// The nearest whole numbers of magnitudes below 2^31, as in `roundToInteger`: they stand in the low bits of the sum.
  hn::Vec<HalfUnsigned> rounded(DoubleVector value) const {
    const DoubleVector shift = hn::Set(doubles_, 6755399441055744.0);
    return hn::TruncateTo(HalfUnsigned(), hn::BitCast(Longs(), hn::Add(value, shift)));
  }

  HalfResult applyHalf(hn::Vec<HalfFloats> sx, hn::Vec<HalfFloats> sy, hn::Vec<HalfFloats> sz) const {
    const DoubleVector px = hn::PromoteTo(doubles_, sx);
    const DoubleVector py = hn::PromoteTo(doubles_, sy);
    const DoubleVector pz = hn::PromoteTo(doubles_, sz);
    const DoubleVector x = affine(transform_.x, px, py, pz);
    const DoubleVector y = affine(transform_.y, px, py, pz);
    const DoubleVector distance = affine(transform_.distance, px, py, pz);
    const DoubleVector w = isOrthographic_ ? hn::Set(doubles_, 1.0) : distance;
    const DoubleVector limit = hn::Mul(hn::Set(doubles_, guardBand), w);
    // Every comparison fails for NaN; the first keeps w positive.
    const auto isRegular = hn::And(hn::And(hn::Ge(distance, zNear_), hn::Lt(distance, hn::Set(doubles_, 1e90))),
                                   hn::And(hn::Le(hn::Abs(x), limit), hn::Le(hn::Abs(y), limit)));
    const DoubleVector scale = hn::Div(hn::Set(doubles_, static_cast<double>(subpixelOne)), w);
    const DoubleVector depth = isOrthographic_ ? hn::Neg(distance) : hn::Div(zNear_, distance);
    return {rounded(hn::Mul(x, scale)), rounded(hn::Mul(y, scale)),
            hn::TruncateTo(HalfUnsigned(), hn::BitCast(Longs(), hn::VecFromMask(doubles_, isRegular))),
            hn::DemoteTo(HalfFloats(), depth)};
  }

  const Floats floats_;
  const Integers integers_;
  const Unsigned unsigned_;
  const Doubles doubles_;
  const ItemTransform& transform_;
  bool isOrthographic_;
  DoubleVector zNear_;
  hn::Vec<Integers> offsetX_, offsetY_;
};

/// Transforms the vertices from `first` of the run whose number is at most that of the lanes.
HWY_INLINE void transformSome(const TransformRun& run, const Kernel& kernel, std::uint32_t first, std::uint32_t count,
                              ScreenVertex* out) {
  constexpr Floats floats;
  HWY_ALIGN float position[3][hn::MaxLanes(Floats())] = {};
  HWY_ALIGN ScreenVertex results[hn::MaxLanes(Floats())];
  for (std::uint32_t i = 0; i < count; ++i) {
    const float* source = run.positions[run.first + first + i];
    for (std::size_t axis = 0; axis < 3; ++axis) position[axis][i] = source[axis];
  }
  kernel.apply(hn::Load(floats, position[0]), hn::Load(floats, position[1]), hn::Load(floats, position[2]), results);
  for (std::uint32_t i = 0; i < count; ++i) out[first + i] = results[i];
}

/// Whether the run was transformed.
bool transformVectors(const TransformRun& run, ScreenVertex* out) {
  const Kernel kernel(run);
  constexpr Floats floats;
  const auto lanes = static_cast<std::uint32_t>(hn::Lanes(floats));
  std::uint32_t done = 0;
  if (run.positions.stride == 3) {
    for (; run.count - done >= lanes; done += lanes) {
      hn::Vec<Floats> px, py, pz;
      hn::LoadInterleaved3(floats, run.positions[run.first + done], px, py, pz);
      kernel.apply(px, py, pz, out + done);
    }
  }
  for (; done < run.count; done += HWY_MIN(lanes, run.count - done)) {
    transformSome(run, kernel, done, HWY_MIN(lanes, run.count - done), out);
  }
  return true;
}

#endif

}  // namespace ornolith::raster::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace ornolith::raster {

HWY_EXPORT(transformVectors);

void transformRun(const TransformRun& run, ScreenVertex* out) {
  if (HWY_DYNAMIC_DISPATCH(transformVectors)(run, out)) return;
  for (std::uint32_t i = 0; i < run.count; ++i) {
    out[i] = screenVertex(run.transform.apply(run.positions[run.first + i]), run.projection, run.imageWidth,
                          run.imageHeight);
  }
}

}  // namespace ornolith::raster

#endif
