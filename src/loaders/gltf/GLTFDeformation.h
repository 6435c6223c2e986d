#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

#include "foundation/LargeVector.h"
#include "foundation/LinearAlgebra.h"
#include "loaders/gltf/GLTFAccessors.h"
#include "loaders/gltf/GLTFDocument.h"

namespace ornolith {

/// How a mesh is deformed at rest.
struct GLTFDeformation {
  std::span<const double> weights;  ///< Of the morph targets; missing ones are 0.
  /// For each joint of the skin, from the mesh's space to its node's; empty without a skin.
  std::vector<simd_double4x4> jointMatrices;

  /// Whether it changes the vertex attribute `name` of a primitive.
  bool changes(std::string_view name, const GLTFPrimitive& primitive) const;
};

/// The values of an attribute with the morph targets added by their weights (glTF 2.0, section 3.7.2.2). A target may
/// have fewer components than the attribute, as those of tangents do. Throws `GLTFReadError`.
LargeVector<float> morphedValues(std::string_view name, GLTFIndex accessor, const GLTFPrimitive& primitive,
                                 std::span<const double> weights, GLTFAccessors& accessors);

/// The vertices of a skinned primitive, packed; normals and tangents (three and four components) may be empty.
struct GLTFSkinnedStreams {
  std::span<float> positions;
  std::span<float> normals;
  std::span<float> tangents;
};

/// Moves vertices by the joints that they hang on (glTF 2.0, section 3.7.3): positions and tangents by the weighted sum
/// of the joints' matrices, normals by its inverse transpose. Weights are taken by their share in their sum; a vertex
/// without any goes with its first joint. Throws `GLTFReadError`.
void skinVertices(const GLTFSkinnedStreams& streams, const GLTFPrimitive& primitive,
                  std::span<const simd_double4x4> jointMatrices, GLTFAccessors& accessors);

}  // namespace ornolith
