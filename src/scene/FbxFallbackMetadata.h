#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "import/formats/ModelLoadDiagnostic.h"
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

/// Takes the facts out of the loader's result. A missing frame rate reads 0.
FbxFallbackMetadata fallbackMetadata(const FbxFallbackLoadResult& result);

/// The loader's findings as diagnostics: one for each text, in order, then one where a surface shows the neutral
/// colour.
std::vector<ModelLoadDiagnostic> fbxDiagnostics(const FbxFallbackLoadResult& result);

}  // namespace ornolith
