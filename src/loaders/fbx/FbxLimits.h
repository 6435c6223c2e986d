#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

#include "loaders/mesh/DrawingCost.h"

namespace ornolith {

// What one FBX file may cost in memory and in drawing, in proportion to its size: compressed arrays, instances and
// shared materials let a few bytes stand for very much. Real files stay far below; one that does not is refused as the
// FBX library words it.

/// What any file may take for the library's scene, and the same again while it is being read.
inline constexpr std::uint64_t fbxSceneMemoryFloor = std::uint64_t{256} << 20;
/// What any file may take for the scene built from it: vertex streams, materials, findings; and the same again for
/// embedded images.
inline constexpr std::uint64_t fbxResultMemoryFloor = std::uint64_t{512} << 20;
/// What each byte of a file may add to become.
inline constexpr std::uint64_t fbxMemoryPerFileByte = 128;

/// `perFileByte` for each byte of a file, or half of the largest number where that would be more.
constexpr std::size_t fbxProportion(std::uint64_t fileSize, std::uint64_t perFileByte) noexcept {
  constexpr std::uint64_t largest = std::numeric_limits<std::size_t>::max() / 2;
  return fileSize > largest / perFileByte ? largest : fileSize * perFileByte;
}

/// The limit for a file of `fileSize` bytes: `fbxMemoryPerFileByte` times its size, but at least `floor`.
constexpr std::size_t fbxMemoryLimit(std::uint64_t floor, std::uint64_t fileSize) noexcept {
  const std::size_t proportional = fbxProportion(fileSize, fbxMemoryPerFileByte);
  return proportional > floor ? proportional : floor;
}

/// What a file of `fileSize` bytes may have drawn (DrawingCost.h).
constexpr std::size_t fbxDrawingLimit(std::uint64_t fileSize) noexcept {
  return drawingFloor + fbxProportion(fileSize, drawingPerFileByte);
}

/// Counts what is made or drawn of one file against a limit.
class FbxMemoryBudget {
 public:
  explicit FbxMemoryBudget(std::size_t limit) noexcept : remaining_(limit) {}

  /// Takes `bytes` off what remains, or takes nothing and answers false where less remains.
  bool take(std::size_t bytes) noexcept {
    if (bytes > remaining_) return false;
    remaining_ -= bytes;
    return true;
  }

 private:
  std::size_t remaining_;
};

}  // namespace ornolith
