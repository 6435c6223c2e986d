#include <gtest/gtest.h>

#include "render/ContactSheetGeometry.h"

namespace ornolith {
namespace {

constexpr auto grid = ContactSheetArrangement::grid;
constexpr auto strip = ContactSheetArrangement::strip;

TEST(ContactSheetGeometry, GivesASquareSheetOfFourItsGutterAndCells) {
  EXPECT_EQ(ContactSheetGeometry::gutter({1024, 1024}, 2, 2), 15.0);
  const std::vector<CGRect> frames = ContactSheetGeometry::frames(ModelRenderLayout::contact4, grid, {1024, 1024});
  ASSERT_EQ(frames.size(), 4U);
  EXPECT_EQ(frames[0], (CGRect{{15, 520}, {489, 489}}));
  EXPECT_EQ(frames[1], (CGRect{{519, 520}, {489, 489}}));
  EXPECT_EQ(frames[2], (CGRect{{15, 16}, {489, 489}}));
  EXPECT_EQ(frames[3], (CGRect{{519, 16}, {489, 489}}));
}

TEST(ContactSheetGeometry, GivesASmallStripTheSmallestGutter) {
  EXPECT_EQ(ContactSheetGeometry::gutter({300, 200}, 6, 1), 8.0);
  const std::vector<CGRect> frames = ContactSheetGeometry::frames(ModelRenderLayout::contact6, strip, {300, 200});
  ASSERT_EQ(frames.size(), 6U);
  EXPECT_EQ(frames[0].size, (CGSize{40, 184}));
  EXPECT_EQ(frames[5].origin, (CGPoint{8 + 5 * 48, 8}));
}

TEST(ContactSheetGeometry, StopsTheGutterAt24) {
  EXPECT_EQ(ContactSheetGeometry::gutter({8192, 2048}, 3, 2), 24.0);
  EXPECT_EQ(ContactSheetGeometry::gutter({1600, 1600}, 2, 2), 24.0);
  EXPECT_EQ(ContactSheetGeometry::gutter({1599, 1599}, 2, 2), 23.0);
}

TEST(ContactSheetGeometry, KeepsCellsOfOnePixelOnATinyCanvas) {
  const std::vector<CGRect> frames = ContactSheetGeometry::frames(ModelRenderLayout::contact6, strip, {4, 2});
  for (const CGRect& frame : frames) EXPECT_EQ(frame.size.width, 1.0);
  EXPECT_EQ(ContactSheetGeometry::gutter({4, 2}, 6, 1), 0.0);
}

}  // namespace
}  // namespace ornolith
