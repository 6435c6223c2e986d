#pragma once

#include <memory>

#include "scenegraph/SCNScene.h"

namespace ornolith {

/// A new scene with clones of the top-level nodes of `scene`, which share geometries and materials. Nodes with a
/// camera, the selection frame and the gizmo are left out, the latter two at every level. The background is left unset.
std::shared_ptr<SCNScene> copyOfSceneWithoutCaptureOverlays(const SCNScene& scene);

/// The same with geometries and materials of its own and nothing that moves: later changes of `scene` do not reach it.
std::shared_ptr<SCNScene> makeFrozenScene(const SCNScene& scene);

}  // namespace ornolith
