#pragma once

#include <cstdint>
#include <span>

#include "foundation/LargeVector.h"

namespace ornolith {

/// A mesh whose vertices are split along its creases.
struct CreasedMesh {
  LargeVector<float> normals;                 ///< Three components of unit length for each new vertex.
  LargeVector<std::uint32_t> sourceVertices;  ///< The given vertex that each new vertex repeats.
  LargeVector<std::uint32_t> indices;         ///< The given corners, as new vertices.
};

/// What the smoothing group of a triangle may be, beside a group's number: every triangle shaded by itself, or creases
/// where the surface bends by more than 60 degrees.
inline constexpr std::uint32_t flatFacet = 0;
inline constexpr std::uint32_t creasedByAngle = 0xFFFFFFFF;

/// Whether several vertices may stand at one place.
enum class VertexPlaces { mayCoincide, differ };

/// Normals for a mesh that has none. `positions` holds three components for each vertex, `triangles` three vertices for
/// each triangle, all in range. At each place the triangles of one smoothing group share a normal, and of those that
/// are creased by angle the ones whose normals lie within 60 degrees of the first of them: the mean of the facets'
/// normals, weighted by area and by the angle at the corner. Vertices at one place count as one in this, so that a seam
/// of other attributes stays smooth. Vertices that no triangle uses are dropped. `smoothingGroups` has one for each
/// triangle, or is empty where all are creased by angle. New vertices are numbered as they first occur. Takes time in
/// proportion to the corners, on all threads, and 48 bytes a place; the result does not depend on the threads. Throws
/// `MeshReadError` for more than `mostWeldedCorners` corners or vertices.
CreasedMesh creasedMesh(std::span<const float> positions, std::span<const std::uint32_t> triangles,
                        std::span<const std::uint32_t> smoothingGroups = {},
                        VertexPlaces vertexPlaces = VertexPlaces::mayCoincide);

}  // namespace ornolith
