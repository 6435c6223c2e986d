#include "render/PoseSinglePNGPlan.h"

#include <cstdlib>
#include <optional>

#include "imaging/Image.h"
#include "render/LayoutViews.h"
#include "render/ModelRenderError.h"

namespace ornolith {

namespace {

struct TileChoice {
  std::int64_t columns = 0;
  std::int64_t width = 0;   ///< Of one tile, pixels.
  std::int64_t height = 0;  ///< Of one tile, pixels.

  std::int64_t area() const { return width * height; }
  std::int64_t imbalance() const { return std::abs(width - height); }
};

std::optional<TileChoice> largestTiles(std::int64_t poseCount, TileGrid block, std::int64_t width,
                                       std::int64_t height) {
  std::optional<TileChoice> best;
  for (std::int64_t columns = 1; columns <= poseCount; ++columns) {
    const std::int64_t rows = (poseCount + columns - 1) / columns;
    const TileChoice choice{
        .columns = columns, .width = width / (columns * block.across), .height = height / (rows * block.down)};
    if (choice.width < minimumSinglePNGTileSide || choice.height < minimumSinglePNGTileSide) continue;
    const bool isBetter = !best || choice.area() > best->area() ||
                          (choice.area() == best->area() && choice.imbalance() < best->imbalance());
    if (isBetter) best = choice;
  }
  return best;
}

}  // namespace

PoseRenderPagePlan makeSinglePNGPlan(std::span<const ExplicitModelPose> poses, ModelRenderLayout layout,
                                     ContactSheetArrangement arrangement, std::int64_t width, std::int64_t height) {
  if (!isOutputImageSize(width, height)) {
    throw ModelRenderError(model_render_error::ExplicitPoseOutputRequiresOnePage{});
  }
  checkedCellCount(poses.size(), layout);
  const TileGrid block = layoutGrid(layout, arrangement);
  const auto poseCount = static_cast<std::int64_t>(poses.size());
  const std::optional<TileChoice> tile = largestTiles(poseCount, block, width, height);
  if (!tile) throw ModelRenderError(model_render_error::ExplicitPoseTilesTooSmall{});

  PoseRenderPagePlan plan{
      .tileWidth = tile->width, .tileHeight = tile->height, .layout = layout, .arrangement = arrangement, .pages = {}};
  PoseRenderPage page{.number = 1, .width = width, .height = height, .poseIndices = {}, .cells = {}};
  for (std::int64_t pose = 0; pose < poseCount; ++pose) {
    page.poseIndices.push_back(pose);
    appendPoseBlock(page, plan, pose, poses[static_cast<std::size_t>(pose)].id,
                    pose % tile->columns * block.across * tile->width,
                    pose / tile->columns * block.down * tile->height);
  }
  plan.pages.push_back(std::move(page));
  return plan;
}

}  // namespace ornolith
