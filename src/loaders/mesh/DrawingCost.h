#pragma once

#include <cstdint>

#include "scenegraph/SCNGeometryElement.h"

namespace ornolith {

// What drawing may cost, in bytes of a reader's limit: instances let a few bytes of a file stand for very much of it.
// Real files stay far below.

/// What any file may have drawn.
inline constexpr std::uint64_t drawingFloor = std::uint64_t{256} << 20;
/// What each byte of a file, its external resources included, adds to that.
inline constexpr std::uint64_t drawingPerFileByte = 64;

/// What `element` counts for every node that shows it. A reader that makes it before it knows of any node takes as much
/// once more for that.
inline std::uint64_t drawingCost(const SCNGeometryElement& element) noexcept {
  constexpr std::uint64_t ofElement = 256;
  constexpr std::uint64_t ofTriangle = 8;
  constexpr std::uint64_t ofLineOrPoint = 80;
  const bool isOfTriangles = element.primitiveType() == SCNGeometryPrimitiveType::triangles;
  return ofElement + element.primitiveCount() * (isOfTriangles ? ofTriangle : ofLineOrPoint);
}

}  // namespace ornolith
