#pragma once

#include <cstddef>
#include <memory>

#include "scenegraph/SCNGeometry.h"

namespace ornolith {

/// A cone or a frustum along y, centred on its origin, closed by discs where a radius is above 0, with one default
/// material. On the side, texture coordinates run once around and from the top (v 0) to the bottom.
class SCNCone final : public SCNGeometry {
 public:
  static std::shared_ptr<SCNCone> coneWithTopRadius(double topRadius, double bottomRadius, double height);

  double topRadius() const noexcept { return topRadius_; }
  double bottomRadius() const noexcept { return bottomRadius_; }
  double height() const noexcept { return height_; }
  std::size_t radialSegmentCount() const noexcept { return radialSegmentCount_; }
  /// From 3 to 1024; 48 at first.
  void setRadialSegmentCount(std::size_t count);

 private:
  SCNCone(double topRadius, double bottomRadius, double height);
  void build();

  double topRadius_;
  double bottomRadius_;
  double height_;
  std::size_t radialSegmentCount_ = 48;
};

}  // namespace ornolith
