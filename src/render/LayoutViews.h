#pragma once

#include <cstdint>
#include <span>

#include "contracts/RenderOutputOptions.h"
#include "viewport/CameraFitViewpoint.h"

namespace ornolith {

/// The sides that a layout shows, in order: the first one, four or six of front, back, left, right, top and bottom.
std::span<const CameraFitViewpoint> layoutViewpoints(ModelRenderLayout layout) noexcept;

/// A grid of tiles.
struct TileGrid {
  std::int64_t across = 1;
  std::int64_t down = 1;
  bool operator==(const TileGrid&) const = default;
};

/// How the views of one model state are placed: a row for a strip, 2 by 2 or 3 by 2 for a grid. The arrangement plays
/// no part for a single view.
TileGrid layoutGrid(ModelRenderLayout layout, ContactSheetArrangement arrangement) noexcept;

}  // namespace ornolith
