#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "raster/FragmentBatch.h"
#include "raster/InterpolationKernels.h"
#include "raster/PreparedFrame.h"
#include "raster/TileGrid.h"

namespace ornolith::raster {

/// The attributes of one primitive over one tile, perspective-correct. The weights of its corners come from the
/// corners' homogeneous coordinates (Olano and Greer, Triangle Scan Conversion using 2D Homogeneous Coordinates, 1997),
/// so that a primitive that clipping cut needs no new corners.
class PrimitiveAttributes {
 public:
  PrimitiveAttributes(const PreparedFrame& frame, const PrimitiveRecord& record, const TileBounds& tile);

  /// Appends a fragment for each pixel (by its number in the tile) to the batch, which must have room for them. Memory
  /// must go on for `laneReserve` elements behind the pixels.
  void append(std::span<const std::uint16_t> pixels, FragmentBatch& batch) const noexcept;

 private:
  struct Outputs;
  struct TextureCorners {
    std::array<float, 3> u, v;
  };

  void setTrianglePlanes(std::span<const ClipPoint> points) noexcept;
  void setLine(const PrimitiveRecord& record, std::span<const ClipPoint> points) noexcept;
  void loadNormals(const PreparedItem& item, std::size_t cornerCount);
  void loadFacet(const PreparedItem& item);
  void loadTangents(const PreparedItem& item, std::size_t cornerCount);
  void deriveTangent(const PreparedItem& item);
  void appendSides(std::size_t base, std::size_t count, FragmentBatch& batch) const noexcept;
  /// What is interpolated into `batch` from its fragment `base` on.
  void listOutputs(std::size_t base, FragmentBatch& batch, Outputs& outputs) const noexcept;
  /// Lines and points.
  void interpolateAlong(std::span<const std::uint16_t> pixels, std::span<const CornerValues> values,
                        std::span<const CornerGradients> gradients) const noexcept;
  float shareOfSecondEnd(std::uint16_t pixel) const noexcept;

  const PreparedItem& item_;
  PrimitiveKind kind_;
  bool isBackFacing_;
  double originX_ = 0, originY_ = 0;  ///< The centre of the tile's first pixel, from the image's centre.
  std::array<std::uint32_t, 3> corners_{};
  TrianglePlanes planes_;  ///< Triangles only.
  /// Lines: along the longer direction, a corner's clearance from pixel i is lineAt[end] - i * lineW[end].
  std::array<double, 2> lineAt_{}, lineW_{};
  bool lineIsWide_ = false;

  std::array<simd_float3, 3> normals_{};
  std::array<simd_float4, 3> tangents_{};
  std::array<simd_float4, 3> colors_{};
  std::array<TextureCorners, maximumCoordinateSets> textures_;  ///< Those of the plan.
  simd_float3 facet_{};
};

}  // namespace ornolith::raster
