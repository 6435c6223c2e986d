#pragma once

#include <cstddef>
#include <memory>

#include "scenegraph/SCNGeometry.h"

namespace ornolith {

/// A closed cylinder along y, centred on its origin, with one default material. Texture coordinates as of `SCNCone`.
class SCNCylinder final : public SCNGeometry {
 public:
  static std::shared_ptr<SCNCylinder> cylinderWithRadius(double radius, double height);

  double radius() const noexcept { return radius_; }
  double height() const noexcept { return height_; }
  std::size_t radialSegmentCount() const noexcept { return radialSegmentCount_; }
  /// From 3 to 1024; 48 at first.
  void setRadialSegmentCount(std::size_t count);

 private:
  SCNCylinder(double radius, double height);
  void build();

  double radius_;
  double height_;
  std::size_t radialSegmentCount_ = 48;
};

}  // namespace ornolith
