#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <utility>

#include "foundation/Rotation.h"
#include "parts/RigidLocalTransform.h"

namespace ornolith {
namespace {

simd_float4x4 scaled(float x, float y, float z) {
  simd_float4x4 m;
  m.columns[0].x = x;
  m.columns[1].y = y;
  m.columns[2].z = z;
  return m;
}

TEST(RigidDecomposition, TakesTheIdentityApart) {
  const auto result = RigidLocalTransformAnalyzer::decompose({});
  ASSERT_TRUE(result);
  EXPECT_EQ(*result, (RigidLocalTRS{.translation = {}, .orientation = {}, .scale = {1, 1, 1}}));
}

TEST(RigidDecomposition, FindsAUniformScale) {
  const auto result = RigidLocalTransformAnalyzer::decompose(scaled(2, 2, 2));
  ASSERT_TRUE(result);
  EXPECT_EQ(result->scale, (simd_float3{2, 2, 2}));
}

TEST(RigidDecomposition, FoldsAMirrorIntoXAndTurnsTheRest) {
  const auto result = RigidLocalTransformAnalyzer::decompose(scaled(1, -1, 1));
  ASSERT_TRUE(result);
  EXPECT_EQ(result->scale, (simd_float3{-1, 1, 1}));
  EXPECT_EQ(std::fabs(result->orientation.z), 1.0F);
  EXPECT_EQ(RigidLocalTransformAnalyzer::maximumDifference(result->matrix(), scaled(1, -1, 1)), 0.0F);
}

TEST(RigidDecomposition, RefusesShear) {
  simd_float4x4 sheared;
  sheared.columns[1].x = 0.001F;
  EXPECT_FALSE(RigidLocalTransformAnalyzer::decompose(sheared));
  sheared.columns[1].x = 0.00001F;
  EXPECT_TRUE(RigidLocalTransformAnalyzer::decompose(sheared));
}

TEST(RigidDecomposition, RefusesShearBetweenAnyTwoAxes) {
  for (const auto& [column, row] : {std::pair{1U, 0U}, std::pair{2U, 0U}, std::pair{2U, 1U}}) {
    // So far out that the comparison with the recomposed matrix would let it pass.
    simd_float4x4 sheared;
    sheared.columns[3].x = 100000;
    sheared.columns[column][row] = 0.001F;
    EXPECT_FALSE(RigidLocalTransformAnalyzer::decompose(sheared)) << column << row;
    sheared.columns[column][row] = 0.00009F;
    EXPECT_TRUE(RigidLocalTransformAnalyzer::decompose(sheared)) << column << row;
  }
}

TEST(RigidDecomposition, RefusesAFlatAxis) {
  for (const float small : {0.0F, 0.000001F}) {
    EXPECT_FALSE(RigidLocalTransformAnalyzer::decompose(scaled(small, 1, 1)));
    EXPECT_FALSE(RigidLocalTransformAnalyzer::decompose(scaled(1, small, 1)));
    EXPECT_FALSE(RigidLocalTransformAnalyzer::decompose(scaled(1, 1, small)));
  }
  EXPECT_TRUE(RigidLocalTransformAnalyzer::decompose(scaled(0.0001F, 1, 1)));
}

TEST(RigidDecomposition, RefusesPerspective) {
  for (std::size_t column = 0; column < 4; ++column) {
    for (const float sign : {1.0F, -1.0F}) {
      simd_float4x4 m;
      m.columns[3].x = 100000;
      m.columns[column].w += sign * 0.001F;
      EXPECT_FALSE(RigidLocalTransformAnalyzer::decompose(m)) << column;
      m.columns[column].w = (column == 3 ? 1.0F : 0.0F) + sign * 0.000009F;
      EXPECT_TRUE(RigidLocalTransformAnalyzer::decompose(m)) << column;
    }
  }
}

TEST(RigidDecomposition, RefusesWhatIsNotFinite) {
  for (const float bad : {std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN()}) {
    for (std::size_t c = 0; c < 4; ++c) {
      for (std::size_t r = 0; r < 4; ++r) {
        simd_float4x4 m;
        m.columns[c][r] = bad;
        EXPECT_FALSE(RigidLocalTransformAnalyzer::matrixIsFinite(m));
        EXPECT_FALSE(RigidLocalTransformAnalyzer::decompose(m));
      }
    }
  }
  EXPECT_FALSE(RigidLocalTransformAnalyzer::decompose(scaled(3e38F, 3e38F, 3e38F)));
}

TEST(RigidDecomposition, AllowsFloatNoiseBesideLargeTranslations) {
  const RigidLocalTRS far{.translation = {100000, -80000, 5},
                          .orientation = normalized(simd_quatf{0.3F, 0.2F, 0.1F, 0.9F}),
                          .scale = {300, 0.5F, 1}};
  simd_float4x4 noisy = far.matrix();
  noisy.columns[0].y += 0.02F;
  EXPECT_TRUE(RigidLocalTransformAnalyzer::decompose(noisy));
}

TEST(RigidDecomposition, BringsRandomTransformsBack) {
  std::mt19937 random(5);
  std::uniform_real_distribution<float> part(-1, 1);
  std::uniform_real_distribution<float> size(0.01F, 20);
  for (int i = 0; i < 5000; ++i) {
    const RigidLocalTRS trs{
        .translation = {part(random) * 100, part(random) * 100, part(random) * 100},
        .orientation = normalized(simd_quatf{part(random), part(random), part(random), part(random)}),
        .scale = {size(random) * (i % 2 == 0 ? 1.0F : -1.0F), size(random), size(random)}};
    const auto result = RigidLocalTransformAnalyzer::decompose(trs.matrix());
    ASSERT_TRUE(result) << i;
    ASSERT_EQ(result->scale.x < 0, trs.scale.x < 0);
    ASSERT_NEAR(std::fabs(result->orientation.x * trs.orientation.x + result->orientation.y * trs.orientation.y +
                          result->orientation.z * trs.orientation.z + result->orientation.w * trs.orientation.w),
                1.0F, 1e-4F);
  }
}

}  // namespace
}  // namespace ornolith
