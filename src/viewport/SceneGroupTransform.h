#pragma once

#include "foundation/LinearAlgebra.h"

namespace ornolith {

/// How all models of a scene are moved, turned (radians) and scaled together, about a pivot.
struct SceneGroupTransform {
  simd_float3 translation;
  simd_float3 eulerAngles;
  simd_float3 scale{1, 1, 1};
  simd_float3 pivot;

  static constexpr SceneGroupTransform identity() { return {}; }
  /// True where nothing is moved, turned or scaled, compared exactly; the pivot plays no part.
  constexpr bool isIdentity() const {
    return translation == simd_float3{} && eulerAngles == simd_float3{} && scale == simd_float3{1, 1, 1};
  }
  bool operator==(const SceneGroupTransform&) const = default;
};

}  // namespace ornolith
