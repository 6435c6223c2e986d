#include "render/ContactSheetGeometry.h"

#include <algorithm>
#include <cmath>

#include "render/LayoutViews.h"

namespace ornolith {

double ContactSheetGeometry::gutter(CGSize canvasSize, std::int64_t columns, std::int64_t rows) {
  const double columnShare = canvasSize.width / static_cast<double>(std::max<std::int64_t>(1, columns + 1)) * 0.35;
  const double rowShare = canvasSize.height / static_cast<double>(std::max<std::int64_t>(1, rows + 1)) * 0.35;
  const double relative = std::floor(std::min(canvasSize.width, canvasSize.height) * 0.015);
  const double base = relative >= 8.0 ? std::min(relative, 24.0) : 8.0;
  return std::max(0.0, std::floor(std::min({columnShare, rowShare, base})));
}

std::vector<CGRect> ContactSheetGeometry::frames(ModelRenderLayout layout, ContactSheetArrangement arrangement,
                                                 CGSize canvasSize) {
  const TileGrid grid = layoutGrid(layout, arrangement);
  const auto columns = static_cast<double>(grid.across);
  const auto rows = static_cast<double>(grid.down);
  const double space = gutter(canvasSize, grid.across, grid.down);
  const CGSize cell{std::max(1.0, std::floor((canvasSize.width - space * (columns + 1.0)) / columns)),
                    std::max(1.0, std::floor((canvasSize.height - space * (rows + 1.0)) / rows))};
  std::vector<CGRect> result;
  for (std::int64_t view = 0; view < grid.across * grid.down; ++view) {
    const auto row = static_cast<double>(view / grid.across);
    const auto column = static_cast<double>(view % grid.across);
    const CGPoint origin{column * (space + cell.width) + space,
                         canvasSize.height - space - (row + 1.0) * cell.height - row * space};
    result.push_back({origin, cell});
  }
  return result;
}

}  // namespace ornolith
