#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "foundation/LinearAlgebra.h"

namespace ornolith::raster {

/// Weight k of a fragment is proportional to x[k] * column + y[k] * row + c[k], column and row in pixels of the tile.
struct TrianglePlanes {
  std::array<double, 3> x{}, y{}, c{};
};

/// What three corners have of one number, and where it goes for each fragment.
struct CornerValues {
  std::array<float, 3> corners;
  float* out;
};

/// The same, with its change from one pixel to the next.
struct CornerGradients {
  std::array<float, 3> corners;
  float* out;
  float* perX;  ///< To the right.
  float* perY;  ///< Downwards.
};

/// Normals of up to three corners, one component after the other; the fourth is for the vectors.
struct CornerNormals {
  alignas(16) std::array<float, 4> x{}, y{}, z{};
};

/// Takes normals to world space and makes them unit; zero where one has no direction or is not finite.
void transformNormals(const std::array<simd_float3, 3>& normalMatrix, CornerNormals& normals) noexcept;

/// Interpolates for each of `count` pixels, by their numbers in the tile. A negative weight counts as 0; where no sum
/// of weights has an inverse the first corner counts alone. Reads and writes whole vectors: all arrays must go on for
/// `laneReserve` elements. The same bits on every instruction set.
void interpolateTriangle(const TrianglePlanes& planes, const std::uint16_t* pixels, std::size_t count,
                         std::span<const CornerValues> values, std::span<const CornerGradients> gradients) noexcept;

}  // namespace ornolith::raster
