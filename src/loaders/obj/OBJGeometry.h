#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "loaders/obj/OBJStatements.h"
#include "scenegraph/SCNGeometry.h"
#include "scenegraph/SCNMaterial.h"

namespace ornolith {

class OBJPartCollector;

/// A run of corners of one stretch that belong to one part and one material.
struct OBJPiece {
  std::size_t stretch = 0;
  std::size_t firstCorner = 0;
  std::size_t cornerCount = 0;
  // Where the corners' primitives begin among the stretch's runs.
  std::size_t firstRun = 0;
  std::size_t primitivesOfRunBefore = 0;
  std::uint32_t material = 0;
  std::uint32_t smoothingGroup = 0;
};

/// What one object or group of the file holds.
struct OBJPart {
  std::string_view object;  ///< Empty where it belongs to none.
  std::string_view group;
  std::vector<OBJPiece> faces;
  std::vector<OBJPiece> lines;
  std::vector<OBJPiece> points;
};

/// The parts of a file in the order of their first primitives, and the names of the materials in that of first use.
struct OBJParts {
  std::vector<OBJPart> parts;
  std::vector<std::string_view> materialNames;  ///< As the file writes them; "" where none was named.
};

/// Sorts the primitives by object, group, material and smoothing group.
OBJParts sortIntoParts(const OBJStatements& statements);

/// Makes the geometries of parts, one after the other, each once. All vertices of equal indices are one.
///
/// Of a sheet of n vertices and 2n triangles, 48n bytes of geometry, the statements take 24n for the faces, 12n for
/// positions and 4n for corners. While vertices are made, positions and faces go as triangles and vertices come, beside
/// 4n for finding them; the normals come when all of that has gone. With texture coordinates and normals, 56n, it is
/// 24n, 32n and 12n, and 16n for finding vertices: 72n at the peak.
class OBJGeometryBuilder {
 public:
  /// Takes the statements apart as it goes along.
  OBJGeometryBuilder(OBJStatements& statements, const OBJParts& parts);
  OBJGeometryBuilder(const OBJGeometryBuilder&) = delete;
  OBJGeometryBuilder& operator=(const OBJGeometryBuilder&) = delete;
  ~OBJGeometryBuilder();

  /// The triangles, lines and points of a part, in this order, an element for each material. `materials` are those of
  /// `OBJParts::materialNames`. Missing normals are computed (VertexNormals.h); lines and points have none of their
  /// own. Colours become linear.
  std::shared_ptr<SCNGeometry> build(const OBJPart& part, std::span<const std::shared_ptr<SCNMaterial>> materials);

 private:
  std::unique_ptr<OBJPartCollector> collector_;
};

/// All vertices as points, with a normal for each where the file has as many of them. Takes the lists over.
std::shared_ptr<SCNGeometry> objPointCloud(OBJStatements statements, std::shared_ptr<SCNMaterial> material);

}  // namespace ornolith
