#pragma once

#include <cmath>

#include "foundation/LinearAlgebra.h"

namespace ornolith {

// Rotations as quaternions and as matrices, in the width of `T`. Sums are evaluated in the order written.

/// The product a times b: `b` turns first.
template <typename T>
constexpr Quaternion<T> operator*(Quaternion<T> a, Quaternion<T> b) {
  return {a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y, a.w * b.y - a.x * b.z + a.y * b.w + a.z * b.x,
          a.w * b.z + a.x * b.y - a.y * b.x + a.z * b.w, a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z};
}

/// `q` at unit length; the identity where its length is 0.
template <typename T>
Quaternion<T> normalized(Quaternion<T> q) {
  const T size = std::sqrt(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w);
  if (size == T{0}) return {};
  return {q.x / size, q.y / size, q.z / size, q.w / size};
}

template <typename T>
bool isFinite(Quaternion<T> q) {
  return std::isfinite(q.x) && std::isfinite(q.y) && std::isfinite(q.z) && std::isfinite(q.w);
}

/// The quaternion of the rotation whose matrix has the columns `x`, `y`, `z` (Shepperd, "Quaternion from Rotation
/// Matrix", 1978: the largest of the four components is found first, so that nothing small is divided by).
template <typename T>
Quaternion<T> quaternionFromBasis(Vector3<T> x, Vector3<T> y, Vector3<T> z) {
  const T trace = x.x + y.y + z.z;
  if (trace >= T{0}) {
    const T r = T{2} * std::sqrt(T{1} + trace);
    const T inverse = T{1} / r;
    return {inverse * (y.z - z.y), inverse * (z.x - x.z), inverse * (x.y - y.x), r * T{0.25}};
  }
  if (x.x >= y.y && x.x >= z.z) {
    const T r = T{2} * std::sqrt(T{1} - y.y - z.z + x.x);
    const T inverse = T{1} / r;
    return {r * T{0.25}, inverse * (x.y + y.x), inverse * (x.z + z.x), inverse * (y.z - z.y)};
  }
  if (y.y >= z.z) {
    const T r = T{2} * std::sqrt(T{1} - x.x - z.z + y.y);
    const T inverse = T{1} / r;
    return {inverse * (x.y + y.x), r * T{0.25}, inverse * (y.z + z.y), inverse * (z.x - x.z)};
  }
  const T r = T{2} * std::sqrt(T{1} - x.x - y.y + z.z);
  const T inverse = T{1} / r;
  return {inverse * (x.z + z.x), inverse * (y.z + z.y), r * T{0.25}, inverse * (x.y - y.x)};
}

/// The rotation matrix of the unit quaternion `q`.
template <typename T>
constexpr Matrix4<T> rotationMatrix(Quaternion<T> q) {
  const T xx = q.x * q.x;
  const T yy = q.y * q.y;
  const T zz = q.z * q.z;
  const T xy = q.x * q.y;
  const T xz = q.x * q.z;
  const T yz = q.y * q.z;
  const T wx = q.w * q.x;
  const T wy = q.w * q.y;
  const T wz = q.w * q.z;
  Matrix4<T> m;
  m.columns[0] = {T{1} - T{2} * (yy + zz), T{2} * (xy + wz), T{2} * (xz - wy), T{0}};
  m.columns[1] = {T{2} * (xy - wz), T{1} - T{2} * (xx + zz), T{2} * (yz + wx), T{0}};
  m.columns[2] = {T{2} * (xz + wy), T{2} * (yz - wx), T{1} - T{2} * (xx + yy), T{0}};
  return m;
}

}  // namespace ornolith
