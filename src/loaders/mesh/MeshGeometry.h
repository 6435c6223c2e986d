#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "scenegraph/SCNGeometry.h"

namespace ornolith {

// What the readers of plain mesh files have in common in making geometries.

/// The material of a file that has none: physically based, rough, no metal, opaque and shown from both sides; grey, or
/// white where vertex colours tint it.
std::shared_ptr<SCNMaterial> defaultMeshMaterial(bool hasVertexColors);

/// A vertex stream over 32-bit floats, `componentsPerVector` to a vector.
std::shared_ptr<const SCNGeometrySource> floatSource(const std::vector<float>& values,
                                                     SCNGeometrySourceSemantic semantic,
                                                     std::size_t componentsPerVector);

/// An element of triangles over the corners' indices, three to a triangle.
std::shared_ptr<SCNGeometryElement> triangleElement(const std::vector<std::uint32_t>& indices);

}  // namespace ornolith
