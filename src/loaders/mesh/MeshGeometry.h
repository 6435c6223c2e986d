#pragma once

#include <memory>

#include "scenegraph/SCNMaterial.h"

namespace ornolith {

/// The material of a file that has none: physically based, rough, no metal, opaque and shown from both sides; grey, or
/// white where vertex colours tint it.
std::shared_ptr<SCNMaterial> defaultMeshMaterial(bool hasVertexColors);

}  // namespace ornolith
