#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

#include "loaders/gltf/GLTFReadError.h"

namespace ornolith {

// What one glTF file may cost in memory, and thereby in time, in proportion to its size: compressed, zero-filled,
// shared and instanced data let a few bytes stand for very much. Real files stay far below.

/// What any file may take.
inline constexpr std::uint64_t gltfMemoryFloor = std::uint64_t{256} << 20;
/// What each byte of a file, its external resources included, may add to become.
inline constexpr std::uint64_t gltfMemoryPerFileByte = 64;

/// What making and drawing take for each element of a geometry, and in it for each triangle and for each line or point:
/// once for the geometry, and once for every node that shows it.
inline constexpr std::uint64_t gltfBytesPerDrawnElement = 256;
inline constexpr std::uint64_t gltfBytesPerDrawnTriangle = 8;
inline constexpr std::uint64_t gltfBytesPerDrawnLineOrPoint = 80;
/// What each value counts that is looked at again for every geometry that shares it.
inline constexpr std::uint64_t gltfBytesPerValueRead = 4;

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
