#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace ornolith {

/// A mesh whose vertices have tangents, split where one vertex stands in several tangent spaces.
struct TangentMesh {
  /// Four components for each new vertex: the direction in which u grows, of unit length and perpendicular to the
  /// normal, and the handedness, 1 or -1: the direction toward the top of the image is cross(normal, tangent) *
  /// handedness.
  std::vector<float> tangents;
  /// The given vertex that each new vertex repeats. The given vertices come first, each as itself, so that a mesh
  /// without splits has as many new vertices as given ones and keeps its indices.
  std::vector<std::uint32_t> sourceVertices;
  std::vector<std::uint32_t> indices;  ///< The given corners, as new vertices.
};

/// The vertex attributes that tangents follow from, packed: three, three and two components a vertex. The origin of
/// texture coordinates is at the top left of the image.
struct TangentInput {
  std::span<const float> positions;
  std::span<const float> normals;
  std::span<const float> texcoords;
};

/// Tangents by the method that is known as MikkTSpace (Mikkelsen, "Simulation of Wrinkled Surfaces Revisited", 2008),
/// which normal maps of glTF 2.0 are baked for: vertices that agree in place, normal and texture coordinate count as
/// one; the triangles around such a vertex that follow one another edge to edge and are mapped with the same handedness
/// share a tangent; it is the mean of the triangles' own, laid into the plane of the normal and weighted by the angle
/// at the corner. A triangle without an area in the texture goes with its neighbours; one without an area in space
/// takes what the other triangles of its vertices have; what has nothing to go by takes some direction across the
/// normal. Numbers that are not finite make a triangle count as one without an area.
///
/// `triangles` holds three vertices for each triangle, all in range. Takes time in proportion to n log n for n corners.
TangentMesh generateTangents(const TangentInput& input, std::span<const std::uint32_t> triangles);

}  // namespace ornolith
