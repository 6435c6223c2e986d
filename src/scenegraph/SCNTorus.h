#pragma once

#include <cstddef>
#include <memory>

#include "scenegraph/SCNGeometry.h"

namespace ornolith {

/// A ring about y, centred on its origin, with one default material. `ringRadius` reaches to the middle of the pipe.
/// Texture coordinates run once around the ring (u) and once around the pipe (v).
class SCNTorus final : public SCNGeometry {
 public:
  static std::shared_ptr<SCNTorus> torusWithRingRadius(double ringRadius, double pipeRadius);

  double ringRadius() const noexcept { return ringRadius_; }
  double pipeRadius() const noexcept { return pipeRadius_; }
  std::size_t ringSegmentCount() const noexcept { return ringSegmentCount_; }
  std::size_t pipeSegmentCount() const noexcept { return pipeSegmentCount_; }
  /// From 3 to 1024; 48 at first.
  void setRingSegmentCount(std::size_t count);
  /// From 3 to 1024; 24 at first.
  void setPipeSegmentCount(std::size_t count);

 private:
  SCNTorus(double ringRadius, double pipeRadius);
  void build();

  double ringRadius_;
  double pipeRadius_;
  std::size_t ringSegmentCount_ = 48;
  std::size_t pipeSegmentCount_ = 24;
};

}  // namespace ornolith
