#pragma once

#include <array>
#include <optional>

#include "foundation/LinearAlgebra.h"
#include "foundation/UUID.h"
#include "parts/RigidArticulationSession.h"
#include "scenegraph/SCNTypes.h"
#include "viewport/GizmoHandle.h"
#include "viewport/ModelTransform.h"
#include "viewport/SceneGroupTransform.h"
#include "viewport/ViewportInteraction.h"

namespace ornolith {

/// One pointer gesture on a gizmo handle.
struct TransformDragSession {
  UUID id;
  ViewportTransformTarget target;
  GizmoHandle handle;
  std::array<float, 2> startingPoint{};  ///< Points of the view.
};

/// A drag in progress: the session and where everything stood when it began, so that it can be abandoned exactly.
struct ActiveTransformDragState {
  TransformDragSession session;
  std::optional<RigidArticulationSession> articulationSession;  ///< Where the drag turns a hinge.
  bool usesFreeDrag = false;  ///< In the plane of the screen instead of along an axis.
  std::optional<ModelTransform> startingModelTransform;
  std::optional<SceneGroupTransform> startingSceneTransform;
  simd_float3 startingWorldPosition;
  simd_quatf startingWorldOrientation;
  std::optional<simd_float3> startingAxisDirection;
  std::optional<float> startingAxisParameter;
  std::optional<simd_float3> startingPlaneVector;
  float scaleReference = 1;
  CGPoint previousPoint;
};

}  // namespace ornolith
