#pragma once

#include <cstddef>
#include <memory>
#include <span>

#include "scenegraph/SCNScene.h"

namespace ornolith {

/// Reads the bytes of an OBJ file. Throws `MeshReadError`.
std::shared_ptr<SCNScene> readOBJ(std::span<const std::byte> bytes);

}  // namespace ornolith
