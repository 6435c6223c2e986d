#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <random>

#include "foundation/Rotation.h"

namespace ornolith {
namespace {

constexpr double halfRoot = 0.70710678118654752;

// Quarter turns about the axes.
constexpr simd_quatd aboutX{halfRoot, 0, 0, halfRoot};
constexpr simd_quatd aboutY{0, halfRoot, 0, halfRoot};
constexpr simd_quatd aboutZ{0, 0, halfRoot, halfRoot};

simd_double3 columnOf(const simd_double4x4& matrix, std::size_t column) {
  return {matrix.columns[column].x, matrix.columns[column].y, matrix.columns[column].z};
}

simd_quatd quaternionOf(const simd_double4x4& matrix) {
  return quaternionFromBasis(columnOf(matrix, 0), columnOf(matrix, 1), columnOf(matrix, 2));
}

void expectNear(simd_double3 actual, simd_double3 expected, double tolerance = 1e-15) {
  for (std::size_t axis = 0; axis < 3; ++axis) EXPECT_NEAR(actual[axis], expected[axis], tolerance) << "axis " << axis;
}

/// Whether both stand for the same turn: they are equal or opposite.
bool isSameTurn(simd_quatd a, simd_quatd b) {
  return std::fabs(std::fabs(a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w) - 1.0) < 1e-14;
}

TEST(Rotation, TurnsCounterclockwiseAboutEachAxis) {
  expectNear(columnOf(rotationMatrix(aboutX), 1), {0, 0, 1});
  expectNear(columnOf(rotationMatrix(aboutX), 2), {0, -1, 0});
  expectNear(columnOf(rotationMatrix(aboutY), 2), {1, 0, 0});
  expectNear(columnOf(rotationMatrix(aboutY), 0), {0, 0, -1});
  expectNear(columnOf(rotationMatrix(aboutZ), 0), {0, 1, 0});
  expectNear(columnOf(rotationMatrix(aboutZ), 1), {-1, 0, 0});
}

TEST(Rotation, IsTheIdentityForTheIdentity) {
  EXPECT_EQ(rotationMatrix(simd_quatf{}), simd_float4x4{});
  EXPECT_EQ(rotationMatrix(simd_quatd{}), simd_double4x4{});
  EXPECT_EQ(quaternionOf(simd_double4x4{}), simd_quatd{});
}

TEST(Rotation, MultipliesLikeItsMatrices) {
  // The right factor turns first: y to z about x, then z to x about y.
  expectNear(columnOf(rotationMatrix(aboutY * aboutX), 1), {1, 0, 0});
  // And in the other order y stays about y and then goes to z.
  expectNear(columnOf(rotationMatrix(aboutX * aboutY), 1), {0, 0, 1});
}

TEST(Rotation, KeepsTheOtherFactorOfAnIdentity) {
  const simd_quatf q = normalized(simd_quatf{0.1F, -0.7F, 0.2F, 0.4F});
  EXPECT_EQ(simd_quatf{} * q, q);
  EXPECT_EQ(q * simd_quatf{}, q);
}

TEST(Rotation, NormalizesToUnitLengthAndNothingToTheIdentity) {
  EXPECT_EQ(normalized(simd_quatd{0, 3, 0, 4}), (simd_quatd{0, 0.6, 0, 0.8}));
  EXPECT_EQ(normalized(simd_quatf{0, 0, 0, 0}), simd_quatf{});
  EXPECT_EQ(normalized(simd_quatd{-0.0, 0, 0, 0}), simd_quatd{});
}

TEST(Rotation, KnowsWhetherItIsFinite) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
  EXPECT_TRUE(isFinite(simd_quatd{1, 2, 3, 4}));
  for (const double bad : {infinity, -infinity, notANumber}) {
    EXPECT_FALSE(isFinite(simd_quatd{bad, 0, 0, 1}));
    EXPECT_FALSE(isFinite(simd_quatd{0, bad, 0, 1}));
    EXPECT_FALSE(isFinite(simd_quatd{0, 0, bad, 1}));
    EXPECT_FALSE(isFinite(simd_quatd{0, 0, 0, bad}));
  }
}

TEST(Rotation, ComesBackFromItsMatrixForHalfTurns) {
  // A half turn has no w: each of the four ways to begin is taken.
  for (const simd_quatd q : std::array<simd_quatd, 7>{{{1, 0, 0, 0},
                                                       {0, 1, 0, 0},
                                                       {0, 0, 1, 0},
                                                       {0.6, 0.8, 0, 0},
                                                       {0, 0.6, 0.8, 0},
                                                       {0.8, 0, 0.6, 0},
                                                       {0, 0, 0, 1}}}) {
    EXPECT_TRUE(isSameTurn(quaternionOf(rotationMatrix(q)), q)) << q.x << " " << q.y << " " << q.z << " " << q.w;
  }
}

TEST(Rotation, ComesBackFromItsMatrixForAnyTurn) {
  std::mt19937 random(1);
  const auto component = [&] { return static_cast<double>(random()) / 2147483648.0 - 1.0; };
  for (int i = 0; i < 10000; ++i) {
    const simd_quatd q = normalized(simd_quatd{component(), component(), component(), component()});
    const simd_double4x4 matrix = rotationMatrix(q);
    for (std::size_t column = 0; column < 3; ++column) {
      EXPECT_NEAR(length(columnOf(matrix, column)), 1.0, 1e-14);
      EXPECT_NEAR(dot(columnOf(matrix, column), columnOf(matrix, (column + 1) % 3)), 0.0, 1e-14);
    }
    EXPECT_NEAR(determinant3(matrix), 1.0, 1e-14);
    ASSERT_TRUE(isSameTurn(quaternionOf(matrix), q)) << q.x << " " << q.y << " " << q.z << " " << q.w;
  }
}

}  // namespace
}  // namespace ornolith
