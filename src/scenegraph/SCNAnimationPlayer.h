#pragma once

#include <memory>

namespace ornolith {

struct SCNAnimation {
  double duration = 0;  ///< Seconds.
};

/// A handle on one native animation of a node.
class SCNAnimationPlayer {
 public:
  explicit SCNAnimationPlayer(SCNAnimation animation) : animation_(animation) {}
  const SCNAnimation& animation() const noexcept { return animation_; }
  bool isPaused() const noexcept { return isPaused_; }
  void setPaused(bool paused) noexcept { isPaused_ = paused; }
  void stop() noexcept { isPaused_ = true; }

 private:
  SCNAnimation animation_;
  bool isPaused_ = true;
};

}  // namespace ornolith
