#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "foundation/LargeVector.h"
#include "loaders/mesh/VertexNormals.h"
#include "scenegraph/SCNGeometry.h"

namespace ornolith {

/// Triangles over one list of vertices, or points where there are no triangles. Streams other than the positions are
/// empty or have as many vectors.
struct IndexedMesh {
  LargeVector<float> positions;
  LargeVector<float> normals;
  LargeVector<float> colors;        ///< Linear.
  std::size_t colorComponents = 3;  ///< Four with an alpha.
  LargeVector<float> texcoords;     ///< From the top left.
  LargeVector<std::uint32_t> triangles;

  std::size_t vertexCount() const noexcept { return positions.size() / 3; }
};

/// Whether it has a triangle whose corners, or without triangles a point whose components, are all numbers and finite:
/// nothing else can be drawn.
bool canBeSeen(const IndexedMesh& mesh) noexcept;

/// Gives a mesh of triangles without normals those of VertexNormals.h, creased by angle; vertices are split for it.
void addMissingNormals(IndexedMesh& mesh, VertexPlaces vertexPlaces = VertexPlaces::mayCoincide);

/// The mesh as a geometry with the material of a file that has none. The streams are taken over.
std::shared_ptr<SCNGeometry> geometryOfMesh(IndexedMesh mesh);

}  // namespace ornolith
