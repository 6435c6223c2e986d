#include "render/LayoutViews.h"

namespace ornolith {

std::span<const CameraFitViewpoint> layoutViewpoints(ModelRenderLayout layout) noexcept {
  const std::span<const CameraFitViewpoint> all(allCameraFitViewpoints);
  switch (layout) {
    case ModelRenderLayout::single:
      return all.first(1);
    case ModelRenderLayout::contact4:
      return all.first(4);
    case ModelRenderLayout::contact6:
      break;
  }
  return all;
}

TileGrid layoutGrid(ModelRenderLayout layout, ContactSheetArrangement arrangement) noexcept {
  if (layout == ModelRenderLayout::single) return {};
  const bool isStrip = arrangement == ContactSheetArrangement::strip;
  if (layout == ModelRenderLayout::contact4) return isStrip ? TileGrid{4, 1} : TileGrid{2, 2};
  return isStrip ? TileGrid{6, 1} : TileGrid{3, 2};
}

}  // namespace ornolith
