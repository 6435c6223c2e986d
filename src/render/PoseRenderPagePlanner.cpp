#include "render/PoseRenderPagePlanner.h"

#include <algorithm>
#include <cstdlib>
#include <optional>

#include "imaging/Image.h"
#include "render/LayoutViews.h"

namespace ornolith {

namespace {

using namespace pose_render_page_plan_error;

/// The size of one pose's block in pixels, within the limits of an image.
struct BlockSize {
  std::int64_t width = 0;
  std::int64_t height = 0;
};

BlockSize checkedBlockSize(TileGrid grid, std::int64_t tileWidth, std::int64_t tileHeight) {
  // A tile side above the limit fails here before anything is multiplied, so no product can overflow.
  if (tileWidth > maximumImageSide / grid.across || tileHeight > maximumImageSide / grid.down) {
    throw PoseRenderPagePlanError(PoseBlockTooLarge{});
  }
  const BlockSize block{tileWidth * grid.across, tileHeight * grid.down};
  if (block.width * block.height > maximumImagePixels) throw PoseRenderPagePlanError(PoseBlockTooLarge{});
  return block;
}

PoseRenderPage makePage(std::span<const ExplicitModelPose> poses, std::int64_t first, const PoseRenderPagePlan& plan,
                        PoseRenderPagePlanner::Packing packing, BlockSize block) {
  const auto count = std::min<std::int64_t>(packing.capacity, static_cast<std::int64_t>(poses.size()) - first);
  const std::int64_t columnsUsed = std::min(count, packing.columns);
  const std::int64_t rowsUsed = (count + packing.columns - 1) / packing.columns;
  PoseRenderPage page{.number = first / packing.capacity + 1,
                      .width = columnsUsed * block.width,
                      .height = rowsUsed * block.height,
                      .poseIndices = {},
                      .cells = {}};
  for (std::int64_t slot = 0; slot < count; ++slot) {
    const std::int64_t pose = first + slot;
    page.poseIndices.push_back(pose);
    appendPoseBlock(page, plan, pose, poses[static_cast<std::size_t>(pose)].id, slot % packing.columns * block.width,
                    slot / packing.columns * block.height);
  }
  return page;
}

}  // namespace

std::string PoseRenderPagePlanError::describe(const TooManyCells& error) {
  return "An explicit pose render may contain at most " + std::to_string(error.maximum) + " render cells.";
}
std::string PoseRenderPagePlanError::describe(const TooManyPages& error) {
  return "An explicit pose render may contain at most " + std::to_string(error.maximum) + " pages.";
}
std::string PoseRenderPagePlanError::describe(const NoPoses&) {
  return "At least one explicit pose is required.";
}
std::string PoseRenderPagePlanError::describe(const InvalidTileSize&) {
  return "Tile width and height must be positive integers.";
}
std::string PoseRenderPagePlanError::describe(const PoseBlockTooLarge&) {
  return "One pose block exceeds 16 megapixels or 8192 pixels per dimension.";
}

std::int64_t checkedCellCount(std::size_t poseCount, ModelRenderLayout layout) {
  const std::size_t views = layoutViewpoints(layout).size();
  constexpr auto maximum = static_cast<std::size_t>(PoseRenderPagePlanner::maximumCellCount);
  if (poseCount > maximum / views) {
    throw PoseRenderPagePlanError(TooManyCells{.maximum = PoseRenderPagePlanner::maximumCellCount});
  }
  return static_cast<std::int64_t>(poseCount * views);
}

void appendPoseBlock(PoseRenderPage& page, const PoseRenderPagePlan& plan, std::int64_t poseIndex,
                     const std::string& poseID, std::int64_t x, std::int64_t y) {
  const std::span<const CameraFitViewpoint> views = layoutViewpoints(plan.layout);
  const TileGrid grid = layoutGrid(plan.layout, plan.arrangement);
  for (std::size_t v = 0; v < views.size(); ++v) {
    const auto view = static_cast<std::int64_t>(v);
    page.cells.push_back({.poseIndex = poseIndex,
                          .poseID = poseID,
                          .viewIndex = view,
                          .viewpoint = views[v],
                          .frame = {.x = x + view % grid.across * plan.tileWidth,
                                    .y = y + view / grid.across * plan.tileHeight,
                                    .width = plan.tileWidth,
                                    .height = plan.tileHeight}});
  }
}

PoseRenderPagePlanner::Packing PoseRenderPagePlanner::bestPacking(std::int64_t blockWidth, std::int64_t blockHeight) {
  if (blockWidth <= 0 || blockHeight <= 0) throw PoseRenderPagePlanError(PoseBlockTooLarge{});
  const std::int64_t maximumColumns = maximumImageSide / blockWidth;
  const std::int64_t maximumRows = maximumImageSide / blockHeight;
  if (maximumColumns <= 0 || maximumRows <= 0) throw PoseRenderPagePlanError(PoseBlockTooLarge{});

  std::optional<Packing> best;
  std::int64_t bestImbalance = 0;
  for (std::int64_t columns = 1; columns <= maximumColumns; ++columns) {
    const std::int64_t rowPixels = columns * blockWidth * blockHeight;  // at most 8192 * 8192
    if (rowPixels > maximumImagePixels) continue;
    const std::int64_t rows = std::min(maximumImagePixels / rowPixels, maximumRows);
    const std::int64_t capacity = columns * rows;
    const std::int64_t imbalance = std::abs(columns * blockWidth - rows * blockHeight);
    // Ascending columns: on a tie of both the earlier candidate, with fewer columns, stays.
    if (!best || capacity > best->capacity || (capacity == best->capacity && imbalance < bestImbalance)) {
      best = Packing{.columns = columns, .rows = rows, .capacity = capacity};
      bestImbalance = imbalance;
    }
  }
  if (!best) throw PoseRenderPagePlanError(PoseBlockTooLarge{});
  return *best;
}

PoseRenderPagePlan PoseRenderPagePlanner::makePlan(std::span<const ExplicitModelPose> poses, ModelRenderLayout layout,
                                                   ContactSheetArrangement arrangement, std::int64_t tileWidth,
                                                   std::int64_t tileHeight) {
  if (poses.empty()) throw PoseRenderPagePlanError(NoPoses{});
  if (tileWidth <= 0 || tileHeight <= 0) throw PoseRenderPagePlanError(InvalidTileSize{});
  checkedCellCount(poses.size(), layout);
  const BlockSize block = checkedBlockSize(layoutGrid(layout, arrangement), tileWidth, tileHeight);
  const Packing packing = bestPacking(block.width, block.height);
  const auto poseCount = static_cast<std::int64_t>(poses.size());
  if ((poseCount + packing.capacity - 1) / packing.capacity > maximumPageCount) {
    throw PoseRenderPagePlanError(TooManyPages{.maximum = maximumPageCount});
  }

  PoseRenderPagePlan plan{
      .tileWidth = tileWidth, .tileHeight = tileHeight, .layout = layout, .arrangement = arrangement, .pages = {}};
  for (std::int64_t first = 0; first < poseCount; first += packing.capacity) {
    plan.pages.push_back(makePage(poses, first, plan, packing, block));
  }
  return plan;
}

}  // namespace ornolith
