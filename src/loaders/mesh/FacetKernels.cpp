#include "loaders/mesh/FacetKernels.h"

#include <limits>

// This file is compiled once for each instruction set; the rest of the program sees the functions at its end.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "loaders/mesh/FacetKernels.cpp"
#include <hwy/foreach_target.h>
// Behind it.
#include <hwy/highway.h>

#include "foundation/Math.h"
#include "loaders/mesh/VectorGeometry-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ornolith::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

using DoubleTag = hn::ScalableTag<double>;
using Doubles = hn::Vec<DoubleTag>;
using FloatTag = hn::Rebind<float, DoubleTag>;
using Floats = hn::Vec<FloatTag>;
using DoubleMask = hn::Mask<DoubleTag>;

constexpr double infinity = std::numeric_limits<double>::infinity();

/// True for what is above zero and finite.
DoubleMask isPositive(Doubles value) {
  const DoubleTag tag;
  return hn::And(hn::Gt(value, hn::Zero(tag)), hn::Lt(value, hn::Set(tag, infinity)));
}

Vectors<Doubles> loadCorners(const float* corners) {
  const DoubleTag tag;
  const FloatTag floatTag;
  Floats x, y, z, unused;
  hn::LoadInterleaved4(floatTag, corners, x, y, z, unused);
  return {hn::PromoteTo(tag, x), hn::PromoteTo(tag, y), hn::PromoteTo(tag, z)};
}

void measure(FacetBatch& batch) {
  const DoubleTag tag;
  const FloatTag floatTag;
  const auto rounded = [&](Doubles value) { return hn::DemoteTo(floatTag, value); };
  for (std::size_t i = 0; i < FacetBatch::capacity; i += hn::Lanes(tag)) {
    const Vectors<Doubles> p = loadCorners(batch.corners[0][i].data());
    const Vectors<Doubles> q = loadCorners(batch.corners[1][i].data());
    const Vectors<Doubles> r = loadCorners(batch.corners[2][i].data());
    const Vectors<Doubles> a = difference(q, p);
    const Vectors<Doubles> b = difference(r, p);
    const Vectors<Doubles> c = difference(r, q);
    const Vectors<Doubles> normal = cross(a, b);
    const Doubles area = hn::Sqrt(dot(normal, normal));
    const DoubleMask hasArea = isPositive(area);
    const auto kept = [&](Doubles value) { return hn::IfThenElseZero(hasArea, value); };

    const Doubles inverse = hn::Div(hn::Set(tag, 1), area);
    hn::StoreInterleaved4(kept(normal.x), kept(normal.y), kept(normal.z), kept(inverse), tag,
                          batch.areaNormals[i].data());
    const auto direction = [&](Doubles component) { return rounded(kept(hn::Mul(component, inverse))); };
    const Doubles weight = hn::IfThenElse(hasArea, hn::Set(tag, 1), hn::Set(tag, 2));
    hn::StoreInterleaved4(direction(normal.x), direction(normal.y), direction(normal.z), rounded(weight), floatTag,
                          batch.directions[i].data());

    const Doubles first = angleOf(area, dot(a, b));
    const Doubles second = angleOf(area, hn::Neg(dot(a, c)));
    const Doubles left = hn::Sub(hn::Sub(hn::Set(tag, math::pi), first), second);
    hn::Store(kept(first), tag, &batch.angles[0][i]);
    hn::Store(kept(second), tag, &batch.angles[1][i]);
    hn::Store(kept(hn::IfThenElse(hn::Gt(left, hn::Zero(tag)), left, hn::Zero(tag))), tag, &batch.angles[2][i]);
  }
}

}  // namespace
}  // namespace ornolith::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ornolith {

namespace {

HWY_EXPORT(measure);

}  // namespace

void measureFacets(FacetBatch& batch) {
  HWY_DYNAMIC_DISPATCH(measure)(batch);
}

}  // namespace ornolith
#endif
