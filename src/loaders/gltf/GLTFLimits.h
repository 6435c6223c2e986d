#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

#include "loaders/gltf/GLTFReadError.h"

namespace ornolith {

// What one glTF file may cost in memory, in proportion to its size: compressed, zero-filled and instanced data let a
// few bytes stand for very much. Real files stay far below.

/// What any file may take.
inline constexpr std::uint64_t gltfMemoryFloor = std::uint64_t{256} << 20;
/// What each byte of a file, its external resources included, may add to become.
inline constexpr std::uint64_t gltfMemoryPerFileByte = 64;

/// Counts what is made from one file against a limit.
class GLTFMemoryBudget {
 public:
  explicit GLTFMemoryBudget(std::uint64_t fileSize) noexcept : remaining_(gltfMemoryFloor) { addFileBytes(fileSize); }

  /// Raises the limit for a resource of `size` bytes.
  void addFileBytes(std::uint64_t size) noexcept {
    constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max() / 4;
    const std::uint64_t more = size > most / gltfMemoryPerFileByte ? most : size * gltfMemoryPerFileByte;
    remaining_ = remaining_ > most ? remaining_ : remaining_ + more;
  }

  /// Takes `count` items of `bytesEach` off what remains. Throws `GLTFReadError` where less remains.
  void take(std::uint64_t count, std::uint64_t bytesEach) {
    if (bytesEach != 0 && count > remaining_ / bytesEach) throw GLTFReadError(gltf_read_error::MemoryLimitExceeded{});
    remaining_ -= count * bytesEach;
  }

 private:
  std::uint64_t remaining_;
};

}  // namespace ornolith
