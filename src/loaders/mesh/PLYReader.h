#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>

#include "foundation/FileURL.h"
#include "loaders/mesh/BytesRead.h"
#include "scenegraph/SCNScene.h"

namespace ornolith {

/// Reads the bytes of a PLY file, ASCII or binary in either byte order, into a scene with one node: the polygons of the
/// element "face" and the strips of "tristrips" over the element "vertex", or its points where there are neither.
/// Vertices have x, y, z and, where they are there, normals, texture coordinates and colours under their customary
/// names; faces may have a colour, where vertices have none, and texture coordinates of their corners. Everything else
/// is skipped. Colours, bytes or fractions, are sRGB. Missing normals are computed (VertexNormals.h). The first texture
/// that the header's comments name is shown where it is a file below `resourceFolder`. The scene is empty where there
/// is nothing that can be drawn: no vertices, or none whose coordinates are finite numbers. Throws `MeshReadError`.
std::shared_ptr<SCNScene> readPLY(std::span<const std::byte> bytes,
                                  const std::optional<FileURL>& resourceFolder = std::nullopt,
                                  const BytesRead& whenRead = {});

}  // namespace ornolith
