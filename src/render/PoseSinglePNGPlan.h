#pragma once

#include <cstdint>
#include <span>

#include "contracts/ExplicitPoseDocument.h"
#include "render/PoseRenderPagePlanner.h"

namespace ornolith {

/// The smallest tile of a single PNG, pixels a side.
inline constexpr std::int64_t minimumSinglePNGTileSide = 128;

/// All poses on one page of exactly `width` by `height` pixels, in the columns that give the largest tiles: by area,
/// then by likeness to a square, then fewer columns. What is left over stays at the right and the bottom. Throws
/// `ModelRenderError` (`ExplicitPoseOutputRequiresOnePage` for a size over the limits, `ExplicitPoseTilesTooSmall`) and
/// `PoseRenderPagePlanError` (`TooManyCells`).
PoseRenderPagePlan makeSinglePNGPlan(std::span<const ExplicitModelPose> poses, ModelRenderLayout layout,
                                     ContactSheetArrangement arrangement, std::int64_t width, std::int64_t height);

}  // namespace ornolith
