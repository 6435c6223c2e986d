#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>

#include "foundation/LinearAlgebra.h"
#include "imaging/DistinctBytes.h"
#include "imaging/Image.h"
#include "scenegraph/SCNMaterial.h"

namespace ornolith {

// The workflow of KHR_materials_pbrSpecularGlossiness in terms of metals and roughness, after the conversion that the
// extension's authors publish with it (Khronos Group, "PBR Workflow Conversion"): of all mixtures of a metal with a
// dielectric that reflects 0.04, the one that reflects and scatters as much light.

/// A surface as the metallic-roughness workflow has it; colours are linear.
struct MetallicRoughness {
  simd_float3 baseColor;
  float metallic = 0;
  float roughness = 1;
};

/// What a surface with this diffuse and specular reflectance (linear) and this glossiness is in the other workflow.
MetallicRoughness metallicRoughness(simd_float3 diffuse, simd_float3 specular, float glossiness);

/// The values of a material of the extension, texture times factor. Contents that hold no image count as white.
struct SpecularGlossiness {
  simd_float3 diffuseFactor{1, 1, 1};
  simd_float3 specularFactor{1, 1, 1};
  float glossinessFactor = 1;
  SCNMaterialContents diffuse;             ///< Colour; its alpha is kept.
  SCNMaterialContents specularGlossiness;  ///< Colour, glossiness in the alpha.
};

struct MetallicRoughnessImages {
  std::shared_ptr<const Image> baseColor;          ///< With the alpha of the diffuse image.
  std::shared_ptr<const Image> metallicRoughness;  ///< Roughness in green, metalness in blue.
};

/// Converts texel by texel. What it decodes, and what it makes with mip levels, for one document stays in proportion to
/// what it is made from.
class SpecularGlossinessConverter {
 public:
  /// `allowedBytes` is what any document may have decoded and made, however small its images are.
  explicit SpecularGlossinessConverter(std::uint64_t allowedBytes = std::uint64_t{384} << 20)
      : allowedBytes_(allowedBytes) {}

  /// The images that stand for `source`, in the size of its larger image on each axis. Nothing where no image decodes,
  /// and where the images decoded and made so far have become too many.
  std::optional<MetallicRoughnessImages> convert(const SpecularGlossiness& source);

 private:
  std::shared_ptr<const Image> decoded(const SCNMaterialContents& contents);
  std::shared_ptr<const Image> decoded(std::span<const std::byte> bytes);
  void allow(std::uint64_t encodedBytes) noexcept;
  bool take(std::uint64_t bytes) noexcept;

  DistinctBytes vouching_;
  std::set<std::string> knownFiles_;
  std::uint64_t allowedBytes_;
  std::uint64_t takenBytes_ = 0;
};

}  // namespace ornolith
