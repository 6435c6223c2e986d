#pragma once

#include <optional>

#include "foundation/Rotation.h"
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

/// Rz * Ry * Rx, radians.
simd_quatd quaternionFromEulerAngles(SCNVector3 angles) noexcept;
/// Angles whose Rz * Ry * Rx is the rotation, y from -pi/2 to pi/2. Where y is at a pole, z is 0 and x holds the rest.
SCNVector3 eulerAnglesFromRotationMatrix(const SCNMatrix4& rotation) noexcept;

/// The inverse of an affine matrix. Not finite where it is singular.
SCNMatrix4 invertedAffine(const SCNMatrix4& matrix) noexcept;

/// Widens `box` so that it holds the images under `matrix` of the eight corners of `added`; where `box` is nothing it
/// becomes the smallest such box. A corner whose image is not finite is passed over.
void widenByCorners(std::optional<SCNBoundingBox>& box, const SCNBoundingBox& added, const SCNMatrix4& matrix) noexcept;

/// Widens `box` by a point, or makes it one.
void widenByPoint(std::optional<SCNBoundingBox>& box, SCNVector3 point) noexcept;

}  // namespace ornolith
