#include "loaders/gltf/GLTFMaterials.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string_view>

#include "imaging/Color.h"
#include "loaders/gltf/GLTFOptionalValues.h"

namespace ornolith {

namespace {

/// A reflectance up to which a surface is no metal at all.
constexpr float largestDielectricSpecular = 0.08F;

float floatOf(double value) {
  constexpr double largest = std::numeric_limits<float>::max();
  return static_cast<float>(std::clamp(value, -largest, largest));
}

float positiveNumber(const JSONElement& object, std::string_view key, double fallback) {
  return std::max(floatOf(optionalNumber(object, key).value_or(fallback)), 0.0F);
}

simd_float3 positiveColor(const JSONElement& object, std::string_view key, simd_float3 fallback) {
  const auto numbers = optionalNumbers(object, key, 3);
  if (!numbers) return fallback;
  return {std::max(floatOf((*numbers)[0]), 0.0F), std::max(floatOf((*numbers)[1]), 0.0F),
          std::max(floatOf((*numbers)[2]), 0.0F)};
}

simd_float4 positiveColorWithAlpha(const JSONElement& object, std::string_view key) {
  const auto numbers = optionalNumbers(object, key, 4);
  if (!numbers) return {1, 1, 1, 1};
  const auto component = [&](std::size_t i) { return std::max(floatOf((*numbers)[i]), 0.0F); };
  return {component(0), component(1), component(2), std::min(component(3), 1.0F)};
}

NSColor encodedColor(simd_float3 linear, float alpha = 1) {
  const auto encoded = [](float value) { return double{sRGBFromLinear(std::min(value, 1.0F))}; };
  return {.red = encoded(linear.x), .green = encoded(linear.y), .blue = encoded(linear.z), .alpha = alpha};
}

simd_float3 colorOf(simd_float4 value) {
  return {value.x, value.y, value.z};
}

bool isBlack(simd_float3 color) {
  return color == simd_float3{};
}

bool areMappedAlike(const SCNMaterialProperty& a, const SCNMaterialProperty& b) {
  return a.mappingChannel == b.mappingChannel && a.wrapS == b.wrapS && a.wrapT == b.wrapT &&
         a.magnificationFilter == b.magnificationFilter && a.mipFilter == b.mipFilter &&
         a.contentsTransform == b.contentsTransform;
}

/// Fills one material, group of values by group.
class MaterialMapping {
 public:
  MaterialMapping(const JSONElement& source, GLTFTextures& textures, SpecularGlossinessConverter& converter,
                  SCNMaterial& material)
      : source_(source), textures_(textures), converter_(converter), material_(material) {}

  void map() {
    material_.name = optionalString(source_, "name").value_or("");
    material_.isDoubleSided = optionalBool(source_, "doubleSided").value_or(false);
    const auto specularGlossiness = extension(source_, "KHR_materials_pbrSpecularGlossiness");
    if (specularGlossiness) {
      mapSpecularGlossiness(*specularGlossiness);
    } else if (const auto metallicRoughness = optionalObject(source_, "pbrMetallicRoughness")) {
      mapMetallicRoughness(*metallicRoughness);
    }
    mapNormal();
    mapOcclusion();
    if (!extension(source_, "KHR_materials_unlit")) mapEmission();
    if (!specularGlossiness) mapReflectance();
    mapClearCoat();
    mapAlpha();
  }

 private:
  void mapMetallicRoughness(const JSONElement& values) {
    showColor(positiveColorWithAlpha(values, "baseColorFactor"), optionalObject(values, "baseColorTexture"));
    const auto texture = optionalObject(values, "metallicRoughnessTexture");
    showNumber(material_.metalness, positiveNumber(values, "metallicFactor", 1), texture, SCNColorMask::blue);
    showNumber(material_.roughness, positiveNumber(values, "roughnessFactor", 1), texture, SCNColorMask::green);
  }

  void showColor(simd_float4 factor, const std::optional<JSONElement>& texture) {
    if (textures_.apply(texture, material_.diffuse)) {
      material_.diffuse.factor = factor;
    } else {
      material_.diffuse.contents = encodedColor(colorOf(factor), factor.w);
    }
  }

  void showNumber(SCNMaterialProperty& property, float factor, const std::optional<JSONElement>& texture,
                  SCNColorMask component) {
    factor = std::min(factor, 1.0F);
    if (textures_.apply(texture, property)) {
      property.factor = {factor, factor, factor, 1};
      property.textureComponents = component;
    } else {
      property.contents = double{factor};
    }
  }

  void mapNormal() {
    const auto texture = optionalObject(source_, "normalTexture");
    if (!textures_.apply(texture, material_.normal)) return;
    material_.normal.intensity = optionalNumber(*texture, "scale").value_or(1);
  }

  void mapOcclusion() {
    const auto texture = optionalObject(source_, "occlusionTexture");
    if (!textures_.apply(texture, material_.ambientOcclusion)) return;
    material_.ambientOcclusion.textureComponents = SCNColorMask::red;
    material_.ambientOcclusion.intensity = std::clamp(optionalNumber(*texture, "strength").value_or(1), 0.0, 1.0);
  }

  void mapEmission() {
    const simd_float3 factor = positiveColor(source_, "emissiveFactor", {});
    if (isBlack(factor)) return;
    if (textures_.apply(optionalObject(source_, "emissiveTexture"), material_.emission)) {
      material_.emission.factor = {factor.x, factor.y, factor.z, 1};
    } else {
      material_.emission.contents = encodedColor(factor);
    }
    if (const auto strength = extension(source_, "KHR_materials_emissive_strength")) {
      material_.emission.intensity = positiveNumber(*strength, "emissiveStrength", 1);
    }
  }

  // KHR_materials_ior and KHR_materials_specular.
  void mapReflectance() {
    if (const auto ior = extension(source_, "KHR_materials_ior")) {
      const double index = optionalNumber(*ior, "ior").value_or(1.5);
      const double ratio = (index - 1) / (index + 1);
      const float straight = index == 0 ? 1.0F : index < 1 ? 0.0F : floatOf(ratio * ratio);
      material_.dielectricF0 = {straight, straight, straight};
    }
    if (const auto specular = extension(source_, "KHR_materials_specular")) {
      showNumber(material_.specularStrength, positiveNumber(*specular, "specularFactor", 1),
                 optionalObject(*specular, "specularTexture"), SCNColorMask::alpha);
      const simd_float3 color = positiveColor(*specular, "specularColorFactor", {1, 1, 1});
      textures_.apply(optionalObject(*specular, "specularColorTexture"), material_.specularTint);
      material_.specularTint.factor = {color.x, color.y, color.z, 1};
    }
  }

  void mapClearCoat() {
    const auto coat = extension(source_, "KHR_materials_clearcoat");
    if (!coat) return;
    const float factor = positiveNumber(*coat, "clearcoatFactor", 0);
    if (factor == 0) return;
    showNumber(material_.clearCoat, factor, optionalObject(*coat, "clearcoatTexture"), SCNColorMask::red);
    showNumber(material_.clearCoatRoughness, positiveNumber(*coat, "clearcoatRoughnessFactor", 0),
               optionalObject(*coat, "clearcoatRoughnessTexture"), SCNColorMask::green);
  }

  void mapAlpha() {
    const std::string mode = optionalString(source_, "alphaMode").value_or("OPAQUE");
    if (mode == "BLEND") {
      material_.alphaMode = SCNAlphaMode::blend;
    } else if (mode == "MASK") {
      // Every alpha reaches a cutoff of 0, so that invisible texels show their colour too.
      const double cutoff = optionalNumber(source_, "alphaCutoff").value_or(0.5);
      material_.alphaMode = cutoff > 0 ? SCNAlphaMode::mask : SCNAlphaMode::opaque;
      material_.alphaCutoff = std::clamp(cutoff, 0.0, 1.0);
      if (cutoff > 1) material_.transparency = 0;
    } else {
      material_.alphaMode = SCNAlphaMode::opaque;
    }
  }

  void mapSpecularGlossiness(const JSONElement& values) {
    const simd_float4 diffuseFactor = positiveColorWithAlpha(values, "diffuseFactor");
    SpecularGlossiness source;
    source.diffuseFactor = colorOf(diffuseFactor);
    source.specularFactor = positiveColor(values, "specularFactor", {1, 1, 1});
    source.glossinessFactor = std::min(positiveNumber(values, "glossinessFactor", 1), 1.0F);
    const auto diffuseTexture = optionalObject(values, "diffuseTexture");
    const auto specularTexture = optionalObject(values, "specularGlossinessTexture");

    const MetallicRoughness constant =
        metallicRoughness(source.diffuseFactor, source.specularFactor, source.glossinessFactor);
    const simd_float3 base = constant.baseColor;
    showColor({base.x, base.y, base.z, diffuseFactor.w}, diffuseTexture);
    material_.metalness.contents = double{constant.metallic};
    material_.roughness.contents = double{constant.roughness};
    const float specular = std::max({source.specularFactor.x, source.specularFactor.y, source.specularFactor.z});
    const bool isMixed = specularTexture || (diffuseTexture && specular > largestDielectricSpecular);
    if (isMixed) showConverted(source, diffuseFactor.w, specularTexture);
  }

  // Colour and reflectance change from texel to texel, and so does what is metal: images are made for it.
  void showConverted(SpecularGlossiness source, float alpha, const std::optional<JSONElement>& specularTexture) {
    SCNMaterialProperty specular;
    const bool hasSpecular = textures_.apply(specularTexture, specular);
    const bool hasDiffuse = holdsImage(material_.diffuse.contents);
    const bool areAlike = !hasSpecular || !hasDiffuse || areMappedAlike(specular, material_.diffuse);
    if (areAlike) source.diffuse = material_.diffuse.contents;
    source.specularGlossiness = specular.contents;
    const std::optional<MetallicRoughnessImages> images = converter_.convert(source);
    if (!images) return;
    const SCNMaterialProperty mapping = hasSpecular ? specular : material_.diffuse;
    if (areAlike) {
      material_.diffuse = mapping;
      material_.diffuse.contents = images->baseColor;
      material_.diffuse.factor = {1, 1, 1, alpha};
    }
    for (SCNMaterialProperty* property : {&material_.metalness, &material_.roughness}) {
      *property = mapping;
      property->contents = images->metallicRoughness;
      property->factor = {1, 1, 1, 1};
    }
    material_.metalness.textureComponents = SCNColorMask::blue;
    material_.roughness.textureComponents = SCNColorMask::green;
  }

  const JSONElement& source_;
  GLTFTextures& textures_;
  SpecularGlossinessConverter& converter_;
  SCNMaterial& material_;
};

/// Just below 1: among the blended items, and opaque to the eye.
const double almostOpaque = std::nextafter(1.0F, 0.0F);

void adapt(SCNMaterial& material, GLTFMaterialNeeds needs) {
  const bool isTransparent = material.alphaMode == SCNAlphaMode::blend && needs.hasTransparentVertices;
  if (isTransparent) material.transparency = std::min(material.transparency, almostOpaque);
}

}  // namespace

GLTFMaterials::GLTFMaterials(const JSONElement& root, GLTFImages& images)
    : materials_(optionalList(root, "materials")), textures_(root, images) {}

std::optional<JSONElement> GLTFMaterials::find(std::optional<std::uint32_t> index) const {
  if (!index || *index >= materials_.size()) return std::nullopt;
  return materials_[*index];
}

std::shared_ptr<SCNMaterial> GLTFMaterials::material(std::optional<std::uint32_t> index, GLTFMaterialNeeds needs) {
  const std::optional<JSONElement> source = find(index);
  if (!source) index.reset();
  const auto [place, isNew] = made_.try_emplace({index, needs});
  if (!isNew) return place->second.material;
  auto material = SCNMaterial::material();
  material->metalness.contents = 1.0;
  material->roughness.contents = 1.0;
  material->alphaMode = SCNAlphaMode::opaque;
  if (source) MaterialMapping(*source, textures_, converter_, *material).map();
  adapt(*material, needs);
  const bool isUnlit = needs.isUnlit || (source && extension(*source, "KHR_materials_unlit"));
  material->lightingModelName = isUnlit ? SCNLightingModelConstant : SCNLightingModelPhysicallyBased;
  place->second = {material, material->lightingModelName};
  return material;
}

void GLTFMaterials::restoreLightingModels() const {
  for (const auto& [key, made] : made_) made.material->lightingModelName = made.lightingModel;
}

std::optional<GLTFTextureMapping> GLTFMaterials::normalMapping(std::optional<std::uint32_t> index) {
  const std::optional<JSONElement> source = find(index);
  if (!source || extension(*source, "KHR_materials_unlit")) return std::nullopt;
  SCNMaterialProperty property;
  if (!textures_.apply(optionalObject(*source, "normalTexture"), property)) return std::nullopt;
  return GLTFTextureMapping{static_cast<std::size_t>(property.mappingChannel), property.contentsTransform};
}

}  // namespace ornolith
