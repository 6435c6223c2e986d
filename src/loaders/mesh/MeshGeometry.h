#pragma once

#include <cstddef>
#include <memory>

#include "foundation/LargeVector.h"
#include "foundation/SharedBytes.h"
#include "scenegraph/SCNGeometryElement.h"
#include "scenegraph/SCNGeometrySource.h"
#include "scenegraph/SCNMaterial.h"

namespace ornolith {

/// A stream of the vectors in `values`, `components` to each, which is taken over.
std::shared_ptr<const SCNGeometrySource> packedSource(LargeVector<float> values, SCNGeometrySourceSemantic semantic,
                                                      std::size_t components);

/// Triangles, lines or points over `cornerCount` vertices: those that the indices of 32 bits name, or without indices
/// the first ones in order. Points have a radius of two pixels, so that a cloud of them is seen in a large picture too.
std::shared_ptr<SCNGeometryElement> elementOfCorners(SharedBytes indices, SCNGeometryPrimitiveType type,
                                                     std::size_t cornerCount);

/// The material of a file that has none: physically based, rough, no metal, opaque and shown from both sides; grey, or
/// white where vertex colours tint it.
std::shared_ptr<SCNMaterial> defaultMeshMaterial(bool hasVertexColors);

}  // namespace ornolith
