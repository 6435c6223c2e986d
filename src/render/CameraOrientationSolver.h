#pragma once

#include <optional>

#include "foundation/LinearAlgebra.h"

namespace ornolith {

/// The epsilon with which every camera of this program is oriented.
inline constexpr float cameraOrientationEpsilon = 0.000001F;

/// Turns a position and a target into the orientation of a camera, also where the up vector is of no use. A stateless
/// set of operations, in 32-bit floats throughout.
struct CameraOrientationSolver {
  /// The rotation that turns a camera at `position`, which looks along its negative z, toward `target`, with its y as
  /// near to `preferredUp` as can be. Where `preferredUp` is zero or lies along the view, the world axis that is
  /// farthest from the view decides. Positions are in world space; `preferredUp` need not be of unit length.
  ///
  /// Nothing where `epsilon` is not positive and finite, a component is not finite, or position and target are nearer
  /// to each other than `epsilon`.
  static std::optional<simd_quatf> orientation(simd_float3 position, simd_float3 target, simd_float3 preferredUp,
                                               float epsilon);
};

}  // namespace ornolith
