#include "scenegraph/SCNCylinder.h"

#include <algorithm>

#include "scenegraph/ShapeMesh.h"

namespace ornolith {

SCNCylinder::SCNCylinder(double radius, double height) : radius_(radius), height_(height) {
  build();
  setMaterials({SCNMaterial::material()});
}

std::shared_ptr<SCNCylinder> SCNCylinder::cylinderWithRadius(double radius, double height) {
  return std::shared_ptr<SCNCylinder>(new SCNCylinder(radius, height));
}

void SCNCylinder::setRadialSegmentCount(std::size_t count) {
  radialSegmentCount_ = std::clamp<std::size_t>(count, 3, 1024);
  build();
}

void SCNCylinder::build() {
  ShapeMesh mesh;
  addFrustum(mesh, radius_, radius_, height_, radialSegmentCount_);
  setSourcesAndElements(mesh.sources(), mesh.elements());
}

}  // namespace ornolith
