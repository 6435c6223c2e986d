#include "loaders/obj/OBJPartCollector.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <limits>
#include <span>

#include "imaging/Color.h"
#include "loaders/mesh/MeshReadError.h"
#include "loaders/mesh/VertexNormals.h"

namespace ornolith {

namespace {

using Indices = LargeVector<std::uint32_t>;

constexpr std::uint32_t noNumber = 0;
constexpr std::uint64_t mostNumbers = std::numeric_limits<std::uint32_t>::max();
constexpr std::size_t mostVertices = std::numeric_limits<std::uint32_t>::max();

/// How many vertices of one position are looked through for one that a corner equals. Only files that share a position
/// among very many seams have more, and then some vertices are repeated.
constexpr int verticesSearched = 32;

/// Calls `visit(firstCorner, cornersPerPrimitive, primitiveCount)` for each run of equal primitives in a piece.
template <typename Visit>
void forEachRun(const OBJPiece& piece, const std::vector<OBJRun>& runs, const Visit& visit) {
  std::size_t corner = piece.firstCorner;
  const std::size_t end = piece.firstCorner + piece.cornerCount;
  std::size_t before = piece.primitivesOfRunBefore;
  for (std::size_t run = piece.firstRun; corner < end; ++run, before = 0) {
    const std::size_t size = runs[run].cornersPerPrimitive;
    const std::size_t count = std::min(runs[run].primitiveCount - before, (end - corner) / size);
    visit(corner, size, count);
    corner += count * size;
  }
}

/// True where the fan from the first corner of four turns one way.
bool isPlainQuad(const std::array<simd_double3, 4>& corners) {
  const simd_double3 diagonal = corners[2] - corners[0];
  return dot(cross(corners[1] - corners[0], diagonal), cross(diagonal, corners[3] - corners[0])) > 0;
}

}  // namespace

void OBJSmoothingGroups::add(std::size_t count, std::uint32_t group) {
  if (count == 0) return;
  const bool areAlike = triangleCount == 0 || (groups.size() == 1 && groups.front() == group);
  if (triangleCount == 0) groups.assign(1, group);
  if (!areAlike) {
    if (groups.size() == 1) groups.resize(triangleCount, groups.front());
    groups.insert(groups.end(), count, group);
  }
  triangleCount += count;
}

void OBJSmoothingGroups::add(const OBJSmoothingGroups& others) {
  if (others.groups.size() == 1) return add(others.triangleCount, others.groups.front());
  for (const std::uint32_t group : others.groups) add(1, group);
}

void OBJSmoothingGroups::set(std::size_t triangle, std::uint32_t group) {
  if (of(triangle) == group) return;
  if (groups.size() == 1) groups.resize(triangleCount, groups.front());
  groups[triangle] = group;
}

float objColorScale(const LargeVector<float>& colors) {
  constexpr float bytesForOne = 255;
  const bool countsInBytes = std::any_of(colors.begin(), colors.end(), [](float value) { return value > 1; });
  return countsInBytes ? 1 / bytesForOne : 1;
}

float linearOBJColor(float value, float scale) {
  return value > 0 ? linearFromSRGB(std::min(value * scale, 1.0F)) : 0;
}

OBJPartCollector::OBJPartCollector(OBJStatements& statements, const OBJParts& parts)
    : statements_(statements),
      visitsLeft_(statements.stretches.size(), 0),
      positionBlocks_(statements.positions.size() / 3),
      texcoordBlocks_(statements.texcoords.size() / 2),
      normalBlocks_(statements.normals.size() / 3),
      areCornersPositions_(statements.texcoords.empty() && statements.normals.empty()),
      colorScale_(objColorScale(statements.colors)),
      latestOfPosition_(statements.positions.size() / 3, 0),
      vertexOfCorner_(statements.stretches.size()) {
  for (const OBJPart& part : parts.parts) {
    for (const auto* pieces : {&part.faces, &part.lines, &part.points}) {
      for (const OBJPiece& piece : *pieces) {
        const bool isTwice = pieces == &part.faces && statements.stretches[piece.stretch].hasShortFaces;
        visitsLeft_[piece.stretch] += isTwice ? 2 : 1;
      }
    }
  }
  for (std::size_t i = 0; i < visitsLeft_.size(); ++i) {
    if (visitsLeft_[i] == 0) continue;
    allVisitsLeft_ += visitsLeft_[i];
    const OBJCorners& corners = statements.stretches[i].corners;
    positionBlocks_.add(corners.positions);
    texcoordBlocks_.add(corners.texcoords);
    normalBlocks_.add(corners.normals);
  }
}

void OBJPartCollector::beginPart(const OBJPart& part) {
  std::uint64_t cornerCount = 0;
  for (const auto* pieces : {&part.faces, &part.lines, &part.points}) {
    for (const OBJPiece& piece : *pieces) cornerCount += piece.cornerCount;
  }
  if (nextNumber_ + cornerCount > mostNumbers) {
    std::fill(latestOfPosition_.begin(), latestOfPosition_.end(), 0);
    for (Indices& numbers : vertexOfCorner_) std::fill(numbers.begin(), numbers.end(), 0);
    nextNumber_ = 1;
  }
  vertices_ = {};
  forgetVertices();
  slots_.clear();
  slotNumbers_.clear();
  lastSlot_ = 0;
  hasTexcoords_ = false;
  positionCount_ = 0;
  withNormalCount_ = 0;
  reserveFor(part);
}

void OBJPartCollector::forgetVertices() {
  lowestNumber_ = nextNumber_;
  firstKnown_ = vertices_.count();
  giveBack(known_);
}

/// Sets memory aside for as many vertices as the part will most likely have, with some that creases may add, and for
/// all of its triangles.
void OBJPartCollector::reserveFor(const OBJPart& part) {
  std::size_t cornerCount = 0;
  std::map<std::uint32_t, std::size_t> trianglesOfMaterials;
  hasSmoothingGroups_ = false;
  for (const OBJPiece& piece : part.faces) {
    cornerCount += piece.cornerCount;
    hasSmoothingGroups_ = hasSmoothingGroups_ || piece.smoothingGroup != creasedByAngle;
    forEachRun(piece, statements_.stretches[piece.stretch].faceRuns,
               [&](std::size_t /*first*/, std::size_t size, std::size_t count) {
                 trianglesOfMaterials[piece.material] += size < 3 ? 0 : (size - 2) * count;
               });
  }
  const std::size_t positionCount = latestOfPosition_.size();
  const std::size_t vertexCount = std::min(cornerCount, positionCount + positionCount / 8);
  vertices_.positions.reserve(vertexCount * 3);
  if (!statements_.colors.empty()) vertices_.colors.reserve(vertexCount * 3);
  if (!statements_.texcoords.empty()) vertices_.texcoords.reserve(vertexCount * 2);
  if (!statements_.normals.empty()) vertices_.normals.reserve(vertexCount * 3);
  if (!areCornersPositions_) known_.reserve(vertexCount);
  for (const auto& [material, count] : trianglesOfMaterials) slotOf(material).triangles.reserve(count * 3);
}

void OBJPartCollector::addFaces(const OBJPart& part) {
  isOfFaces_ = true;
  for (const OBJPiece& piece : part.faces) {
    enter(piece.stretch);
    OBJSlot& slot = slotOf(piece.material);
    forEachRun(piece, stretch_->faceRuns, [&](std::size_t first, std::size_t size, std::size_t count) {
      if (size < 3) return;
      const std::span<const std::uint32_t> corners(stretch_->faces.data() + first, size * count);
      if (size == 3) {
        addTriangles(corners, slot);
      } else if (size == 4) {
        for (std::size_t i = 0; i < count; ++i) addQuad(corners.subspan(i * size, size), slot);
      } else {
        for (std::size_t i = 0; i < count; ++i) addPolygon(corners.subspan(i * size, size), slot);
      }
      slot.smoothingGroups.add((size - 2) * count, piece.smoothingGroup);
    });
    leave(piece.stretch);
  }
}

void OBJPartCollector::addLinesAndPoints(const OBJPart& part) {
  isOfFaces_ = false;
  std::vector<OBJPiece> shortFaces;
  std::copy_if(part.faces.begin(), part.faces.end(), std::back_inserter(shortFaces),
               [&](const OBJPiece& piece) { return statements_.stretches[piece.stretch].hasShortFaces; });
  addLines(shortFaces, &OBJStretch::faceRuns, &OBJStretch::faces, 2);
  addLines(part.lines, &OBJStretch::lineRuns, &OBJStretch::lines, std::numeric_limits<std::size_t>::max());
  for (const OBJPiece& piece : part.points) {
    enter(piece.stretch);
    OBJSlot& slot = slotOf(piece.material);
    for (std::size_t i = 0; i < piece.cornerCount; ++i) {
      slot.points.push_back(vertexOf(stretch_->points[piece.firstCorner + i]));
    }
    leave(piece.stretch);
  }
}

void OBJPartCollector::addLines(const std::vector<OBJPiece>& pieces, std::vector<OBJRun> OBJStretch::*runs,
                                Indices OBJStretch::*list, std::size_t mostCorners) {
  for (const OBJPiece& piece : pieces) {
    enter(piece.stretch);
    forEachRun(piece, stretch_->*runs, [&](std::size_t first, std::size_t size, std::size_t count) {
      if (size > mostCorners) return;
      OBJSlot& slot = slotOf(piece.material);
      for (std::size_t i = 0; i < count; ++i) addLine({(stretch_->*list).data() + first + i * size, size}, slot);
    });
    leave(piece.stretch);
  }
}

OBJSlot& OBJPartCollector::slotOf(std::uint32_t material) {
  if (lastSlot_ < slots_.size() && slots_[lastSlot_].material == material) return slots_[lastSlot_];
  const auto [position, isNew] = slotNumbers_.try_emplace(material, slots_.size());
  if (isNew) slots_.emplace_back().material = material;
  lastSlot_ = position->second;
  return slots_[lastSlot_];
}

void OBJPartCollector::enter(std::size_t stretch) {
  stretch_ = &statements_.stretches[stretch];
  stretchVertices_ = &vertexOfCorner_[stretch];
  if (stretchVertices_->empty()) stretchVertices_->resize(stretch_->corners.count(), 0);
}

void OBJPartCollector::leave(std::size_t stretch) {
  if (--visitsLeft_[stretch] == 0) giveBackStretch(stretch);
  if (--allVisitsLeft_ == 0) giveBack(latestOfPosition_);
}

/// Gives back what nothing to come refers to.
void OBJPartCollector::giveBackStretch(std::size_t stretch) {
  OBJStretch& done = statements_.stretches[stretch];
  positionBlocks_.remove(done.corners.positions, 3, {&statements_.positions, &statements_.colors});
  texcoordBlocks_.remove(done.corners.texcoords, 2, {&statements_.texcoords});
  normalBlocks_.remove(done.corners.normals, 3, {&statements_.normals});
  for (Indices* list : {&done.corners.positions, &done.corners.texcoords, &done.corners.normals, &done.faces,
                        &done.lines, &done.points, &vertexOfCorner_[stretch]}) {
    giveBack(*list);
  }
}

inline std::uint32_t OBJPartCollector::vertexOf(std::uint32_t corner) {
  std::uint32_t& number = (*stretchVertices_)[corner];
  if (number < lowestNumber_) number = numberOf(corner);
  return vertexOfNumber(number);
}

/// The number of the vertex with the corner's indices, which is added where there is none.
std::uint32_t OBJPartCollector::numberOf(std::uint32_t corner) {
  const OBJCorners& corners = stretch_->corners;
  const std::uint32_t position = corners.positions[corner];
  std::uint32_t& latest = latestOfPosition_[position];
  const bool isKnown = latest >= lowestNumber_;
  if (isKnown && areCornersPositions_) return latest;
  const std::uint32_t texcoord = corners.texcoordOf(corner);
  const std::uint32_t normal = corners.normalOf(corner);
  std::uint32_t number = isKnown ? latest : noNumber;
  for (int i = 0; i < verticesSearched && number != noNumber; ++i) {
    const Known& known = known_[number - lowestNumber_];
    if (known.texcoord == texcoord && known.normal == normal) return number;
    number = known.previous;
  }
  addVertex(position, texcoord, normal);
  if (!areCornersPositions_) known_.push_back({texcoord, normal, isKnown ? latest : noNumber});
  if (!isKnown) ++positionCount_;
  latest = nextNumber_++;
  return latest;
}

void OBJPartCollector::addVertex(std::uint32_t position, std::uint32_t texcoord, std::uint32_t normal) {
  if (vertices_.count() >= mostVertices) throwMalformedMesh("The OBJ file has more vertices than can be drawn.");
  const float* const place = statements_.positions.data() + std::size_t{position} * 3;
  vertices_.positions.insert(vertices_.positions.end(), place, place + 3);
  if (!statements_.colors.empty()) {
    const float* const color = statements_.colors.data() + std::size_t{position} * 3;
    for (std::size_t i = 0; i < 3; ++i) vertices_.colors.push_back(linearOBJColor(color[i], colorScale_));
  }
  if (!statements_.texcoords.empty()) {
    const bool isThere = texcoord != noOBJIndex;
    const float* const given = statements_.texcoords.data() + (isThere ? std::size_t{texcoord} * 2 : 0);
    const std::array<float, 2> fromTop = {isThere ? given[0] : 0, isThere ? 1 - given[1] : 0};
    vertices_.texcoords.insert(vertices_.texcoords.end(), fromTop.begin(), fromTop.end());
    hasTexcoords_ = hasTexcoords_ || isThere;
  }
  if (!statements_.normals.empty() && isOfFaces_) {
    const bool isThere = normal != noOBJIndex;
    const float* const given = isThere ? statements_.normals.data() + std::size_t{normal} * 3 : objNormalOfLines.data();
    vertices_.normals.insert(vertices_.normals.end(), given, given + 3);
    if (isThere) ++withNormalCount_;
  }
}

void OBJPartCollector::addTriangles(std::span<const std::uint32_t> corners, OBJSlot& slot) {
  const std::size_t before = slot.triangles.size();
  slot.triangles.resize(before + corners.size());
  std::uint32_t* place = slot.triangles.data() + before;
  for (const std::uint32_t corner : corners) *place++ = vertexOf(corner);
}

inline simd_double3 OBJPartCollector::placeOf(std::uint32_t vertex) const {
  const float* position = vertices_.positions.data() + std::size_t{vertex} * 3;
  return {position[0], position[1], position[2]};
}

void OBJPartCollector::addQuad(std::span<const std::uint32_t> corners, OBJSlot& slot) {
  std::array<std::uint32_t, 4> face{};
  std::array<simd_double3, 4> places{};
  for (std::size_t i = 0; i < 4; ++i) {
    face[i] = vertexOf(corners[i]);
    places[i] = placeOf(face[i]);
  }
  if (!isPlainQuad(places)) return addPolygon(corners, slot);
  slot.triangles.insert(slot.triangles.end(), {face[0], face[1], face[2], face[0], face[2], face[3]});
}

void OBJPartCollector::addPolygon(std::span<const std::uint32_t> corners, OBJSlot& slot) {
  face_.clear();
  places_.clear();
  cut_.clear();
  for (const std::uint32_t corner : corners) {
    face_.push_back(vertexOf(corner));
    places_.push_back(placeOf(face_.back()));
  }
  triangulator_.triangulate(places_, cut_);
  for (const std::uint32_t corner : cut_) slot.triangles.push_back(face_[corner]);
}

/// A line over the corners, or a point.
void OBJPartCollector::addLine(std::span<const std::uint32_t> corners, OBJSlot& slot) {
  std::uint32_t last = vertexOf(corners.front());
  if (corners.size() == 1) slot.points.push_back(last);
  for (const std::uint32_t corner : corners.subspan(1)) {
    const std::uint32_t next = vertexOf(corner);
    slot.lines.insert(slot.lines.end(), {last, next});
    last = next;
  }
}

// The latest vertex of a position refers to the ones before.
Indices OBJPartCollector::firstOfPositions() const {
  Indices first(vertices_.count());
  for (std::size_t vertex = 0; vertex < first.size(); ++vertex) {
    const std::uint32_t previous = areCornersPositions_ ? noNumber : known_[vertex].previous;
    first[vertex] = previous == noNumber ? static_cast<std::uint32_t>(vertex) : first[previous - lowestNumber_];
  }
  return first;
}

}  // namespace ornolith
