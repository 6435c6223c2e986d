// The part of Highway that is not in its headers and that run-time dispatch needs: which instruction sets the processor
// has, and which of them the program uses. Highway's own shared library measures the processor's clock as it is loaded,
// whether anybody asks or not, which would cost every run more than four milliseconds; so it is not linked.

#include <hwy/base.h>
#include <hwy/targets.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#if HWY_ARCH_X86
#include <cpuid.h>
#endif

namespace hwy {

namespace {

std::atomic<std::int64_t> disabledTargets{0};
std::atomic<std::int64_t> testedTargets{0};

#if HWY_ARCH_X86

/// What the compiler's own question does not cover everywhere.
bool hasHalfFloatsAndLeadingZeroCount() {
  constexpr unsigned halfFloats = 1U << 29;
  constexpr unsigned leadingZeroCount = 1U << 5;
  unsigned a = 0;
  unsigned b = 0;
  unsigned c = 0;
  unsigned d = 0;
  if (__get_cpuid(1, &a, &b, &c, &d) == 0 || (c & halfFloats) == 0) return false;
  return __get_cpuid(0x80000001U, &a, &b, &c, &d) != 0 && (c & leadingZeroCount) != 0;
}

/// Each target with all the extensions that Highway lets the compiler use for it. The compiler's questions for AVX and
/// later also ask whether the system keeps the registers.
std::int64_t detectedTargets() {
  __builtin_cpu_init();
  std::int64_t targets = HWY_STATIC_TARGET;
  if (!__builtin_cpu_supports("ssse3")) return targets;
  targets |= HWY_SSSE3;
  if (!__builtin_cpu_supports("sse4.2") || !__builtin_cpu_supports("pclmul") || !__builtin_cpu_supports("aes")) {
    return targets;
  }
  targets |= HWY_SSE4;
  if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("bmi") || !__builtin_cpu_supports("bmi2") ||
      !__builtin_cpu_supports("fma") || !hasHalfFloatsAndLeadingZeroCount()) {
    return targets;
  }
  targets |= HWY_AVX2;
  if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq") &&
      __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512cd")) {
    targets |= HWY_AVX3;
  }
  return targets;
}

#else

std::int64_t detectedTargets() {
  return HWY_STATIC_TARGET;
}

#endif

}  // namespace

std::int64_t SupportedTargets() {
  static const std::int64_t detected = detectedTargets();
  const std::int64_t tested = testedTargets.load();
  const std::int64_t targets = (tested != 0 ? tested : detected) & ~disabledTargets.load();
  return targets != 0 ? targets : HWY_STATIC_TARGET;
}

void DisableTargets(std::int64_t disabled) {
  disabledTargets.store(disabled & ~HWY_STATIC_TARGET);
  GetChosenTarget().DeInit();
}

void SetSupportedTargetsForTest(std::int64_t targets) {
  testedTargets.store(targets);
  GetChosenTarget().DeInit();
}

ChosenTarget& GetChosenTarget() {
  static ChosenTarget chosen;
  return chosen;
}

void Abort(const char* file, int line, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  std::fprintf(stderr, "%s:%d: ", file, line);
  std::vfprintf(stderr, format, arguments);
  std::fputc('\n', stderr);
  va_end(arguments);
  std::abort();
}

}  // namespace hwy
