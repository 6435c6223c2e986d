#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>

#include "foundation/LargeVector.h"
#include "loaders/mesh/SelectedVectors.h"

namespace ornolith {

/// A mesh whose vertices are split along its creases: the new vertices are the given ones, in their order, and behind
/// them further ones that repeat some.
struct CreasedMesh {
  LargeVector<float> normals;  ///< Three components of unit length for each new vertex.
  /// The given vertices that are left, where there are some that no triangle uses.
  std::optional<LargeVector<std::uint32_t>> keptVertices;
  LargeVector<std::uint32_t> furtherVertices;  ///< The given vertex that each further one repeats.
};

/// Makes of a value, or vector of some, for each given vertex one for each new vertex.
template <typename Value>
void splitVectors(LargeVector<Value>& values, std::size_t components, const CreasedMesh& mesh) {
  const bool isChanged = mesh.keptVertices || !mesh.furtherVertices.empty();
  if (values.empty() || !isChanged) return;
  const std::size_t further = mesh.furtherVertices.size() * components;
  if (mesh.keptVertices) {
    const std::size_t kept = mesh.keptVertices->size() * components;
    LargeVector<Value> result(kept + further);
    copySelectedVectors<Value>(values, components, *mesh.keptVertices, result.data());
    copySelectedVectors<Value>(values, components, mesh.furtherVertices, result.data() + kept);
    values = std::move(result);
  } else {
    const std::size_t given = values.size();
    values.resize(given + further);
    copySelectedVectors<Value>(values, components, mesh.furtherVertices, values.data() + given);
  }
}

/// What the smoothing group of a triangle may be, beside a group's number: every triangle shaded by itself, or creases
/// where the surface bends by more than 60 degrees.
inline constexpr std::uint32_t flatFacet = 0;
inline constexpr std::uint32_t creasedByAngle = 0xFFFFFFFF;

/// Whether several vertices may stand at one place.
enum class VertexPlaces { mayCoincide, differ };

/// Normals for a mesh that has none. `positions` holds three components for each vertex, `triangles` three vertices for
/// each triangle, all in range; they become new vertices. At each place the triangles of one smoothing group share a
/// normal, and of those that are creased by angle the ones whose normals lie within 60 degrees of the first of them:
/// the mean of the facets' normals, weighted by area and by the angle at the corner. Vertices at one place count as one
/// in this, so that a seam of other attributes stays smooth. Vertices that no triangle uses are dropped.
/// `smoothingGroups` has one for each triangle, or one for all, or is empty where all are creased by angle. Takes time
/// in proportion to the corners, on all threads. Besides the result it takes one megabyte a thread, 8 bytes for each
/// corner that becomes another vertex, and where vertices may coincide 12 bytes each; for triangles in no order up to
/// 68 bytes a place more. The result does not depend on the threads. Throws `MeshReadError` for more than
/// `mostWeldedCorners` corners or vertices.
CreasedMesh creaseMesh(std::span<const float> positions, std::span<std::uint32_t> triangles,
                       std::span<const std::uint32_t> smoothingGroups = {},
                       VertexPlaces vertexPlaces = VertexPlaces::mayCoincide);

}  // namespace ornolith
