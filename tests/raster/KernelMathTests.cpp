#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <cmath>
#include <limits>
#include <string>

// This file is compiled once for each instruction set; the tests at its end run them all.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "raster/KernelMathTests.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "raster/KernelMath-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ornolith::raster::HWY_NAMESPACE {
namespace {

float logarithm(float x) {
  return hn::GetLane(fastLog2(all(x)));
}

float exponential(float x) {
  return hn::GetLane(fastExp2(all(x)));
}

float power(float base, float exponent) {
  return hn::GetLane(fastPow(all(base), all(exponent)));
}

}  // namespace
}  // namespace ornolith::raster::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ornolith::raster {
namespace {

HWY_EXPORT(logarithm);
HWY_EXPORT(exponential);
HWY_EXPORT(power);

class KernelMath : public testing::TestWithParam<std::int64_t> {
 protected:
  void SetUp() override { hwy::SetSupportedTargetsForTest(GetParam()); }
  void TearDown() override { hwy::SetSupportedTargetsForTest(0); }
};

INSTANTIATE_TEST_SUITE_P(OfThisMachine, KernelMath, testing::ValuesIn(hwy::SupportedAndGeneratedTargets()),
                         [](const auto& set) { return std::string(hwy::TargetName(set.param)); });

TEST_P(KernelMath, LogarithmsStayWithinTheirStatedErrors) {
  for (double x = 1e-30; x < 1e30; x *= 1.0173) {
    const auto value = static_cast<float>(x);
    const double exact = std::log2(static_cast<double>(value));
    ASSERT_NEAR(HWY_DYNAMIC_DISPATCH(logarithm)(value), exact, 3e-7 + 1e-7 * std::abs(exact)) << value;
  }
}

TEST_P(KernelMath, ExponentialsStayWithinTheirStatedErrors) {
  for (double x = -126; x <= 126; x += 0.0137) {
    const auto value = static_cast<float>(x);
    const double exact = std::exp2(static_cast<double>(value));
    ASSERT_NEAR(HWY_DYNAMIC_DISPATCH(exponential)(value) / exact, 1, 4e-7) << value;
  }
  EXPECT_EQ(HWY_DYNAMIC_DISPATCH(exponential)(-1000), std::numeric_limits<float>::min());
  EXPECT_TRUE(std::isfinite(HWY_DYNAMIC_DISPATCH(exponential)(1000)));
}

TEST_P(KernelMath, PowersStayWithinTheirStatedErrors) {
  for (const double exponent : {1.0, 17.0, 128.0, 1024.0}) {
    for (double base = 0.9; base <= 1; base += 0.0003) {
      const auto value = static_cast<float>(base);
      const double exact = std::pow(static_cast<double>(value), exponent);
      if (exact < 1e-36) continue;  // Beyond the range of results.
      const double bound = 4e-7 * (2 + exponent * (1 + std::abs(std::log2(static_cast<double>(value)))));
      ASSERT_NEAR(HWY_DYNAMIC_DISPATCH(power)(value, static_cast<float>(exponent)) / exact, 1, bound)
          << value << " " << exponent;
    }
  }
  EXPECT_EQ(HWY_DYNAMIC_DISPATCH(power)(0, 3), 0.0f);
  EXPECT_EQ(HWY_DYNAMIC_DISPATCH(power)(std::numeric_limits<float>::quiet_NaN(), 3), 0.0f);
}

}  // namespace
}  // namespace ornolith::raster
#endif
