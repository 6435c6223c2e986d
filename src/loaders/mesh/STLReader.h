#pragma once

#include <cstddef>
#include <memory>
#include <span>

#include "loaders/mesh/BytesRead.h"
#include "scenegraph/SCNScene.h"

namespace ornolith {

/// Reads the bytes of an STL file, binary or ASCII, into a scene with one node for each solid that has facets, named as
/// the solid is. Which of the two it is follows from the size that a binary file's facet count asks for, and from the
/// keywords of the text; the word "solid" alone decides nothing. A facet's normal is that of its corners, which turn
/// counter-clockwise when seen from outside: the normal that the file repeats is not relied on, since many files have
/// it zero or wrong. A binary facet's 16 bits are its colour where the header has "COLOR=" (red in the low bits, top
/// bit clear; otherwise the header's colour) or else where the top bit is set (blue in the low bits). The scene is
/// empty where nothing can be drawn: no facet has three corners of finite numbers. Throws `MeshReadError`.
std::shared_ptr<SCNScene> readSTL(std::span<const std::byte> bytes, const BytesRead& whenRead = {});

}  // namespace ornolith
