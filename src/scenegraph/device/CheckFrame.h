#pragma once

#include <optional>
#include <string>

#include "scenegraph/device/FrameDescription.h"

namespace ornolith::device {

/// The first promise of a frame description that `frame` breaks, as one English sentence with the numbers that show it;
/// nothing where it keeps them all. What is checked:
///
/// - width and height are above 0;
/// - every texture has an image that is not empty and holds width * height * 4 bytes;
/// - every material slot's texture is -1 or the number of a texture;
/// - every present stream of a mesh has memory, the components that its kind may have, and a stride that holds them;
/// - every draw item names a mesh and a material, has a whole number of primitives, indices where its count is above 0,
///   each below the element count of every present stream of the mesh, and a world matrix with the last row (0, 0, 0,
///   1);
/// - every directional light has a direction of unit length.
///
/// Takes time in proportion to the indices.
std::optional<std::string> checkFrame(const FrameDescription& frame);

}  // namespace ornolith::device
