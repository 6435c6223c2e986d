#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <vector>

#include "foundation/LargeVector.h"
#include "foundation/LinearAlgebra.h"
#include "loaders/obj/OBJGeometry.h"
#include "loaders/obj/OBJListBlocks.h"
#include "loaders/obj/OBJStatements.h"
#include "scenegraph/PolygonTriangulation.h"

namespace ornolith {

/// The vertices of a part. Lists that the file has nothing for are empty.
struct OBJVertices {
  LargeVector<float> positions;  ///< Three components for each.
  LargeVector<float> colors;     ///< Three, linear.
  LargeVector<float> texcoords;  ///< Two, from the top, as the scene counts.
  LargeVector<float> normals;    ///< Three, for those of triangles.

  std::size_t count() const noexcept { return positions.size() / 3; }
};

/// What stands for the normal of a vertex that has none.
inline constexpr std::array<float, 3> objNormalOfLines = {0, 0, 1};

/// What makes 1 of the brightest colour: some exporters count up to 255.
float objColorScale(const LargeVector<float>& colors);

/// A component of a colour of the file, linear.
float linearOBJColor(float value, float scale);

/// The smoothing groups of triangles: one for each, or one for all that are alike.
struct OBJSmoothingGroups {
  LargeVector<std::uint32_t> groups;
  std::size_t triangleCount = 0;

  void add(std::size_t count, std::uint32_t group);
  void add(const OBJSmoothingGroups& others);
  void set(std::size_t triangle, std::uint32_t group);
  std::uint32_t of(std::size_t triangle) const { return groups.size() == 1 ? groups.front() : groups[triangle]; }
};

/// The primitives of one material in a part, over the part's vertices.
struct OBJSlot {
  std::uint32_t material = 0;
  LargeVector<std::uint32_t> triangles;
  OBJSmoothingGroups smoothingGroups;  ///< Of the triangles.
  LargeVector<std::uint32_t> lines;
  LargeVector<std::uint32_t> points;
};

/// Makes vertices of the corners of parts, one part after the other, and primitives over them. What no part to come
/// needs of the statements is given back on the way.
class OBJPartCollector {
 public:
  OBJPartCollector(OBJStatements& statements, const OBJParts& parts);

  void beginPart(const OBJPart& part);
  /// Makes triangles of the faces, all vertices of equal indices one.
  void addFaces(const OBJPart& part);
  /// Those of the faces too that are one of these.
  void addLinesAndPoints(const OBJPart& part);
  /// Vertices that are added later equal none of those before, which may be changed now.
  void forgetVertices();

  /// For each vertex the first one of its position, where none has been forgotten.
  LargeVector<std::uint32_t> firstOfPositions() const;
  // Of the vertices since the part began, where none has been forgotten:
  std::size_t positionCount() const noexcept { return positionCount_; }
  std::size_t withNormalCount() const noexcept { return withNormalCount_; }
  bool hasNormal(std::uint32_t vertex) const { return known_[vertex].normal != noOBJIndex; }
  /// True where any of the part has texture coordinates.
  bool hasTexcoords() const noexcept { return hasTexcoords_; }

  OBJVertices& vertices() noexcept { return vertices_; }
  std::vector<OBJSlot>& slots() noexcept { return slots_; }
  bool hasSmoothingGroups() const noexcept { return hasSmoothingGroups_; }

 private:
  /// What a vertex is found by among those of its position.
  struct Known {
    std::uint32_t texcoord;
    std::uint32_t normal;
    std::uint32_t previous;  // The number of the one before at the position.
  };

  void reserveFor(const OBJPart& part);
  OBJSlot& slotOf(std::uint32_t material);
  void enter(std::size_t stretch);
  void leave(std::size_t stretch);
  std::uint32_t vertexOf(std::uint32_t corner);
  std::uint32_t numberOf(std::uint32_t corner);
  void giveBackStretch(std::size_t stretch);
  void addVertex(std::uint32_t position, std::uint32_t texcoord, std::uint32_t normal);
  void addTriangles(std::span<const std::uint32_t> corners, OBJSlot& slot);
  void addQuad(std::span<const std::uint32_t> corners, OBJSlot& slot);
  void addPolygon(std::span<const std::uint32_t> corners, OBJSlot& slot);
  void addLines(const std::vector<OBJPiece>& pieces, std::vector<OBJRun> OBJStretch::*runs,
                LargeVector<std::uint32_t> OBJStretch::*list, std::size_t mostCorners);
  void addLine(std::span<const std::uint32_t> corners, OBJSlot& slot);
  simd_double3 placeOf(std::uint32_t vertex) const;
  std::uint32_t vertexOfNumber(std::uint32_t number) const {
    return number - lowestNumber_ + static_cast<std::uint32_t>(firstKnown_);
  }

  OBJStatements& statements_;
  std::vector<std::size_t> visitsLeft_;  // Of pieces of each stretch.
  std::size_t allVisitsLeft_ = 0;
  OBJListBlocks positionBlocks_;
  OBJListBlocks texcoordBlocks_;
  OBJListBlocks normalBlocks_;
  bool areCornersPositions_ = false;  // No corner has a texture coordinate or a normal.
  float colorScale_ = 1;

  // Each vertex that is added has the next number. The tables hold numbers; those below the lowest are of vertices that
  // have been forgotten, so that nothing has to be cleared for the next part.
  std::uint32_t nextNumber_ = 1;
  std::uint32_t lowestNumber_ = 1;
  std::size_t firstKnown_ = 0;                   // The vertex that has the lowest number.
  LargeVector<std::uint32_t> latestOfPosition_;  // For each position the latest vertex there.
  LargeVector<Known> known_;                     // Of the vertices that are known; empty where areCornersPositions_.
  std::vector<LargeVector<std::uint32_t>> vertexOfCorner_;  // For each corner of a stretch its vertex.

  OBJVertices vertices_;
  std::vector<OBJSlot> slots_;
  std::map<std::uint32_t, std::size_t> slotNumbers_;
  std::size_t lastSlot_ = 0;
  bool isOfFaces_ = true;  // What vertices are being made of.
  bool hasSmoothingGroups_ = false;
  bool hasTexcoords_ = false;
  std::size_t positionCount_ = 0;
  std::size_t withNormalCount_ = 0;

  // Of the stretch that is being looked at.
  const OBJStretch* stretch_ = nullptr;
  LargeVector<std::uint32_t>* stretchVertices_ = nullptr;

  PolygonTriangulator triangulator_;
  std::vector<std::uint32_t> face_;
  std::vector<std::uint32_t> cut_;
  std::vector<simd_double3> places_;
};

}  // namespace ornolith
