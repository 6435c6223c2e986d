#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "raster/ShadingKernels.cpp"
#include "raster/ShadingKernels.h"

#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>

#include "raster/KernelMath-inl.h"
#include "raster/TileGrid.h"

HWY_BEFORE_NAMESPACE();
namespace ornolith::raster::HWY_NAMESPACE {
namespace {

constexpr float smallestRoughness = 0.045f;
constexpr float coatReflectance = 0.04f;
constexpr float blinnExponentScale = 128.0f;

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

FloatVector opacity(const ShadingPlan& plan, const SlotPlan& diffuse, const SlotPlan& transparent,
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

/// Not normalised: from what is seen to the camera.
HWY_INLINE FloatVector3 viewRay(const ViewRays& rays, const FragmentBatch& batch, std::size_t i) {
  const hn::Rebind<std::uint16_t, Integers> narrow;
  const IntegerVector pixel = hn::PromoteTo(Integers(), hn::Load(narrow, batch.pixel.data() + i));
  constexpr int columnBits = 6;
  static_assert(tileSide == 1 << columnBits);
  const FloatVector column = hn::ConvertTo(Floats(), hn::And(pixel, hn::Set(Integers(), tileSide - 1)));
  const FloatVector row = hn::ConvertTo(Floats(), hn::ShiftRight<columnBits>(pixel));
  return all(rays.origin) + all(rays.perX) * column + all(rays.perY) * row;
}

HWY_INLINE FloatVector faceOf(const FragmentBatch& batch, std::size_t i) {
  return batch.hasBackFaces ? load(batch.face, i) : all(1.0f);
}

HWY_INLINE FloatVector3 unit(FloatVector3 v) {
  return v * inverseRoot(dot(v, v));
}

/// Unit normals of the front side: interpolated, else the facet's, else toward the camera.
HWY_INLINE FloatVector3 surfaceNormal(const ViewRays& rays, const FragmentBatch& batch, std::size_t i) {
  FloatVector3 normal = load(batch.normal, i);
  FloatVector squared = dot(normal, normal);
  FloatMask isSound = isUsable(squared);
  if (HWY_LIKELY(hn::AllTrue(Floats(), isSound))) return normal * inverseRoot(squared);
  normal = select(isSound, normal, batch.hasFacets ? load(batch.facet, i) : all(simd_float3{}));
  squared = dot(normal, normal);
  isSound = isUsable(squared);
  normal = select(isSound, normal, viewRay(rays, batch, i) * faceOf(batch, i));
  return unit(normal);
}

/// The normal tilted by the normal map: x along the tangent, y along cross(normal, tangent) * handedness.
FloatVector3 mappedNormal(const SlotPlan& plan, const Place& place, const FragmentBatch& batch, FloatVector3 n) {
  const Lane4& map = place.samples[plan.sample];
  const FloatVector3 raw{load(batch.tangent.x, place.i), load(batch.tangent.y, place.i),
                         load(batch.tangent.z, place.i)};
  const FloatVector3 along = raw - n * dot(n, raw);
  const FloatVector alongSquared = dot(along, along);
  const FloatVector3 t = along * inverseRoot(alongSquared);
  const FloatVector3 b = cross(n, t) * load(batch.tangent.w, place.i);
  const FloatVector one = all(1.0f), two = all(2.0f), intensity = all(plan.slot->intensity);
  const FloatVector x = (load(map.x, place.i) * two - one) * intensity;
  const FloatVector y = (load(map.y, place.i) * two - one) * intensity;
  const FloatVector z = load(map.z, place.i) * two - one;
  const FloatVector3 tilted = t * x + b * y + n * z;
  const FloatVector squared = dot(tilted, tilted);
  return select(hn::And(isUsable(alongSquared), isUsable(squared)), tilted * inverseRoot(squared), n);
}

/// What specular terms take of one light at one fragment. The vector halfway between the ways to the light and to the
/// camera need not be made unit: its square and that of its part along the normal tell the angle.
struct Cosines {
  FloatVector nl, nv;
  FloatVector halfway;        ///< The square of the sum of both ways, each of which is unit.
  FloatVector halfwayFacing;  ///< The square of the normal's part of that; 0 where it faces away.
};

HWY_INLINE FloatVector viewCosine(FloatVector3 normal, FloatVector3 view) {
  return larger(hn::Abs(dot(normal, view)), all(1e-4f));
}

HWY_INLINE Cosines cosines(FloatVector3 view, FloatVector3 normal, FloatVector3 l) {
  constexpr float opposite = 1e-12f;
  const FloatVector nl = dot(normal, l), nv = dot(normal, view), lv = dot(l, view);
  const FloatVector squared = all(2.0f) + (lv + lv);
  const FloatVector facing = positive(nl + nv);
  const FloatVector facingSquared = hn::IfThenElseZero(hn::Gt(squared, all(opposite)), facing * facing);
  return {nl, larger(hn::Abs(nv), all(1e-4f)), larger(squared, all(opposite)), smaller(facingSquared, squared)};
}

/// (1 - cosine)^5 of Schlick's Fresnel.
HWY_INLINE FloatVector grazing(FloatVector cosine) {
  const FloatVector m = all(1.0f) - cosine;
  return m * m * m * m * m;
}

/// Distribution * visibility * N.L * pi.
HWY_INLINE FloatVector ggxLobe(FloatVector roughness, const Cosines& c) {
  const FloatVector one = all(1.0f);
  const FloatVector rough =
      hn::IfThenElse(hn::Gt(roughness, all(smallestRoughness)), roughness, all(smallestRoughness));
  const FloatVector alpha = rough * rough;
  const FloatVector alpha2 = alpha * alpha;
  // 1 - nh^2 (1 - alpha2), in the form that keeps its digits near the peak, times the square of the halfway vector.
  const FloatVector denominator = (c.halfway - c.halfwayFacing) + c.halfwayFacing * alpha2;
  const FloatVector nl = positive(c.nl);
  const FloatVector masking =
      nl * hn::Sqrt(c.nv * c.nv * (one - alpha2) + alpha2) + c.nv * hn::Sqrt(nl * nl * (one - alpha2) + alpha2);
  // One quotient of distribution, alpha2 / denominator^2, and visibility, 1 / (2 masking).
  return (all(0.5f) * alpha2 * nl * (c.halfway * c.halfway)) / (denominator * denominator * masking);
}

/// The part of physically based shading that no light changes.
struct PhysicalSurface {
  FloatVector roughness, metalness;
  FloatVector3 f0;  ///< Reflectance straight on.
  FloatVector f90;  ///< Edge on.
  FloatVector coatRoughness, coatStrength;
};

PhysicalSurface physicalSurface(const ShadingPlan& plan, const Place& place, FloatVector3 base) {
  PhysicalSurface s;
  s.roughness = scalar(plan.roughness, place);
  s.metalness = scalar(plan.metalness, place);
  FloatVector3 f0 = all(plan.material->dielectricF0);
  FloatVector f90 = all(1.0f);
  if (plan.scalesReflectance) {
    const FloatVector3 tinted = f0 * color(plan.specularTint, place);
    f90 = scalar(plan.specularStrength, place);
    f0 = FloatVector3{saturate(tinted.x), saturate(tinted.y), saturate(tinted.z)} * f90;
  }
  s.f0 = f0 + (base - f0) * s.metalness;
  s.f90 = f90 + (all(1.0f) - f90) * s.metalness;
  s.coatRoughness = plan.hasClearCoat ? scalar(plan.clearCoatRoughness, place) : hn::Zero(Floats());
  s.coatStrength = plan.hasClearCoat ? scalar(plan.clearCoat, place) : hn::Zero(Floats());
  return s;
}

HWY_INLINE FloatVector3 ggx(const device::DirectionalLight& light, const PhysicalSurface& s, const Cosines& c) {
  // The halfway vector makes the same angle with both ways.
  const FloatVector edge = grazing(all(0.5f) * hn::Sqrt(c.halfway));
  const FloatVector lobe = ggxLobe(s.roughness, c);
  const FloatVector3 reflected{s.f0.x + (s.f90 - s.f0.x) * edge, s.f0.y + (s.f90 - s.f0.y) * edge,
                               s.f0.z + (s.f90 - s.f0.z) * edge};
  return all(light.color) * lobe * reflected;
}

HWY_INLINE FloatVector3 diffuseLight(const LightRig& lights, FloatVector3 normal) {
  FloatVector3 sum = all(simd_float3{});
  for (const device::DirectionalLight& light : lights.directional) {
    const FloatVector3 l = all(-light.direction);
    const FloatVector facing = positive(normal.x * l.x + normal.y * l.y + normal.z * l.z);
    sum = sum + all(light.color) * facing;
  }
  return sum;
}

/// The share of ambient light that arrives: 1 brought toward the property's value by its intensity.
HWY_INLINE FloatVector occlusion(const SlotPlan& plan, const Place& place) {
  return saturate(all(1.0f) + (plainScalar(plan, place) - all(1.0f)) * all(plan.slot->intensity));
}

/// What the material alone decides of some fragments.
struct Surface {
  FloatVector3 base, emitted;
  FloatVector3 even;  ///< Ambient light that arrives.
  FloatVector opacity;
  PhysicalSurface physical;
};

HWY_INLINE Surface surfaceAt(const ShadingPlan& plan, const LightRig& lights, const FragmentBatch& batch,
                             const Place& place) {
  Surface s;
  s.base = color(plan.diffuse, place);
  if (plan.hasVertexColor) {
    s.base =
        s.base * FloatVector3{load(batch.color.x, place.i), load(batch.color.y, place.i), load(batch.color.z, place.i)};
  }
  s.emitted = plan.hasEmission ? color(plan.emission, place) : all(simd_float3{});
  s.opacity = opacity(plan, plan.diffuse, plan.transparent, batch, place);
  if (plan.isLit) s.even = all(lights.ambient) * occlusion(plan.ambientOcclusion, place);
  if (plan.isPhysical) s.physical = physicalSurface(plan, place, s.base);
  return s;
}

/// The clear coat over the light of what is below.
FloatVector3 coatedLight(const LightRig& lights, const Surface& surface, FloatVector3 below, FloatVector3 normal,
                         FloatVector3 view) {
  const PhysicalSurface& s = surface.physical;
  // Of ambient light as much as it takes: no surface mirrors that.
  FloatVector3 mirrored = surface.base * surface.even;
  for (const device::DirectionalLight& light : lights.directional) {
    const FloatVector lobe = ggxLobe(s.coatRoughness, cosines(view, normal, all(-light.direction)));
    mirrored = mirrored + all(light.color) * lobe;
  }
  const FloatVector fresnel =
      all(coatReflectance) + all(1.0f - coatReflectance) * grazing(smaller(viewCosine(normal, view), all(1.0f)));
  const FloatVector coat = s.coatStrength * fresnel;
  return below * (all(1.0f) - coat) + mirrored * coat;
}

/// Physically based: diffuse and ambient light and highlights.
FloatVector3 physicalLight(const LightRig& lights, const Surface& surface, FloatVector3 normal, FloatVector3 view) {
  const PhysicalSurface& s = surface.physical;
  FloatVector3 diffuse = all(simd_float3{}), highlight = diffuse;
  for (const device::DirectionalLight& light : lights.directional) {
    const FloatVector3 l = all(-light.direction);
    const FloatMask isLit = hn::Gt(dot(normal, l), all(0.0f));
    if (hn::AllFalse(Floats(), isLit)) continue;
    const Cosines c = cosines(view, normal, l);
    diffuse = diffuse + all(light.color) * positive(c.nl);
    highlight = highlight + select(isLit, ggx(light, s, c), all(simd_float3{}));
  }
  return surface.base * (diffuse * (all(1.0f) - s.metalness) + surface.even) + highlight + surface.emitted;
}

FloatVector3 shadedColor(const ShadingPlan& plan, const LightRig& lights, const Surface& surface, const Place& place,
                         FragmentBatch& batch) {
  if (!plan.isLit) return surface.base + surface.emitted;
  const FloatVector face = faceOf(batch, place.i);
  const FloatVector3 smooth = load(batch.normal, place.i);
  const FloatVector3 normal = (plan.hasNormalMap ? mappedNormal(plan.normal, place, batch, smooth) : smooth) * face;
  if (!plan.isPhysical) {
    // Where highlights find it.
    if (plan.hasNormalMap || batch.hasBackFaces) store(normal, batch.normal, place.i);
    return surface.base * (diffuseLight(lights, normal) + surface.even) + surface.emitted;
  }
  const FloatVector3 view = load(batch.view, place.i);
  const FloatVector3 light = physicalLight(lights, surface, normal, view);
  return plan.hasClearCoat ? coatedLight(lights, surface, light, smooth * face, view) : light;
}

HWY_INLINE void storeColor(FloatVector3 color, FragmentBatch& batch, std::size_t i) {
  store(color.x, batch.result.x, i);
  store(color.y, batch.result.y, i);
  store(color.z, batch.result.z, i);
}

/// Makes the normals and the ways to the camera unit. Roots and quotients take the processor long, and next to nothing
/// where the ones of several vectors do not wait for each other.
void makeDirections(const ShadingPlan& plan, const ViewRays& rays, FragmentBatch& batch) {
  for (std::size_t i = 0; i < batch.count; i += hn::Lanes(Floats())) {
    store(surfaceNormal(rays, batch, i), batch.normal, i);
  }
  if (!plan.isPhysical && !plan.hasSpecular) return;
  for (std::size_t i = 0; i < batch.count; i += hn::Lanes(Floats())) {
    store(unit(viewRay(rays, batch, i)), batch.view, i);
  }
}

/// Blinn's highlights, on top of the result. Angles first, powers then: one after the other for each vector, most of
/// the time would be spent waiting.
void addHighlights(const ShadingPlan& plan, const LightRig& lights, std::span<const Lane4> samples,
                   FragmentBatch& batch) {
  const float scaled = plan.material->shininess * blinnExponentScale;
  // Of the square of the cosine.
  const float exponent = 0.5f * (scaled > 1.0f ? std::min(scaled, 1024.0f) : 1.0f);
  // Nobody sees a fainter highlight, which most of a shiny surface has.
  constexpr float faintest = 0x1p-16f;
  const FloatVector least = fastPow(all(faintest), all(1.0f / exponent));
  alignas(64) Lane squaredCosine;
  for (const device::DirectionalLight& light : lights.directional) {
    for (std::size_t i = 0; i < batch.count; i += hn::Lanes(Floats())) {
      const Cosines c = cosines(load(batch.view, i), load(batch.normal, i), all(-light.direction));
      const FloatVector squared = c.halfwayFacing / c.halfway;
      store(hn::IfThenElseZero(hn::And(hn::Gt(c.nl, all(0.0f)), hn::Gt(squared, least)), squared), squaredCosine, i);
    }
    FloatVector3 specular = all(light.color) * color(plan.specular, {samples, 0});
    for (std::size_t i = 0; i < batch.count; i += hn::Lanes(Floats())) {
      const FloatVector squared = load(squaredCosine, i);
      const FloatMask isSeen = hn::Gt(squared, all(0.0f));
      if (hn::AllFalse(Floats(), isSeen)) continue;
      if (plan.specular.isTextured) specular = all(light.color) * color(plan.specular, {samples, i});
      const FloatVector power = fastPow(squared, all(exponent));
      const Lane4& below = batch.result;
      const FloatVector3 surface{load(below.x, i), load(below.y, i), load(below.z, i)};
      storeColor(surface + select(isSeen, specular * power, all(simd_float3{})), batch, i);
    }
  }
}

void lightFragments(const ShadingPlan& plan, const LightRig& lights, const ViewRays& rays,
                    std::span<const Lane4> samples, FragmentBatch& batch) {
  if (plan.isLit) makeDirections(plan, rays, batch);
  const auto light = [&](const Surface& surface, std::size_t i) {
    storeColor(shadedColor(plan, lights, surface, {samples, i}, batch), batch, i);
    store(surface.opacity, batch.result.w, i);
  };
  if (plan.reads.empty() && !plan.hasVertexColor) {
    const Surface same = surfaceAt(plan, lights, batch, {samples, 0});
    for (std::size_t i = 0; i < batch.count; i += hn::Lanes(Floats())) light(same, i);
  } else {
    for (std::size_t i = 0; i < batch.count; i += hn::Lanes(Floats())) {
      light(surfaceAt(plan, lights, batch, {samples, i}), i);
    }
  }
  if (plan.hasSpecular) addHighlights(plan, lights, samples, batch);
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

void computeLight(const ShadingPlan& plan, const LightRig& lights, const ViewRays& rays, std::span<const Lane4> samples,
                  FragmentBatch& batch) noexcept {
  HWY_DYNAMIC_DISPATCH(lightFragments)(plan, lights, rays, samples, batch);
}

void computeOpacity(const ShadingPlan& plan, const SlotPlan& diffuse, const SlotPlan& transparent,
                    std::span<const Lane4> samples, FragmentBatch& batch) noexcept {
  HWY_DYNAMIC_DISPATCH(weighFragments)(plan, diffuse, transparent, samples, batch);
}

}  // namespace ornolith::raster

#endif
