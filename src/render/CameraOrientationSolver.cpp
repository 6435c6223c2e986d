#include "render/CameraOrientationSolver.h"

#include <cmath>

#include "foundation/Rotation.h"

namespace ornolith {

namespace {

/// `v` at unit length; nothing where it is not finite, is shorter than `epsilon` or is too long to be squared.
std::optional<simd_float3> normalized(simd_float3 v, float epsilon) {
  if (!isFinite(v)) return std::nullopt;
  const float squaredLength = dot(v, v);
  if (!std::isfinite(squaredLength) || squaredLength <= epsilon * epsilon) return std::nullopt;
  const simd_float3 unit = v / std::sqrt(squaredLength);
  if (!isFinite(unit)) return std::nullopt;
  return unit;
}

/// The world axis along which `z` is smallest in absolute value; X wins ties, then Y.
simd_float3 axisFarthestFrom(simd_float3 z) {
  const float x = std::fabs(z.x);
  const float y = std::fabs(z.y);
  const float depth = std::fabs(z.z);
  if (x <= y && x <= depth) return {1, 0, 0};
  if (depth >= y) return {0, 1, 0};
  return {0, 0, 1};
}

std::optional<simd_float3> rightOfView(simd_float3 z, simd_float3 preferredUp, float epsilon) {
  if (const auto up = normalized(preferredUp, epsilon)) {
    if (const auto right = normalized(cross(*up, z), epsilon)) return right;
  }
  return normalized(cross(axisFarthestFrom(z), z), epsilon);
}

}  // namespace

std::optional<simd_quatf> CameraOrientationSolver::orientation(simd_float3 position, simd_float3 target,
                                                               simd_float3 preferredUp, float epsilon) {
  if (!(epsilon > 0.0F) || !std::isfinite(epsilon)) return std::nullopt;
  if (!isFinite(position) || !isFinite(target) || !isFinite(preferredUp)) {
    return std::nullopt;
  }

  const auto z = normalized(position - target, epsilon);
  if (!z) return std::nullopt;
  const auto right = rightOfView(*z, preferredUp, epsilon);
  if (!right) return std::nullopt;
  const auto trueUp = normalized(cross(*z, *right), epsilon);
  if (!trueUp) return std::nullopt;

  const simd_quatf orientation = quaternionFromBasis(*right, *trueUp, *z);
  if (!isFinite(orientation)) return std::nullopt;
  return orientation;
}

}  // namespace ornolith
