#pragma once

#include <cstdint>

#include "raster/PreparedFrame.h"

namespace ornolith::raster {

/// The screen vertices of the `count` positions from element `first` of a stream, as `screenVertex` computes them one
/// by one.
struct TransformRun {
  const ItemTransform& transform;
  const Projection& projection;
  const device::VertexStream& positions;
  std::uint32_t first;
  std::uint32_t count;
  std::uint32_t imageWidth;
  std::uint32_t imageHeight;
};

void transformRun(const TransformRun& run, ScreenVertex* out);

}  // namespace ornolith::raster
