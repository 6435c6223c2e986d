#include "loaders/obj/OBJGeometry.h"

#include <algorithm>
#include <array>
#include <map>
#include <numeric>
#include <utility>

#include "foundation/LinearAlgebra.h"
#include "imaging/Color.h"
#include "loaders/mesh/MeshGeometry.h"
#include "loaders/mesh/MeshReadError.h"
#include "loaders/mesh/VertexNormals.h"
#include "loaders/obj/OBJTwoSidedFaces.h"
#include "scenegraph/PolygonTriangulation.h"

namespace ornolith {

namespace {

using Indices = LargeVector<std::uint32_t>;
using Floats = LargeVector<float>;

constexpr std::uint32_t noVertex = 0xFFFFFFFF;

/// How many vertices of one position are looked through for one that a corner equals. Only files that share a position
/// among very many seams have more, and then some vertices are repeated.
constexpr int verticesSearched = 32;

/// The vertices of a part: what each takes from the file's lists.
struct Vertices {
  Indices positions;
  Indices texcoords;  // `noOBJIndex` where there is none.
  Indices normals;    // The same.
  Indices nextOfPosition;

  std::size_t count() const noexcept { return positions.size(); }
};

/// The primitives of one material in a part, over the part's vertices.
struct Slot {
  std::uint32_t material = 0;
  Indices triangles;
  Indices smoothingGroups;  // One for each triangle, where the part's differ.
  Indices lines;
  Indices points;
};

simd_double3 positionAt(const Floats& positions, std::uint32_t index) {
  const float* p = positions.data() + std::size_t{index} * 3;
  return {p[0], p[1], p[2]};
}

/// True where the fan from the first corner of four turns one way.
bool isPlainQuad(const std::array<simd_double3, 4>& corners) {
  const simd_double3 diagonal = corners[2] - corners[0];
  return dot(cross(corners[1] - corners[0], diagonal), cross(diagonal, corners[3] - corners[0])) > 0;
}

/// Collects the corners of one part as vertices and primitives over them.
class PartCollector {
 public:
  PartCollector(const OBJStatements& statements, Indices& firstOfPosition)
      : statements_(statements), firstOfPosition_(firstOfPosition) {}
  PartCollector(const PartCollector&) = delete;
  PartCollector& operator=(const PartCollector&) = delete;
  ~PartCollector() { forgetVertices(); }

  /// Vertices that are added later equal none of those before.
  void forgetVertices() {
    for (std::size_t i = firstKept_; i < vertices_.count(); ++i) firstOfPosition_[vertices_.positions[i]] = noVertex;
    firstKept_ = vertices_.count();
  }

  void addFaces(const OBJPart& part) {
    hasSmoothingGroups_ = std::any_of(part.faces.begin(), part.faces.end(),
                                      [](const OBJPiece& piece) { return piece.smoothingGroup != creasedByAngle; });
    reserveFor(part);
    for (const OBJPiece& piece : part.faces) {
      const OBJStretch& stretch = statements_.stretches[piece.stretch];
      forEachPrimitive(piece, stretch.faceRuns, [&](std::size_t corner, std::uint32_t count) {
        if (count >= 3) addFace(stretch.faces, corner, count, piece);
      });
    }
  }

  /// Lines and points, and the faces that are one of these.
  void addLinesAndPoints(const OBJPart& part) {
    for (const OBJPiece& piece : part.faces) {
      const OBJStretch& stretch = statements_.stretches[piece.stretch];
      forEachPrimitive(piece, stretch.faceRuns, [&](std::size_t corner, std::uint32_t count) {
        if (count < 3) addLine(stretch.faces, corner, count, slotOf(piece.material));
      });
    }
    for (const OBJPiece& piece : part.lines) {
      const OBJStretch& stretch = statements_.stretches[piece.stretch];
      forEachPrimitive(piece, stretch.lineRuns, [&](std::size_t corner, std::uint32_t count) {
        addLine(stretch.lines, corner, count, slotOf(piece.material));
      });
    }
    for (const OBJPiece& piece : part.points) {
      const OBJStretch& stretch = statements_.stretches[piece.stretch];
      for (std::size_t i = 0; i < piece.cornerCount; ++i) {
        addLine(stretch.points, piece.firstCorner + i, 1, slotOf(piece.material));
      }
    }
  }

  Vertices& vertices() { return vertices_; }
  /// Puts others in the place of the vertices, all of which are forgotten; the slots refer to these now.
  void setVertices(Vertices vertices) {
    vertices_ = std::move(vertices);
    firstKept_ = vertices_.count();
  }
  std::vector<Slot>& slots() { return slots_; }
  bool hasSmoothingGroups() const noexcept { return hasSmoothingGroups_; }

 private:
  /// Sets memory aside for as many vertices and triangles as the part will most likely have.
  void reserveFor(const OBJPart& part) {
    std::size_t cornerCount = 0;
    std::map<std::uint32_t, std::size_t> cornersOfMaterials;
    for (const OBJPiece& piece : part.faces) {
      cornerCount += piece.cornerCount;
      cornersOfMaterials[piece.material] += piece.cornerCount;
    }
    const std::size_t vertexCount = std::min(cornerCount, statements_.positions.size() / 3);
    for (Indices* list : {&vertices_.positions, &vertices_.texcoords, &vertices_.normals, &vertices_.nextOfPosition}) {
      list->reserve(vertexCount);
    }
    // Four corners may become two triangles.
    for (const auto& [material, corners] : cornersOfMaterials) {
      slotOf(material).triangles.reserve(corners / 2 * 3);
      if (hasSmoothingGroups_) slotOf(material).smoothingGroups.reserve(corners / 2);
    }
  }

  template <typename Visit>
  static void forEachPrimitive(const OBJPiece& piece, const std::vector<OBJRun>& runs, const Visit& visit) {
    std::size_t corner = piece.firstCorner;
    const std::size_t end = piece.firstCorner + piece.cornerCount;
    std::size_t before = piece.primitivesOfRunBefore;
    for (std::size_t run = piece.firstRun; corner < end; ++run, before = 0) {
      const std::uint32_t size = runs[run].cornersPerPrimitive;
      for (std::size_t i = before; i < runs[run].primitiveCount && corner < end; ++i, corner += size) {
        visit(corner, size);
      }
    }
  }

  Slot& slotOf(std::uint32_t material) {
    if (lastSlot_ < slots_.size() && slots_[lastSlot_].material == material) return slots_[lastSlot_];
    const auto [position, isNew] = slotNumbers_.try_emplace(material, slots_.size());
    if (isNew)
      slots_.push_back({.material = material, .triangles = {}, .smoothingGroups = {}, .lines = {}, .points = {}});
    lastSlot_ = position->second;
    return slots_[lastSlot_];
  }

  std::uint32_t vertexOf(const OBJCorners& corners, std::size_t corner) {
    const std::uint32_t position = corners.positions[corner];
    const std::uint32_t texcoord = corners.texcoords.empty() ? noOBJIndex : corners.texcoords[corner];
    const std::uint32_t normal = corners.normals.empty() ? noOBJIndex : corners.normals[corner];
    const std::uint32_t first = firstOfPosition_[position];
    std::uint32_t vertex = first;
    for (int i = 0; i < verticesSearched && vertex != noVertex; ++i, vertex = vertices_.nextOfPosition[vertex]) {
      if (vertices_.texcoords[vertex] == texcoord && vertices_.normals[vertex] == normal) return vertex;
    }
    if (vertices_.count() >= noVertex) throwMalformedMesh("The OBJ file has more vertices than can be drawn.");
    const auto added = static_cast<std::uint32_t>(vertices_.count());
    vertices_.positions.push_back(position);
    vertices_.texcoords.push_back(texcoord);
    vertices_.normals.push_back(normal);
    vertices_.nextOfPosition.push_back(first);
    firstOfPosition_[position] = added;
    return added;
  }

  void addFace(const OBJCorners& corners, std::size_t first, std::uint32_t count, const OBJPiece& piece) {
    Slot& slot = slotOf(piece.material);
    face_.clear();
    for (std::uint32_t i = 0; i < count; ++i) face_.push_back(vertexOf(corners, first + i));
    const std::size_t before = slot.triangles.size();
    if (count == 3) {
      slot.triangles.insert(slot.triangles.end(), face_.begin(), face_.end());
    } else {
      addPolygon(slot.triangles);
    }
    if (hasSmoothingGroups_) {
      slot.smoothingGroups.insert(slot.smoothingGroups.end(), (slot.triangles.size() - before) / 3,
                                  piece.smoothingGroup);
    }
  }

  void addPolygon(Indices& triangles) {
    const auto place = [&](std::size_t i) { return positionAt(statements_.positions, vertices_.positions[face_[i]]); };
    if (face_.size() == 4 && isPlainQuad({place(0), place(1), place(2), place(3)})) {
      triangles.insert(triangles.end(), {face_[0], face_[1], face_[2], face_[0], face_[2], face_[3]});
      return;
    }
    places_.clear();
    cut_.clear();
    for (std::size_t i = 0; i < face_.size(); ++i) places_.push_back(place(i));
    triangulator_.triangulate(places_, cut_);
    for (const std::uint32_t corner : cut_) triangles.push_back(face_[corner]);
  }

  /// A line over the corners, or a point.
  void addLine(const OBJCorners& corners, std::size_t first, std::uint32_t count, Slot& slot) {
    std::uint32_t last = vertexOf(corners, first);
    if (count == 1) slot.points.push_back(last);
    for (std::uint32_t i = 1; i < count; ++i) {
      const std::uint32_t next = vertexOf(corners, first + i);
      slot.lines.insert(slot.lines.end(), {last, next});
      last = next;
    }
  }

  const OBJStatements& statements_;
  Indices& firstOfPosition_;
  Vertices vertices_;
  std::size_t firstKept_ = 0;
  std::vector<Slot> slots_;
  std::map<std::uint32_t, std::size_t> slotNumbers_;
  std::size_t lastSlot_ = 0;
  bool hasSmoothingGroups_ = false;
  PolygonTriangulator triangulator_;
  Indices face_;
  std::vector<std::uint32_t> cut_;
  std::vector<simd_double3> places_;
};

/// For each vertex the vector that its index means, or `missing`.
template <std::size_t Components>
Floats gathered(const Floats& list, const Indices& indices, const std::array<float, Components>& missing) {
  Floats values(indices.size() * Components);
  for (std::size_t i = 0; i < indices.size(); ++i) {
    const bool isMissing = indices[i] == noOBJIndex;
    const float* vector = isMissing ? missing.data() : list.data() + std::size_t{indices[i]} * Components;
    std::copy_n(vector, Components, values.data() + i * Components);
  }
  return values;
}

/// The texture coordinates from the top, as the scene counts.
Floats texcoordsOf(const OBJStatements& statements, const Indices& indices) {
  Floats values = gathered<2>(statements.texcoords, indices, {0, 1});
  for (std::size_t i = 1; i < values.size(); i += 2) values[i] = 1 - values[i];
  return values;
}

/// Linear colours.
Floats colorsOf(const OBJStatements& statements, const Indices& indices, float scale) {
  Floats values = gathered<3>(statements.colors, indices, {1, 1, 1});
  for (float& value : values) value = value > 0 ? linearFromSRGB(std::min(value * scale, 1.0F)) : 0;
  return values;
}

constexpr std::array<float, 3> normalOfLines = {0, 0, 1};

bool isSmoothed(const Indices& normals, const std::uint32_t* triangle) {
  return normals[triangle[0]] != noOBJIndex && normals[triangle[1]] != noOBJIndex && normals[triangle[2]] != noOBJIndex;
}

/// Takes triangles that face both ways out of their smoothing groups, in which they would leave no normal. Among many
/// they are looked for only where there are more than a surface of one side has over as many vertices.
void creaseTwoSidedFacesByAngle(PartCollector& part) {
  const Vertices& vertices = part.vertices();
  const auto placeCount =
      static_cast<std::size_t>(std::count(vertices.nextOfPosition.begin(), vertices.nextOfPosition.end(), noVertex));
  std::size_t cornerCount = 0;
  for (const Slot& slot : part.slots()) cornerCount += slot.triangles.size();
  constexpr std::size_t fewTriangles = 4096;
  if (cornerCount / 3 > fewTriangles && cornerCount / 3 <= placeCount * 2) return;

  Indices places;
  places.reserve(cornerCount);
  for (const Slot& slot : part.slots()) {
    for (const std::uint32_t vertex : slot.triangles) places.push_back(vertices.positions[vertex]);
  }
  const std::vector<bool> areBoth = facesBothWays(places);
  std::size_t triangle = 0;
  for (Slot& slot : part.slots()) {
    for (std::uint32_t& group : slot.smoothingGroups) {
      if (areBoth[triangle++]) group = creasedByAngle;
    }
  }
}

/// The normals of a part's triangles where none has any; the part's vertices are split where the surface has creases.
Floats computedNormals(const OBJStatements& statements, PartCollector& part) {
  std::vector<Slot>& slots = part.slots();
  const Floats positions = gathered<3>(statements.positions, part.vertices().positions, {});
  CreasedMesh creased;
  if (slots.size() == 1) {
    creased = creaseMesh(positions, slots.front().triangles, slots.front().smoothingGroups);
  } else {
    Indices triangles;
    Indices smoothingGroups;
    for (const Slot& slot : slots) {
      triangles.insert(triangles.end(), slot.triangles.begin(), slot.triangles.end());
      smoothingGroups.insert(smoothingGroups.end(), slot.smoothingGroups.begin(), slot.smoothingGroups.end());
    }
    creased = creaseMesh(positions, triangles, smoothingGroups);
    auto next = triangles.begin();
    for (Slot& slot : slots) {
      std::copy_n(next, slot.triangles.size(), slot.triangles.begin());
      next += static_cast<std::ptrdiff_t>(slot.triangles.size());
    }
  }
  Vertices split = std::move(part.vertices());
  splitVectors(split.positions, 1, creased);
  splitVectors(split.texcoords, 1, creased);
  split.normals.assign(split.count(), noOBJIndex);
  split.nextOfPosition.assign(split.count(), noVertex);
  part.setVertices(std::move(split));
  return std::move(creased.normals);
}

/// Computes the normals of the triangles that lack one at a corner, and gives the normals of all vertices. The part's
/// vertices are split where the surface has creases.
Floats completeNormals(const OBJStatements& statements, PartCollector& part) {
  Vertices& vertices = part.vertices();
  const auto lackingCount =
      static_cast<std::size_t>(std::count(vertices.normals.begin(), vertices.normals.end(), noOBJIndex));
  if (lackingCount == 0) return gathered<3>(statements.normals, vertices.normals, normalOfLines);
  if (part.hasSmoothingGroups()) creaseTwoSidedFacesByAngle(part);
  if (lackingCount == vertices.count()) return computedNormals(statements, part);

  Indices lacking;
  Indices smoothingGroups;
  std::size_t cornerCount = 0;
  for (const Slot& slot : part.slots()) cornerCount += slot.triangles.size();
  lacking.reserve(cornerCount);
  for (const Slot& slot : part.slots()) {
    for (std::size_t i = 0; i < slot.triangles.size(); i += 3) {
      if (isSmoothed(vertices.normals, &slot.triangles[i])) continue;
      lacking.insert(lacking.end(), &slot.triangles[i], &slot.triangles[i] + 3);
      if (part.hasSmoothingGroups()) smoothingGroups.push_back(slot.smoothingGroups[i / 3]);
    }
  }
  const Floats positions = gathered<3>(statements.positions, vertices.positions, {});
  CreasedMesh creased = creaseMesh(positions, lacking, smoothingGroups);
  Indices sources(vertices.count());
  std::iota(sources.begin(), sources.end(), 0U);
  splitVectors(sources, 1, creased);

  // First the vertices that have a normal, then the new ones.
  Vertices completed;
  Indices keptAs(vertices.count(), noVertex);
  const auto keep = [&](std::uint32_t vertex) {
    completed.positions.push_back(vertices.positions[vertex]);
    completed.texcoords.push_back(vertices.texcoords[vertex]);
    completed.normals.push_back(vertices.normals[vertex]);
  };
  for (std::uint32_t vertex = 0; vertex < vertices.count(); ++vertex) {
    if (vertices.normals[vertex] == noOBJIndex) continue;
    keptAs[vertex] = static_cast<std::uint32_t>(completed.count());
    keep(vertex);
  }
  const auto firstNew = static_cast<std::uint32_t>(completed.count());
  for (const std::uint32_t source : sources) keep(source);
  std::size_t next = 0;
  for (Slot& slot : part.slots()) {
    for (std::size_t i = 0; i < slot.triangles.size(); i += 3) {
      const bool isKept = isSmoothed(vertices.normals, &slot.triangles[i]);
      for (std::size_t corner = i; corner < i + 3; ++corner) {
        slot.triangles[corner] = isKept ? keptAs[slot.triangles[corner]] : firstNew + lacking[next++];
      }
    }
  }
  Floats normals = std::move(creased.normals);
  if (firstNew > 0) {
    Floats all = gathered<3>(statements.normals, completed.normals, normalOfLines);
    std::copy(normals.begin(), normals.end(), all.begin() + std::ptrdiff_t{firstNew} * 3);
    normals = std::move(all);
  }
  completed.nextOfPosition.assign(completed.count(), noVertex);
  part.setVertices(std::move(completed));
  return normals;
}

}  // namespace

OBJGeometryBuilder::OBJGeometryBuilder(const OBJStatements& statements)
    : statements_(statements), firstOfPosition_(statements.positions.size() / 3, noVertex) {
  // Some exporters count colours up to 255.
  constexpr float bytesForOne = 255;
  const bool countsInBytes =
      std::any_of(statements.colors.begin(), statements.colors.end(), [](float value) { return value > 1; });
  if (countsInBytes) colorScale_ = 1 / bytesForOne;
}

std::shared_ptr<SCNGeometry> OBJGeometryBuilder::build(const OBJPart& part,
                                                       std::span<const std::shared_ptr<SCNMaterial>> materials) {
  PartCollector collector(statements_, firstOfPosition_);
  collector.addFaces(part);
  collector.forgetVertices();
  Floats normals = completeNormals(statements_, collector);
  collector.addLinesAndPoints(part);
  collector.forgetVertices();

  const Vertices& vertices = collector.vertices();
  const std::size_t faceVertexCount = normals.size() / 3;
  SCNGeometry::Sources sources{
      packedSource(gathered<3>(statements_.positions, vertices.positions, {}), SCNGeometrySourceSemantic::vertex, 3)};
  if (faceVertexCount > 0) {
    for (std::size_t i = faceVertexCount; i < vertices.count(); ++i) {
      normals.insert(normals.end(), normalOfLines.begin(), normalOfLines.end());
    }
    sources.push_back(packedSource(std::move(normals), SCNGeometrySourceSemantic::normal, 3));
  }
  if (!statements_.colors.empty()) {
    sources.push_back(
        packedSource(colorsOf(statements_, vertices.positions, colorScale_), SCNGeometrySourceSemantic::color, 3));
  }
  const bool hasTexcoords = std::any_of(vertices.texcoords.begin(), vertices.texcoords.end(),
                                        [](std::uint32_t index) { return index != noOBJIndex; });
  if (hasTexcoords) {
    sources.push_back(
        packedSource(texcoordsOf(statements_, vertices.texcoords), SCNGeometrySourceSemantic::texcoord, 2));
  }

  SCNGeometry::Elements elements;
  SCNGeometry::Materials elementMaterials;
  const auto addElement = [&](const Slot& slot, Indices& indices, SCNGeometryPrimitiveType type) {
    if (indices.empty()) return;
    const std::size_t cornerCount = indices.size();
    elements.push_back(elementOfCorners(SharedBytes::takingOver(std::move(indices)), type, cornerCount));
    elementMaterials.push_back(materials[slot.material]);
  };
  for (Slot& slot : collector.slots()) addElement(slot, slot.triangles, SCNGeometryPrimitiveType::triangles);
  for (Slot& slot : collector.slots()) addElement(slot, slot.lines, SCNGeometryPrimitiveType::line);
  for (Slot& slot : collector.slots()) addElement(slot, slot.points, SCNGeometryPrimitiveType::point);
  auto geometry = SCNGeometry::geometryWithSources(std::move(sources), std::move(elements));
  geometry->setMaterials(std::move(elementMaterials));
  return geometry;
}

std::shared_ptr<SCNGeometry> OBJGeometryBuilder::buildPointCloud(std::shared_ptr<SCNMaterial> material) const {
  Indices all(statements_.positions.size() / 3);
  std::iota(all.begin(), all.end(), 0U);
  SCNGeometry::Sources sources{
      packedSource(gathered<3>(statements_.positions, all, {}), SCNGeometrySourceSemantic::vertex, 3)};
  if (statements_.normals.size() == statements_.positions.size()) {
    sources.push_back(packedSource(gathered<3>(statements_.normals, all, {}), SCNGeometrySourceSemantic::normal, 3));
  }
  if (!statements_.colors.empty()) {
    sources.push_back(packedSource(colorsOf(statements_, all, colorScale_), SCNGeometrySourceSemantic::color, 3));
  }
  auto points = elementOfCorners(nullptr, SCNGeometryPrimitiveType::point, all.size());
  auto geometry = SCNGeometry::geometryWithSources(std::move(sources), {std::move(points)});
  geometry->setFirstMaterial(std::move(material));
  return geometry;
}

}  // namespace ornolith
