#pragma once

namespace ornolith {

class SCNConstraint {
 public:
  virtual ~SCNConstraint() = default;
};

/// Keeps its node turned to the point of view when a frame is drawn.
class SCNBillboardConstraint final : public SCNConstraint {};

}  // namespace ornolith
