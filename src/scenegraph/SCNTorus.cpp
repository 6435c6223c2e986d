#include "scenegraph/SCNTorus.h"

#include <algorithm>

#include "scenegraph/ShapeMesh.h"

namespace ornolith {

SCNTorus::SCNTorus(double ringRadius, double pipeRadius) : ringRadius_(ringRadius), pipeRadius_(pipeRadius) {
  build();
  setMaterials({SCNMaterial::material()});
}

std::shared_ptr<SCNTorus> SCNTorus::torusWithRingRadius(double ringRadius, double pipeRadius) {
  return std::shared_ptr<SCNTorus>(new SCNTorus(ringRadius, pipeRadius));
}

void SCNTorus::setRingSegmentCount(std::size_t count) {
  ringSegmentCount_ = std::clamp<std::size_t>(count, 3, 1024);
  build();
}

void SCNTorus::setPipeSegmentCount(std::size_t count) {
  pipeSegmentCount_ = std::clamp<std::size_t>(count, 3, 1024);
  build();
}

void SCNTorus::build() {
  const std::vector<CirclePoint> circle = unitCircle(pipeSegmentCount_);
  std::vector<OutlinePoint> outline;
  for (std::size_t i = 0; i <= pipeSegmentCount_; ++i) {
    const CirclePoint around = circle[i % pipeSegmentCount_];
    outline.push_back({ringRadius_ + pipeRadius_ * around.cosine, pipeRadius_ * around.sine, around.cosine, around.sine,
                       1 - static_cast<double>(i) / static_cast<double>(pipeSegmentCount_)});
  }
  ShapeMesh mesh;
  addRevolution(mesh, outline, ringSegmentCount_);
  setSourcesAndElements(mesh.sources(), mesh.elements());
}

}  // namespace ornolith
