#include "loaders/fbx/FbxMaterials.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

#include "loaders/fbx/FbxText.h"
#include "loaders/fbx/FbxTextures.h"

namespace ornolith {

namespace {

constexpr double defaultRoughness = 0.85;

/// Inside 0..1; what is no number counts as 0.
double clampedToUnit(double value) {
  return value > 0 ? std::min(value, 1.0) : 0.0;
}

NSColor opaqueColor(const ufbx_material_map& map) {
  return {.red = map.value_vec3.x, .green = map.value_vec3.y, .blue = map.value_vec3.z, .alpha = 1};
}

NSColor colorWithAlpha(const ufbx_material_map& map) {
  return {.red = map.value_vec4.x, .green = map.value_vec4.y, .blue = map.value_vec4.z, .alpha = map.value_vec4.w};
}

// Which map, and which texture, each slot takes.

const ufbx_texture* baseColorTexture(const ufbx_material& source) {
  const ufbx_material_map& map =
      source.pbr.base_color.texture != nullptr ? source.pbr.base_color : source.fbx.diffuse_color;
  if (map.texture != nullptr) return map.texture;
  return source.textures.count > 0 ? source.textures[0].texture : nullptr;
}

const ufbx_texture* normalTexture(const ufbx_material& source) {
  if (source.pbr.normal_map.texture != nullptr) return source.pbr.normal_map.texture;
  if (source.fbx.normal_map.texture != nullptr) return source.fbx.normal_map.texture;
  return source.fbx.bump.texture;
}

struct EmissionMaps {
  const ufbx_material_map& factor;
  const ufbx_material_map& color;
  bool isLit() const { return factor.has_value && factor.value_real > 0; }
};

EmissionMaps emissionMaps(const ufbx_material& source) {
  const bool isPhysical = source.pbr.emission_color.texture != nullptr || source.pbr.emission_factor.has_value;
  if (isPhysical) return {.factor = source.pbr.emission_factor, .color = source.pbr.emission_color};
  return {.factor = source.fbx.emission_factor, .color = source.fbx.emission_color};
}

const ufbx_material_map& specularMap(const ufbx_material& source) {
  const ufbx_material_map& physical = source.pbr.specular_color;
  return physical.texture != nullptr || physical.has_value ? physical : source.fbx.specular_color;
}

/// The opacity that the values state, or nothing where they state none. The legacy pair counts transparency, as the
/// product of a colour and a factor: an exporter that writes factor 1 with a black colour means an opaque material.
std::optional<double> statedOpacity(const ufbx_material& source) {
  if (source.pbr.opacity.has_value) return clampedToUnit(source.pbr.opacity.value_real);
  const ufbx_material_map& factor = source.fbx.transparency_factor;
  const ufbx_material_map& color = source.fbx.transparency_color;
  if (!factor.has_value && !color.has_value) return std::nullopt;
  double transparency = 1;
  if (color.has_value) {
    transparency =
        (clampedToUnit(color.value_vec3.x) + clampedToUnit(color.value_vec3.y) + clampedToUnit(color.value_vec3.z)) / 3;
  }
  if (factor.has_value) transparency *= clampedToUnit(factor.value_real);
  return 1 - transparency;
}

/// Fills one material, slot by slot.
class MaterialMapping {
 public:
  MaterialMapping(const ufbx_material& source, const ufbx_mesh& mesh, FbxConversion& conversion,
                  std::vector<std::string>* diagnostics, FbxMappedMaterial& result)
      : source_(source),
        mesh_(mesh),
        conversion_(conversion),
        diagnostics_(diagnostics),
        name_(StringFromUfbx(source.name).value_or("unnamed material")),
        result_(result) {}

  void map() {
    mapBaseColor();
    apply(material().normal, normalTexture(source_), "Normal");
    mapNumber(material().roughness, source_.pbr.roughness, "Roughness");
    mapNumber(material().metalness, source_.pbr.metalness, "Metallic");
    mapEmission();
    apply(material().ambientOcclusion, source_.pbr.ambient_occlusion.texture, "AmbientOcclusion");
    mapSpecular();
    mapOpacity();
  }

  static void showNeutralColor(const ufbx_mesh& mesh, FbxMappedMaterial& result) {
    constexpr NSColor white{.red = 1, .green = 1, .blue = 1, .alpha = 1};
    constexpr NSColor grey{.red = 0.65, .green = 0.65, .blue = 0.65, .alpha = 1};
    // Vertex colours tint the surface: white lets them show as they are.
    result.material->diffuse.contents = mesh.vertex_color.exists ? white : grey;
    result.material->transparency = 1;
    result.material->blendMode = SCNBlendMode::replace;
    result.usedFallback = true;
  }

 private:
  SCNMaterial& material() { return *result_.material; }

  bool apply(SCNMaterialProperty& property, const ufbx_texture* texture, std::string_view label) {
    return ApplyTexture(property, texture, mesh_, label, name_, conversion_, diagnostics_);
  }

  void mapBaseColor() {
    if (apply(material().diffuse, baseColorTexture(source_), "BaseColor")) return;
    if (source_.pbr.base_color.has_value) {
      material().diffuse.contents = colorWithAlpha(source_.pbr.base_color);
    } else if (source_.fbx.diffuse_color.has_value) {
      material().diffuse.contents = opaqueColor(source_.fbx.diffuse_color);
    } else {
      showNeutralColor(mesh_, result_);
    }
  }

  void mapNumber(SCNMaterialProperty& property, const ufbx_material_map& map, std::string_view label) {
    if (apply(property, map.texture, label)) return;
    if (map.has_value) property.contents = clampedToUnit(map.value_real);
  }

  void mapEmission() {
    const EmissionMaps maps = emissionMaps(source_);
    if (!maps.isLit()) return;
    if (!apply(material().emission, maps.color.texture, "Emission") && maps.color.has_value) {
      material().emission.contents = opaqueColor(maps.color);
    }
    material().emission.intensity = maps.factor.value_real;
  }

  void mapSpecular() {
    const ufbx_material_map& map = specularMap(source_);
    if (apply(material().specular, map.texture, "Specular")) return;
    if (map.has_value) material().specular.contents = opaqueColor(map);
  }

  void mapOpacity() {
    if (apply(material().transparent, source_.pbr.opacity.texture, "Opacity")) {
      material().blendMode = SCNBlendMode::alpha;
      return;
    }
    const std::optional<double> opacity = statedOpacity(source_);
    if (!opacity || *opacity >= 1) return;
    material().transparency = *opacity;
    material().blendMode = SCNBlendMode::alpha;
  }

  const ufbx_material& source_;
  const ufbx_mesh& mesh_;
  FbxConversion& conversion_;
  std::vector<std::string>* diagnostics_;
  const std::string name_;
  FbxMappedMaterial& result_;
};

}  // namespace

FbxMappedMaterial mapMaterial(const ufbx_material* source, const ufbx_mesh& mesh, FbxConversion& conversion,
                              std::vector<std::string>* diagnostics) {
  FbxMappedMaterial result{.material = SCNMaterial::material()};
  result.material->lightingModelName = SCNLightingModelPhysicallyBased;
  result.material->roughness.contents = defaultRoughness;
  result.material->metalness.contents = 0.0;
  result.material->isDoubleSided = true;
  if (source == nullptr) {
    MaterialMapping::showNeutralColor(mesh, result);
  } else {
    MaterialMapping(*source, mesh, conversion, diagnostics, result).map();
  }
  return result;
}

std::vector<ufbx_blob> embeddedContentsOfMaterial(const ufbx_material& source) {
  const EmissionMaps emission = emissionMaps(source);
  const std::array<const ufbx_texture*, 8> textures{baseColorTexture(source),
                                                    normalTexture(source),
                                                    source.pbr.roughness.texture,
                                                    source.pbr.metalness.texture,
                                                    emission.isLit() ? emission.color.texture : nullptr,
                                                    source.pbr.ambient_occlusion.texture,
                                                    specularMap(source).texture,
                                                    source.pbr.opacity.texture};
  std::vector<ufbx_blob> contents;
  for (const ufbx_texture* texture : textures) {
    if (texture == nullptr) continue;
    const ufbx_blob content = embeddedContent(*texture);
    if (content.size > 0) contents.push_back(content);
  }
  return contents;
}

}  // namespace ornolith
