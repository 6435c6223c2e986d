#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "contracts/ExplicitPoseDocument.h"
#include "contracts/RenderOutputOptions.h"
#include "foundation/Error.h"
#include "viewport/CameraFitViewpoint.h"

namespace ornolith {

/// One tile of a page: one view of one pose.
struct PoseRenderCell {
  std::int64_t poseIndex = 0;  ///< In the document's list of poses.
  std::string poseID;
  std::int64_t viewIndex = 0;  ///< In the layout's list of viewpoints.
  CameraFitViewpoint viewpoint = CameraFitViewpoint::front;
  RenderPixelRect frame;  ///< Pixels from the page's top left.
  bool operator==(const PoseRenderCell&) const = default;
};

struct PoseRenderPage {
  std::int64_t number = 1;
  std::int64_t width = 0;                 ///< Pixels.
  std::int64_t height = 0;                ///< Pixels.
  std::vector<std::int64_t> poseIndices;  ///< Ascending.
  std::vector<PoseRenderCell> cells;      ///< Pose by pose, view by view.
  bool operator==(const PoseRenderPage&) const = default;
};

struct PoseRenderPagePlan {
  std::int64_t tileWidth = 0;   ///< Pixels.
  std::int64_t tileHeight = 0;  ///< Pixels.
  ModelRenderLayout layout = ModelRenderLayout::single;
  ContactSheetArrangement arrangement = ContactSheetArrangement::grid;
  std::vector<PoseRenderPage> pages;
  bool operator==(const PoseRenderPagePlan&) const = default;
};

namespace pose_render_page_plan_error {
struct TooManyCells {
  std::int64_t maximum = 0;
  bool operator==(const TooManyCells&) const = default;
};
struct TooManyPages {
  std::int64_t maximum = 0;
  bool operator==(const TooManyPages&) const = default;
};
struct NoPoses {
  bool operator==(const NoPoses&) const = default;
};
struct InvalidTileSize {
  bool operator==(const InvalidTileSize&) const = default;
};
struct PoseBlockTooLarge {
  bool operator==(const PoseBlockTooLarge&) const = default;
};
}  // namespace pose_render_page_plan_error

/// Poses that no series of pages can show.
class PoseRenderPagePlanError final
    : public TypedError<PoseRenderPagePlanError, pose_render_page_plan_error::TooManyCells,
                        pose_render_page_plan_error::TooManyPages, pose_render_page_plan_error::NoPoses,
                        pose_render_page_plan_error::InvalidTileSize, pose_render_page_plan_error::PoseBlockTooLarge> {
 public:
  using TypedError::TypedError;
  static std::string describe(const pose_render_page_plan_error::TooManyCells& error);
  static std::string describe(const pose_render_page_plan_error::TooManyPages& error);
  static std::string describe(const pose_render_page_plan_error::NoPoses& error);
  static std::string describe(const pose_render_page_plan_error::InvalidTileSize& error);
  static std::string describe(const pose_render_page_plan_error::PoseBlockTooLarge& error);
};

/// Packs poses into pages. A pose with its views is one unbreakable block of touching tiles; a page holds as many
/// blocks as 8192 pixels a side and 16,777,216 pixels allow, and is exactly as large as the blocks on it.
struct PoseRenderPagePlanner {
  static constexpr std::int64_t maximumCellCount = 4096;
  static constexpr std::int64_t maximumPageCount = 256;

  /// How the blocks of a full page are placed.
  struct Packing {
    std::int64_t columns = 0;
    std::int64_t rows = 0;
    std::int64_t capacity = 0;  ///< `columns * rows`.
    bool operator==(const Packing&) const = default;
  };

  /// Tile sizes are pixels. Throws `PoseRenderPagePlanError`.
  static PoseRenderPagePlan makePlan(std::span<const ExplicitModelPose> poses, ModelRenderLayout layout,
                                     ContactSheetArrangement arrangement, std::int64_t tileWidth,
                                     std::int64_t tileHeight);

  /// The packing with the most blocks, of those the one nearest to a square, of those the one with the fewest columns.
  /// Block sizes are pixels and positive. Throws `PoseBlockTooLarge` where not one block fits.
  static Packing bestPacking(std::int64_t blockWidth, std::int64_t blockHeight);
};

/// The number of cells, poses times views. Throws `TooManyCells` above `PoseRenderPagePlanner::maximumCellCount`.
std::int64_t checkedCellCount(std::size_t poseCount, ModelRenderLayout layout);

/// Appends the cells of pose `poseIndex` to `page`, its block's top left at (`x`, `y`).
void appendPoseBlock(PoseRenderPage& page, const PoseRenderPagePlan& plan, std::int64_t poseIndex,
                     const std::string& poseID, std::int64_t x, std::int64_t y);

}  // namespace ornolith
