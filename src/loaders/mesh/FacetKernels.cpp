#include "loaders/mesh/FacetKernels.h"

#include <limits>

// This file is compiled once for each instruction set; the rest of the program sees the functions at its end.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "loaders/mesh/FacetKernels.cpp"
#include <hwy/foreach_target.h>
// Behind it.
#include <hwy/highway.h>

#include "foundation/Math.h"

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

struct Vectors {
  Doubles x, y, z;
};

Vectors difference(const Vectors& a, const Vectors& b) {
  return {hn::Sub(a.x, b.x), hn::Sub(a.y, b.y), hn::Sub(a.z, b.z)};
}

Doubles dot(const Vectors& a, const Vectors& b) {
  return hn::Add(hn::Add(hn::Mul(a.x, b.x), hn::Mul(a.y, b.y)), hn::Mul(a.z, b.z));
}

Vectors cross(const Vectors& a, const Vectors& b) {
  const auto part = [](Doubles p, Doubles q, Doubles r, Doubles s) { return hn::Sub(hn::Mul(p, q), hn::Mul(r, s)); };
  return {part(a.y, b.z, a.z, b.y), part(a.z, b.x, a.x, b.z), part(a.x, b.y, a.y, b.x)};
}

/// True for what is above zero and finite.
DoubleMask isPositive(Doubles value) {
  const DoubleTag tag;
  return hn::And(hn::Gt(value, hn::Zero(tag)), hn::Lt(value, hn::Set(tag, infinity)));
}

/// atan(x) for x in 0..1, within 2e-8 (M. Abramowitz and I. Stegun, "Handbook of mathematical functions", 4.4.49).
Doubles arcTangent(Doubles x) {
  constexpr double c[] = {-0.3333314528, 0.1999355085, -0.1420889944, 0.1065626393,
                          -0.0752896400, 0.0429096138, -0.0161657367, 0.0028662257};
  const DoubleTag tag;
  const Doubles square = hn::Mul(x, x);
  Doubles series = hn::Set(tag, c[7]);
  for (int i = 6; i >= 0; --i) series = hn::Add(hn::Mul(series, square), hn::Set(tag, c[i]));
  return hn::Add(hn::Mul(hn::Mul(series, square), x), x);
}

/// The angle whose sine and cosine are in the proportion of `sine`, above zero, and `cosine`.
Doubles angleOf(Doubles sine, Doubles cosine) {
  const DoubleTag tag;
  const Doubles size = hn::Abs(cosine);
  const DoubleMask isSteep = hn::Gt(sine, size);
  const Doubles ratio = hn::Div(hn::IfThenElse(isSteep, size, sine), hn::IfThenElse(isSteep, sine, size));
  const Doubles flat = arcTangent(ratio);
  const Doubles sharp = hn::IfThenElse(isSteep, hn::Sub(hn::Set(tag, math::pi / 2), flat), flat);
  return hn::IfThenElse(hn::Lt(cosine, hn::Zero(tag)), hn::Sub(hn::Set(tag, math::pi), sharp), sharp);
}

Vectors loadCorners(const float* corners) {
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
    const Vectors p = loadCorners(batch.corners[0][i].data());
    const Vectors q = loadCorners(batch.corners[1][i].data());
    const Vectors r = loadCorners(batch.corners[2][i].data());
    const Vectors a = difference(q, p);
    const Vectors b = difference(r, p);
    const Vectors c = difference(r, q);
    const Vectors normal = cross(a, b);
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
