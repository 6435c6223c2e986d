#include "raster/Shading.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "raster/PixelMath.h"
#include "raster/TextureSampler.h"
#include "raster/TileGrid.h"

namespace ornolith::raster {
namespace {

constexpr float smallestRoughness = 0.045f;
constexpr float dielectricReflectance = 0.04f;
constexpr float blinnExponentScale = 128.0f;

bool isBlack(simd_float4 color) noexcept {
  return color.x == 0 && color.y == 0 && color.z == 0;
}

void fill(Lane4& lanes, std::size_t count, simd_float4 value) noexcept {
  std::fill_n(lanes.x.begin(), count, value.x);
  std::fill_n(lanes.y.begin(), count, value.y);
  std::fill_n(lanes.z.begin(), count, value.z);
  std::fill_n(lanes.w.begin(), count, value.w);
}

TextureFootprint footprintOf(const device::MaterialSlot& slot, const CoordinateLanes& lanes, std::size_t i) noexcept {
  const float* m = slot.transform;
  const auto direction = [m](float du, float dv, float& outU, float& outV) {
    outU = m[0] * du + m[2] * dv;
    outV = m[1] * du + m[3] * dv;
  };
  TextureFootprint footprint;
  direction(lanes.u[i], lanes.v[i], footprint.u, footprint.v);
  footprint.u += m[4];
  footprint.v += m[5];
  direction(lanes.dudx[i], lanes.dvdx[i], footprint.dudx, footprint.dvdx);
  direction(lanes.dudy[i], lanes.dvdy[i], footprint.dudy, footprint.dvdy);
  return footprint;
}

/// The property of each fragment, straight linear RGBA. The slot's intensity is not applied.
void evaluateSlot(const SlotPlan& plan, const TexelTables& tables, const FragmentBatch& batch, Lane4& out) noexcept {
  const device::MaterialSlot& slot = *plan.slot;
  if (!plan.isTextured()) return fill(out, batch.count, slot.value);
  const CoordinateLanes& coordinates = batch.coordinates[plan.coordinateSet];
  for (std::size_t i = 0; i < batch.count; ++i) {
    const simd_float4 texel =
        sampleTexture(*plan.pyramid, tables, slot.wrapS, slot.wrapT, footprintOf(slot, coordinates, i));
    const float scale = plan.pyramid->isPremultiplied() && texel.w > 0 ? 1.0f / texel.w : 1.0f;
    out.x[i] = texel.x * scale;
    out.y[i] = texel.y * scale;
    out.z[i] = texel.z * scale;
    out.w[i] = texel.w;
  }
}

/// A scalar property: the first component times the intensity, limited to 0..1.
void evaluateScalar(const SlotPlan& plan, const TexelTables& tables, const FragmentBatch& batch, Lane4& scratch,
                    Lane& out) noexcept {
  evaluateSlot(plan, tables, batch, scratch);
  const float intensity = plan.slot->intensity;
  for (std::size_t i = 0; i < batch.count; ++i) out[i] = saturate(scratch.x[i] * intensity);
}

/// Diffuse colour with vertex colours, and opacity.
void evaluateSurface(const ShadingPlan& plan, const TexelTables& tables, const FragmentBatch& batch,
                     ShadingScratch& scratch) noexcept {
  const std::size_t count = batch.count;
  Lane4& diffuse = scratch.diffuse;
  evaluateSlot(plan.diffuse, tables, batch, diffuse);
  const float intensity = plan.diffuse.slot->intensity;
  for (std::size_t i = 0; i < count; ++i) {
    diffuse.x[i] *= intensity;
    diffuse.y[i] *= intensity;
    diffuse.z[i] *= intensity;
  }
  if (plan.hasVertexColor) {
    for (std::size_t i = 0; i < count; ++i) {
      diffuse.x[i] *= batch.color.x[i];
      diffuse.y[i] *= batch.color.y[i];
      diffuse.z[i] *= batch.color.z[i];
      diffuse.w[i] *= batch.color.w[i];
    }
  }
  const float transparency = plan.material->transparency;
  if (!plan.transparent.isTextured()) {
    const float alpha = plan.transparent.slot->value.w;
    for (std::size_t i = 0; i < count; ++i) scratch.opacity[i] = saturate(transparency * diffuse.w[i] * alpha);
    return;
  }
  evaluateSlot(plan.transparent, tables, batch, scratch.slot);
  for (std::size_t i = 0; i < count; ++i) {
    scratch.opacity[i] = saturate(transparency * diffuse.w[i] * scratch.slot.w[i]);
  }
}

bool isUsable(float squaredLength) noexcept {
  return squaredLength > 1e-24f && squaredLength < std::numeric_limits<float>::infinity();
}

simd_float3 viewRay(const ViewRays& rays, std::uint16_t pixel) noexcept {
  return rays.origin + rays.perX * static_cast<float>(pixelColumn(pixel)) +
         rays.perY * static_cast<float>(pixelRow(pixel));
}

/// Unit vectors toward the camera.
void computeViews(const ViewRays& rays, const FragmentBatch& batch, Lane3& out) noexcept {
  for (std::size_t i = 0; i < batch.count; ++i) {
    const simd_float3 ray = viewRay(rays, batch.pixel[i]);
    const float scale = 1.0f / std::sqrt(dot(ray, ray));
    out.x[i] = ray.x * scale;
    out.y[i] = ray.y * scale;
    out.z[i] = ray.z * scale;
  }
}

/// Unit normals of the front side: interpolated, else the facet's, else toward the camera.
void resolveNormals(const ViewRays& rays, const FragmentBatch& batch, Lane3& out) noexcept {
  for (std::size_t i = 0; i < batch.count; ++i) {
    simd_float3 n{batch.normal.x[i], batch.normal.y[i], batch.normal.z[i]};
    float squared = dot(n, n);
    if (!isUsable(squared)) {
      n = {batch.facet.x[i], batch.facet.y[i], batch.facet.z[i]};
      squared = dot(n, n);
    }
    if (!isUsable(squared)) {
      n = viewRay(rays, batch.pixel[i]) * batch.face[i];
      squared = dot(n, n);
    }
    const float scale = 1.0f / std::sqrt(squared);
    out.x[i] = n.x * scale;
    out.y[i] = n.y * scale;
    out.z[i] = n.z * scale;
  }
}

/// Tilts the normals by the normal map: x along the tangent, y along cross(normal, tangent) * handedness.
void applyNormalMap(const SlotPlan& plan, const TexelTables& tables, const FragmentBatch& batch, Lane4& map,
                    Lane3& normals) noexcept {
  evaluateSlot(plan, tables, batch, map);
  const float intensity = plan.slot->intensity;
  for (std::size_t i = 0; i < batch.count; ++i) {
    const simd_float3 n{normals.x[i], normals.y[i], normals.z[i]};
    const simd_float3 raw{batch.tangent.x[i], batch.tangent.y[i], batch.tangent.z[i]};
    const simd_float3 along = raw - n * dot(n, raw);
    const float alongSquared = dot(along, along);
    if (!isUsable(alongSquared)) continue;
    const simd_float3 t = along * (1.0f / std::sqrt(alongSquared));
    const simd_float3 b = cross(n, t) * batch.tangent.w[i];
    const float x = (map.x[i] * 2.0f - 1.0f) * intensity;
    const float y = (map.y[i] * 2.0f - 1.0f) * intensity;
    const float z = map.z[i] * 2.0f - 1.0f;
    const simd_float3 tilted = t * x + b * y + n * z;
    const float squared = dot(tilted, tilted);
    if (!isUsable(squared)) continue;
    const float scale = 1.0f / std::sqrt(squared);
    normals.x[i] = tilted.x * scale;
    normals.y[i] = tilted.y * scale;
    normals.z[i] = tilted.z * scale;
  }
}

void flipBackFaces(const FragmentBatch& batch, Lane3& normals) noexcept {
  for (std::size_t i = 0; i < batch.count; ++i) {
    normals.x[i] *= batch.face[i];
    normals.y[i] *= batch.face[i];
    normals.z[i] *= batch.face[i];
  }
}

float positive(float value) noexcept {
  return value > 0.0f ? value : 0.0f;
}

void addDiffuseLight(const device::DirectionalLight& light, std::size_t count, const Lane3& normals,
                     Lane3& out) noexcept {
  const simd_float3 l = -light.direction;
  for (std::size_t i = 0; i < count; ++i) {
    const float facing = positive(normals.x[i] * l.x + normals.y[i] * l.y + normals.z[i] * l.z);
    out.x[i] += light.color.x * facing;
    out.y[i] += light.color.y * facing;
    out.z[i] += light.color.z * facing;
  }
}

/// The cosines that specular terms take at one fragment.
struct Cosines {
  float nl, nv, nh, vh;
};

Cosines cosines(const Lane3& views, const Lane3& normals, simd_float3 l, std::size_t i) noexcept {
  const simd_float3 n{normals.x[i], normals.y[i], normals.z[i]};
  const simd_float3 v{views.x[i], views.y[i], views.z[i]};
  const simd_float3 sum = l + v;
  const float squared = dot(sum, sum);
  const simd_float3 h = sum * (squared > 1e-12f ? 1.0f / std::sqrt(squared) : 0.0f);
  return {dot(n, l), std::max(std::abs(dot(n, v)), 1e-4f), saturate(dot(n, h)), saturate(dot(v, h))};
}

/// Adds the highlights of one light: distribution * visibility * N.L * pi, times the Fresnel term of each channel.
void addGGX(const device::DirectionalLight& light, const Lane& roughness, const Lane3& reflectance,
            const Lane3& normals, const Lane3& views, std::size_t count, Lane3& out) noexcept {
  const simd_float3 l = -light.direction;
  for (std::size_t i = 0; i < count; ++i) {
    const Cosines c = cosines(views, normals, l, i);
    const float rough = roughness[i] > smallestRoughness ? roughness[i] : smallestRoughness;
    const float alpha = rough * rough;
    const float alpha2 = alpha * alpha;
    // 1 - nh^2 (1 - alpha2), in the form that keeps its digits near the peak.
    const float denominator = (1.0f - c.nh * c.nh) + c.nh * c.nh * alpha2;
    const float distribution = alpha2 / (denominator * denominator);
    const float nl = positive(c.nl);
    const float visibility = 0.5f / (nl * std::sqrt(c.nv * c.nv * (1.0f - alpha2) + alpha2) +
                                     c.nv * std::sqrt(nl * nl * (1.0f - alpha2) + alpha2));
    const float m = 1.0f - c.vh;
    const float grazing = m * m * m * m * m;
    const float lobe = distribution * visibility * nl;
    out.x[i] += light.color.x * lobe * (reflectance.x[i] + (1.0f - reflectance.x[i]) * grazing);
    out.y[i] += light.color.y * lobe * (reflectance.y[i] + (1.0f - reflectance.y[i]) * grazing);
    out.z[i] += light.color.z * lobe * (reflectance.z[i] + (1.0f - reflectance.z[i]) * grazing);
  }
}

void addBlinn(const device::DirectionalLight& light, float exponent, const Lane4& specular, const Lane3& normals,
              const Lane3& views, std::size_t count, Lane3& out) noexcept {
  const simd_float3 l = -light.direction;
  for (std::size_t i = 0; i < count; ++i) {
    const Cosines c = cosines(views, normals, l, i);
    const float lobe = c.nl > 0.0f ? fastPow(c.nh, exponent) : 0.0f;
    out.x[i] += light.color.x * lobe * specular.x[i];
    out.y[i] += light.color.y * lobe * specular.y[i];
    out.z[i] += light.color.z * lobe * specular.z[i];
  }
}

void clear(Lane3& lanes, std::size_t count) noexcept {
  std::fill_n(lanes.x.begin(), count, 0.0f);
  std::fill_n(lanes.y.begin(), count, 0.0f);
  std::fill_n(lanes.z.begin(), count, 0.0f);
}

/// Physically based: fills the metalness and adds the highlights.
void shadePhysicallyBased(const ShadingPlan& plan, const LightRig& lights, const TexelTables& tables, ShadingScratch& s,
                          const FragmentBatch& batch) noexcept {
  evaluateScalar(plan.roughness, tables, batch, s.slot, s.roughness);
  evaluateScalar(plan.metalness, tables, batch, s.slot, s.metalness);
  Lane3& reflectance = s.reflectance;
  const auto mix = [&](const Lane& base, Lane& out) {
    for (std::size_t i = 0; i < batch.count; ++i) {
      out[i] = dielectricReflectance + (base[i] - dielectricReflectance) * s.metalness[i];
    }
  };
  mix(s.diffuse.x, reflectance.x);
  mix(s.diffuse.y, reflectance.y);
  mix(s.diffuse.z, reflectance.z);
  for (const device::DirectionalLight& light : lights.directional) {
    addGGX(light, s.roughness, reflectance, s.normal, s.view, batch.count, s.highlight);
  }
}

void shadeBlinn(const ShadingPlan& plan, const LightRig& lights, const TexelTables& tables, ShadingScratch& s,
                const FragmentBatch& batch) noexcept {
  evaluateSlot(plan.specular, tables, batch, s.slot);
  const float intensity = plan.specular.slot->intensity;
  for (std::size_t i = 0; i < batch.count; ++i) {
    s.slot.x[i] *= intensity;
    s.slot.y[i] *= intensity;
    s.slot.z[i] *= intensity;
  }
  const float exponent = std::clamp(positive(plan.material->shininess) * blinnExponentScale, 1.0f, 1024.0f);
  for (const device::DirectionalLight& light : lights.directional) {
    addBlinn(light, exponent, s.slot, s.normal, s.view, batch.count, s.highlight);
  }
}

/// The share of ambient light that arrives: 1 brought toward the property's value by its intensity.
void evaluateOcclusion(const SlotPlan& plan, const TexelTables& tables, const FragmentBatch& batch, Lane4& scratch,
                       Lane& out) noexcept {
  const float strength = plan.slot->intensity;
  const auto share = [strength](float value) { return saturate(1.0f + (value - 1.0f) * strength); };
  if (!plan.isTextured()) {
    std::fill_n(out.begin(), batch.count, share(plan.slot->value.x));
    return;
  }
  evaluateSlot(plan, tables, batch, scratch);
  for (std::size_t i = 0; i < batch.count; ++i) out[i] = share(scratch.x[i]);
}

/// Diffuse and ambient light and highlights together, into the result.
void combineLight(const LightRig& lights, const ShadingScratch& s, FragmentBatch& batch) noexcept {
  const auto combine = [&](const Lane& base, const Lane& light, const Lane& highlight, float ambient, Lane& out) {
    for (std::size_t i = 0; i < batch.count; ++i) {
      out[i] = base[i] * (light[i] * (1.0f - s.metalness[i]) + ambient * s.occlusion[i]) + highlight[i];
    }
  };
  combine(s.diffuse.x, s.light.x, s.highlight.x, lights.ambient.x, batch.result.x);
  combine(s.diffuse.y, s.light.y, s.highlight.y, lights.ambient.y, batch.result.y);
  combine(s.diffuse.z, s.light.z, s.highlight.z, lights.ambient.z, batch.result.z);
}

void shadeLit(const ShadingPlan& plan, const LightRig& lights, const ViewRays& rays, const TexelTables& tables,
              ShadingScratch& s, FragmentBatch& batch) noexcept {
  const std::size_t count = batch.count;
  resolveNormals(rays, batch, s.normal);
  if (plan.hasNormalMap) applyNormalMap(plan.normal, tables, batch, s.slot, s.normal);
  flipBackFaces(batch, s.normal);

  clear(s.light, count);
  clear(s.highlight, count);
  for (const device::DirectionalLight& light : lights.directional) addDiffuseLight(light, count, s.normal, s.light);
  std::fill_n(s.metalness.begin(), count, 0.0f);
  const bool isPhysical = plan.material->lightingModel == device::LightingModel::physicallyBased;
  if (isPhysical || plan.hasSpecular) computeViews(rays, batch, s.view);
  if (isPhysical) {
    shadePhysicallyBased(plan, lights, tables, s, batch);
  } else if (plan.hasSpecular) {
    shadeBlinn(plan, lights, tables, s, batch);
  }
  evaluateOcclusion(plan.ambientOcclusion, tables, batch, s.slot, s.occlusion);
  combineLight(lights, s, batch);
}

void addEmission(const ShadingPlan& plan, const TexelTables& tables, ShadingScratch& s, FragmentBatch& batch) noexcept {
  if (!plan.emission.isTextured() && isBlack(plan.emission.slot->value)) return;
  evaluateSlot(plan.emission, tables, batch, s.slot);
  const float intensity = plan.emission.slot->intensity;
  for (std::size_t i = 0; i < batch.count; ++i) {
    batch.result.x[i] += s.slot.x[i] * intensity;
    batch.result.y[i] += s.slot.y[i] * intensity;
    batch.result.z[i] += s.slot.z[i] * intensity;
  }
}

}  // namespace

LightRig LightRig::make(const device::FrameDescription& frame) {
  LightRig rig;
  rig.ambient = frame.ambientLight;
  for (const device::DirectionalLight& light : frame.directionalLights) {
    const float size = length(light.direction);
    if (!(size > 0 && size < std::numeric_limits<float>::infinity())) continue;
    rig.directional.push_back({light.direction / size, light.color});
  }
  return rig;
}

void shadeBatch(const ShadingPlan& plan, const LightRig& lights, const ViewRays& rays, const TexelTables& tables,
                ShadingScratch& scratch, FragmentBatch& batch) noexcept {
  evaluateSurface(plan, tables, batch, scratch);
  if (plan.isLit) {
    shadeLit(plan, lights, rays, tables, scratch, batch);
  } else {
    std::copy_n(scratch.diffuse.x.begin(), batch.count, batch.result.x.begin());
    std::copy_n(scratch.diffuse.y.begin(), batch.count, batch.result.y.begin());
    std::copy_n(scratch.diffuse.z.begin(), batch.count, batch.result.z.begin());
  }
  addEmission(plan, tables, scratch, batch);
  std::copy_n(scratch.opacity.begin(), batch.count, batch.result.w.begin());
}

void shadeOpacity(const ShadingPlan& plan, const TexelTables& tables, ShadingScratch& scratch,
                  FragmentBatch& batch) noexcept {
  evaluateSurface(plan, tables, batch, scratch);
  std::copy_n(scratch.opacity.begin(), batch.count, batch.result.w.begin());
}

}  // namespace ornolith::raster
