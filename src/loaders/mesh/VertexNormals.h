#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace ornolith {

/// A mesh whose vertices are split along its creases.
struct CreasedMesh {
  std::vector<float> normals;                 ///< Three components of unit length for each new vertex.
  std::vector<std::uint32_t> sourceVertices;  ///< The given vertex that each new vertex repeats.
  std::vector<std::uint32_t> indices;         ///< The given corners, as new vertices.
};

/// Normals for a mesh that has none. `positions` holds three components for each vertex, `triangles` three vertices for
/// each triangle, all in range. At each place the triangles whose normals lie within 60 degrees of the first one of
/// their group share a normal: the mean of the facets' normals, weighted by area and by the angle at the corner.
/// Vertices at one place count as one in this, so that a seam of other attributes stays smooth. Vertices that no
/// triangle uses are dropped. Takes time in proportion to the corners, but for sorting the vertices by place.
CreasedMesh creasedMesh(std::span<const float> positions, std::span<const std::uint32_t> triangles);

}  // namespace ornolith
