#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "render/CameraOrientationSolver.h"

namespace ornolith {
namespace {

constexpr float epsilon = cameraOrientationEpsilon;
constexpr simd_float3 worldUp{0, 1, 0};

std::optional<simd_quatf> solve(simd_float3 position, simd_float3 target, simd_float3 up = worldUp) {
  return CameraOrientationSolver::orientation(position, target, up, epsilon);
}

/// `v` turned by the rotation `q`: v + 2w(u x v) + 2u x (u x v), in doubles.
simd_double3 rotated(const simd_quatf& q, simd_double3 v) {
  const simd_double3 u{q.x, q.y, q.z};
  const simd_double3 uv = cross(u, v);
  return v + uv * (2.0 * static_cast<double>(q.w)) + cross(u, uv) * 2.0;
}

void expectNear(simd_double3 actual, simd_double3 expected, double tolerance = 1e-6) {
  EXPECT_NEAR(actual.x, expected.x, tolerance);
  EXPECT_NEAR(actual.y, expected.y, tolerance);
  EXPECT_NEAR(actual.z, expected.z, tolerance);
}

void expectUnit(const simd_quatf& q) {
  EXPECT_NEAR(std::sqrt(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w), 1.0F, 1e-6F);
}

TEST(CameraOrientationSolver, LooksAlongItsNegativeZAtTheTarget) {
  const simd_float3 positions[] = {{0, 0, 5}, {0, 0, -5}, {3, 0, 0}, {-3, 0, 0}, {1, 2, 3}, {-4, 0.5F, -2}, {2, -7, 1}};
  const simd_float3 target{0.25F, -0.5F, 0.125F};
  for (const simd_float3 position : positions) {
    const auto orientation = solve(position, target);
    ASSERT_TRUE(orientation);
    expectUnit(*orientation);
    const simd_double3 toTarget = vectorCast<double>(target) - vectorCast<double>(position);
    expectNear(rotated(*orientation, {0, 0, -1}), toTarget / length(toTarget));
  }
}

TEST(CameraOrientationSolver, KeepsTheImageUpright) {
  const simd_float3 positions[] = {{0, 0, 5}, {0, 0, -5}, {3, 1, 0}, {-3, 2, 0}, {1, 2, 3}, {-4, 0.5F, -2}};
  for (const simd_float3 position : positions) {
    const auto orientation = solve(position, {0, 0, 0});
    ASSERT_TRUE(orientation);
    EXPECT_NEAR(rotated(*orientation, {1, 0, 0}).y, 0, 1e-6) << "the horizon is level";
    EXPECT_GT(rotated(*orientation, {0, 1, 0}).y, 0) << "up is up";
  }
}

TEST(CameraOrientationSolver, FacingForwardIsTheIdentity) {
  EXPECT_EQ(solve({0, 0, 1}, {0, 0, 0}), (simd_quatf{0, 0, 0, 1}));
}

TEST(CameraOrientationSolver, FallsBackOnTheWorldXAxisLookingStraightDown) {
  const auto orientation = solve({0, 5, 0}, {0, 0, 0});
  ASSERT_TRUE(orientation);
  // z is (0, 1, 0), the axis is X: right = X x z = (0, 0, 1), up = z x right = (1, 0, 0).
  expectNear(rotated(*orientation, {0, 0, 1}), {0, 1, 0});
  expectNear(rotated(*orientation, {1, 0, 0}), {0, 0, 1});
  expectNear(rotated(*orientation, {0, 1, 0}), {1, 0, 0});
}

TEST(CameraOrientationSolver, FallsBackOnTheWorldXAxisLookingStraightUp) {
  const auto orientation = solve({0, -5, 0}, {0, 0, 0});
  ASSERT_TRUE(orientation);
  expectNear(rotated(*orientation, {0, 0, 1}), {0, -1, 0});
  expectNear(rotated(*orientation, {1, 0, 0}), {0, 0, -1});
}

TEST(CameraOrientationSolver, FallbackAxisFollowsTheSmallestComponent) {
  // An up vector along the view leaves the choice to the fallback: right = axis x z, at unit length.
  struct Case {
    simd_float3 z;
    simd_double3 axis;
  };
  const Case cases[] = {
      {{0, 0, 1}, {1, 0, 0}},     // X by tie with Y
      {{1, 0, 0}, {0, 1, 0}},     // Y by tie with Z
      {{0, 1, 0}, {1, 0, 0}},     // X by tie with Z
      {{1, 1, 1}, {1, 0, 0}},     // X by tie with both
      {{3, 1, 2}, {0, 1, 0}},     // Y is smallest
      {{3, 2, 1}, {0, 0, 1}},     // Z is smallest
      {{-3, -2, -1}, {0, 0, 1}},  // by absolute value
      {{2, 1, 1}, {0, 1, 0}},     // Y by tie with Z
  };
  for (const Case& test : cases) {
    const auto orientation = solve(test.z, {0, 0, 0}, test.z);
    ASSERT_TRUE(orientation);
    const simd_double3 right = cross(test.axis, vectorCast<double>(test.z));
    expectNear(rotated(*orientation, {1, 0, 0}), right / length(right));
  }
}

TEST(CameraOrientationSolver, FallsBackWhereTheUpVectorIsZero) {
  const auto orientation = solve({0, 0, 4}, {0, 0, 0}, {0, 0, 0});
  ASSERT_TRUE(orientation);
  expectNear(rotated(*orientation, {0, 0, 1}), {0, 0, 1});
}

TEST(CameraOrientationSolver, UpVectorsAlongZNeedNoFallbackForTopAndBottom) {
  const auto top = solve({0, 5, 0}, {0, 0, 0}, {0, 0, -1});
  ASSERT_TRUE(top);
  expectNear(rotated(*top, {1, 0, 0}), {1, 0, 0});
  expectNear(rotated(*top, {0, 1, 0}), {0, 0, -1});
  const auto bottom = solve({0, -5, 0}, {0, 0, 0}, {0, 0, 1});
  ASSERT_TRUE(bottom);
  expectNear(rotated(*bottom, {1, 0, 0}), {1, 0, 0});
  expectNear(rotated(*bottom, {0, 1, 0}), {0, 0, 1});
}

TEST(CameraOrientationSolver, RefusesAnEpsilonThatIsNotPositiveAndFinite) {
  const float infinity = std::numeric_limits<float>::infinity();
  for (const float bad : {0.0F, -0.000001F, infinity, -infinity, std::numeric_limits<float>::quiet_NaN()}) {
    EXPECT_FALSE(CameraOrientationSolver::orientation({0, 0, 5}, {0, 0, 0}, worldUp, bad));
  }
}

TEST(CameraOrientationSolver, RefusesComponentsThatAreNotFinite) {
  const float infinity = std::numeric_limits<float>::infinity();
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_FALSE(solve({nan, 0, 5}, {0, 0, 0}));
  EXPECT_FALSE(solve({0, 0, 5}, {0, infinity, 0}));
  EXPECT_FALSE(solve({0, 0, 5}, {0, 0, 0}, {0, 1, nan}));
}

TEST(CameraOrientationSolver, RefusesAPositionAtTheTarget) {
  EXPECT_FALSE(solve({1, 2, 3}, {1, 2, 3}));
  EXPECT_FALSE(solve({0, 0, 0.000001F}, {0, 0, 0})) << "as near as epsilon counts as the same";
  EXPECT_TRUE(solve({0, 0, 0.00001F}, {0, 0, 0}));
}

TEST(CameraOrientationSolver, RefusesADistanceWhoseSquareOverflows) {
  EXPECT_FALSE(solve({0, 0, 1e30F}, {0, 0, 0}));
  EXPECT_FALSE(solve({0, 0, 3e38F}, {0, 0, -3e38F}));
}

TEST(CameraOrientationSolver, TurnsAllTheWayAround) {
  // Half turns make the trace of the matrix negative: every branch of the conversion is walked.
  for (int step = 0; step < 64; ++step) {
    const double angle = step * 2.0 * 3.14159265358979 / 64.0;
    for (const simd_float3 up : {simd_float3{0, 1, 0}, simd_float3{0, -1, 0}, simd_float3{1, 0.1F, 0}}) {
      const simd_float3 position{static_cast<float>(std::sin(angle)), 0.3F, static_cast<float>(std::cos(angle))};
      const auto orientation = solve(position, {0, 0, 0}, up);
      ASSERT_TRUE(orientation);
      expectUnit(*orientation);
      const simd_double3 z = vectorCast<double>(position) / length(vectorCast<double>(position));
      expectNear(rotated(*orientation, {0, 0, 1}), z);
      const simd_double3 right = cross(vectorCast<double>(up), z);
      expectNear(rotated(*orientation, {1, 0, 0}), right / length(right));
    }
  }
}

}  // namespace
}  // namespace ornolith
