#include "render/CameraOrientationSolver.h"

#include <cmath>

namespace ornolith {

namespace {

/// `v` at unit length; nothing where it is not finite, is shorter than `epsilon` or is too long to be squared.
std::optional<simd_float3> normalized(simd_float3 v, float epsilon) {
  if (!ornolith::isFinite(v)) return std::nullopt;
  const float squaredLength = dot(v, v);
  if (!std::isfinite(squaredLength) || squaredLength <= epsilon * epsilon) return std::nullopt;
  const simd_float3 unit = v / std::sqrt(squaredLength);
  if (!ornolith::isFinite(unit)) return std::nullopt;
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

/// The quaternion of the rotation whose matrix has the columns `x`, `y`, `z` (Shepperd, "Quaternion from Rotation
/// Matrix", 1978: the largest of the four components is found first, so that nothing small is divided by).
simd_quatf quaternionFromFrame(simd_float3 x, simd_float3 y, simd_float3 z) {
  const float trace = x.x + y.y + z.z;
  if (trace >= 0.0F) {
    const float r = 2.0F * std::sqrt(1.0F + trace);
    const float inverse = 1.0F / r;
    return {inverse * (y.z - z.y), inverse * (z.x - x.z), inverse * (x.y - y.x), r * 0.25F};
  }
  if (x.x >= y.y && x.x >= z.z) {
    const float r = 2.0F * std::sqrt(1.0F - y.y - z.z + x.x);
    const float inverse = 1.0F / r;
    return {r * 0.25F, inverse * (x.y + y.x), inverse * (x.z + z.x), inverse * (y.z - z.y)};
  }
  if (y.y >= z.z) {
    const float r = 2.0F * std::sqrt(1.0F - x.x - z.z + y.y);
    const float inverse = 1.0F / r;
    return {inverse * (x.y + y.x), r * 0.25F, inverse * (y.z + z.y), inverse * (z.x - x.z)};
  }
  const float r = 2.0F * std::sqrt(1.0F - x.x - y.y + z.z);
  const float inverse = 1.0F / r;
  return {inverse * (x.z + z.x), inverse * (y.z + z.y), r * 0.25F, inverse * (x.y - y.x)};
}

bool isFinite(const simd_quatf& q) {
  return std::isfinite(q.x) && std::isfinite(q.y) && std::isfinite(q.z) && std::isfinite(q.w);
}

}  // namespace

std::optional<simd_quatf> CameraOrientationSolver::orientation(simd_float3 position, simd_float3 target,
                                                               simd_float3 preferredUp, float epsilon) {
  if (!(epsilon > 0.0F) || !std::isfinite(epsilon)) return std::nullopt;
  if (!ornolith::isFinite(position) || !ornolith::isFinite(target) || !ornolith::isFinite(preferredUp)) {
    return std::nullopt;
  }

  const auto z = normalized(position - target, epsilon);
  if (!z) return std::nullopt;
  const auto right = rightOfView(*z, preferredUp, epsilon);
  if (!right) return std::nullopt;
  const auto trueUp = normalized(cross(*z, *right), epsilon);
  if (!trueUp) return std::nullopt;

  const simd_quatf orientation = quaternionFromFrame(*right, *trueUp, *z);
  if (!isFinite(orientation)) return std::nullopt;
  return orientation;
}

}  // namespace ornolith
