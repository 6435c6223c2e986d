#pragma once

#include <span>
#include <string>

#include "contracts/ExplicitPoseDocument.h"
#include "contracts/ListedModelPartsDocument.h"
#include "parts/ExplicitPoseRuntime.h"
#include "scene/SceneController.h"

namespace ornolith {

/// The one model of the scene. Throws `ExplicitPoseRuntimeError`: `MissingModel`, `MultipleModels`.
const SceneModelEntry& soleModelEntryForExplicitPoses(const SceneController& controller);

/// The inventory of the scene's one model; `modelSHA256` is its hash. Every part carries the same reason where some
/// part of the model keeps it from being posed. Throws `ExplicitPoseRuntimeError`, and `PartListingError` for a model
/// whose nodes are nested too deep to be listed.
ListedModelPartsDocument listedModelParts(const SceneController& controller, const std::string& modelSHA256,
                                          ModelFormat format);

/// A node's local matrix and its rigid decomposition as the inventory shows them.
ListedModelLocalTransform listedLocalTransform(const simd_float4x4& matrix,
                                               const std::optional<RigidLocalTRS>& decomposition);

/// The runtime of `poses` for the scene's one model. Changes nothing in the scene. Throws `ExplicitPoseRuntimeError`,
/// and what `ExplicitPoseDocument::validate` throws.
ExplicitPoseRuntime makeExplicitPoseRuntime(const SceneController& controller, std::span<const ExplicitModelPose> poses,
                                            ModelFormat format);

}  // namespace ornolith
