#pragma once

#include <algorithm>
#include <cstdint>

#include "raster/EdgeFunction.h"
#include "raster/PrimitiveRecord.h"
#include "raster/TileGrid.h"

namespace ornolith::raster {

/// A triangle with corners brought to one tile: everything relative to the centre of the tile's first pixel. Nothing of
/// it is in the tile where `top` is below `bottom`.
struct TileTriangle {
  std::int32_t left, top, right, bottom;  ///< Inclusive pixels within the tile.
  std::int32_t edge[3];
  std::int32_t stepX[3];
  std::int32_t stepY[3];
  float depth;
  float depthX;
  float depthY;

  TileTriangle(const PrimitiveRecord& record, const TileBounds& tile) noexcept {
    const std::int32_t(&x)[3] = record.outline.x;
    const std::int32_t(&y)[3] = record.outline.y;
    left = std::max(firstPixel(std::min({x[0], x[1], x[2]})) - tile.x, 0);
    top = std::max(firstPixel(std::min({y[0], y[1], y[2]})) - tile.y, 0);
    right = std::min(lastPixel(std::max({x[0], x[1], x[2]})) - tile.x, tile.width - 1);
    bottom = std::min(lastPixel(std::max({y[0], y[1], y[2]})) - tile.y, tile.height - 1);
    if (left > right || top > bottom) {
      top = bottom + 1;
      return;
    }
    const bool mayMiss = record.form != TriangleForm::placed;
    const std::int32_t originX = tile.x * subpixelOne, originY = tile.y * subpixelOne;
    for (int k = 0; k < 3; ++k) {
      const int next = k == 2 ? 0 : k + 1;
      const EdgeFunction function(x[k] - originX, y[k] - originY, x[next] - originX, y[next] - originY);
      if (mayMiss && function.excludes(left, top, right - left + 1, bottom - top + 1)) {
        top = bottom + 1;
        return;
      }
      edge[k] = function.limitedAtOrigin();
      stepX[k] = function.stepX;
      stepY[k] = function.stepY;
    }
    if (record.form == TriangleForm::placed) {
      depth = record.depth[0];
      depthX = record.depth[1];
      depthY = record.depth[2];
    } else {
      setDepthPlane(record, tile);
    }
  }

 private:
  /// The plane through the corners' depths, solved in double precision so that a steep or huge triangle keeps its
  /// place.
  void setDepthPlane(const PrimitiveRecord& record, const TileBounds& tile) noexcept {
    constexpr double unit = 1.0 / subpixelOne;
    const std::int32_t(&x)[3] = record.outline.x;
    const std::int32_t(&y)[3] = record.outline.y;
    const double x1 = (x[1] - x[0]) * unit, y1 = (y[1] - y[0]) * unit;
    const double x2 = (x[2] - x[0]) * unit, y2 = (y[2] - y[0]) * unit;
    const double z0 = record.depth[0];
    const double z1 = record.depth[1] - z0;
    const double z2 = record.depth[2] - z0;
    const double inverseArea = 1.0 / (x1 * y2 - y1 * x2);
    const double gradientX = (z1 * y2 - z2 * y1) * inverseArea;
    const double gradientY = (z2 * x1 - z1 * x2) * inverseArea;
    const double fromX = tile.x + 0.5 - x[0] * unit;
    const double fromY = tile.y + 0.5 - y[0] * unit;
    depth = static_cast<float>(z0 + gradientX * fromX + gradientY * fromY);
    depthX = static_cast<float>(gradientX);
    depthY = static_cast<float>(gradientY);
  }
};

}  // namespace ornolith::raster
