#include "scene/FbxFallbackMetadata.h"

#include <utility>

namespace ornolith {

namespace {

ModelLoadDiagnostic fbxWarning(std::string code, std::string message) {
  return {ModelDiagnosticSeverity::warning, std::move(code), ModelFormat::fbx, std::move(message), std::nullopt};
}

}  // namespace

FbxFallbackMetadata fallbackMetadata(const FbxFallbackLoadResult& result) {
  FbxFallbackMetadata metadata{result.skeletonCount, result.boneCount, {}, result.animationPlayer};
  metadata.animations.reserve(result.animations.size());
  for (const FbxAnimation& animation : result.animations) {
    ModelAnimationInfo info;
    info.id = animation.id;
    info.name = animation.name;
    info.startTime = animation.startTime;
    info.endTime = animation.endTime;
    info.duration = animation.duration;
    info.framesPerSecond = animation.framesPerSecond.value_or(0);
    metadata.animations.push_back(std::move(info));
  }
  return metadata;
}

std::vector<ModelLoadDiagnostic> fbxDiagnostics(const FbxFallbackLoadResult& result) {
  std::vector<ModelLoadDiagnostic> diagnostics;
  for (const std::string& text : result.diagnostics) diagnostics.push_back(fbxWarning("fbx.material-resource", text));
  if (result.usedMaterialFallback) {
    diagnostics.push_back(
        fbxWarning("fbx.material-fallback",
                   "Some FBX geometry has no usable material or color data. Ornolith uses opaque white "
                   "for vertex-colored geometry and opaque neutral gray otherwise."));
  }
  return diagnostics;
}

}  // namespace ornolith
