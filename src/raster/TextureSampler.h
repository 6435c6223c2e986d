#pragma once

#include "foundation/LinearAlgebra.h"
#include "raster/TexturePyramid.h"
#include "scenegraph/device/FrameDescription.h"

namespace ornolith::raster {

/// Texture coordinates at a pixel centre with their change from one pixel to the next.
struct TextureFootprint {
  float u = 0, v = 0;
  float dudx = 0, dvdx = 0;  ///< Per pixel to the right.
  float dudy = 0, dvdy = 0;  ///< Per pixel downwards.
};

/// The most samples along the long axis of a footprint.
inline constexpr int maximumAnisotropy = 8;

/// The filtered texel: linear RGBA, with the colour multiplied by alpha where the pyramid has transparency. Trilinear;
/// up to `maximumAnisotropy` samples along the longer axis of the ellipse that the pixel's circle becomes in the
/// texture (its axes are the singular values of the 2-by-2 matrix of derivatives, in texels). Coordinates may be
/// anything: one that is not finite counts as 0, derivatives that are not finite select the smallest level.
simd_float4 sampleTexture(const TexturePyramid& pyramid, const TexelTables& tables, device::WrapMode wrapS,
                          device::WrapMode wrapT, const TextureFootprint& footprint) noexcept;

}  // namespace ornolith::raster
