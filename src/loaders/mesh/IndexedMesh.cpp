#include "loaders/mesh/IndexedMesh.h"

#include <algorithm>
#include <utility>

#include "foundation/Parallel.h"
#include "loaders/mesh/MeshGeometry.h"

namespace ornolith {

LargeVector<float> selectedVectors(std::span<const float> values, std::size_t components,
                                   std::span<const std::uint32_t> vertices) {
  LargeVector<float> result;
  if (values.empty()) return result;
  constexpr std::size_t verticesOfABlock = 1 << 14;
  result.resize(vertices.size() * components);
  parallelFor((vertices.size() + verticesOfABlock - 1) / verticesOfABlock, 1, [&](std::size_t block) {
    const std::size_t end = std::min((block + 1) * verticesOfABlock, vertices.size());
    float* place = result.data() + block * verticesOfABlock * components;
    for (std::size_t i = block * verticesOfABlock; i < end; ++i) {
      const float* vector = values.data() + std::size_t{vertices[i]} * components;
      for (std::size_t component = 0; component < components; ++component) *place++ = vector[component];
    }
  });
  return result;
}

void addMissingNormals(IndexedMesh& mesh, VertexPlaces vertexPlaces) {
  if (mesh.triangles.empty() || !mesh.normals.empty()) return;
  CreasedMesh creased = creasedMesh(mesh.positions, mesh.triangles, {}, vertexPlaces);
  mesh.triangles = std::move(creased.indices);
  mesh.normals = std::move(creased.normals);
  mesh.positions = selectedVectors(mesh.positions, 3, creased.sourceVertices);
  mesh.colors = selectedVectors(mesh.colors, mesh.colorComponents, creased.sourceVertices);
  mesh.texcoords = selectedVectors(mesh.texcoords, 2, creased.sourceVertices);
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
