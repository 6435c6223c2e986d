#include "scenegraph/SCNBox.h"

#include <algorithm>
#include <array>

#include "scenegraph/ShapeMesh.h"

namespace ornolith {
namespace {

// Steps of a rounded edge.
constexpr std::size_t chamferSegments = 6;

void addSharpBox(ShapeMesh& mesh, SCNVector3 half) {
  struct Face {
    SCNVector3 normal;
    SCNVector3 right;
    SCNVector3 up;
  };
  constexpr Face faces[] = {
      {{0, 0, 1}, {1, 0, 0}, {0, 1, 0}},  {{1, 0, 0}, {0, 0, -1}, {0, 1, 0}}, {{0, 0, -1}, {-1, 0, 0}, {0, 1, 0}},
      {{-1, 0, 0}, {0, 0, 1}, {0, 1, 0}}, {{0, 1, 0}, {1, 0, 0}, {0, 0, -1}}, {{0, -1, 0}, {1, 0, 0}, {0, 0, 1}},
  };
  for (const Face& face : faces) {
    const auto corner = [&](double right, double up) {
      const SCNVector3 direction = face.normal + face.right * right + face.up * up;
      return mesh.addVertex(direction * half, face.normal, (1 + right) / 2, (1 - up) / 2);
    };
    const std::uint32_t bottomLeft = corner(-1, -1);
    const std::uint32_t bottomRight = corner(1, -1);
    const std::uint32_t topRight = corner(1, 1);
    const std::uint32_t topLeft = corner(-1, 1);
    mesh.addQuad(bottomLeft, bottomRight, topRight, topLeft);
  }
}

// A direction of a quarter circle, and the sign of the corner that it belongs to.
struct QuarterPoint {
  CirclePoint point;
  std::size_t quarter;
};

std::vector<QuarterPoint> quarters(std::size_t first, std::size_t count) {
  const std::vector<CirclePoint> circle = unitCircle(4 * chamferSegments);
  std::vector<QuarterPoint> points;
  for (std::size_t quarter = first; quarter < first + count; ++quarter) {
    for (std::size_t i = 0; i <= chamferSegments; ++i) {
      points.push_back({circle[(quarter * chamferSegments + i) % circle.size()], quarter % 4});
    }
  }
  return points;
}

// The eight eighths of a sphere moved apart to the corners of the inner box; the strips between them are the edges and
// the four upright faces, and two rectangles close top and bottom.
void addRoundedBox(ShapeMesh& mesh, SCNVector3 half, double radius) {
  const SCNVector3 inner = half - SCNVector3{radius, radius, radius};
  const std::vector<QuarterPoint> around = quarters(0, 4);
  const std::vector<QuarterPoint> upwards = quarters(3, 2);  // From the south pole to the north pole.
  constexpr std::array<double, 4> signX{1, -1, -1, 1};
  constexpr std::array<double, 4> signZ{-1, -1, 1, 1};
  std::vector<std::uint32_t> below;
  std::vector<std::uint32_t> bottomRow;
  for (std::size_t row = 0; row < upwards.size(); ++row) {
    const auto& [latitude, vertical] = upwards[row];
    std::vector<std::uint32_t> current;
    for (std::size_t i = 0; i <= around.size(); ++i) {
      const auto& [longitude, corner] = around[i % around.size()];
      const SCNVector3 normal{latitude.cosine * longitude.cosine, latitude.sine, -latitude.cosine * longitude.sine};
      const SCNVector3 centre{signX[corner] * inner.x, vertical == 3 ? -inner.y : inner.y, signZ[corner] * inner.z};
      current.push_back(mesh.addVertex(centre + normal * radius, normal,
                                       static_cast<double>(i) / static_cast<double>(around.size()),
                                       1 - static_cast<double>(row) / static_cast<double>(upwards.size() - 1)));
    }
    for (std::size_t i = 0; i < around.size() && row > 0; ++i) {
      mesh.addQuad(below[i], below[i + 1], current[i + 1], current[i]);
    }
    if (row == 0) bottomRow = current;
    below = std::move(current);
  }
  constexpr std::size_t step = chamferSegments + 1;
  mesh.addQuad(below[0], below[step], below[2 * step], below[3 * step]);
  mesh.addQuad(bottomRow[3 * step], bottomRow[2 * step], bottomRow[step], bottomRow[0]);
}

}  // namespace

SCNBox::SCNBox(double width, double height, double length, double chamferRadius)
    : width_(width), height_(height), length_(length), chamferRadius_(chamferRadius) {
  build();
  setMaterials({SCNMaterial::material()});
}

std::shared_ptr<SCNBox> SCNBox::boxWithWidth(double width, double height, double length, double chamferRadius) {
  return std::shared_ptr<SCNBox>(new SCNBox(width, height, length, chamferRadius));
}

void SCNBox::setChamferRadius(double radius) {
  chamferRadius_ = radius;
  build();
}

void SCNBox::build() {
  const SCNVector3 half{width_ / 2, height_ / 2, length_ / 2};
  const double radius = std::min({chamferRadius_, half.x, half.y, half.z});
  ShapeMesh mesh;
  if (radius > 0) {
    addRoundedBox(mesh, half, radius);
  } else {
    addSharpBox(mesh, half);
  }
  setSourcesAndElements(mesh.sources(), mesh.elements());
}

}  // namespace ornolith
