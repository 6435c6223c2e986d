#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "foundation/SharedBytes.h"
#include "loaders/gltf/GLTFAccessors.h"
#include "loaders/gltf/GLTFDocument.h"
#include "scenegraph/SCNGeometryElement.h"

namespace ornolith {

/// What a primitive draws: lists of triangles, lines or points, as vertex indices of 32 bits.
struct GLTFCorners {
  SCNGeometryPrimitiveType type = SCNGeometryPrimitiveType::triangles;
  SharedBytes data;
  std::size_t count = 0;  ///< A multiple of 3, 2 or 1 by type.

  std::span<const std::uint32_t> indices() const {
    return {reinterpret_cast<const std::uint32_t*>(data->data()), count};
  }
  std::shared_ptr<SCNGeometryElement> element() const;
};

/// The corners of a primitive whose vertices are `vertexCount` (glTF 2.0, section 3.7.2.1): strips, fans and loops
/// taken apart in the format's order, what is left over behind the last whole one dropped. Indices that need no change
/// stay where they stand in the file. Throws `GLTFReadError` for an index that is out of range.
GLTFCorners cornersOfPrimitive(const GLTFPrimitive& primitive, std::size_t vertexCount, GLTFAccessors& accessors,
                               GLTFMemoryBudget& budget);

}  // namespace ornolith
