#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>

namespace ornolith {

/// Counts bytes in memory once, however many spans they are part of: images of one file may share theirs. What was
/// added must stay in memory as long as more is added.
class DistinctBytes {
 public:
  /// How many of `bytes` were not added before.
  std::uint64_t add(std::span<const std::byte> bytes);

 private:
  std::map<std::uintptr_t, std::uintptr_t> stretches_;  ///< Begin to end; they neither overlap nor touch.
};

}  // namespace ornolith
