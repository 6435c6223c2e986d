#include "scenegraph/MaterialDescription.h"

#include <algorithm>
#include <iterator>

#include "imaging/Color.h"

namespace ornolith {
namespace {

enum class PropertyKind { color, opacity, number, normal };

struct Property {
  SCNMaterialProperty SCNMaterial::*source;
  device::MaterialSlot device::Material::*slot;
  PropertyKind kind;
};

constexpr Property properties[] = {
    {&SCNMaterial::diffuse, &device::Material::diffuse, PropertyKind::color},
    {&SCNMaterial::normal, &device::Material::normal, PropertyKind::normal},
    {&SCNMaterial::roughness, &device::Material::roughness, PropertyKind::number},
    {&SCNMaterial::metalness, &device::Material::metalness, PropertyKind::number},
    {&SCNMaterial::emission, &device::Material::emission, PropertyKind::color},
    {&SCNMaterial::transparent, &device::Material::transparent, PropertyKind::opacity},
    {&SCNMaterial::specular, &device::Material::specular, PropertyKind::color},
    {&SCNMaterial::ambientOcclusion, &device::Material::ambientOcclusion, PropertyKind::number},
    {&SCNMaterial::clearCoat, &device::Material::clearCoat, PropertyKind::number},
    {&SCNMaterial::clearCoatRoughness, &device::Material::clearCoatRoughness, PropertyKind::number},
    {&SCNMaterial::specularTint, &device::Material::specularTint, PropertyKind::color},
    {&SCNMaterial::specularStrength, &device::Material::specularStrength, PropertyKind::number},
};

bool isRead(const Property& property, SCNLightingModel model) {
  constexpr SCNMaterialProperty SCNMaterial::*physical[] = {
      &SCNMaterial::roughness,          &SCNMaterial::metalness,    &SCNMaterial::clearCoat,
      &SCNMaterial::clearCoatRoughness, &SCNMaterial::specularTint, &SCNMaterial::specularStrength};
  const bool isConstant = model == SCNLightingModel::constant;
  if (std::find(std::begin(physical), std::end(physical), property.source) != std::end(physical)) {
    return model == SCNLightingModel::physicallyBased;
  }
  if (property.source == &SCNMaterial::specular) return model == SCNLightingModel::blinn;
  if (property.source == &SCNMaterial::normal || property.source == &SCNMaterial::ambientOcclusion) return !isConstant;
  return true;
}

// Where alpha has no say, colour counts as it stands, that of invisible texels too. A number may stand in it.
bool heedsAlpha(const Property& property, const device::MaterialSlot& slot, SCNAlphaMode mode) {
  if (property.kind == PropertyKind::number) return slot.component == device::TextureComponent::alpha;
  const bool isOpacity = property.source == &SCNMaterial::diffuse || property.source == &SCNMaterial::transparent;
  return isOpacity && mode != SCNAlphaMode::opaque;
}

TextureUse textureUse(PropertyKind kind) {
  return kind == PropertyKind::opacity ? TextureUse::opacity : TextureUse::colorOrData;
}

float clamped(double value) {
  if (!(value > 0)) return 0;
  return static_cast<float>(std::min(value, 1.0));
}

float luminance(const NSColor& color) {
  return clamped(0.2126 * color.red + 0.7152 * color.green + 0.0722 * color.blue);
}

// The constant of a colour or a number; nothing of the slot changes for other contents.
void setConstant(const SCNMaterialContents& contents, PropertyKind kind, device::MaterialSlot& slot) {
  const NSColor* color = std::get_if<NSColor>(&contents);
  const double* number = std::get_if<double>(&contents);
  if (color == nullptr && number == nullptr) return;
  switch (kind) {
    case PropertyKind::color:
      slot.value = linearColor(color != nullptr ? *color : NSColor{*number, *number, *number, 1});
      break;
    case PropertyKind::opacity:
      slot.value = linearColor(color != nullptr ? *color : NSColor{1, 1, 1, *number});
      break;
    case PropertyKind::number: {
      const float value = color != nullptr ? luminance(*color) : clamped(*number);
      slot.value = {value, value, value, 1};
      break;
    }
    case PropertyKind::normal:
      break;
  }
}

device::WrapMode wrapMode(SCNWrapMode mode) {
  switch (mode) {
    case SCNWrapMode::repeat:
      return device::WrapMode::repeat;
    case SCNWrapMode::mirror:
      return device::WrapMode::mirror;
    case SCNWrapMode::clamp:
    case SCNWrapMode::clampToBorder:
      break;
  }
  return device::WrapMode::clamp;
}

device::FilterMode filterMode(SCNFilterMode mode) {
  return mode == SCNFilterMode::nearest ? device::FilterMode::nearest : device::FilterMode::linear;
}

device::TextureComponent component(SCNColorMask mask) {
  using device::TextureComponent;
  const auto has = [mask](SCNColorMask part) { return (static_cast<int>(mask) & static_cast<int>(part)) != 0; };
  if (has(SCNColorMask::red)) return TextureComponent::red;
  if (has(SCNColorMask::green)) return TextureComponent::green;
  if (has(SCNColorMask::blue)) return TextureComponent::blue;
  return has(SCNColorMask::alpha) ? TextureComponent::alpha : TextureComponent::red;
}

void setTexture(const SCNMaterialProperty& property, std::int32_t texture, device::MaterialSlot& slot) {
  slot.texture = texture;
  slot.channel = static_cast<std::uint32_t>(std::max(property.mappingChannel, 0));
  slot.wrapS = wrapMode(property.wrapS);
  slot.wrapT = wrapMode(property.wrapT);
  slot.magnificationFilter = filterMode(property.magnificationFilter);
  slot.mipFilter = filterMode(property.mipFilter);
  const auto& columns = property.contentsTransform.columns;
  const double transform[6] = {columns[0].x, columns[0].y, columns[1].x, columns[1].y, columns[3].x, columns[3].y};
  std::transform(std::begin(transform), std::end(transform), std::begin(slot.transform),
                 [](double value) { return static_cast<float>(value); });
}

device::LightingModel lightingModel(SCNLightingModel model) {
  switch (model) {
    case SCNLightingModel::constant:
      return device::LightingModel::constant;
    case SCNLightingModel::lambert:
      return device::LightingModel::lambert;
    case SCNLightingModel::physicallyBased:
      return device::LightingModel::physicallyBased;
    case SCNLightingModel::blinn:
      break;
  }
  return device::LightingModel::blinn;
}

// The modes that darken or lighten what is behind in other ways are drawn as alpha.
device::BlendMode blendMode(SCNBlendMode mode) {
  switch (mode) {
    case SCNBlendMode::add:
      return device::BlendMode::add;
    case SCNBlendMode::replace:
      return device::BlendMode::replace;
    default:
      return device::BlendMode::alpha;
  }
}

device::AlphaMode alphaMode(SCNAlphaMode mode) {
  switch (mode) {
    case SCNAlphaMode::mask:
      return device::AlphaMode::mask;
    case SCNAlphaMode::opaque:
      return device::AlphaMode::opaque;
    case SCNAlphaMode::blend:
      break;
  }
  return device::AlphaMode::blend;
}

bool slotIsTransparent(const device::MaterialSlot& slot, std::span<const device::Texture> textures) {
  if (slot.texture >= 0 && textures[static_cast<std::size_t>(slot.texture)].hasTransparency) return true;
  return (slot.texture >= 0 ? 1 : slot.value.w) * slot.factor.w < 1;
}

}  // namespace

simd_float4 linearColor(const NSColor& color) {
  return {linearFromSRGB(clamped(color.red)), linearFromSRGB(clamped(color.green)), linearFromSRGB(clamped(color.blue)),
          clamped(color.alpha)};
}

void requestTextures(const SCNMaterial& material, TextureCache& cache) {
  for (const Property& property : properties) {
    const SCNMaterialContents& contents = (material.*property.source).contents;
    if (holdsImage(contents) && isRead(property, material.lightingModelName)) {
      cache.request(contents, textureUse(property.kind));
    }
  }
}

std::int32_t FrameTextures::number(const LoadedTexture& texture, bool isSRGB) {
  const auto [position, isNew] = numbers_.try_emplace({texture.image.get(), isSRGB, texture.hasTransparency},
                                                      static_cast<std::int32_t>(textures_.size()));
  if (isNew) textures_.push_back({texture.image, isSRGB, texture.hasTransparency});
  return position->second;
}

device::Material describeMaterial(const SCNMaterial& material, const TextureCache& cache, FrameTextures& textures) {
  static const SCNMaterial defaults;
  device::Material described;
  for (const Property& property : properties) {
    const SCNMaterialProperty& source = material.*property.source;
    device::MaterialSlot& slot = described.*property.slot;
    slot.intensity = static_cast<float>(source.intensity);
    slot.factor = source.factor;
    slot.component = component(source.textureComponents);
    setConstant((defaults.*property.source).contents, property.kind, slot);
    setConstant(source.contents, property.kind, slot);
    if (!holdsImage(source.contents) || !isRead(property, material.lightingModelName)) continue;
    LoadedTexture texture = cache.texture(source.contents, textureUse(property.kind));
    if (!texture.image) continue;
    texture.hasTransparency = texture.hasTransparency && heedsAlpha(property, slot, material.alphaMode);
    const bool isSRGB = property.kind == PropertyKind::color || property.kind == PropertyKind::opacity;
    setTexture(source, textures.number(texture, isSRGB), slot);
  }
  described.lightingModel = lightingModel(material.lightingModelName);
  described.shininess = static_cast<float>(material.shininess);
  described.transparency = clamped(material.transparency);
  described.alphaMode = alphaMode(material.alphaMode);
  // Above 1 nothing passes.
  described.alphaCutoff = material.alphaCutoff > 1 ? 2.0F : clamped(material.alphaCutoff);
  described.dielectricF0 = {clamped(material.dielectricF0.x), clamped(material.dielectricF0.y),
                            clamped(material.dielectricF0.z)};
  described.blendMode = blendMode(material.blendMode);
  described.isDoubleSided = material.isDoubleSided;
  described.fillsLines = material.fillMode == SCNFillMode::lines;
  described.readsDepth = material.readsFromDepthBuffer;
  described.writesDepth = material.writesToDepthBuffer;
  return described;
}

bool isBlended(const device::Material& material, std::span<const device::Texture> textures) {
  if (material.blendMode == device::BlendMode::replace) return false;
  if (material.blendMode == device::BlendMode::add) return true;
  if (material.transparency < 1) return true;
  return material.alphaMode == device::AlphaMode::blend &&
         (slotIsTransparent(material.diffuse, textures) || slotIsTransparent(material.transparent, textures));
}

}  // namespace ornolith
