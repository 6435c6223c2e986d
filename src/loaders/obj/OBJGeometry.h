#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "loaders/obj/OBJStatements.h"
#include "scenegraph/SCNGeometry.h"
#include "scenegraph/SCNMaterial.h"

namespace ornolith {

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

/// Makes the geometries of parts, one after the other. All vertices of equal indices are one.
class OBJGeometryBuilder {
 public:
  explicit OBJGeometryBuilder(const OBJStatements& statements);

  /// The triangles, lines and points of a part, in this order, an element for each material. `materials` are those of
  /// `OBJParts::materialNames`. Missing normals are computed (VertexNormals.h); lines and points have none of their
  /// own. Colours become linear.
  std::shared_ptr<SCNGeometry> build(const OBJPart& part, std::span<const std::shared_ptr<SCNMaterial>> materials);

  /// All vertices as points, with a normal for each where the file has as many of them.
  std::shared_ptr<SCNGeometry> buildPointCloud(std::shared_ptr<SCNMaterial> material) const;

 private:
  const OBJStatements& statements_;
  LargeVector<std::uint32_t> firstOfPosition_;  // For each position the first vertex there of the part being built.
  float colorScale_ = 1;
};

}  // namespace ornolith
