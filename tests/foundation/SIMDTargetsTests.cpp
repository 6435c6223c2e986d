#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <fstream>
#include <initializer_list>
#include <iterator>
#include <set>
#include <sstream>
#include <string>

namespace ornolith {
namespace {

/// The processor's extensions as the kernel names them; none where it names none.
std::set<std::string> kernelFlags() {
  std::ifstream file("/proc/cpuinfo");
  for (std::string line; std::getline(file, line);) {
    if (line.rfind("flags", 0) != 0) continue;
    std::istringstream words(line.substr(line.find(':') + 1));
    return {std::istream_iterator<std::string>(words), {}};
  }
  return {};
}

class SIMDTargets : public ::testing::Test {
 protected:
  void TearDown() override {
    hwy::DisableTargets(0);
    hwy::SetSupportedTargetsForTest(0);
  }
};

TEST_F(SIMDTargets, AreThoseWhoseExtensionsTheKernelNames) {
  const std::set<std::string> flags = kernelFlags();
  if (flags.empty()) GTEST_SKIP() << "the kernel names no extensions";
  const auto hasAll = [&](std::initializer_list<const char*> names) {
    for (const char* const name : names) {
      if (!flags.contains(name)) return false;
    }
    return true;
  };
  const bool hasSSE4 = hasAll({"ssse3", "sse4_1", "sse4_2", "pclmulqdq", "aes"});
  const bool hasAVX2 = hasSSE4 && hasAll({"avx", "avx2", "bmi1", "bmi2", "fma", "f16c", "abm"});
  const bool hasAVX3 = hasAVX2 && hasAll({"avx512f", "avx512vl", "avx512dq", "avx512bw", "avx512cd"});
  const std::int64_t targets = hwy::SupportedTargets();
  EXPECT_EQ((targets & HWY_SSE4) != 0, hasSSE4);
  EXPECT_EQ((targets & HWY_AVX2) != 0, hasAVX2);
  EXPECT_EQ((targets & HWY_AVX3) != 0, hasAVX3);
}

TEST_F(SIMDTargets, AreNeverNone) {
  EXPECT_NE(hwy::SupportedTargets() & HWY_STATIC_TARGET, 0);
  hwy::DisableTargets(~std::int64_t{0});
  EXPECT_EQ(hwy::SupportedTargets(), HWY_STATIC_TARGET);
}

TEST_F(SIMDTargets, AreAsATestWishes) {
  const std::int64_t before = hwy::SupportedTargets();
  hwy::SetSupportedTargetsForTest(HWY_STATIC_TARGET);
  EXPECT_EQ(hwy::SupportedTargets(), HWY_STATIC_TARGET);
  EXPECT_FALSE(hwy::GetChosenTarget().IsInitialized());
  hwy::SetSupportedTargetsForTest(0);
  EXPECT_EQ(hwy::SupportedTargets(), before);
}

}  // namespace
}  // namespace ornolith
