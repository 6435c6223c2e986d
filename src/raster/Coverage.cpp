#include "raster/Coverage.h"

#include <algorithm>
#include <cstdlib>

#include "raster/TriangleCoverage.h"

namespace ornolith::raster {
namespace {

/// A quotient rounded down; `divisor` is positive.
std::int64_t floorDivide(std::int64_t value, std::int64_t divisor) noexcept {
  const std::int64_t quotient = value / divisor;
  return quotient * divisor > value ? quotient - 1 : quotient;
}

template <typename Visit>
void visitLine(const PrimitiveRecord& record, const TileBounds& tile, const Visit& visit) noexcept {
  const bool isWide =
      std::abs(record.outline.x[1] - record.outline.x[0]) >= std::abs(record.outline.y[1] - record.outline.y[0]);
  const std::int32_t(&along)[3] = isWide ? record.outline.x : record.outline.y;
  const std::int32_t(&across)[3] = isWide ? record.outline.y : record.outline.x;
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
  const std::int32_t centerX = record.outline.x[0], centerY = record.outline.y[0], radius = record.outline.x[1];
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

}  // namespace

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
      collectTriangle(record, tile, readsDepth, buffer, fragments);
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
