#pragma once

#include "foundation/LinearAlgebra.h"

namespace ornolith {

/// Three double-precision components: positions in units of the scene, Euler angles in radians, scales as factors.
using SCNVector3 = simd_double3;
inline constexpr SCNVector3 SCNVector3Zero{};

/// The platform's 4-by-4 matrix in row-vector form: one basis vector a row, the translation in (m41, m42, m43). In
/// memory it is the same as the column-major matrix for column vectors, `Matrix4`.
using SCNMatrix4 = simd_double4x4;

struct CGPoint {
  double x = 0;
  double y = 0;
  bool operator==(const CGPoint&) const = default;
};
struct CGSize {
  double width = 0;
  double height = 0;
  bool operator==(const CGSize&) const = default;
};
struct CGRect {
  CGPoint origin;
  CGSize size;
  bool operator==(const CGRect&) const = default;
};

/// An axis-aligned box by its corners.
struct SCNBoundingBox {
  SCNVector3 minimum;
  SCNVector3 maximum;
  bool operator==(const SCNBoundingBox&) const = default;
};

}  // namespace ornolith
