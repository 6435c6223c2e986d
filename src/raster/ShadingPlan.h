#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "raster/FragmentBatch.h"
#include "raster/TexturePyramid.h"
#include "scenegraph/device/FrameDescription.h"

namespace ornolith::raster {

/// A material property as shading reads it: where `pyramid` is null, the constant of the slot.
struct SlotPlan {
  const device::MaterialSlot* slot = nullptr;
  const TexturePyramid* pyramid = nullptr;
  std::size_t coordinateSet = 0;  ///< Which of the plan's channels.

  bool isTextured() const noexcept { return pyramid != nullptr; }
};

/// What shading one item takes: worked out once per item and frame.
struct ShadingPlan {
  const device::Material* material = nullptr;
  SlotPlan diffuse, normal, roughness, metalness, emission, transparent, specular, ambientOcclusion;
  std::array<std::uint32_t, maximumCoordinateSets> channels{};  ///< Texture coordinate channels to interpolate.
  std::size_t channelCount = 0;
  bool isLit = false;
  bool hasNormalMap = false;
  bool derivesTangents = false;  ///< The mesh has no tangents: they come from positions and texture coordinates.
  bool hasVertexColor = false;
  bool hasSpecular = false;  ///< Blinn with a specular that is not black.
  float cutoff = 0;          ///< Fragments with an opacity below this are dropped.

  bool dropsFragments() const noexcept { return cutoff > 0; }

  /// `pyramids` are the frame's textures in order.
  static ShadingPlan make(const device::Material& material, const device::Mesh& mesh, bool isBlended,
                          const std::vector<const TexturePyramid*>& pyramids);
};

}  // namespace ornolith::raster
