#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <tuple>

#include "render/LayoutViews.h"
#include "render/ModelRenderError.h"
#include "render/PoseSinglePNGPlan.h"

namespace ornolith {
namespace {

constexpr auto grid = ContactSheetArrangement::grid;
constexpr auto single = ModelRenderLayout::single;

std::vector<ExplicitModelPose> poses(std::size_t count) {
  std::vector<ExplicitModelPose> result(count);
  for (std::size_t i = 0; i < count; ++i) result[i].id = std::to_string(i);
  return result;
}

std::pair<std::int64_t, std::int64_t> tileSize(std::size_t count, ModelRenderLayout layout, std::int64_t width,
                                               std::int64_t height) {
  const PoseRenderPagePlan plan = makeSinglePNGPlan(poses(count), layout, grid, width, height);
  return {plan.tileWidth, plan.tileHeight};
}

std::string failureText(std::size_t count, ModelRenderLayout layout, std::int64_t width, std::int64_t height) {
  try {
    makeSinglePNGPlan(poses(count), layout, grid, width, height);
  } catch (const Error& error) {
    return error.errorDescription();
  }
  return "no failure";
}

TEST(SinglePNGPlan, GivesOnePoseTheWholeImage) {
  EXPECT_EQ(tileSize(1, single, 640, 480), std::pair(INT64_C(640), INT64_C(480)));
}

TEST(SinglePNGPlan, StacksTwoPosesOnATie) {
  EXPECT_EQ(tileSize(2, single, 1024, 1024), std::pair(INT64_C(1024), INT64_C(512)));
}

TEST(SinglePNGPlan, LetsAreaDecideForThreePoses) {
  EXPECT_EQ(tileSize(3, single, 1024, 1024), std::pair(INT64_C(1024), INT64_C(341)));
}

TEST(SinglePNGPlan, GivesFourPosesSquareTiles) {
  EXPECT_EQ(tileSize(4, single, 1024, 1024), std::pair(INT64_C(512), INT64_C(512)));
}

TEST(SinglePNGPlan, DividesTheBlockOfSixViews) {
  EXPECT_EQ(tileSize(1, ModelRenderLayout::contact6, 512, 512), std::pair(INT64_C(170), INT64_C(256)));
}

TEST(SinglePNGPlan, RefusesTilesBelow128Pixels) {
  const std::string tooSmall =
      "Every pose tile in a single PNG must be at least 128 by 128 pixels. Use a larger output or --output-directory.";
  EXPECT_EQ(failureText(2, single, 255, 255), tooSmall);
  EXPECT_EQ(failureText(1, single, 255, 255), "no failure");
  EXPECT_EQ(failureText(1, single, 127, 1000), tooSmall);
}

TEST(SinglePNGPlan, RefusesImagesOverTheBudget) {
  const std::string text = "This explicit pose plan does not fit in one PNG. Use --output-directory.";
  EXPECT_EQ(failureText(1, single, 8193, 128), text);
  EXPECT_EQ(failureText(1, single, 8192, 2049), text);
  EXPECT_EQ(failureText(1, single, 0, 128), text);
  EXPECT_EQ(failureText(1, single, INT64_MAX, INT64_MAX), text);
  EXPECT_EQ(failureText(1, single, 8192, 2048), "no failure");
}

TEST(SinglePNGPlan, LimitsCellsBeforeTiles) {
  EXPECT_EQ(failureText(683, ModelRenderLayout::contact6, 200, 200),
            "An explicit pose render may contain at most 4096 render cells.");
}

TEST(SinglePNGPlan, AgreesWithASearchOverAllColumnCounts) {
  std::mt19937 random(3);
  for (int i = 0; i < 2000; ++i) {
    const std::size_t count = 1 + random() % 40;
    const auto layout = static_cast<ModelRenderLayout>(random() % 3);
    const auto width = static_cast<std::int64_t>(128 + random() % 3900);
    const auto height = static_cast<std::int64_t>(128 + random() % 3900);
    const TileGrid block = layoutGrid(layout, grid);
    std::vector<std::tuple<std::int64_t, std::int64_t, std::int64_t, std::int64_t, std::int64_t>> choices;
    for (std::int64_t c = 1; c <= static_cast<std::int64_t>(count); ++c) {
      const std::int64_t rows = (static_cast<std::int64_t>(count) + c - 1) / c;
      const std::int64_t w = width / (c * block.across);
      const std::int64_t h = height / (rows * block.down);
      if (w >= 128 && h >= 128) choices.emplace_back(-w * h, std::abs(w - h), c, w, h);
    }
    if (choices.empty()) {
      EXPECT_NE(failureText(count, layout, width, height), "no failure");
      continue;
    }
    const auto best = *std::min_element(choices.begin(), choices.end());
    ASSERT_EQ(tileSize(count, layout, width, height), std::pair(std::get<3>(best), std::get<4>(best)))
        << count << " poses at " << width << " by " << height;
  }
}

TEST(SinglePNGPlan, PlacesBlocksRowByRowFromTheTopLeft) {
  const PoseRenderPagePlan plan = makeSinglePNGPlan(poses(3), ModelRenderLayout::contact4, grid, 1025, 1030);
  ASSERT_EQ(plan.pages.size(), 1U);
  const PoseRenderPage& page = plan.pages[0];
  EXPECT_EQ(page.width, 1025);
  EXPECT_EQ(page.height, 1030);
  EXPECT_EQ(page.number, 1);
  EXPECT_EQ(page.poseIndices, (std::vector<std::int64_t>{0, 1, 2}));
  ASSERT_EQ(page.cells.size(), 12U);
  for (const PoseRenderCell& cell : page.cells) {
    EXPECT_LE(cell.frame.x + cell.frame.width, 1025);
    EXPECT_LE(cell.frame.y + cell.frame.height, 1030);
  }
}

}  // namespace
}  // namespace ornolith
