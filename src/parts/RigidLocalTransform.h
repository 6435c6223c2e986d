#pragma once

#include <optional>

#include "foundation/LinearAlgebra.h"

namespace ornolith {

/// A transform made of a scale along the axes, a turn and a move, in 32-bit floats; the scale along x is negative for a
/// mirroring transform.
struct RigidLocalTRS {
  simd_float3 translation;
  simd_quatf orientation;  ///< Unit length.
  simd_float3 scale{1, 1, 1};

  /// The matrix with `orientation` in place of this value's own.
  simd_float4x4 matrix(simd_quatf newOrientation) const;
  simd_float4x4 matrix() const { return matrix(orientation); }
  bool operator==(const RigidLocalTRS&) const = default;
};

/// Decides whether a node's local transform can be taken apart, turned and put together again.
struct RigidLocalTransformAnalyzer {
  static bool matrixIsFinite(const simd_float4x4& matrix);
  /// The largest absolute difference between corresponding entries.
  static float maximumDifference(const simd_float4x4& a, const simd_float4x4& b);
  /// The parts of `matrix`, or nothing where it is not finite, not affine, flat, sheared, or does not come back from
  /// its parts within a ten-thousandth of its largest entry.
  static std::optional<RigidLocalTRS> decompose(const simd_float4x4& matrix);
};

}  // namespace ornolith
