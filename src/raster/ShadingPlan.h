#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "raster/FragmentBatch.h"
#include "raster/TexturePyramid.h"
#include "raster/TextureSampler.h"
#include "scenegraph/device/FrameDescription.h"

namespace ornolith::raster {

/// A material property as shading reads it: the constant of the slot, or what was sampled of its texture.
struct SlotPlan {
  const device::MaterialSlot* slot = nullptr;
  bool isTextured = false;
  std::uint32_t sample = 0;  ///< Number among the samples of its plan.
};

/// What shading one item takes: worked out once per item and frame.
struct ShadingPlan {
  const device::Material* material = nullptr;
  SlotPlan diffuse, normal, roughness, metalness, emission, transparent, specular, ambientOcclusion, clearCoat,
      clearCoatRoughness, specularTint, specularStrength;
  std::vector<TextureRead> reads;  ///< All textures of the material, for shading.
  /// What the opacity alone takes, for dropping fragments ahead of shading; `sample` counts on its own.
  std::vector<TextureRead> opacityReads;
  SlotPlan opacityDiffuse, opacityTransparent;
  std::array<std::uint32_t, maximumCoordinateSets> channels{};  ///< Texture coordinate channels to interpolate.
  std::size_t channelCount = 0;
  std::size_t normalChannel = 0;  ///< Which of the channels the normal map has, where there is one.
  bool isLit = false;
  bool isPhysical = false;
  bool hasNormalMap = false;
  bool derivesTangents = false;  ///< The mesh has no tangents: they come from positions and texture coordinates.
  bool hasVertexColor = false;
  bool hasSpecular = false;  ///< Blinn with a specular that is not black.
  bool hasEmission = false;  ///< One that is not black.
  bool hasClearCoat = false;
  bool scalesReflectance = false;  ///< The tint or the strength of specular is not 1.
  float maskCutoff = 0;            ///< For alpha mode mask: an alpha below this makes the opacity 0.
  float cutoff = 0;                ///< Fragments with an opacity below this are dropped.

  bool dropsFragments() const noexcept { return cutoff > 0; }

  /// `pyramids` are the frame's textures in order.
  static ShadingPlan make(const device::Material& material, const device::Mesh& mesh, bool isBlended,
                          const std::vector<const TexturePyramid*>& pyramids);
};

}  // namespace ornolith::raster
