// The formulas of highlights over whole vectors of fragments. Included once per target by files that Highway compiles
// for several.
#if defined(ORNOLITH_RASTER_REFLECTANCE_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORNOLITH_RASTER_REFLECTANCE_INL_H_
#undef ORNOLITH_RASTER_REFLECTANCE_INL_H_
#else
#define ORNOLITH_RASTER_REFLECTANCE_INL_H_
#endif

#include "raster/KernelMath-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ornolith::raster::HWY_NAMESPACE {
namespace {

constexpr float smallestRoughness = 0.045f;

/// The vector halfway between the ways to a light and to the camera. It need not be made unit: its square and that of
/// its part along the normal tell the angle, and follow from cosines (|l + v|^2 = 2 + 2 l.v, n.(l + v) = n.l + n.v).
struct Halfway {
  FloatVector squared;  ///< Of the sum of both ways, each of which is unit; at least `opposite`.
  FloatVector facing;   ///< The square of the normal's part of that; 0 where it faces away.
};

/// Where the ways are as good as opposite, nothing lies halfway.
constexpr float opposite = 1e-12f;

HWY_INLINE Halfway halfway(FloatVector normalLight, FloatVector normalView, FloatVector lightView) {
  const FloatVector squared = hn::Max(all(2.0f) + (lightView + lightView), all(opposite));
  const FloatVector along = hn::Max(normalLight + normalView, all(0.0f));
  return {squared, hn::Min(along * along, squared)};
}

/// (1 - cosine)^5 of Schlick's Fresnel.
HWY_INLINE FloatVector grazing(FloatVector cosine) {
  const FloatVector m = all(1.0f) - cosine;
  const FloatVector squared = m * m;
  return squared * squared * m;
}

/// What a GGX lobe takes of the roughness.
struct Microfacets {
  FloatVector alpha2, rest;  ///< alpha^2 and 1 - alpha^2.
};

HWY_INLINE Microfacets microfacets(FloatVector roughness) {
  const FloatVector rough =
      hn::IfThenElse(hn::Gt(roughness, all(smallestRoughness)), roughness, all(smallestRoughness));
  const FloatVector alpha = rough * rough;
  const FloatVector alpha2 = alpha * alpha;
  return {alpha2, all(1.0f) - alpha2};
}

/// Of height-correlated Smith visibility, what the masking of one way adds to that of the other.
HWY_INLINE FloatVector masking(const Microfacets& m, FloatVector cosine) {
  return hn::Sqrt(cosine * cosine * m.rest + m.alpha2);
}

/// The surface toward the camera.
struct ViewMasking {
  FloatVector cosine, root;
};

HWY_INLINE FloatVector viewCosine(FloatVector normalView) {
  return hn::Max(hn::Abs(normalView), all(1e-4f));
}

HWY_INLINE ViewMasking viewMasking(const Microfacets& m, FloatVector normalView) {
  const FloatVector cosine = viewCosine(normalView);
  return {cosine, masking(m, cosine)};
}

/// Distribution * visibility * N.L * pi, for N.L of 0 or more.
HWY_INLINE FloatVector ggxLobe(const Microfacets& m, const ViewMasking& view, FloatVector normalLight,
                               const Halfway& h) {
  // 1 - nh^2 (1 - alpha2), in the form that keeps its digits near the peak, times the square of the halfway vector.
  const FloatVector denominator = (h.squared - h.facing) + h.facing * m.alpha2;
  const FloatVector masked = normalLight * view.root + view.cosine * masking(m, normalLight);
  // One quotient of distribution, alpha2 / denominator^2, and visibility, 1 / (2 masked).
  return (all(0.5f) * m.alpha2 * normalLight * (h.squared * h.squared)) / (denominator * denominator * masked);
}

}  // namespace
}  // namespace ornolith::raster::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
