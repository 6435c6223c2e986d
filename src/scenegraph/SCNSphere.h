#pragma once

#include <cstddef>
#include <memory>

#include "scenegraph/SCNGeometry.h"

namespace ornolith {

/// A sphere about its origin, with one default material. Texture coordinates run once around y and from the north pole
/// (v 0) to the south pole.
class SCNSphere final : public SCNGeometry {
 public:
  static std::shared_ptr<SCNSphere> sphereWithRadius(double radius);

  double radius() const noexcept { return radius_; }
  std::size_t segmentCount() const noexcept { return segmentCount_; }
  /// Steps around y, half as many from pole to pole; from 4 to 1024, 48 at first.
  void setSegmentCount(std::size_t count);

 private:
  explicit SCNSphere(double radius);
  void build();

  double radius_;
  std::size_t segmentCount_ = 48;
};

}  // namespace ornolith
