#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "raster/ShadingKernels.cpp"
#include "raster/ShadingKernels.h"

#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>

#include "raster/KernelMath-inl.h"
#include "raster/MaterialSlots-inl.h"
#include "raster/Reflectance-inl.h"
#include "raster/SurfaceGeometry-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ornolith::raster::HWY_NAMESPACE {
namespace {

constexpr float coatReflectance = 0.04f;
constexpr float blinnExponentScale = 128.0f;

/// What the material alone decides of some fragments, and the light that has no direction.
struct Surface {
  FloatVector3 base;
  FloatVector3 ambient;  ///< The base colour in the ambient light that arrives.
  FloatVector3 glow;     ///< That and emission.
  FloatVector opacity;
};

HWY_INLINE Surface surfaceAt(const ShadingPlan& plan, const LightRig& lights, const FragmentBatch& batch,
                             const Place& place) {
  Surface s;
  s.base = color(plan.diffuse, place);
  if (plan.hasVertexColor) {
    s.base =
        s.base * FloatVector3{load(batch.color.x, place.i), load(batch.color.y, place.i), load(batch.color.z, place.i)};
  }
  s.ambient = plan.isLit ? s.base * (all(lights.ambient) * occlusion(plan.ambientOcclusion, place)) : s.base;
  s.glow = plan.hasEmission ? s.ambient + color(plan.emission, place) : s.ambient;
  s.opacity = opacity(plan, plan.diffuse, plan.transparent, batch, place);
  return s;
}

/// What physically based shading takes of the material besides.
struct Reflectance {
  FloatVector3 diffuse;   ///< The base colour, less of it with metalness.
  FloatVector3 f0, gain;  ///< Of highlights straight on, and how much more edge on.
  Microfacets facets;
};

HWY_INLINE Reflectance reflectanceAt(const ShadingPlan& plan, const FloatVector3& base, const Place& place) {
  const FloatVector one = all(1.0f), metalness = scalar(plan.metalness, place);
  FloatVector3 f0 = all(plan.material->dielectricF0);
  FloatVector f90 = one;
  if (plan.scalesReflectance) {
    const FloatVector3 tinted = f0 * color(plan.specularTint, place);
    f90 = scalar(plan.specularStrength, place);
    f0 = FloatVector3{saturate(tinted.x), saturate(tinted.y), saturate(tinted.z)} * f90;
  }
  Reflectance r;
  r.diffuse = base * (one - metalness);
  r.f0 = f0 + (base - f0) * metalness;
  f90 = f90 + (one - f90) * metalness;
  r.gain = FloatVector3{f90, f90, f90} - r.f0;
  r.facets = microfacets(scalar(plan.roughness, place));
  return r;
}

/// Diffuse light and highlights of a physically based surface. Colours are added up one component after the other: the
/// compiler keeps such sums in registers.
HWY_INLINE FloatVector3 physicalLight(std::span<const DistantLight> lights, const SurfaceCosines& cosines,
                                      const Reflectance& r, std::size_t i) {
  const FloatVector normalView = load(cosines.normalView, i);
  const ViewMasking view = viewMasking(r.facets, normalView);
  FloatVector red = all(0.0f), green = red, blue = red;
  for (std::size_t k = 0; k < lights.size(); ++k) {
    const simd_float3& color = lights[k].color;
    const FloatVector cosine = load(cosines.lights[k].normalLight, i);
    if (hn::AllFalse(Floats(), hn::Gt(cosine, all(0.0f)))) continue;
    const FloatVector facing = hn::Max(cosine, all(0.0f));
    const Halfway h = halfway(facing, normalView, load(cosines.lights[k].lightView, i));
    // The halfway vector makes the same angle with both ways.
    const FloatVector edge = grazing(all(0.5f) * hn::Sqrt(h.squared));
    const FloatVector lobe = ggxLobe(r.facets, view, facing, h);
    red = red + all(color.x) * (r.diffuse.x * facing + (r.f0.x + r.gain.x * edge) * lobe);
    green = green + all(color.y) * (r.diffuse.y * facing + (r.f0.y + r.gain.y * edge) * lobe);
    blue = blue + all(color.z) * (r.diffuse.z * facing + (r.f0.z + r.gain.z * edge) * lobe);
  }
  return {red, green, blue};
}

/// What a clear coat of some fragments mirrors of the lights, and in `w` which share of all light it mirrors.
void coatFragments(const ShadingPlan& plan, std::span<const DistantLight> lights, std::span<const Lane4> samples,
                   const SurfaceCosines& cosines, std::size_t count, Lane4& coat) {
  for (std::size_t i = 0; i < count; i += hn::Lanes(Floats())) {
    const Microfacets facets = microfacets(scalar(plan.clearCoatRoughness, {samples, i}));
    const FloatVector normalView = load(cosines.normalView, i);
    const ViewMasking view = viewMasking(facets, normalView);
    FloatVector3 sum = all(simd_float3{});
    for (std::size_t k = 0; k < lights.size(); ++k) {
      const FloatVector facing = hn::Max(load(cosines.lights[k].normalLight, i), all(0.0f));
      const Halfway h = halfway(facing, normalView, load(cosines.lights[k].lightView, i));
      sum = sum + all(lights[k].color) * ggxLobe(facets, view, facing, h);
    }
    const FloatVector edge = grazing(hn::Min(view.cosine, all(1.0f)));
    const FloatVector fresnel = all(coatReflectance) + all(1.0f - coatReflectance) * edge;
    store(sum.x, coat.x, i);
    store(sum.y, coat.y, i);
    store(sum.z, coat.z, i);
    store(scalar(plan.clearCoat, {samples, i}) * fresnel, coat.w, i);
  }
}

HWY_INLINE FloatVector3 diffuseLight(std::span<const DistantLight> lights, const SurfaceCosines& cosines,
                                     std::size_t i) {
  FloatVector red = all(0.0f), green = red, blue = red;
  for (std::size_t k = 0; k < lights.size(); ++k) {
    const simd_float3& color = lights[k].color;
    const FloatVector facing = hn::Max(load(cosines.lights[k].normalLight, i), all(0.0f));
    red = red + all(color.x) * facing;
    green = green + all(color.y) * facing;
    blue = blue + all(color.z) * facing;
  }
  return {red, green, blue};
}

/// How the highlights of Blinn's formula fall off, for all fragments of a material.
struct BlinnLobe {
  float exponent;     ///< Of the square of the cosine.
  unsigned whole;     ///< The same where it is a whole number, as most are; 0 elsewhere.
  FloatVector least;  ///< Nobody sees the highlight of a lesser square, which most of a shiny surface has.
};

HWY_INLINE BlinnLobe blinnLobe(const ShadingPlan& plan) {
  constexpr float faintest = 0x1p-16f;
  const float scaled = plan.material->shininess * blinnExponentScale;
  const float exponent = 0.5f * (scaled > 1.0f ? std::min(scaled, 1024.0f) : 1.0f);
  const auto whole = static_cast<unsigned>(exponent);
  return {exponent, static_cast<float>(whole) == exponent ? whole : 0, fastPow(all(faintest), all(1.0f / exponent))};
}

/// Whole powers, by squaring, take a third of the time that others do.
HWY_INLINE FloatVector power(const BlinnLobe& lobe, FloatVector squared) {
  if (lobe.whole == 0) return fastPow(squared, all(lobe.exponent));
  FloatVector result = all(1.0f), factor = squared;
  for (unsigned rest = lobe.whole; rest > 0; rest /= 2) {
    if (rest % 2 == 1) result = result * factor;
    factor = factor * factor;
  }
  return result;
}

/// Adds Blinn's highlights to the result.
void addHighlights(const ShadingPlan& plan, std::span<const DistantLight> lights, std::span<const Lane4> samples,
                   const SurfaceCosines& cosines, FragmentBatch& batch) {
  const BlinnLobe lobe = blinnLobe(plan);
  for (std::size_t k = 0; k < lights.size(); ++k) {
    const SurfaceCosines::Light& light = cosines.lights[k];
    FloatVector3 specular = all(lights[k].color) * color(plan.specular, {samples, 0});
    for (std::size_t i = 0; i < batch.count; i += hn::Lanes(Floats())) {
      const FloatVector normalLight = load(light.normalLight, i);
      const Halfway h = halfway(normalLight, load(cosines.normalView, i), load(light.lightView, i));
      const FloatMask isSeen = hn::And(hn::Gt(normalLight, all(0.0f)), hn::Gt(h.facing, lobe.least * h.squared));
      if (hn::AllFalse(Floats(), isSeen)) continue;
      if (plan.specular.isTextured) specular = all(lights[k].color) * color(plan.specular, {samples, i});
      const FloatVector bright = hn::IfThenElseZero(isSeen, power(lobe, h.facing / h.squared));
      store(load(batch.result.x, i) + specular.x * bright, batch.result.x, i);
      store(load(batch.result.y, i) + specular.y * bright, batch.result.y, i);
      store(load(batch.result.z, i) + specular.z * bright, batch.result.z, i);
    }
  }
}

/// Whether nothing of the surface differs from fragment to fragment.
bool isUniform(const ShadingPlan& plan) {
  return plan.reads.empty() && !plan.hasVertexColor;
}

HWY_INLINE void storeResult(FloatVector3 color, FloatVector opacity, FragmentBatch& batch, std::size_t i) {
  store(color.x, batch.result.x, i);
  store(color.y, batch.result.y, i);
  store(color.z, batch.result.z, i);
  store(opacity, batch.result.w, i);
}

void lightPhysical(const ShadingPlan& plan, const LightRig& rig, const ViewRays& rays, ShadingScratch& scratch,
                   FragmentBatch& batch) {
  const std::span<const DistantLight> lights = rig.directional;
  const std::span<const Lane4> samples = scratch.samples;
  SurfaceCosines& cosines = scratch.cosines;
  if (plan.hasClearCoat) {
    findCosines(rays, lights, batch, cosines);
    coatFragments(plan, lights, samples, cosines, batch.count, scratch.coat);
  }
  if (plan.hasNormalMap) tiltNormals(rays, plan.normal, samples, batch);
  if (plan.hasNormalMap || !plan.hasClearCoat) findCosines(rays, lights, batch, cosines);

  Surface s = surfaceAt(plan, rig, batch, {samples, 0});
  Reflectance r = reflectanceAt(plan, s.base, {samples, 0});
  const bool changes = !isUniform(plan);
  for (std::size_t i = 0; i < batch.count; i += hn::Lanes(Floats())) {
    if (changes) {
      s = surfaceAt(plan, rig, batch, {samples, i});
      r = reflectanceAt(plan, s.base, {samples, i});
    }
    FloatVector3 light = s.glow + physicalLight(lights, cosines, r, i);
    if (plan.hasClearCoat) {
      const FloatVector share = load(scratch.coat.w, i);
      const FloatVector3 mirrored{load(scratch.coat.x, i), load(scratch.coat.y, i), load(scratch.coat.z, i)};
      // Of ambient light as much as it takes: no surface mirrors that.
      light = light * (all(1.0f) - share) + (s.ambient + mirrored) * share;
    }
    storeResult(light, s.opacity, batch, i);
  }
}

/// Lambert's formula, and Blinn's.
void lightDiffuse(const ShadingPlan& plan, const LightRig& rig, const ViewRays& rays, ShadingScratch& scratch,
                  FragmentBatch& batch) {
  const std::span<const DistantLight> lights = rig.directional;
  const std::span<const Lane4> samples = scratch.samples;
  SurfaceCosines& cosines = scratch.cosines;
  if (plan.hasNormalMap) tiltNormals(rays, plan.normal, samples, batch);
  if (plan.hasSpecular) {
    findCosines(rays, lights, batch, cosines);
  } else {
    findLightCosines(rays, lights, batch, cosines);
  }
  Surface s = surfaceAt(plan, rig, batch, {samples, 0});
  const bool changes = !isUniform(plan);
  for (std::size_t i = 0; i < batch.count; i += hn::Lanes(Floats())) {
    if (changes) s = surfaceAt(plan, rig, batch, {samples, i});
    storeResult(s.glow + s.base * diffuseLight(lights, cosines, i), s.opacity, batch, i);
  }
  if (plan.hasSpecular) addHighlights(plan, lights, samples, cosines, batch);
}

void lightNothing(const ShadingPlan& plan, const LightRig& rig, ShadingScratch& scratch, FragmentBatch& batch) {
  for (std::size_t i = 0; i < batch.count; i += hn::Lanes(Floats())) {
    const Surface s = surfaceAt(plan, rig, batch, {scratch.samples, i});
    storeResult(s.glow, s.opacity, batch, i);
  }
}

void lightFragments(const ShadingPlan& plan, const LightRig& rig, const ViewRays& rays, ShadingScratch& scratch,
                    FragmentBatch& batch) {
  if (plan.isPhysical) return lightPhysical(plan, rig, rays, scratch, batch);
  if (plan.isLit) return lightDiffuse(plan, rig, rays, scratch, batch);
  lightNothing(plan, rig, scratch, batch);
}

void weighFragments(const ShadingPlan& plan, const SlotPlan& diffuse, const SlotPlan& transparent,
                    std::span<const Lane4> samples, FragmentBatch& batch) {
  for (std::size_t i = 0; i < batch.count; i += hn::Lanes(Floats())) {
    store(opacity(plan, diffuse, transparent, batch, {samples, i}), batch.result.w, i);
  }
}

}  // namespace
}  // namespace ornolith::raster::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace ornolith::raster {

HWY_EXPORT(lightFragments);
HWY_EXPORT(weighFragments);

void computeLight(const ShadingPlan& plan, const LightRig& lights, const ViewRays& rays, ShadingScratch& scratch,
                  FragmentBatch& batch) noexcept {
  HWY_DYNAMIC_DISPATCH(lightFragments)(plan, lights, rays, scratch, batch);
}

void computeOpacity(const ShadingPlan& plan, const SlotPlan& diffuse, const SlotPlan& transparent,
                    std::span<const Lane4> samples, FragmentBatch& batch) noexcept {
  HWY_DYNAMIC_DISPATCH(weighFragments)(plan, diffuse, transparent, samples, batch);
}

}  // namespace ornolith::raster

#endif
