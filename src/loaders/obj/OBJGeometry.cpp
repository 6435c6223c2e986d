#include "loaders/obj/OBJGeometry.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "loaders/mesh/MeshGeometry.h"
#include "loaders/mesh/SelectedVectors.h"
#include "loaders/mesh/VertexNormals.h"
#include "loaders/obj/OBJPartCollector.h"
#include "loaders/obj/OBJTwoSidedFaces.h"

namespace ornolith {

namespace {

using Indices = LargeVector<std::uint32_t>;
using Floats = LargeVector<float>;

bool hasNormals(const OBJPartCollector& part, const std::uint32_t* triangle) {
  return std::all_of(triangle, triangle + 3, [&](std::uint32_t vertex) { return part.hasNormal(vertex); });
}

std::size_t triangleCornerCount(const std::vector<OBJSlot>& slots) {
  std::size_t count = 0;
  for (const OBJSlot& slot : slots) count += slot.triangles.size();
  return count;
}

/// Takes triangles that face both ways out of their smoothing groups, in which they would leave no normal. Among many
/// they are looked for only where there are more than a surface of one side has over as many vertices.
void creaseTwoSidedFacesByAngle(OBJPartCollector& part) {
  constexpr std::size_t fewTriangles = 4096;
  const std::size_t cornerCount = triangleCornerCount(part.slots());
  const bool areMany = cornerCount / 3 > fewTriangles;
  if (areMany && cornerCount / 3 <= part.positionCount() * 2) return;

  const Indices firstOfPositions = part.firstOfPositions();
  Indices places;
  places.reserve(cornerCount);
  for (const OBJSlot& slot : part.slots()) {
    for (const std::uint32_t vertex : slot.triangles) places.push_back(firstOfPositions[vertex]);
  }
  const std::vector<bool> areBoth = facesBothWays(places);
  std::size_t triangle = 0;
  for (OBJSlot& slot : part.slots()) {
    for (std::size_t i = 0; i < slot.triangles.size() / 3; ++i, ++triangle) {
      if (areBoth[triangle]) slot.smoothingGroups.set(i, creasedByAngle);
    }
  }
}

/// Computes the normals of a part's triangles, of which none has any. The part's vertices are split where the surface
/// has creases.
void computeNormals(OBJPartCollector& part) {
  std::vector<OBJSlot>& slots = part.slots();
  OBJVertices& vertices = part.vertices();
  giveBack(vertices.normals);
  CreasedMesh creased;
  if (slots.size() == 1) {
    creased = creaseMesh(vertices.positions, slots.front().triangles, slots.front().smoothingGroups.groups);
  } else {
    Indices triangles;
    triangles.reserve(triangleCornerCount(slots));
    OBJSmoothingGroups smoothingGroups;
    for (const OBJSlot& slot : slots) {
      triangles.insert(triangles.end(), slot.triangles.begin(), slot.triangles.end());
      smoothingGroups.add(slot.smoothingGroups);
    }
    creased = creaseMesh(vertices.positions, triangles, smoothingGroups.groups);
    auto next = triangles.begin();
    for (OBJSlot& slot : slots) {
      std::copy_n(next, slot.triangles.size(), slot.triangles.begin());
      next += static_cast<std::ptrdiff_t>(slot.triangles.size());
    }
  }
  splitVectors(vertices.positions, 3, creased);
  splitVectors(vertices.colors, 3, creased);
  splitVectors(vertices.texcoords, 2, creased);
  vertices.normals = std::move(creased.normals);
}

/// The triangles of a part of which some have normals and some lack them.
struct LackingTriangles {
  Indices corners;
  OBJSmoothingGroups smoothingGroups;
};

LackingTriangles trianglesWithoutNormals(OBJPartCollector& part) {
  LackingTriangles lacking;
  lacking.corners.reserve(triangleCornerCount(part.slots()));
  for (const OBJSlot& slot : part.slots()) {
    for (std::size_t i = 0; i < slot.triangles.size(); i += 3) {
      if (hasNormals(part, &slot.triangles[i])) continue;
      lacking.corners.insert(lacking.corners.end(), &slot.triangles[i], &slot.triangles[i] + 3);
      lacking.smoothingGroups.add(1, slot.smoothingGroups.of(i / 3));
    }
  }
  return lacking;
}

/// The same for a part of which some triangles have normals and some lack one at a corner. First come the vertices that
/// have a normal, then those of the triangles that lack one.
void completeNormals(OBJPartCollector& part) {
  OBJVertices& vertices = part.vertices();
  LackingTriangles lacking = trianglesWithoutNormals(part);
  const CreasedMesh creased = creaseMesh(vertices.positions, lacking.corners, lacking.smoothingGroups.groups);
  Indices furtherSources(vertices.count());
  std::iota(furtherSources.begin(), furtherSources.end(), 0U);
  splitVectors(furtherSources, 1, creased);

  Indices sources;
  Indices keptAs(vertices.count());
  for (std::uint32_t vertex = 0; vertex < vertices.count(); ++vertex) {
    keptAs[vertex] = static_cast<std::uint32_t>(sources.size());
    if (part.hasNormal(vertex)) sources.push_back(vertex);
  }
  const auto firstNew = static_cast<std::uint32_t>(sources.size());
  sources.insert(sources.end(), furtherSources.begin(), furtherSources.end());
  auto next = lacking.corners.begin();
  for (OBJSlot& slot : part.slots()) {
    for (std::size_t i = 0; i < slot.triangles.size(); i += 3) {
      const bool isKept = hasNormals(part, &slot.triangles[i]);
      for (std::size_t corner = i; corner < i + 3; ++corner) {
        slot.triangles[corner] = isKept ? keptAs[slot.triangles[corner]] : firstNew + *next++;
      }
    }
  }
  vertices.positions = selectedVectors(vertices.positions, 3, sources);
  vertices.colors = selectedVectors(vertices.colors, 3, sources);
  vertices.texcoords = selectedVectors(vertices.texcoords, 2, sources);
  vertices.normals = selectedVectors(vertices.normals, 3, sources);
  std::copy(creased.normals.begin(), creased.normals.end(), vertices.normals.begin() + std::ptrdiff_t{firstNew} * 3);
}

/// Computes the normals that a part's triangles lack.
void addMissingNormals(OBJPartCollector& part) {
  const std::size_t lackingCount = part.vertices().count() - part.withNormalCount();
  if (lackingCount > 0 && part.hasSmoothingGroups()) creaseTwoSidedFacesByAngle(part);
  if (lackingCount > 0 && part.withNormalCount() > 0) completeNormals(part);
  part.forgetVertices();
  if (lackingCount == 0 || part.withNormalCount() > 0) return;
  computeNormals(part);
  part.forgetVertices();
}

}  // namespace

OBJGeometryBuilder::OBJGeometryBuilder(OBJStatements& statements, const OBJParts& parts)
    : collector_(std::make_unique<OBJPartCollector>(statements, parts)) {}

OBJGeometryBuilder::~OBJGeometryBuilder() = default;

std::shared_ptr<SCNGeometry> OBJGeometryBuilder::build(const OBJPart& part,
                                                       std::span<const std::shared_ptr<SCNMaterial>> materials) {
  OBJPartCollector& collector = *collector_;
  collector.beginPart(part);
  collector.addFaces(part);
  addMissingNormals(collector);
  collector.addLinesAndPoints(part);

  OBJVertices& vertices = collector.vertices();
  const std::size_t normalCount = vertices.normals.empty() ? 0 : vertices.count();
  while (vertices.normals.size() < normalCount * 3) {
    vertices.normals.insert(vertices.normals.end(), objNormalOfLines.begin(), objNormalOfLines.end());
  }
  if (!collector.hasTexcoords()) vertices.texcoords.clear();
  SCNGeometry::Sources sources;
  const auto addSource = [&](Floats& values, SCNGeometrySourceSemantic semantic, std::size_t components) {
    if (!values.empty()) sources.push_back(packedSource(std::move(values), semantic, components));
  };
  addSource(vertices.positions, SCNGeometrySourceSemantic::vertex, 3);
  addSource(vertices.normals, SCNGeometrySourceSemantic::normal, 3);
  addSource(vertices.colors, SCNGeometrySourceSemantic::color, 3);
  addSource(vertices.texcoords, SCNGeometrySourceSemantic::texcoord, 2);

  SCNGeometry::Elements elements;
  SCNGeometry::Materials elementMaterials;
  const auto addElement = [&](const OBJSlot& slot, Indices& indices, SCNGeometryPrimitiveType type) {
    if (indices.empty()) return;
    const std::size_t cornerCount = indices.size();
    elements.push_back(elementOfCorners(SharedBytes::takingOver(std::move(indices)), type, cornerCount));
    elementMaterials.push_back(materials[slot.material]);
  };
  for (OBJSlot& slot : collector.slots()) addElement(slot, slot.triangles, SCNGeometryPrimitiveType::triangles);
  for (OBJSlot& slot : collector.slots()) addElement(slot, slot.lines, SCNGeometryPrimitiveType::line);
  for (OBJSlot& slot : collector.slots()) addElement(slot, slot.points, SCNGeometryPrimitiveType::point);
  auto geometry = SCNGeometry::geometryWithSources(std::move(sources), std::move(elements));
  geometry->setMaterials(std::move(elementMaterials));
  return geometry;
}

std::shared_ptr<SCNGeometry> objPointCloud(OBJStatements statements, std::shared_ptr<SCNMaterial> material) {
  const std::size_t count = statements.positions.size() / 3;
  const bool hasNormals = statements.normals.size() == statements.positions.size();
  SCNGeometry::Sources sources{packedSource(std::move(statements.positions), SCNGeometrySourceSemantic::vertex, 3)};
  if (hasNormals) sources.push_back(packedSource(std::move(statements.normals), SCNGeometrySourceSemantic::normal, 3));
  if (!statements.colors.empty()) {
    const float scale = objColorScale(statements.colors);
    for (float& value : statements.colors) value = linearOBJColor(value, scale);
    sources.push_back(packedSource(std::move(statements.colors), SCNGeometrySourceSemantic::color, 3));
  }
  auto points = elementOfCorners(nullptr, SCNGeometryPrimitiveType::point, count);
  auto geometry = SCNGeometry::geometryWithSources(std::move(sources), {std::move(points)});
  geometry->setFirstMaterial(std::move(material));
  return geometry;
}

}  // namespace ornolith
