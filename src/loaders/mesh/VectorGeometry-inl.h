// The geometry of facets in whole vectors of floats or doubles. Included once per target by files that Highway compiles
// for several.
#if defined(ORNOLITH_LOADERS_MESH_VECTORGEOMETRY_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORNOLITH_LOADERS_MESH_VECTORGEOMETRY_INL_H_
#undef ORNOLITH_LOADERS_MESH_VECTORGEOMETRY_INL_H_
#else
#define ORNOLITH_LOADERS_MESH_VECTORGEOMETRY_INL_H_
#endif

#include <hwy/highway.h>

#include "foundation/Math.h"

HWY_BEFORE_NAMESPACE();
namespace ornolith::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

template <typename Vector>
struct Vectors {
  Vector x, y, z;
};

template <typename Vector>
Vectors<Vector> difference(const Vectors<Vector>& a, const Vectors<Vector>& b) {
  return {hn::Sub(a.x, b.x), hn::Sub(a.y, b.y), hn::Sub(a.z, b.z)};
}

template <typename Vector>
Vector dot(const Vectors<Vector>& a, const Vectors<Vector>& b) {
  return hn::Add(hn::Add(hn::Mul(a.x, b.x), hn::Mul(a.y, b.y)), hn::Mul(a.z, b.z));
}

template <typename Vector>
Vectors<Vector> cross(const Vectors<Vector>& a, const Vectors<Vector>& b) {
  const auto part = [](Vector p, Vector q, Vector r, Vector s) { return hn::Sub(hn::Mul(p, q), hn::Mul(r, s)); };
  return {part(a.y, b.z, a.z, b.y), part(a.z, b.x, a.x, b.z), part(a.x, b.y, a.y, b.x)};
}

/// atan(x) for x in 0..1, within 2e-8, in floats within 2e-7 (M. Abramowitz and I. Stegun, "Handbook of mathematical
/// functions", 4.4.49).
template <typename Vector>
Vector arcTangent(Vector x) {
  constexpr double c[] = {-0.3333314528, 0.1999355085, -0.1420889944, 0.1065626393,
                          -0.0752896400, 0.0429096138, -0.0161657367, 0.0028662257};
  const hn::DFromV<Vector> tag;
  const auto coefficient = [&](int i) { return hn::Set(tag, static_cast<hn::TFromV<Vector>>(c[i])); };
  const Vector square = hn::Mul(x, x);
  Vector series = coefficient(7);
  for (int i = 6; i >= 0; --i) series = hn::Add(hn::Mul(series, square), coefficient(i));
  return hn::Add(hn::Mul(hn::Mul(series, square), x), x);
}

/// The angle whose sine and cosine are in the proportion of `sine`, above zero, and `cosine`.
template <typename Vector>
Vector angleOf(Vector sine, Vector cosine) {
  constexpr auto halfTurn = static_cast<hn::TFromV<Vector>>(math::pi);
  const hn::DFromV<Vector> tag;
  const Vector size = hn::Abs(cosine);
  const auto isSteep = hn::Gt(sine, size);
  const Vector ratio = hn::Div(hn::IfThenElse(isSteep, size, sine), hn::IfThenElse(isSteep, sine, size));
  const Vector flat = arcTangent(ratio);
  const Vector sharp = hn::IfThenElse(isSteep, hn::Sub(hn::Set(tag, halfTurn / 2), flat), flat);
  return hn::IfThenElse(hn::Lt(cosine, hn::Zero(tag)), hn::Sub(hn::Set(tag, halfTurn), sharp), sharp);
}

}  // namespace
}  // namespace ornolith::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
