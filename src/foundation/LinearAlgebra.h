#pragma once

#include <array>
#include <cmath>
#include <cstddef>

namespace ornolith {

/// Three components of `T`. Sums of products are evaluated left to right, x then y then z, without contraction.
template <typename T>
struct Vector3 {
  T x = 0;
  T y = 0;
  T z = 0;

  constexpr T& operator[](std::size_t index) { return index == 0 ? x : index == 1 ? y : z; }
  constexpr T operator[](std::size_t index) const { return index == 0 ? x : index == 1 ? y : z; }

  friend constexpr Vector3 operator+(Vector3 a, Vector3 b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
  friend constexpr Vector3 operator-(Vector3 a, Vector3 b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
  friend constexpr Vector3 operator-(Vector3 a) { return {-a.x, -a.y, -a.z}; }
  friend constexpr Vector3 operator*(Vector3 a, T s) { return {a.x * s, a.y * s, a.z * s}; }
  friend constexpr Vector3 operator*(T s, Vector3 a) { return a * s; }
  friend constexpr Vector3 operator*(Vector3 a, Vector3 b) { return {a.x * b.x, a.y * b.y, a.z * b.z}; }
  friend constexpr Vector3 operator/(Vector3 a, T s) { return {a.x / s, a.y / s, a.z / s}; }
  constexpr bool operator==(const Vector3&) const = default;
};

template <typename T>
struct Vector4 {
  T x = 0;
  T y = 0;
  T z = 0;
  T w = 0;

  constexpr T& operator[](std::size_t index) { return index == 0 ? x : index == 1 ? y : index == 2 ? z : w; }
  constexpr T operator[](std::size_t index) const { return index == 0 ? x : index == 1 ? y : index == 2 ? z : w; }

  friend constexpr Vector4 operator+(Vector4 a, Vector4 b) { return {a.x + b.x, a.y + b.y, a.z + b.z, a.w + b.w}; }
  friend constexpr Vector4 operator-(Vector4 a, Vector4 b) { return {a.x - b.x, a.y - b.y, a.z - b.z, a.w - b.w}; }
  friend constexpr Vector4 operator*(Vector4 a, T s) { return {a.x * s, a.y * s, a.z * s, a.w * s}; }
  constexpr bool operator==(const Vector4&) const = default;
};

/// A rotation as a quaternion; the identity is (0, 0, 0, 1).
template <typename T>
struct Quaternion {
  T x = 0;
  T y = 0;
  T z = 0;
  T w = 1;
  constexpr bool operator==(const Quaternion&) const = default;
};

/// A 4-by-4 matrix of columns for column vectors: `m * p` transforms `p`, the translation stands in column 3.
template <typename T>
struct Matrix4 {
  std::array<Vector4<T>, 4> columns{Vector4<T>{1, 0, 0, 0}, Vector4<T>{0, 1, 0, 0}, Vector4<T>{0, 0, 1, 0},
                                    Vector4<T>{0, 0, 0, 1}};

  friend constexpr Vector4<T> operator*(const Matrix4& m, Vector4<T> v) {
    return m.columns[0] * v.x + m.columns[1] * v.y + m.columns[2] * v.z + m.columns[3] * v.w;
  }
  friend constexpr Matrix4 operator*(const Matrix4& a, const Matrix4& b) {
    return {{a * b.columns[0], a * b.columns[1], a * b.columns[2], a * b.columns[3]}};
  }
  constexpr bool operator==(const Matrix4&) const = default;
};

using simd_float3 = Vector3<float>;
using simd_float4 = Vector4<float>;
using simd_quatf = Quaternion<float>;
using simd_float4x4 = Matrix4<float>;
using simd_double3 = Vector3<double>;
using simd_double4 = Vector4<double>;
using simd_quatd = Quaternion<double>;
using simd_double4x4 = Matrix4<double>;

template <typename T>
constexpr T dot(Vector3<T> a, Vector3<T> b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

template <typename T>
constexpr Vector3<T> cross(Vector3<T> a, Vector3<T> b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

template <typename T>
T length(Vector3<T> v) {
  return std::sqrt(dot(v, v));
}

template <typename T>
bool isFinite(Vector3<T> v) {
  return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

/// The point `p` (w = 1) transformed by the affine part of `m`.
template <typename T>
constexpr Vector3<T> transformPoint(const Matrix4<T>& m, Vector3<T> p) {
  const Vector4<T> r = m.columns[0] * p.x + m.columns[1] * p.y + m.columns[2] * p.z + m.columns[3];
  return {r.x, r.y, r.z};
}

/// The direction `d` (w = 0) transformed by the affine part of `m`; not normalised.
template <typename T>
constexpr Vector3<T> transformDirection(const Matrix4<T>& m, Vector3<T> d) {
  const Vector4<T> r = m.columns[0] * d.x + m.columns[1] * d.y + m.columns[2] * d.z;
  return {r.x, r.y, r.z};
}

template <typename To, typename From>
constexpr Vector3<To> vectorCast(Vector3<From> v) {
  return {static_cast<To>(v.x), static_cast<To>(v.y), static_cast<To>(v.z)};
}

template <typename To, typename From>
constexpr Matrix4<To> matrixCast(const Matrix4<From>& m) {
  Matrix4<To> result;
  for (std::size_t c = 0; c < 4; ++c) {
    result.columns[c] = {static_cast<To>(m.columns[c].x), static_cast<To>(m.columns[c].y),
                         static_cast<To>(m.columns[c].z), static_cast<To>(m.columns[c].w)};
  }
  return result;
}

/// The determinant of the upper left 3-by-3 block: negative for a mirroring transform.
template <typename T>
constexpr T determinant3(const Matrix4<T>& m) {
  const Vector3<T> a{m.columns[0].x, m.columns[0].y, m.columns[0].z};
  const Vector3<T> b{m.columns[1].x, m.columns[1].y, m.columns[1].z};
  const Vector3<T> c{m.columns[2].x, m.columns[2].y, m.columns[2].z};
  return dot(a, cross(b, c));
}

}  // namespace ornolith
