#include "scenegraph/Transforms.h"

#include <algorithm>
#include <cmath>

#include "foundation/Math.h"

namespace ornolith {
namespace {

SCNVector3 column(const SCNMatrix4& matrix, std::size_t index) {
  const simd_double4& c = matrix.columns[index];
  return {c.x, c.y, c.z};
}

SCNVector3 unitPerpendicularTo(SCNVector3 unit) {
  const SCNVector3 size{std::abs(unit.x), std::abs(unit.y), std::abs(unit.z)};
  SCNVector3 axis{0, 0, 1};
  if (size.x <= size.y && size.x <= size.z) {
    axis = {1, 0, 0};
  } else if (size.y <= size.z) {
    axis = {0, 1, 0};
  }
  const SCNVector3 perpendicular = cross(axis, unit);
  return perpendicular / length(perpendicular);
}

struct UnitVector {
  SCNVector3 value;
  bool isThere = false;
};

UnitVector unitVector(SCNVector3 vector, double smallestLength = 0) {
  const double size = length(vector);
  if (!(size > smallestLength)) return {};
  return {vector / size, true};
}

// Below this sine two unit vectors count as parallel.
constexpr double parallelSine = 1e-12;

struct Basis {
  SCNVector3 x{1, 0, 0};
  SCNVector3 y{0, 1, 0};
  SCNVector3 z{0, 0, 1};
};

// The right-handed orthonormal basis nearest in order to three vectors, any of which may be zero or parallel to
// another.
Basis orthonormalBasis(SCNVector3 xVector, SCNVector3 yVector, SCNVector3 zVector) {
  UnitVector x = unitVector(xVector);
  const UnitVector y = unitVector(yVector);
  const UnitVector z = unitVector(zVector);
  if (!x.isThere && y.isThere && z.isThere) x = unitVector(cross(y.value, z.value), parallelSine);
  if (!x.isThere && y.isThere) x = {unitPerpendicularTo(y.value), true};
  if (!x.isThere && z.isThere) x = {unitPerpendicularTo(z.value), true};
  if (!x.isThere) return {};

  UnitVector second;
  if (y.isThere) second = unitVector(y.value - x.value * dot(x.value, y.value), parallelSine);
  if (!second.isThere && z.isThere) second = unitVector(cross(z.value, x.value), parallelSine);
  if (!second.isThere) second = {unitPerpendicularTo(x.value), true};
  return {x.value, second.value, cross(x.value, second.value)};
}

}  // namespace

SCNMatrix4 matrixFromComponents(const TransformComponents& components) noexcept {
  SCNMatrix4 matrix = rotationMatrix(components.orientation);
  matrix.columns[0] = matrix.columns[0] * components.scale.x;
  matrix.columns[1] = matrix.columns[1] * components.scale.y;
  matrix.columns[2] = matrix.columns[2] * components.scale.z;
  matrix.columns[3] = {components.position.x, components.position.y, components.position.z, 1};
  return matrix;
}

TransformComponents componentsFromMatrix(const SCNMatrix4& matrix) noexcept {
  TransformComponents components;
  components.position = column(matrix, 3);
  const bool mirrors = determinant3(matrix) < 0;
  SCNVector3 x = column(matrix, 0);
  const SCNVector3 y = column(matrix, 1);
  const SCNVector3 z = column(matrix, 2);
  components.scale = {length(x), length(y), length(z)};
  if (mirrors) {
    components.scale.x = -components.scale.x;
    x = -x;
  }
  const Basis basis = orthonormalBasis(x, y, z);
  components.orientation = normalized(quaternionFromBasis(basis.x, basis.y, basis.z));
  return components;
}

simd_quatd quaternionFromEulerAngles(SCNVector3 angles) noexcept {
  const simd_quatd aboutX{math::sin(angles.x * 0.5), 0, 0, math::cos(angles.x * 0.5)};
  const simd_quatd aboutY{0, math::sin(angles.y * 0.5), 0, math::cos(angles.y * 0.5)};
  const simd_quatd aboutZ{0, 0, math::sin(angles.z * 0.5), math::cos(angles.z * 0.5)};
  return normalized(aboutZ * (aboutY * aboutX));
}

SCNVector3 eulerAnglesFromRotationMatrix(const SCNMatrix4& rotation) noexcept {
  const SCNVector3 x = column(rotation, 0);
  const SCNVector3 y = column(rotation, 1);
  const SCNVector3 z = column(rotation, 2);
  // At a pole x and z turn about the same axis and the first column's horizontal part is rounding noise. Whatever z is
  // taken, the matrix with that turn undone gives the x that belongs to it.
  const double horizontal = std::sqrt(x.x * x.x + x.y * x.y);
  constexpr double poleCosine = 1e-12;
  const double angleZ = horizontal > poleCosine ? math::atan2(x.y, x.x) : 0;
  const double sinZ = math::sin(angleZ);
  const double cosZ = math::cos(angleZ);
  const double angleY = math::atan2(-x.z, horizontal);
  const double angleX = math::atan2(sinZ * z.x - cosZ * z.y, cosZ * y.y - sinZ * y.x);
  return {angleX, angleY, angleZ};
}

SCNMatrix4 invertedAffine(const SCNMatrix4& matrix) noexcept {
  const SCNVector3 a = column(matrix, 0);
  const SCNVector3 b = column(matrix, 1);
  const SCNVector3 c = column(matrix, 2);
  const SCNVector3 t = column(matrix, 3);
  const double determinant = dot(a, cross(b, c));
  const SCNVector3 row0 = cross(b, c) / determinant;
  const SCNVector3 row1 = cross(c, a) / determinant;
  const SCNVector3 row2 = cross(a, b) / determinant;
  SCNMatrix4 inverse;
  inverse.columns[0] = {row0.x, row1.x, row2.x, 0};
  inverse.columns[1] = {row0.y, row1.y, row2.y, 0};
  inverse.columns[2] = {row0.z, row1.z, row2.z, 0};
  inverse.columns[3] = {-dot(row0, t), -dot(row1, t), -dot(row2, t), 1};
  return inverse;
}

void widenByPoint(std::optional<SCNBoundingBox>& box, SCNVector3 point) noexcept {
  if (!box) {
    box = SCNBoundingBox{point, point};
    return;
  }
  box->minimum = {std::min(box->minimum.x, point.x), std::min(box->minimum.y, point.y),
                  std::min(box->minimum.z, point.z)};
  box->maximum = {std::max(box->maximum.x, point.x), std::max(box->maximum.y, point.y),
                  std::max(box->maximum.z, point.z)};
}

void widenByCorners(std::optional<SCNBoundingBox>& box, const SCNBoundingBox& added,
                    const SCNMatrix4& matrix) noexcept {
  for (unsigned corner = 0; corner < 8; ++corner) {
    const SCNVector3 point{(corner & 1U) != 0 ? added.maximum.x : added.minimum.x,
                           (corner & 2U) != 0 ? added.maximum.y : added.minimum.y,
                           (corner & 4U) != 0 ? added.maximum.z : added.minimum.z};
    const SCNVector3 image = transformPoint(matrix, point);
    if (isFinite(image)) widenByPoint(box, image);
  }
}

}  // namespace ornolith
