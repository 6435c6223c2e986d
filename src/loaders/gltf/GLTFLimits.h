#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

#include "loaders/gltf/GLTFReadError.h"
#include "loaders/mesh/DrawingCost.h"

namespace ornolith {

// What one glTF file may cost in memory, and thereby in time, in proportion to its size: compressed, zero-filled,
// shared and instanced data let a few bytes stand for very much. Real files stay far below. One limit holds for what is
// made and what is drawn.

/// What each value counts that is looked at again for every geometry that shares it.
inline constexpr std::uint64_t gltfBytesPerValueRead = 4;

/// Counts what is made from one file against a limit.
class GLTFMemoryBudget {
 public:
  explicit GLTFMemoryBudget(std::uint64_t fileSize) noexcept : remaining_(drawingFloor) { addFileBytes(fileSize); }

  /// Raises the limit for a resource of `size` bytes.
  void addFileBytes(std::uint64_t size) noexcept {
    constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max() / 4;
    const std::uint64_t more = size > most / drawingPerFileByte ? most : size * drawingPerFileByte;
    remaining_ = remaining_ > most ? remaining_ : remaining_ + more;
  }

  /// Takes what it costs to make or to draw `element` once more. Throws `GLTFReadError` where less remains.
  void takeDrawing(const SCNGeometryElement& element) { take(1, drawingCost(element)); }

  /// Takes `count` items of `bytesEach` off what remains. Throws `GLTFReadError` where less remains.
  void take(std::uint64_t count, std::uint64_t bytesEach) {
    if (bytesEach != 0 && count > remaining_ / bytesEach) throw GLTFReadError(gltf_read_error::MemoryLimitExceeded{});
    remaining_ -= count * bytesEach;
  }

 private:
  std::uint64_t remaining_;
};

}  // namespace ornolith
