#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "foundation/UUID.h"
#include "import/formats/ModelLoadDiagnostic.h"
#include "loaders/fbx/FbxFallbackAnimationPlayer.h"
#include "parts/PartPresentationState.h"
#include "parts/RigidArticulationDescriptor.h"
#include "parts/ScenePartRuntime.h"
#include "scenegraph/SCNNode.h"
#include "viewport/ModelInfo.h"

namespace ornolith {

/// One model instance of a scene.
struct SceneModelEntry {
  UUID id;
  SCNNode::Pointer rootNode;  ///< The instance root, below the scene's content node.
  ModelInfo modelInfo;        ///< Facts of this instance alone.
  std::shared_ptr<FbxFallbackAnimationPlayer> fallbackAnimationPlayer;  ///< Only where the FBX loader made the scene.
  std::vector<ModelLoadDiagnostic> diagnostics;                         ///< In the order in which they arose.
  ScenePartRuntime parts;
};

/// What adding a model instance gives.
struct LoadedModelSummary {
  ModelInfo modelInfo;
  std::vector<ModelLoadDiagnostic> diagnostics;
  std::optional<RigidArticulationDescriptor> rigidArticulationDescriptor;
  bool blocksRigidArticulationInference = false;
  PartPresentationState partPresentationState;
};

}  // namespace ornolith
