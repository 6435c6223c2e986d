#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <limits>
#include <random>
#include <set>
#include <tuple>

#include "render/LayoutViews.h"
#include "render/PoseRenderPagePlanner.h"

namespace ornolith {
namespace {

using namespace pose_render_page_plan_error;
constexpr auto grid = ContactSheetArrangement::grid;
constexpr auto strip = ContactSheetArrangement::strip;
constexpr auto single = ModelRenderLayout::single;

std::vector<ExplicitModelPose> poses(std::size_t count) {
  std::vector<ExplicitModelPose> result(count);
  for (std::size_t i = 0; i < count; ++i) result[i].id = "pose " + std::to_string(i);
  return result;
}

template <typename Case>
void expectFailure(const Case& expected, const std::string& text, const std::function<void()>& call) {
  try {
    call();
    FAIL() << "nothing was thrown";
  } catch (const PoseRenderPagePlanError& error) {
    ASSERT_NE(error.getIf<Case>(), nullptr) << error.errorDescription();
    EXPECT_EQ(*error.getIf<Case>(), expected);
    EXPECT_EQ(error.errorDescription(), text);
  }
}

TEST(BestPacking, FillsSixteenMegapixelsWithSquareTiles) {
  EXPECT_EQ(PoseRenderPagePlanner::bestPacking(512, 512),
            (PoseRenderPagePlanner::Packing{.columns = 8, .rows = 8, .capacity = 64}));
}

TEST(BestPacking, PrefersMorePosesOverASquare) {
  EXPECT_EQ(PoseRenderPagePlanner::bestPacking(1024, 768),
            (PoseRenderPagePlanner::Packing{.columns = 3, .rows = 7, .capacity = 21}));
}

TEST(BestPacking, PutsOneWidePosePerPage) {
  EXPECT_EQ(PoseRenderPagePlanner::bestPacking(8192, 2048),
            (PoseRenderPagePlanner::Packing{.columns = 1, .rows = 1, .capacity = 1}));
}

TEST(BestPacking, TakesTheWholeBudgetForSinglePixels) {
  EXPECT_EQ(PoseRenderPagePlanner::bestPacking(1, 1),
            (PoseRenderPagePlanner::Packing{.columns = 4096, .rows = 4096, .capacity = 16'777'216}));
}

TEST(BestPacking, RefusesBlocksThatFitNoPage) {
  const std::string text = "One pose block exceeds 16 megapixels or 8192 pixels per dimension.";
  for (const auto& [width, height] : {std::pair{8193, 1}, {1, 8193}, {8192, 2049}, {0, 5}, {5, -1}}) {
    expectFailure(PoseBlockTooLarge{}, text, [w = width, h = height] { PoseRenderPagePlanner::bestPacking(w, h); });
  }
}

/// Every pair of column and row counts is tried; the rules of preference decide by sorting.
PoseRenderPagePlanner::Packing bestPackingByTryingAll(std::int64_t width, std::int64_t height) {
  std::set<std::tuple<std::int64_t, std::int64_t, std::int64_t, std::int64_t>> candidates;
  for (std::int64_t columns = 1; columns * width <= 8192; ++columns) {
    std::int64_t rows = 0;
    while ((rows + 1) * height <= 8192 && columns * width * (rows + 1) * height <= 16'777'216) ++rows;
    if (rows == 0) continue;
    candidates.insert({-columns * rows, std::abs(columns * width - rows * height), columns, rows});
  }
  const auto [negativeCapacity, imbalance, columns, rows] = *candidates.begin();
  return {.columns = columns, .rows = rows, .capacity = -negativeCapacity};
}

TEST(BestPacking, AgreesWithASearchOverAllPackings) {
  std::mt19937 random(7);
  std::uniform_int_distribution<std::int64_t> side(24, 4096);
  for (int i = 0; i < 3000; ++i) {
    const std::int64_t width = side(random);
    const std::int64_t height = side(random);
    ASSERT_EQ(PoseRenderPagePlanner::bestPacking(width, height), bestPackingByTryingAll(width, height))
        << width << " by " << height;
  }
}

TEST(PoseRenderPagePlanner, ChecksPosesThenTilesThenCellsThenBlocksThenPages) {
  const auto plan = [](std::size_t count, ModelRenderLayout layout, std::int64_t width, std::int64_t height) {
    return [=] { PoseRenderPagePlanner::makePlan(poses(count), layout, grid, width, height); };
  };
  expectFailure(NoPoses{}, "At least one explicit pose is required.", plan(0, single, 0, 0));
  expectFailure(InvalidTileSize{}, "Tile width and height must be positive integers.", plan(5000, single, 0, 9000));
  expectFailure(InvalidTileSize{}, "Tile width and height must be positive integers.", plan(1, single, 1, -1));
  expectFailure(TooManyCells{.maximum = 4096}, "An explicit pose render may contain at most 4096 render cells.",
                plan(683, ModelRenderLayout::contact6, 9000, 9000));
  expectFailure(PoseBlockTooLarge{}, "One pose block exceeds 16 megapixels or 8192 pixels per dimension.",
                plan(682, ModelRenderLayout::contact6, 9000, 9000));
  expectFailure(TooManyPages{.maximum = 256}, "An explicit pose render may contain at most 256 pages.",
                plan(257, single, 4096, 4096));
  EXPECT_EQ(PoseRenderPagePlanner::makePlan(poses(256), single, grid, 4096, 4096).pages.size(), 256U);
}

TEST(PoseRenderPagePlanner, RefusesTilesThatOverflow) {
  constexpr std::int64_t huge = std::numeric_limits<std::int64_t>::max();
  const std::string text = "One pose block exceeds 16 megapixels or 8192 pixels per dimension.";
  expectFailure(PoseBlockTooLarge{}, text,
                [] { PoseRenderPagePlanner::makePlan(poses(1), ModelRenderLayout::contact6, strip, huge, huge); });
  expectFailure(PoseBlockTooLarge{}, text, [] { PoseRenderPagePlanner::makePlan(poses(1), single, grid, 8193, 1); });
  expectFailure(PoseBlockTooLarge{}, text,
                [] { PoseRenderPagePlanner::makePlan(poses(1), ModelRenderLayout::contact4, strip, 4097, 1); });
  EXPECT_NO_THROW(PoseRenderPagePlanner::makePlan(poses(1), ModelRenderLayout::contact4, strip, 2048, 1));
}

TEST(PoseRenderPagePlanner, BeginsASecondPageWithTheFirstPoseTooMany) {
  const PoseRenderPagePlan plan = PoseRenderPagePlanner::makePlan(poses(65), single, grid, 512, 512);
  ASSERT_EQ(plan.pages.size(), 2U);
  EXPECT_EQ(plan.pages[0].width, 4096);
  EXPECT_EQ(plan.pages[0].height, 4096);
  EXPECT_EQ(plan.pages[0].cells.size(), 64U);
  EXPECT_EQ(plan.pages[1].number, 2);
  EXPECT_EQ(plan.pages[1].width, 512);
  EXPECT_EQ(plan.pages[1].height, 512);
  EXPECT_EQ(plan.pages[1].poseIndices, std::vector<std::int64_t>{64});
  EXPECT_EQ(PoseRenderPagePlanner::makePlan(poses(64), single, grid, 512, 512).pages.size(), 1U);
}

TEST(PoseRenderPagePlanner, ShrinksThePageToTheBlocksOnIt) {
  const PoseRenderPagePlan plan = PoseRenderPagePlanner::makePlan(poses(1000), single, grid, 1, 1);
  ASSERT_EQ(plan.pages.size(), 1U);
  EXPECT_EQ(plan.pages[0].width, 1000);
  EXPECT_EQ(plan.pages[0].height, 1);
}

TEST(PoseRenderPagePlanner, PlacesTheViewsOfAPoseInItsBlock) {
  const PoseRenderPagePlan plan = PoseRenderPagePlanner::makePlan(poses(2), ModelRenderLayout::contact6, grid, 100, 50);
  ASSERT_EQ(plan.pages.size(), 1U);
  const std::vector<PoseRenderCell>& cells = plan.pages[0].cells;
  ASSERT_EQ(cells.size(), 12U);
  EXPECT_EQ(cells[4].viewpoint, CameraFitViewpoint::top);
  EXPECT_EQ(cells[4].viewIndex, 4);
  EXPECT_EQ(cells[4].frame, (RenderPixelRect{.x = 100, .y = 50, .width = 100, .height = 50}));
  EXPECT_EQ(cells[6].poseIndex, 1);
  EXPECT_EQ(cells[6].poseID, "pose 1");
  EXPECT_EQ(cells[6].frame, (RenderPixelRect{.x = 300, .y = 0, .width = 100, .height = 50}));
}

TEST(PoseRenderPagePlanner, IgnoresTheArrangementOfASingleView) {
  const auto plan = PoseRenderPagePlanner::makePlan(poses(3), single, grid, 64, 64);
  EXPECT_EQ(plan.pages, PoseRenderPagePlanner::makePlan(poses(3), single, strip, 64, 64).pages);
}

TEST(PoseRenderPagePlanner, TilesEveryPageWithoutGapsInAnyLayout) {
  std::mt19937 random(11);
  for (int i = 0; i < 300; ++i) {
    const auto layout = static_cast<ModelRenderLayout>(random() % 3);
    const auto arrangement = static_cast<ContactSheetArrangement>(random() % 2);
    const std::size_t count = 1 + random() % 300;
    const std::int64_t width = 32 + static_cast<std::int64_t>(random() % 700);
    const std::int64_t height = 32 + static_cast<std::int64_t>(random() % 700);
    const PoseRenderPagePlan plan = PoseRenderPagePlanner::makePlan(poses(count), layout, arrangement, width, height);
    std::int64_t next = 0;
    for (const PoseRenderPage& page : plan.pages) {
      ASSERT_LE(page.width, 8192);
      ASSERT_LE(page.height, 8192);
      ASSERT_LE(page.width * page.height, 16'777'216);
      std::set<std::pair<std::int64_t, std::int64_t>> origins;
      for (const PoseRenderCell& cell : page.cells) {
        ASSERT_EQ(cell.frame.x % width, 0);
        ASSERT_EQ(cell.frame.y % height, 0);
        ASSERT_LE(cell.frame.x + width, page.width);
        ASSERT_LE(cell.frame.y + height, page.height);
        ASSERT_TRUE(origins.insert({cell.frame.x, cell.frame.y}).second) << "two cells in one place";
      }
      for (const std::int64_t pose : page.poseIndices) ASSERT_EQ(pose, next++);
      ASSERT_EQ(page.cells.size(), page.poseIndices.size() * layoutViewpoints(layout).size());
    }
    ASSERT_EQ(next, static_cast<std::int64_t>(count));
  }
}

}  // namespace
}  // namespace ornolith
