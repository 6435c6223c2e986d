#pragma once

#include "scenegraph/SCNTypes.h"

namespace ornolith {

// The arithmetic of node transforms: double precision, column vectors, deterministic maths only.

/// The parts of an affine matrix that is translation * rotation * scale.
struct TransformComponents {
  SCNVector3 position;
  simd_quatd orientation;
  SCNVector3 scale{1, 1, 1};
};

/// Translation * rotation * scale.
SCNMatrix4 matrixFromComponents(const TransformComponents& components) noexcept;

/// Scale is the lengths of the matrix's columns, x negative where the matrix mirrors; the orientation is that of the
/// columns made orthonormal in order (Gram-Schmidt), with free axes where a column vanishes. A shear is lost.
TransformComponents componentsFromMatrix(const SCNMatrix4& matrix) noexcept;

/// `orientation` at unit length; the identity for zero.
simd_quatd unitQuaternion(simd_quatd orientation) noexcept;
/// The rotation that applies `b` first and `a` then.
simd_quatd quaternionProduct(simd_quatd a, simd_quatd b) noexcept;
/// The rotation matrix of a unit quaternion.
SCNMatrix4 rotationMatrix(simd_quatd orientation) noexcept;
/// The unit quaternion, w not negative where it leads, of a matrix with orthonormal right-handed columns. (S. W.
/// Shepperd, "Quaternion from rotation matrix", 1978: divides by the largest of the four components.)
simd_quatd quaternionFromRotationMatrix(const SCNMatrix4& rotation) noexcept;

/// Rz * Ry * Rx, radians.
simd_quatd quaternionFromEulerAngles(SCNVector3 angles) noexcept;
/// Angles whose Rz * Ry * Rx is the rotation, y from -pi/2 to pi/2. Where y is at a pole, z is 0 and x holds the rest.
SCNVector3 eulerAnglesFromRotationMatrix(const SCNMatrix4& rotation) noexcept;

/// The inverse of an affine matrix. Not finite where it is singular.
SCNMatrix4 invertedAffine(const SCNMatrix4& matrix) noexcept;

/// `box` widened so that it holds the images under `matrix` of the eight corners of `added`; a new box where `isEmpty`,
/// which is cleared. Components that are not finite are passed over.
void widenByCorners(SCNBoundingBox& box, bool& isEmpty, const SCNBoundingBox& added, const SCNMatrix4& matrix) noexcept;

}  // namespace ornolith
