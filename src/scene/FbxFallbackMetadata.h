#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "loaders/fbx/FbxFallbackSceneLoader.h"
#include "viewport/ModelInfo.h"

namespace ornolith {

/// What a scene controller keeps of the FBX loader's result: facts that the built scene no longer shows.
struct FbxFallbackMetadata {
  std::uint64_t skeletonCount = 0;
  std::uint64_t boneCount = 0;
  std::vector<ModelAnimationInfo> animations;
  std::shared_ptr<FbxFallbackAnimationPlayer> player;
};

/// An animation of an FBX model, to be found again in its player.
struct FallbackAnimationTarget {
  std::string originalID;  ///< The id that the player knows.
  std::shared_ptr<FbxFallbackAnimationPlayer> player;
  ModelAnimationInfo info;  ///< With the id that is unique in the scene.
};

}  // namespace ornolith
