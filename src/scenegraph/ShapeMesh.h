#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "scenegraph/SCNGeometry.h"

namespace ornolith {

/// A point of a unit circle. `unitCircle` gives `segments` of them counter-clockwise from (1, 0), with the points on
/// the axes exact.
struct CirclePoint {
  double cosine = 1;
  double sine = 0;
};
std::vector<CirclePoint> unitCircle(std::size_t segments);

/// Collects the vertices and triangles of a ready shape. Vertices at one place have the same coordinates to the bit, so
/// that surfaces close.
class ShapeMesh {
 public:
  /// Returns the vertex's number. `normal` has unit length; the origin of texture coordinates is at the top left.
  std::uint32_t addVertex(SCNVector3 position, SCNVector3 normal, double u, double v);
  /// A triangle, counter-clockwise from outside. One with two corners at the same place is left out.
  void addTriangle(std::uint32_t a, std::uint32_t b, std::uint32_t c);
  /// The triangles a, b, c and a, c, d.
  void addQuad(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d);

  /// Vertex, normal and texture coordinate sources, and one element of triangles.
  SCNGeometry::Sources sources() const;
  SCNGeometry::Elements elements() const;

 private:
  bool isSamePlace(std::uint32_t a, std::uint32_t b) const;

  std::vector<float> positions_;
  std::vector<float> normals_;
  std::vector<float> texcoords_;
  std::vector<std::uint32_t> indices_;
};

/// A point of the outline that a surface of revolution turns about the y axis, with the outline's normal there.
struct OutlinePoint {
  double radius = 0;
  double y = 0;
  double normalRadial = 0;
  double normalY = 0;
  double v = 0;  ///< Texture coordinate.
};

/// The surface that `outline`, which runs upwards on the outside, sweeps around y in `segments` steps; u runs once
/// around.
void addRevolution(ShapeMesh& mesh, const std::vector<OutlinePoint>& outline, std::size_t segments);
/// A disc across the y axis that faces up or down.
void addDisc(ShapeMesh& mesh, double radius, double y, bool facesUp, std::size_t segments);
/// A frustum along y about the origin: its side, and a disc at each end whose radius is above 0.
void addFrustum(ShapeMesh& mesh, double topRadius, double bottomRadius, double height, std::size_t segments);

}  // namespace ornolith
