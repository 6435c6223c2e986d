// How whole vectors of fragments face the camera. Included once per target by files that Highway compiles for several.
#if defined(ORNOLITH_RASTER_SURFACEGEOMETRY_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ORNOLITH_RASTER_SURFACEGEOMETRY_INL_H_
#undef ORNOLITH_RASTER_SURFACEGEOMETRY_INL_H_
#else
#define ORNOLITH_RASTER_SURFACEGEOMETRY_INL_H_
#endif

#include <span>

#include "raster/KernelMath-inl.h"
#include "raster/MaterialSlots-inl.h"
#include "raster/Projection.h"
#include "raster/Shading.h"
#include "raster/TileGrid.h"

HWY_BEFORE_NAMESPACE();
namespace ornolith::raster::HWY_NAMESPACE {
namespace {

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

struct FrontNormal {
  FloatVector3 along;
  FloatVector squared;  ///< Of its length.
};

HWY_INLINE FrontNormal interpolatedNormal(const FragmentBatch& batch, std::size_t i) {
  const FloatVector3 along = load(batch.normal, i);
  return {along, dot(along, along)};
}

/// The facet's normal where the interpolated one is of no use, and the way to the camera where neither is.
HWY_NOINLINE FrontNormal replacedNormal(const ViewRays& rays, const FragmentBatch& batch, std::size_t i) {
  const FrontNormal found = interpolatedNormal(batch, i);
  const FloatVector3 facet = batch.hasFacets ? load(batch.facet, i) : all(simd_float3{});
  const FloatVector3 face = select(isUsable(found.squared), found.along, facet);
  const FloatVector3 along = select(isUsable(dot(face, face)), face, viewRay(rays, batch, i) * faceOf(batch, i));
  return {along, dot(along, along)};
}

/// The normal of the front side.
HWY_INLINE FrontNormal frontNormal(const ViewRays& rays, const FragmentBatch& batch, std::size_t i) {
  FloatVector x = load(batch.normal.x, i), y = load(batch.normal.y, i), z = load(batch.normal.z, i);
  FloatVector squared = x * x + y * y + z * z;
  if (HWY_UNLIKELY(!hn::AllTrue(Floats(), isUsable(squared)))) {
    // Assigned one by one, they stay in registers on the other way.
    const FrontNormal replaced = replacedNormal(rays, batch, i);
    x = replaced.along.x;
    y = replaced.along.y;
    z = replaced.along.z;
    squared = replaced.squared;
  }
  return {{x, y, z}, squared};
}

/// Finds the cosines between the normals and the ways to the lights. Normals have any length: the cosines are divided
/// by it, and no vector is made unit.
HWY_INLINE void findLightCosines(const ViewRays& rays, std::span<const DistantLight> lights, const FragmentBatch& batch,
                                 SurfaceCosines& cosines) {
  const std::span<SurfaceCosines::Light> out = cosines.lights;
  for (std::size_t i = 0; i < batch.count; i += hn::Lanes(Floats())) {
    const FrontNormal normal = frontNormal(rays, batch, i);
    FloatVector perLength = inverseRoot(normal.squared);
    if (batch.hasBackFaces) perLength = perLength * load(batch.face, i);
    for (std::size_t k = 0; k < lights.size(); ++k) {
      store(dot(normal.along, all(lights[k].toLight)) * perLength, out[k].normalLight, i);
    }
  }
}

/// Finds all cosines, in the same way.
HWY_INLINE void findCosines(const ViewRays& rays, std::span<const DistantLight> lights, const FragmentBatch& batch,
                            SurfaceCosines& cosines) {
  const std::span<SurfaceCosines::Light> out = cosines.lights;
  for (std::size_t i = 0; i < batch.count; i += hn::Lanes(Floats())) {
    const FrontNormal normal = frontNormal(rays, batch, i);
    const FloatVector3 view = viewRay(rays, batch, i);
    const FloatVector normalLength = hn::Sqrt(normal.squared), viewLength = hn::Sqrt(dot(view, view));
    // One quotient for both, as these take long.
    const FloatVector perBoth = all(1.0f) / (normalLength * viewLength);
    const FloatVector seenPerBoth = batch.hasBackFaces ? perBoth * load(batch.face, i) : perBoth;
    const FloatVector perNormal = seenPerBoth * viewLength, perView = perBoth * normalLength;
    store(dot(normal.along, view) * seenPerBoth, cosines.normalView, i);
    for (std::size_t k = 0; k < lights.size(); ++k) {
      const FloatVector3 toLight = all(lights[k].toLight);
      store(dot(normal.along, toLight) * perNormal, out[k].normalLight, i);
      store(dot(view, toLight) * perView, out[k].lightView, i);
    }
  }
}

/// Tilts the normals by the normal map: x along the tangent, y along cross(normal, tangent) * handedness. They come to
/// be of any length.
void tiltNormals(const ViewRays& rays, const SlotPlan& plan, std::span<const Lane4> samples, FragmentBatch& batch) {
  const Lane4& map = samples[plan.sample];
  const FloatVector one = all(1.0f), two = all(2.0f), intensity = all(plan.slot->intensity);
  for (std::size_t i = 0; i < batch.count; i += hn::Lanes(Floats())) {
    const FrontNormal front = frontNormal(rays, batch, i);
    const FloatVector3 n = front.along * inverseRoot(front.squared);
    const FloatVector3 raw{load(batch.tangent.x, i), load(batch.tangent.y, i), load(batch.tangent.z, i)};
    const FloatVector3 along = raw - n * dot(n, raw);
    const FloatVector alongSquared = dot(along, along);
    const FloatVector3 t = along * inverseRoot(alongSquared);
    const FloatVector3 b = cross(n, t) * load(batch.tangent.w, i);
    const FloatVector x = (load(map.x, i) * two - one) * intensity;
    const FloatVector y = (load(map.y, i) * two - one) * intensity;
    const FloatVector z = load(map.z, i) * two - one;
    const FloatVector3 tilted = t * x + b * y + n * z;
    const FloatMask isSound = hn::And(isUsable(alongSquared), isUsable(dot(tilted, tilted)));
    store(select(isSound, tilted, n), batch.normal, i);
  }
}

}  // namespace
}  // namespace ornolith::raster::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
