#include "raster/Shading.h"

#include <algorithm>
#include <limits>

#include "raster/ShadingKernels.h"
#include "raster/TextureSampler.h"

namespace ornolith::raster {

LightRig LightRig::make(const device::FrameDescription& frame) {
  LightRig rig;
  rig.ambient = frame.ambientLight;
  for (const device::DirectionalLight& light : frame.directionalLights) {
    const float size = length(light.direction);
    if (!(size > 0 && size < std::numeric_limits<float>::infinity()) || !isFinite(light.color)) continue;
    rig.directional.push_back({-(light.direction / size), light.color});
  }
  return rig;
}

void shadeBatch(const ShadingPlan& plan, const LightRig& lights, const ViewRays& rays, ShadingScratch& scratch,
                FragmentBatch& batch) {
  if (!plan.reads.empty()) sampleTextures(plan.reads, batch.coordinates, batch.count, scratch.samples);
  std::vector<SurfaceCosines::Light>& cosines = scratch.cosines.lights;
  cosines.resize(std::max(cosines.size(), lights.directional.size()));
  computeLight(plan, lights, rays, scratch, batch);
}

void shadeOpacity(const ShadingPlan& plan, ShadingScratch& scratch, FragmentBatch& batch) noexcept {
  sampleTextures(plan.opacityReads, batch.coordinates, batch.count, scratch.samples);
  computeOpacity(plan, plan.opacityDiffuse, plan.opacityTransparent, scratch.samples, batch);
}

}  // namespace ornolith::raster
