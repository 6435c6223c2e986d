#include "loaders/mesh/IndexedMesh.h"

#include <span>
#include <utility>

#include "foundation/LinearAlgebra.h"
#include "loaders/mesh/MeshGeometry.h"

namespace ornolith {

bool canBeSeen(const IndexedMesh& mesh) noexcept {
  const auto hasPlace = [&](std::size_t vertex) {
    const float* const position = mesh.positions.data() + vertex * 3;
    return isFinite(simd_float3{position[0], position[1], position[2]});
  };
  const std::span triangles(mesh.triangles);
  for (std::size_t i = 0; i + 2 < triangles.size(); i += 3) {
    if (hasPlace(triangles[i]) && hasPlace(triangles[i + 1]) && hasPlace(triangles[i + 2])) return true;
  }
  for (std::size_t i = 0; triangles.empty() && i < mesh.vertexCount(); ++i) {
    if (hasPlace(i)) return true;
  }
  return false;
}

void addMissingNormals(IndexedMesh& mesh, VertexPlaces vertexPlaces) {
  if (mesh.triangles.empty() || !mesh.normals.empty()) return;
  CreasedMesh creased = creaseMesh(mesh.positions, mesh.triangles, {}, vertexPlaces);
  mesh.normals = std::move(creased.normals);
  splitVectors(mesh.positions, 3, creased);
  splitVectors(mesh.colors, mesh.colorComponents, creased);
  splitVectors(mesh.texcoords, 2, creased);
}

std::shared_ptr<SCNGeometry> geometryOfMesh(IndexedMesh mesh) {
  const bool hasColors = !mesh.colors.empty();
  const std::size_t vertexCount = mesh.vertexCount();
  SCNGeometry::Sources sources{packedSource(std::move(mesh.positions), SCNGeometrySourceSemantic::vertex, 3)};
  if (!mesh.normals.empty()) {
    sources.push_back(packedSource(std::move(mesh.normals), SCNGeometrySourceSemantic::normal, 3));
  }
  if (hasColors) {
    sources.push_back(packedSource(std::move(mesh.colors), SCNGeometrySourceSemantic::color, mesh.colorComponents));
  }
  if (!mesh.texcoords.empty()) {
    sources.push_back(packedSource(std::move(mesh.texcoords), SCNGeometrySourceSemantic::texcoord, 2));
  }
  const std::size_t cornerCount = mesh.triangles.size();
  auto element = cornerCount > 0 ? elementOfCorners(SharedBytes::takingOver(std::move(mesh.triangles)),
                                                    SCNGeometryPrimitiveType::triangles, cornerCount)
                                 : elementOfCorners(nullptr, SCNGeometryPrimitiveType::point, vertexCount);
  auto geometry = SCNGeometry::geometryWithSources(std::move(sources), {std::move(element)});
  geometry->setFirstMaterial(defaultMeshMaterial(hasColors));
  return geometry;
}

}  // namespace ornolith
