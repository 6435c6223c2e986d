#pragma once

#include <ufbx.h>

#include <cstddef>
#include <utility>
#include <vector>

#include "loaders/fbx/FbxLimits.h"
#include "scenegraph/SCNGeometry.h"

namespace ornolith {

/// In which space the vertices of a node's mesh are written.
enum class FbxVertexSpace {
  node,   ///< The node's own, for a hierarchy that keeps its transforms; vertices as the mesh authors them.
  world,  ///< The world's, for a flat list of nodes; vertices as its deformers leave them.
};

/// One mesh as vertex streams, one vertex for each corner of each triangle, and the vertices of each material group.
struct FbxMeshStreams {
  /// Position, normal, tangent and colour where the mesh has them, and at least one set of texture coordinates, in this
  /// order; 32-bit floats, tightly packed. Empty where the mesh has no triangle.
  SCNGeometry::Sources sources;
  /// The groups that have triangles, in order, with their indices of 32 bits.
  std::vector<std::pair<std::size_t, SCNGeometryElement::Data>> groups;
};

/// The streams of `node`'s mesh, which must have positions. A face whose material is not below `groupCount`, which is
/// at least 1, counts to group 0. Polygons are cut into triangles by the FBX library. Values stay doubles until they
/// are written. Throws `FbxLoadError` where `budget` does not suffice.
FbxMeshStreams makeMeshStreams(const ufbx_node& node, FbxVertexSpace space, std::size_t groupCount,
                               FbxMemoryBudget& budget);

}  // namespace ornolith
