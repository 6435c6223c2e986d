#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace ornolith::raster {

inline constexpr std::size_t batchSize = 128;
inline constexpr std::size_t maximumCoordinateSets = 11;  ///< No lighting model reads more properties than that.

/// What whole vectors may touch behind the last element of a batch.
inline constexpr std::size_t laneReserve = 16;

using Lane = std::array<float, batchSize + laneReserve>;

struct Lane3 {
  alignas(64) Lane x{}, y{}, z{};
};

struct Lane4 {
  alignas(64) Lane x{}, y{}, z{}, w{};
};

/// Texture coordinates with their derivatives per pixel.
struct CoordinateLanes {
  alignas(64) Lane u{}, v{}, dudx{}, dvdx{}, dudy{}, dvdy{};
};

/// Fragments of one draw item, as arrays that the shading loops run over in whole vectors: what stands behind the last
/// fragment is computed along and means nothing. Only what the item's plan asks for is filled.
struct FragmentBatch {
  std::size_t count = 0;
  alignas(64) std::array<std::uint16_t, batchSize + laneReserve> pixel{};  ///< Number within the tile.
  bool hasBackFaces = false;  ///< Otherwise `face` is not filled: all are fronts.
  bool hasFacets = false;     ///< Otherwise `facet` is not filled: all are zero.
  alignas(64) Lane face{};    ///< -1 for the back of a face, +1 otherwise.
  Lane3 normal;               ///< Interpolated, of any length, possibly zero; the side that counts as the front.
  Lane3 facet;                ///< The normal to fall back to; zero where there is none.
  Lane4 tangent;              ///< w is the handedness; zero where there is none.
  Lane4 color;                ///< Vertex colour.
  std::array<CoordinateLanes, maximumCoordinateSets> coordinates{};

  Lane4 result;  ///< Linear light, straight, and opacity.
};

}  // namespace ornolith::raster
