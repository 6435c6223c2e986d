#include "raster/Coverage.h"

#include <algorithm>
#include <cstdlib>

#include "raster/EdgeFunction.h"

namespace ornolith::raster {
namespace {

/// A triangle brought to one tile: everything relative to the centre of the tile's first pixel.
struct TileTriangle {
  std::int32_t left, top, right, bottom;  ///< Inclusive pixels within the tile.
  std::int32_t edge[3];
  std::int32_t stepX[3];
  std::int32_t stepY[3];
  float depth;
  float depthX;
  float depthY;

  TileTriangle(const PrimitiveRecord& record, const TileBounds& tile) noexcept {
    const std::int32_t(&x)[3] = record.x;
    const std::int32_t(&y)[3] = record.y;
    left = std::max(firstPixel(std::min({x[0], x[1], x[2]})) - tile.x, 0);
    top = std::max(firstPixel(std::min({y[0], y[1], y[2]})) - tile.y, 0);
    right = std::min(lastPixel(std::max({x[0], x[1], x[2]})) - tile.x, tile.width - 1);
    bottom = std::min(lastPixel(std::max({y[0], y[1], y[2]})) - tile.y, tile.height - 1);
    if (left > right || top > bottom) {
      top = bottom + 1;
      return;
    }
    for (int k = 0; k < 3; ++k) {
      const int next = k == 2 ? 0 : k + 1;
      const EdgeFunction function(x[k], y[k], x[next], y[next]);
      if (function.excludes(tile.x + left, tile.y + top, right - left + 1, bottom - top + 1)) {
        top = bottom + 1;
        return;
      }
      edge[k] = function.limitedAt(tile.x, tile.y);
      stepX[k] = function.stepX;
      stepY[k] = function.stepY;
    }
    setDepthPlane(record, tile);
  }

 private:
  /// The plane through the corners' depths, solved in double precision so that a steep or huge triangle keeps its
  /// place.
  void setDepthPlane(const PrimitiveRecord& record, const TileBounds& tile) noexcept {
    constexpr double unit = 1.0 / subpixelOne;
    const double x1 = (record.x[1] - record.x[0]) * unit, y1 = (record.y[1] - record.y[0]) * unit;
    const double x2 = (record.x[2] - record.x[0]) * unit, y2 = (record.y[2] - record.y[0]) * unit;
    const double z0 = record.depth[0];
    const double z1 = record.depth[1] - z0;
    const double z2 = record.depth[2] - z0;
    const double inverseArea = 1.0 / (x1 * y2 - y1 * x2);
    const double gradientX = (z1 * y2 - z2 * y1) * inverseArea;
    const double gradientY = (z2 * x1 - z1 * x2) * inverseArea;
    const double fromX = tile.x + 0.5 - record.x[0] * unit;
    const double fromY = tile.y + 0.5 - record.y[0] * unit;
    depth = static_cast<float>(z0 + gradientX * fromX + gradientY * fromY);
    depthX = static_cast<float>(gradientX);
    depthY = static_cast<float>(gradientY);
  }
};

/// Calls `visit(pixel, depth)` for each pixel that the triangle covers, row by row.
template <typename Visit>
void visitTriangle(const TileTriangle& triangle, const Visit& visit) noexcept {
  for (std::int32_t y = triangle.top; y <= triangle.bottom; ++y) {
    std::int32_t edge[3];
    for (int k = 0; k < 3; ++k) {
      edge[k] = triangle.edge[k] + triangle.stepY[k] * y + triangle.stepX[k] * triangle.left;
    }
    const float rowDepth = triangle.depth + triangle.depthY * static_cast<float>(y);
    for (std::int32_t x = triangle.left; x <= triangle.right; ++x) {
      if ((edge[0] | edge[1] | edge[2]) >= 0) {
        visit(pixelIndex(x, y), rowDepth + triangle.depthX * static_cast<float>(x));
      }
      for (int k = 0; k < 3; ++k) edge[k] += triangle.stepX[k];
    }
  }
}

/// A quotient rounded down; `divisor` is positive.
std::int64_t floorDivide(std::int64_t value, std::int64_t divisor) noexcept {
  const std::int64_t quotient = value / divisor;
  return quotient * divisor > value ? quotient - 1 : quotient;
}

template <typename Visit>
void visitLine(const PrimitiveRecord& record, const TileBounds& tile, const Visit& visit) noexcept {
  const bool isWide = std::abs(record.x[1] - record.x[0]) >= std::abs(record.y[1] - record.y[0]);
  const std::int32_t(&along)[3] = isWide ? record.x : record.y;
  const std::int32_t(&across)[3] = isWide ? record.y : record.x;
  const int low = along[0] <= along[1] ? 0 : 1;
  const int high = 1 - low;
  const std::int64_t span = along[high] - along[low];
  if (span == 0) return;
  const std::int64_t rise = across[high] - across[low];
  const double depthStep = (static_cast<double>(record.depth[high]) - record.depth[low]) / static_cast<double>(span);

  const std::int32_t alongOrigin = isWide ? tile.x : tile.y, acrossOrigin = isWide ? tile.y : tile.x;
  const std::int32_t alongSize = isWide ? tile.width : tile.height, acrossSize = isWide ? tile.height : tile.width;
  const std::int32_t first = std::max(firstPixel(along[low]), alongOrigin);
  const std::int32_t last = std::min(lastPixel(along[high] - 1), alongOrigin + alongSize - 1);
  for (std::int32_t i = first; i <= last; ++i) {
    const std::int64_t run = std::int64_t{i} * subpixelOne + subpixelHalf - along[low];
    const std::int64_t j = floorDivide(across[low] * span + run * rise, span * subpixelOne) - acrossOrigin;
    if (j < 0 || j >= acrossSize) continue;
    const auto inTile = static_cast<std::int32_t>(j);
    const auto depth = static_cast<float>(record.depth[low] + depthStep * static_cast<double>(run));
    visit(isWide ? pixelIndex(i - tile.x, inTile) : pixelIndex(inTile, i - tile.y), depth);
  }
}

template <typename Visit>
void visitPoint(const PrimitiveRecord& record, const TileBounds& tile, const Visit& visit) noexcept {
  const std::int32_t centerX = record.x[0], centerY = record.y[0], radius = record.x[1];
  const std::int32_t ownX = (centerX >> subpixelBits) - tile.x, ownY = (centerY >> subpixelBits) - tile.y;
  const std::int32_t left = std::max(std::min(firstPixel(centerX - radius) - tile.x, ownX), 0);
  const std::int32_t top = std::max(std::min(firstPixel(centerY - radius) - tile.y, ownY), 0);
  const std::int32_t right = std::min(std::max(lastPixel(centerX + radius) - tile.x, ownX), tile.width - 1);
  const std::int32_t bottom = std::min(std::max(lastPixel(centerY + radius) - tile.y, ownY), tile.height - 1);
  for (std::int32_t y = top; y <= bottom; ++y) {
    for (std::int32_t x = left; x <= right; ++x) {
      const std::int64_t dx = std::int64_t{tile.x + x} * subpixelOne + subpixelHalf - centerX;
      const std::int64_t dy = std::int64_t{tile.y + y} * subpixelOne + subpixelHalf - centerY;
      const bool isInside = dx * dx + dy * dy <= std::int64_t{radius} * radius;
      if (isInside || (x == ownX && y == ownY)) visit(pixelIndex(x, y), record.depth[0]);
    }
  }
}

template <bool readsDepth, bool writesDepth>
bool drawTriangleWith(const TileTriangle& triangle, std::uint32_t primitive, VisibilityBuffer& buffer) noexcept {
  bool isSeen = false;
  visitTriangle(triangle, [&](std::uint32_t pixel, float depth) {
    if (readsDepth && !(depth >= buffer.depth[pixel])) return;
    if (writesDepth) buffer.depth[pixel] = depth;
    buffer.primitive[pixel] = primitive;
    isSeen = true;
  });
  return isSeen;
}

}  // namespace

bool drawTriangle(const PrimitiveRecord& record, const TileBounds& tile, DepthRules rules, std::uint32_t primitive,
                  VisibilityBuffer& buffer) noexcept {
  const TileTriangle triangle(record, tile);
  if (rules.reads) {
    return rules.writes ? drawTriangleWith<true, true>(triangle, primitive, buffer)
                        : drawTriangleWith<true, false>(triangle, primitive, buffer);
  }
  return rules.writes ? drawTriangleWith<false, true>(triangle, primitive, buffer)
                      : drawTriangleWith<false, false>(triangle, primitive, buffer);
}

void collectFragments(const PrimitiveRecord& record, const TileBounds& tile, bool readsDepth,
                      const VisibilityBuffer& buffer, FragmentList& fragments) noexcept {
  fragments.count = 0;
  const auto collect = [&](std::uint32_t pixel, float depth) {
    if (readsDepth && !(depth >= buffer.depth[pixel])) return;
    fragments.pixel[fragments.count] = static_cast<std::uint16_t>(pixel);
    fragments.depth[fragments.count++] = depth;
  };
  switch (record.kind) {
    case PrimitiveKind::triangle:
      visitTriangle(TileTriangle(record, tile), collect);
      break;
    case PrimitiveKind::line:
      visitLine(record, tile, collect);
      break;
    case PrimitiveKind::point:
      visitPoint(record, tile, collect);
      break;
  }
}

}  // namespace ornolith::raster
