// What the properties of a material are at whole vectors of fragments. Included once per target by files that Highway
// compiles for several.
#if defined(ORNOLITH_RASTER_MATERIALSLOTS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORNOLITH_RASTER_MATERIALSLOTS_INL_H_
#undef ORNOLITH_RASTER_MATERIALSLOTS_INL_H_
#else
#define ORNOLITH_RASTER_MATERIALSLOTS_INL_H_
#endif

#include <span>

#include "raster/KernelMath-inl.h"
#include "raster/ShadingPlan.h"

HWY_BEFORE_NAMESPACE();
namespace ornolith::raster::HWY_NAMESPACE {
namespace {

/// The samples of a batch, and where in it a vector of fragments begins.
struct Place {
  std::span<const Lane4> samples;
  std::size_t i;
};

HWY_INLINE FloatVector component(const SlotPlan& plan, const Place& place) {
  const Lane4& sample = place.samples[plan.sample];
  switch (plan.slot->component) {
    case device::TextureComponent::green:
      return load(sample.y, place.i);
    case device::TextureComponent::blue:
      return load(sample.z, place.i);
    case device::TextureComponent::alpha:
      return load(sample.w, place.i);
    case device::TextureComponent::red:
      break;
  }
  return load(sample.x, place.i);
}

/// A scalar property without its intensity.
HWY_INLINE FloatVector plainScalar(const SlotPlan& plan, const Place& place) {
  const FloatVector value = plan.isTextured ? component(plan, place) : all(plan.slot->value.x);
  return value * all(plan.slot->factor.x);
}

/// A scalar property: times the intensity, limited to 0..1.
HWY_INLINE FloatVector scalar(const SlotPlan& plan, const Place& place) {
  return saturate(plainScalar(plan, place) * all(plan.slot->intensity));
}

/// The colour of a property, times its factor and intensity.
HWY_INLINE FloatVector3 color(const SlotPlan& plan, const Place& place) {
  const device::MaterialSlot& slot = *plan.slot;
  const FloatVector3 scale =
      all(simd_float3{slot.factor.x * slot.intensity, slot.factor.y * slot.intensity, slot.factor.z * slot.intensity});
  if (!plan.isTextured) return all(simd_float3{slot.value.x, slot.value.y, slot.value.z}) * scale;
  const Lane4& sample = place.samples[plan.sample];
  return FloatVector3{load(sample.x, place.i), load(sample.y, place.i), load(sample.z, place.i)} * scale;
}

HWY_INLINE FloatVector alpha(const SlotPlan& plan, const Place& place) {
  const FloatVector value = plan.isTextured ? load(place.samples[plan.sample].w, place.i) : all(plan.slot->value.w);
  return value * all(plan.slot->factor.w);
}

HWY_INLINE FloatVector opacity(const ShadingPlan& plan, const SlotPlan& diffuse, const SlotPlan& transparent,
                               const FragmentBatch& batch, const Place& place) {
  const FloatVector transparency = all(plan.material->transparency);
  if (plan.material->alphaMode == device::AlphaMode::opaque) return saturate(transparency);
  FloatVector surface = alpha(diffuse, place);
  if (plan.hasVertexColor) surface = surface * load(batch.color.w, place.i);
  if (plan.material->alphaMode == device::AlphaMode::blend) {
    return saturate(transparency * surface * alpha(transparent, place));
  }
  const FloatVector masked = saturate(surface * alpha(transparent, place));
  return hn::IfThenElseZero(hn::Ge(masked, all(plan.maskCutoff)), saturate(transparency));
}

/// The share of ambient light that arrives: 1 brought toward the property's value by its intensity.
HWY_INLINE FloatVector occlusion(const SlotPlan& plan, const Place& place) {
  return saturate(all(1.0f) + (plainScalar(plan, place) - all(1.0f)) * all(plan.slot->intensity));
}

}  // namespace
}  // namespace ornolith::raster::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
