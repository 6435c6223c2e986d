#pragma once

#include <cstddef>
#include <memory>
#include <span>

#include "scenegraph/SCNScene.h"

namespace ornolith {

/// Reads the bytes of a PLY file, ASCII or binary in either byte order, into a scene with one node: the polygons of the
/// element "face" and the strips of "tristrips" over the element "vertex", or its points where there are neither.
/// Vertices have x, y, z and, where they are there, normals, texture coordinates and colours under their customary
/// names; everything else is skipped. Colours, bytes or fractions, are sRGB. Missing normals are computed
/// (VertexNormals.h). The scene is empty where there are no vertices. Throws `MeshReadError`.
std::shared_ptr<SCNScene> readPLY(std::span<const std::byte> bytes);

}  // namespace ornolith
