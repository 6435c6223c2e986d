#pragma once

#include "contracts/CameraState.h"
#include "scenegraph/SCNNode.h"

namespace ornolith {

/// A node with a new camera of the scene's lens (SceneCamera.h).
SCNNode::Pointer makeRenderCameraNode();

/// Gives `camera`, a node with a camera, the position, Euler angles and field of view of `state`; its target plays no
/// part.
void placeRenderCamera(SCNNode& camera, const CameraState& state);

}  // namespace ornolith
