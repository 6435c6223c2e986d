#pragma once

#include <span>

#include "raster/FragmentBatch.h"
#include "raster/Projection.h"
#include "raster/Shading.h"
#include "raster/ShadingPlan.h"

namespace ornolith::raster {

/// The formulas of `shadeBatch` over whole vectors of fragments, whose textures stand in `scratch.samples`.
/// `scratch.cosines` must have room for all lights. The same bits on every instruction set.
void computeLight(const ShadingPlan& plan, const LightRig& lights, const ViewRays& rays, ShadingScratch& scratch,
                  FragmentBatch& batch) noexcept;

/// The opacity alone, of two slots whose textures stand in `samples`.
void computeOpacity(const ShadingPlan& plan, const SlotPlan& diffuse, const SlotPlan& transparent,
                    std::span<const Lane4> samples, FragmentBatch& batch) noexcept;

}  // namespace ornolith::raster
