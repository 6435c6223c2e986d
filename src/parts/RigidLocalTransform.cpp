#include "parts/RigidLocalTransform.h"

#include <algorithm>
#include <cmath>

#include "foundation/Rotation.h"

namespace ornolith {

namespace {

// The tolerances of the decomposition, 32-bit.
constexpr float affineTolerance = 0.00001F;
constexpr float minimumScale = 0.000001F;
constexpr float orthogonalityTolerance = 0.0001F;
constexpr float determinantTolerance = 0.001F;
constexpr float recompositionTolerance = 0.0001F;

simd_float3 xyz(simd_float4 column) {
  return {column.x, column.y, column.z};
}

bool hasAffineBottomRow(const simd_float4x4& m) {
  return std::fabs(m.columns[0].w) <= affineTolerance && std::fabs(m.columns[1].w) <= affineTolerance &&
         std::fabs(m.columns[2].w) <= affineTolerance && std::fabs(m.columns[3].w - 1.0F) <= affineTolerance;
}

bool isUsableScale(float scale) {
  return std::isfinite(scale) && scale > minimumScale;
}

bool areOrthogonal(simd_float3 a, simd_float3 b) {
  return std::fabs(dot(a, b)) <= orthogonalityTolerance;
}

float largestEntry(const simd_float4x4& m) {
  float largest = 0;
  for (const simd_float4& column : m.columns) {
    for (std::size_t row = 0; row < 4; ++row) largest = std::max(largest, std::fabs(column[row]));
  }
  return largest;
}

}  // namespace

simd_float4x4 RigidLocalTRS::matrix(simd_quatf newOrientation) const {
  simd_float4x4 m = rotationMatrix(newOrientation);
  m.columns[0] = m.columns[0] * scale.x;
  m.columns[1] = m.columns[1] * scale.y;
  m.columns[2] = m.columns[2] * scale.z;
  m.columns[3] = {translation.x, translation.y, translation.z, 1.0F};
  return m;
}

bool RigidLocalTransformAnalyzer::matrixIsFinite(const simd_float4x4& matrix) {
  return std::ranges::all_of(matrix.columns, [](const simd_float4& c) {
    return std::isfinite(c.x) && std::isfinite(c.y) && std::isfinite(c.z) && std::isfinite(c.w);
  });
}

float RigidLocalTransformAnalyzer::maximumDifference(const simd_float4x4& a, const simd_float4x4& b) {
  simd_float4x4 difference;
  for (std::size_t c = 0; c < 4; ++c) difference.columns[c] = a.columns[c] - b.columns[c];
  return largestEntry(difference);
}

std::optional<RigidLocalTRS> RigidLocalTransformAnalyzer::decompose(const simd_float4x4& matrix) {
  if (!matrixIsFinite(matrix) || !hasAffineBottomRow(matrix)) return std::nullopt;

  // The scale is in the lengths of the basis vectors.
  simd_float3 x = xyz(matrix.columns[0]);
  simd_float3 y = xyz(matrix.columns[1]);
  simd_float3 z = xyz(matrix.columns[2]);
  simd_float3 scale{length(x), length(y), length(z)};
  if (!isUsableScale(scale.x) || !isUsableScale(scale.y) || !isUsableScale(scale.z)) return std::nullopt;
  x = x / scale.x;
  y = y / scale.y;
  z = z / scale.z;

  // What is left must be a turn, or a turn with a mirror, which goes into the scale along x.
  if (!areOrthogonal(x, y) || !areOrthogonal(x, z) || !areOrthogonal(y, z)) return std::nullopt;
  float determinant = dot(x, cross(y, z));
  if (!std::isfinite(determinant) || std::fabs(std::fabs(determinant) - 1.0F) > determinantTolerance) {
    return std::nullopt;
  }
  if (determinant < 0.0F) {
    x = -x;
    scale.x = -scale.x;
    determinant = -determinant;
  }
  if (!(determinant > 0.0F)) return std::nullopt;

  const RigidLocalTRS result{
      .translation = xyz(matrix.columns[3]), .orientation = normalized(quaternionFromBasis(x, y, z)), .scale = scale};
  if (!isFinite(result.translation) || !isFinite(result.orientation)) return std::nullopt;
  const float tolerance = std::max(largestEntry(matrix) * recompositionTolerance, recompositionTolerance);
  if (!(maximumDifference(matrix, result.matrix()) <= tolerance)) return std::nullopt;
  return result;
}

}  // namespace ornolith
