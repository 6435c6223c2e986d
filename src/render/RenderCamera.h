#pragma once

#include "contracts/CameraState.h"
#include "scenegraph/SCNNode.h"

namespace ornolith {

/// A node with the camera that every picture is taken with: near plane 0.001, far plane 10000 units of the scene.
SCNNode::Pointer makeRenderCameraNode();

/// Gives `camera`, a node with a camera, the position, Euler angles and field of view of `state`; its target plays no
/// part.
void placeRenderCamera(SCNNode& camera, const CameraState& state);

}  // namespace ornolith
