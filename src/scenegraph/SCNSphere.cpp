#include "scenegraph/SCNSphere.h"

#include <algorithm>

#include "scenegraph/ShapeMesh.h"

namespace ornolith {

SCNSphere::SCNSphere(double radius) : radius_(radius) {
  build();
  setMaterials({SCNMaterial::material()});
}

std::shared_ptr<SCNSphere> SCNSphere::sphereWithRadius(double radius) {
  return std::shared_ptr<SCNSphere>(new SCNSphere(radius));
}

void SCNSphere::setSegmentCount(std::size_t count) {
  segmentCount_ = std::clamp<std::size_t>(count, 4, 1024);
  build();
}

void SCNSphere::build() {
  const std::size_t rows = segmentCount_ / 2;
  // Angles are counted from the south pole, so that both poles lie exactly on the axis.
  const std::vector<CirclePoint> circle = unitCircle(2 * rows);
  std::vector<OutlinePoint> outline;
  for (std::size_t row = 0; row <= rows; ++row) {
    const CirclePoint fromPole = circle[row];
    outline.push_back({radius_ * fromPole.sine, -radius_ * fromPole.cosine, fromPole.sine, -fromPole.cosine,
                       1 - static_cast<double>(row) / static_cast<double>(rows)});
  }
  ShapeMesh mesh;
  addRevolution(mesh, outline, segmentCount_);
  setSourcesAndElements(mesh.sources(), mesh.elements());
}

}  // namespace ornolith
