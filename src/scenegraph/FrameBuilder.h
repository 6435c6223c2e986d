#pragma once

#include <cstdint>

#include "scenegraph/GeometryCache.h"
#include "scenegraph/SCNScene.h"
#include "scenegraph/TextureCache.h"
#include "scenegraph/device/FrameDescription.h"

namespace ornolith {

/// What a frame is made of.
struct FrameRequest {
  SCNScene& scene;
  const SCNNode* pointOfView = nullptr;  ///< Null, or without a camera: a default camera, at the node's place.
  std::uint32_t width = 0;               ///< Pixels.
  std::uint32_t height = 0;              ///< Pixels.
  bool autoenablesDefaultLighting = false;
};

/// Flattens a scene as seen from a point of view, with what the two caches keep from earlier frames. Hidden subtrees,
/// and nodes whose world matrix is not finite, are left out. The description satisfies `device::checkFrame`.
device::FrameDescription buildFrame(const FrameRequest& request, GeometryCache& geometries, TextureCache& textures);

}  // namespace ornolith
