#include "scenegraph/SCNCone.h"

#include <algorithm>

#include "scenegraph/ShapeMesh.h"

namespace ornolith {

SCNCone::SCNCone(double topRadius, double bottomRadius, double height)
    : topRadius_(topRadius), bottomRadius_(bottomRadius), height_(height) {
  build();
  setMaterials({SCNMaterial::material()});
}

std::shared_ptr<SCNCone> SCNCone::coneWithTopRadius(double topRadius, double bottomRadius, double height) {
  return std::shared_ptr<SCNCone>(new SCNCone(topRadius, bottomRadius, height));
}

void SCNCone::setRadialSegmentCount(std::size_t count) {
  radialSegmentCount_ = std::clamp<std::size_t>(count, 3, 1024);
  build();
}

void SCNCone::build() {
  ShapeMesh mesh;
  addFrustum(mesh, topRadius_, bottomRadius_, height_, radialSegmentCount_);
  setSourcesAndElements(mesh.sources(), mesh.elements());
}

}  // namespace ornolith
