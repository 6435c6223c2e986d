#pragma once

#include "raster/Coverage.h"

namespace ornolith::raster {

/// `collectFragments` for a triangle, whatever its form.
void collectTriangle(const PrimitiveRecord& record, const TileBounds& tile, bool readsDepth,
                     const VisibilityBuffer& buffer, FragmentList& fragments) noexcept;

}  // namespace ornolith::raster
