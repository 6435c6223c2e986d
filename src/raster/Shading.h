#pragma once

#include <array>
#include <vector>

#include "raster/FragmentBatch.h"
#include "raster/Projection.h"
#include "raster/ShadingPlan.h"
#include "scenegraph/device/FrameDescription.h"

namespace ornolith::raster {

/// A light that shines from one direction everywhere.
struct DistantLight {
  simd_float3 toLight;  ///< World space, unit length.
  simd_float3 color;    ///< Finite.
};

/// What all fragments of a frame are lit by.
struct LightRig {
  simd_float3 ambient;
  std::vector<DistantLight> directional;

  /// Leaves out lights without a direction or a finite colour.
  static LightRig make(const device::FrameDescription& frame);
};

/// The cosines of the angles between the normal (on the side that is seen), the way to the camera and those to lights.
struct SurfaceCosines {
  struct Light {
    alignas(64) Lane normalLight, lightView;
  };

  alignas(64) Lane normalView;
  std::vector<Light> lights;  ///< In the order of the rig.
};

/// The working memory of `shadeBatch`.
struct ShadingScratch {
  std::array<Lane4, maximumTextureReads> samples;  ///< What was sampled of each texture.
  SurfaceCosines cosines;
  Lane4 coat;  ///< What a clear coat mirrors of lights, and in `w` which share of all light it mirrors.
};

/// Fills `batch.result` (`rays` are those of the tile) with linear light that may exceed 1, and opacity in 0..1.
///
/// A light of intensity 1 gives a white diffuse surface that faces it the value 1: diffuse is colour * max(N.L, 0), and
/// the specular lobes are scaled alike (by pi where they are normalised). Physically based: diffuse * (1 - metalness),
/// and GGX (Walter et al. 2007) with height-correlated Smith visibility (Heitz 2014) and Schlick's Fresnel between F0
/// and F90, alpha = roughness squared, roughness at least 0.045 so that the highlight of a directional light keeps a
/// size. F0 and F90 go by metalness from those of the dielectric to the base colour and 1. Ambient light adds base
/// colour * ambient * occlusion whatever the metalness: without surroundings to mirror, a metal's reflection of even
/// light is its base colour. Blinn adds specular * (N.H)^(128 * shininess) where the light is in front. Lambert adds
/// nothing; constant takes diffuse and no light. Emission adds.
///
/// A clear coat lies over the light of the directional lights and over emission, as in glTF's KHR_materials_clearcoat:
/// their part of the result is mix(surface, coat, strength * F) with F = 0.04 + 0.96 (1 - |N.V|)^5, where the coat is
/// GGX of its own roughness on the normal before its normal map. Ambient light is as it is without a coat: no surface
/// mirrors it, so what a coat took of it would be missing, and what it mirrored would make it paler than its like.
///
/// Throws `std::bad_alloc` where the working memory has to grow for more lights than before.
void shadeBatch(const ShadingPlan& plan, const LightRig& lights, const ViewRays& rays, ShadingScratch& scratch,
                FragmentBatch& batch);

/// Fills only the opacity, `batch.result.w`: transparency * alpha of diffuse, of the transparent slot and of the
/// vertex.
void shadeOpacity(const ShadingPlan& plan, ShadingScratch& scratch, FragmentBatch& batch) noexcept;

}  // namespace ornolith::raster
