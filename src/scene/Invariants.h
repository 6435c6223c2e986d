#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

namespace ornolith {

/// Ends the process with one line on standard error: the program has broken a rule of its own, and no result can be
/// right.
[[noreturn]] void fatalInvariant(const char* brokenRule) noexcept;

/// `left + right` for counts; an overflow is fatal.
inline std::int64_t checkedSum(std::int64_t left, std::int64_t right) {
  std::int64_t sum = 0;
  if (__builtin_add_overflow(left, right, &sum)) fatalInvariant("a count does not overflow");
  return sum;
}

/// `count` as a signed number; one that does not fit is fatal.
inline std::int64_t checkedCount(std::uint64_t count) {
  if (count > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
    fatalInvariant("a count does not overflow");
  }
  return static_cast<std::int64_t>(count);
}

}  // namespace ornolith
