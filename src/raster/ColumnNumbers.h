#pragma once

#include <array>
#include <cstddef>

#include "raster/FragmentBatch.h"
#include "raster/TileGrid.h"

namespace ornolith::raster {

/// The columns of a tile as floats, and what whole vectors read behind them.
alignas(64) inline constexpr std::array<float, tileSide + laneReserve> columnNumbers = [] {
  std::array<float, tileSide + laneReserve> numbers{};
  for (std::size_t i = 0; i < numbers.size(); ++i) numbers[i] = static_cast<float>(i);
  return numbers;
}();

}  // namespace ornolith::raster
