#include "scenegraph/ShapeMesh.h"

#include <cmath>
#include <memory>
#include <span>
#include <utility>

#include "foundation/Math.h"

namespace ornolith {
namespace {

template <typename T>
SCNGeometrySource::Data bytesOf(const std::vector<T>& values) {
  const auto bytes = std::as_bytes(std::span(values));
  return std::make_shared<const std::vector<std::byte>>(bytes.begin(), bytes.end());
}

std::shared_ptr<const SCNGeometrySource> floatSource(const std::vector<float>& values,
                                                     SCNGeometrySourceSemantic semantic, std::size_t components) {
  return SCNGeometrySource::geometrySourceWithData(bytesOf(values), semantic, values.size() / components, true,
                                                   components, sizeof(float), 0, components * sizeof(float));
}

}  // namespace

std::vector<CirclePoint> unitCircle(std::size_t segments) {
  std::vector<CirclePoint> points(segments);
  for (std::size_t i = 0; i < segments; ++i) {
    // The angle within its quarter, so that quarters repeat one another and begin exactly on an axis.
    const std::size_t quarter = 4 * i / segments;
    const double inQuarter = static_cast<double>(4 * i - quarter * segments) / static_cast<double>(segments);
    const double angle = inQuarter * (math::pi / 2);
    const double c = inQuarter == 0 ? 1 : math::cos(angle);
    const double s = inQuarter == 0 ? 0 : math::sin(angle);
    const CirclePoint turned[4] = {{c, s}, {-s, c}, {-c, -s}, {s, -c}};
    points[i] = turned[quarter];
  }
  return points;
}

std::uint32_t ShapeMesh::addVertex(SCNVector3 position, SCNVector3 normal, double u, double v) {
  const auto number = static_cast<std::uint32_t>(positions_.size() / 3);
  for (std::size_t i = 0; i < 3; ++i) {
    positions_.push_back(static_cast<float>(position[i]));
    normals_.push_back(static_cast<float>(normal[i]));
  }
  texcoords_.push_back(static_cast<float>(u));
  texcoords_.push_back(static_cast<float>(v));
  return number;
}

bool ShapeMesh::isSamePlace(std::uint32_t a, std::uint32_t b) const {
  const float* p = positions_.data() + std::size_t{a} * 3;
  const float* q = positions_.data() + std::size_t{b} * 3;
  return p[0] == q[0] && p[1] == q[1] && p[2] == q[2];
}

void ShapeMesh::addTriangle(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
  if (isSamePlace(a, b) || isSamePlace(b, c) || isSamePlace(c, a)) return;
  indices_.insert(indices_.end(), {a, b, c});
}

void ShapeMesh::addQuad(std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
  addTriangle(a, b, c);
  addTriangle(a, c, d);
}

SCNGeometry::Sources ShapeMesh::sources() const {
  return {floatSource(positions_, SCNGeometrySourceSemantic::vertex, 3),
          floatSource(normals_, SCNGeometrySourceSemantic::normal, 3),
          floatSource(texcoords_, SCNGeometrySourceSemantic::texcoord, 2)};
}

SCNGeometry::Elements ShapeMesh::elements() const {
  return {SCNGeometryElement::geometryElementWithData(bytesOf(indices_), SCNGeometryPrimitiveType::triangles,
                                                      indices_.size() / 3, sizeof(std::uint32_t))};
}

void addRevolution(ShapeMesh& mesh, const std::vector<OutlinePoint>& outline, std::size_t segments) {
  const std::vector<CirclePoint> circle = unitCircle(segments);
  std::vector<std::uint32_t> below;
  for (const OutlinePoint& point : outline) {
    std::vector<std::uint32_t> row;
    for (std::size_t i = 0; i <= segments; ++i) {
      // Counter-clockwise as seen from above: x is the cosine, negative z the sine.
      const CirclePoint around = circle[i % segments];
      row.push_back(
          mesh.addVertex({point.radius * around.cosine, point.y, -point.radius * around.sine},
                         {point.normalRadial * around.cosine, point.normalY, -point.normalRadial * around.sine},
                         static_cast<double>(i) / static_cast<double>(segments), point.v));
    }
    for (std::size_t i = 0; i < segments && !below.empty(); ++i) {
      mesh.addQuad(below[i], below[i + 1], row[i + 1], row[i]);
    }
    below = std::move(row);
  }
}

void addDisc(ShapeMesh& mesh, double radius, double y, bool facesUp, std::size_t segments) {
  const SCNVector3 normal{0, facesUp ? 1.0 : -1.0, 0};
  const std::uint32_t centre = mesh.addVertex({0, y, 0}, normal, 0.5, 0.5);
  std::vector<std::uint32_t> rim;
  for (const CirclePoint& around : unitCircle(segments)) {
    const double down = facesUp ? -around.sine : around.sine;
    rim.push_back(mesh.addVertex({radius * around.cosine, y, -radius * around.sine}, normal, 0.5 + 0.5 * around.cosine,
                                 0.5 + 0.5 * down));
  }
  for (std::size_t i = 0; i < segments; ++i) {
    const std::uint32_t next = rim[(i + 1) % segments];
    if (facesUp) {
      mesh.addTriangle(centre, rim[i], next);
    } else {
      mesh.addTriangle(centre, next, rim[i]);
    }
  }
}

void addFrustum(ShapeMesh& mesh, double topRadius, double bottomRadius, double height, std::size_t segments) {
  const double slope = bottomRadius - topRadius;
  const double slant = std::sqrt(slope * slope + height * height);
  const double normalRadial = slant > 0 ? height / slant : 1;
  const double normalY = slant > 0 ? slope / slant : 0;
  addRevolution(
      mesh, {{bottomRadius, -height / 2, normalRadial, normalY, 1}, {topRadius, height / 2, normalRadial, normalY, 0}},
      segments);
  if (bottomRadius > 0) addDisc(mesh, bottomRadius, -height / 2, false, segments);
  if (topRadius > 0) addDisc(mesh, topRadius, height / 2, true, segments);
}

}  // namespace ornolith
