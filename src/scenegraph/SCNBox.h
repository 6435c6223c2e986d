#pragma once

#include <memory>

#include "scenegraph/SCNGeometry.h"

namespace ornolith {

/// A box about its origin, width along x, height along y and length along z, with one default material. Each face of a
/// box with sharp edges shows the whole texture; with rounded edges, the texture runs once around y and from the top
/// (v 0) to the bottom.
class SCNBox final : public SCNGeometry {
 public:
  /// `chamferRadius` rounds edges and corners, and is held to 0 and half of the shortest side.
  static std::shared_ptr<SCNBox> boxWithWidth(double width, double height, double length, double chamferRadius);

  double width() const noexcept { return width_; }
  double height() const noexcept { return height_; }
  double length() const noexcept { return length_; }
  double chamferRadius() const noexcept { return chamferRadius_; }
  void setChamferRadius(double radius);

 private:
  SCNBox(double width, double height, double length, double chamferRadius);
  void build();

  double width_;
  double height_;
  double length_;
  double chamferRadius_;
};

}  // namespace ornolith
