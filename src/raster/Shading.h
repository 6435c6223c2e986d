#pragma once

#include <vector>

#include "raster/FragmentBatch.h"
#include "raster/Projection.h"
#include "raster/ShadingPlan.h"
#include "raster/TexturePyramid.h"
#include "scenegraph/device/FrameDescription.h"

namespace ornolith::raster {

/// What all fragments of a frame are lit by.
struct LightRig {
  simd_float3 ambient;
  std::vector<device::DirectionalLight> directional;  ///< Directions unit length or zero; a zero one lights nothing.

  static LightRig make(const device::FrameDescription& frame);
};

/// The working memory of `shadeBatch`.
struct ShadingScratch {
  Lane4 diffuse, slot;
  Lane3 normal, view, light, highlight, reflectance;
  Lane opacity, roughness, metalness, occlusion;
};

/// Fills `batch.result` (`rays` are those of the tile) with linear light that may exceed 1, and opacity in 0..1.
///
/// A light of intensity 1 gives a white diffuse surface that faces it the value 1: diffuse is colour * max(N.L, 0), and
/// the specular lobes are scaled alike (by pi where they are normalised). Physically based: diffuse * (1 - metalness),
/// and GGX (Walter et al. 2007) with height-correlated Smith visibility (Heitz 2014) and Schlick's Fresnel, alpha =
/// roughness squared, roughness at least 0.045 so that the highlight of a directional light keeps a size. F0 goes from
/// 0.04 to the base colour by metalness. Ambient light adds base colour * ambient * occlusion whatever the metalness:
/// without surroundings to mirror, a metal's reflection of even light is its base colour. Blinn adds specular *
/// (N.H)^(128 * shininess) where the light is in front. Lambert adds nothing; constant takes diffuse and no light.
/// Emission adds.
void shadeBatch(const ShadingPlan& plan, const LightRig& lights, const ViewRays& rays, const TexelTables& tables,
                ShadingScratch& scratch, FragmentBatch& batch) noexcept;

/// Fills only the opacity, `batch.result.w`: transparency * alpha of diffuse, of the transparent slot and of the
/// vertex.
void shadeOpacity(const ShadingPlan& plan, const TexelTables& tables, ShadingScratch& scratch,
                  FragmentBatch& batch) noexcept;

}  // namespace ornolith::raster
