#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "foundation/LinearAlgebra.h"
#include "foundation/Rotation.h"

namespace ornolith {
namespace {

const simd_double4x4 rotateAndMove{
    {simd_double4{0, 1, 0, 0}, simd_double4{-1, 0, 0, 0}, simd_double4{0, 0, 1, 0}, simd_double4{10, 20, 30, 1}}};

TEST(LinearAlgebra, VectorsAddScaleAndCompareByComponent) {
  const simd_double3 a{1, 2, 3};
  const simd_double3 b{4, 5, 6};
  EXPECT_EQ(a + b, (simd_double3{5, 7, 9}));
  EXPECT_EQ(b - a, (simd_double3{3, 3, 3}));
  EXPECT_EQ(-a, (simd_double3{-1, -2, -3}));
  EXPECT_EQ(a * 2.0, (simd_double3{2, 4, 6}));
  EXPECT_EQ(2.0 * a, a * 2.0);
  EXPECT_EQ(a * b, (simd_double3{4, 10, 18}));
  EXPECT_EQ(b / 2.0, (simd_double3{2, 2.5, 3}));
  EXPECT_EQ(a[0], 1);
  EXPECT_EQ(a[1], 2);
  EXPECT_EQ(a[2], 3);
}

TEST(LinearAlgebra, ProductsFollowTheRightHandRule) {
  EXPECT_EQ(dot(simd_double3{1, 2, 3}, simd_double3{4, 5, 6}), 32);
  EXPECT_EQ(cross(simd_double3{1, 0, 0}, simd_double3{0, 1, 0}), (simd_double3{0, 0, 1}));
  EXPECT_EQ(length(simd_double3{2, 3, 6}), 7);
}

TEST(LinearAlgebra, AMatrixMovesPointsAndOnlyTurnsDirections) {
  EXPECT_EQ(transformPoint(rotateAndMove, simd_double3{1, 0, 0}), (simd_double3{10, 21, 30}));
  EXPECT_EQ(transformDirection(rotateAndMove, simd_double3{1, 0, 0}), (simd_double3{0, 1, 0}));
}

TEST(LinearAlgebra, AProductAppliesTheRightFactorFirst) {
  const simd_double4x4 twice{
      {simd_double4{2, 0, 0, 0}, simd_double4{0, 2, 0, 0}, simd_double4{0, 0, 2, 0}, simd_double4{0, 0, 0, 1}}};
  EXPECT_EQ(transformPoint(rotateAndMove * twice, simd_double3{1, 0, 0}), (simd_double3{10, 22, 30}));
  EXPECT_EQ(transformPoint(twice * rotateAndMove, simd_double3{1, 0, 0}), (simd_double3{20, 42, 60}));
}

TEST(LinearAlgebra, TheDeterminantIsNegativeForAMirror) {
  EXPECT_EQ(determinant3(rotateAndMove), 1);
  simd_double4x4 mirror;
  mirror.columns[0].x = -3;
  EXPECT_EQ(determinant3(mirror), -3);
}

TEST(LinearAlgebra, FinitenessLooksAtEveryComponent) {
  const double nan = std::nan("");
  EXPECT_TRUE(isFinite(simd_double3{1, 2, 3}));
  EXPECT_FALSE(isFinite(simd_double3{nan, 2, 3}));
  EXPECT_FALSE(isFinite(simd_double3{1, nan, 3}));
  EXPECT_FALSE(isFinite(simd_double3{1, 2, std::numeric_limits<double>::infinity()}));
}

TEST(Rotation, QuaternionsMatricesAndBasesAgree) {
  const double half = std::sqrt(0.5);
  const simd_quatd aboutZ{0, 0, half, half};
  const simd_quatd aboutX{half, 0, 0, half};
  const simd_double4x4 matrix = rotationMatrix(aboutZ * aboutX);
  // About x first: y goes to z; then about z: z stays.
  const simd_double3 image = transformDirection(matrix, simd_double3{0, 1, 0});
  EXPECT_NEAR(image.x, 0, 1e-15);
  EXPECT_NEAR(image.y, 0, 1e-15);
  EXPECT_NEAR(image.z, 1, 1e-15);
}

TEST(Rotation, EveryBranchOfTheQuaternionOfABasisGivesTheBasisBack) {
  const simd_quatd rotations[] = {{0, 0, 0, 1},          {1, 0, 0, 0},           {0, 1, 0, 0},
                                  {0, 0, 1, 0},          {0.5, 0.5, 0.5, 0.5},   {0.8, -0.4, 0.2, 0.4},
                                  {0.2, 0.9, -0.3, 0.1}, {-0.1, 0.3, 0.94, 0.1}, {0.6, -0.6, 0.5, -0.15}};
  for (const simd_quatd& rotation : rotations) {
    const simd_quatd unit = normalized(rotation);
    const simd_double4x4 matrix = rotationMatrix(unit);
    const auto column = [&](std::size_t i) {
      return simd_double3{matrix.columns[i].x, matrix.columns[i].y, matrix.columns[i].z};
    };
    const simd_quatd found = quaternionFromBasis(column(0), column(1), column(2));
    const double agreement = found.x * unit.x + found.y * unit.y + found.z * unit.z + found.w * unit.w;
    EXPECT_NEAR(std::abs(agreement), 1, 1e-14);
  }
}

TEST(Rotation, AZeroQuaternionBecomesTheIdentity) {
  EXPECT_EQ(normalized(simd_quatd{0, 0, 0, 0}), (simd_quatd{0, 0, 0, 1}));
}

}  // namespace
}  // namespace ornolith
