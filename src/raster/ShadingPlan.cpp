#include "raster/ShadingPlan.h"

#include <algorithm>

namespace ornolith::raster {
namespace {

bool isBlack(const device::MaterialSlot& slot) noexcept {
  return slot.value.x * slot.factor.x == 0 && slot.value.y * slot.factor.y == 0 && slot.value.z * slot.factor.z == 0;
}

bool isWhite(const device::MaterialSlot& slot) noexcept {
  const float intensity = slot.intensity;
  return slot.texture < 0 && slot.value.x * slot.factor.x * intensity == 1 &&
         slot.value.y * slot.factor.y * intensity == 1 && slot.value.z * slot.factor.z * intensity == 1;
}

/// Less than any step of an 8-bit picture.
constexpr float invisibleOpacity = 1.0f / 1024.0f;

/// Gathers the textures that a material reads: one that several properties show alike is read once.
class ReadMaker {
 public:
  ReadMaker(ShadingPlan& plan, std::vector<TextureRead>& reads, const std::vector<const TexturePyramid*>& pyramids)
      : plan_(plan), reads_(reads), pyramids_(pyramids) {}

  SlotPlan slot(const device::MaterialSlot& slot, std::uint8_t components) {
    SlotPlan result{&slot, false, 0};
    if (slot.texture < 0) return result;
    TextureRead read{pyramids_[static_cast<std::size_t>(slot.texture)], &slot, channel(slot.channel), components,
                     static_cast<std::uint32_t>(reads_.size()),         false};
    result.isTextured = true;
    const auto alike = [&](const TextureRead& known) {
      return known.pyramid == read.pyramid && sharesFootprints(known, read);
    };
    const auto known = std::find_if(reads_.begin(), reads_.end(), alike);
    if (known != reads_.end()) {
      known->components = static_cast<std::uint8_t>(known->components | components);
      result.sample = known->sample;
      return result;
    }
    result.sample = read.sample;
    const auto neighbour = std::find_if(reads_.rbegin(), reads_.rend(),
                                        [&](const TextureRead& other) { return sharesFootprints(other, read); });
    read.sharesFootprints = neighbour != reads_.rend();
    reads_.insert(neighbour != reads_.rend() ? neighbour.base() : reads_.end(), read);
    return result;
  }

  SlotPlan scalar(const device::MaterialSlot& slot) {
    return this->slot(slot, static_cast<std::uint8_t>(1u << static_cast<unsigned>(slot.component)));
  }

 private:
  std::size_t channel(std::uint32_t channel) {
    auto* const end = plan_.channels.begin() + plan_.channelCount;
    auto* const known = std::find(plan_.channels.begin(), end, channel);
    if (known == end) plan_.channels[plan_.channelCount++] = channel;
    return static_cast<std::size_t>(known - plan_.channels.begin());
  }

  ShadingPlan& plan_;
  std::vector<TextureRead>& reads_;
  const std::vector<const TexturePyramid*>& pyramids_;
};

/// Fills what decides the opacity, and which fragments are dropped for having too little of it.
void planOpacity(ShadingPlan& plan, const device::Mesh& mesh, bool isBlended,
                 const std::vector<const TexturePyramid*>& pyramids) {
  const device::Material& material = *plan.material;
  const bool isMasked = material.alphaMode == device::AlphaMode::mask;
  const bool alphaCounts = material.alphaMode != device::AlphaMode::opaque;
  if (isMasked) {
    plan.maskCutoff = material.alphaCutoff;
    plan.cutoff = material.alphaCutoff > 0 ? invisibleOpacity : 0;
  } else {
    plan.cutoff = material.alphaCutoff;
  }
  const auto alphaOf = [](const device::MaterialSlot& slot) {
    return (slot.texture < 0 ? slot.value.w : 1.0f) * slot.factor.w;
  };
  const auto hasHoles = [&](const device::MaterialSlot& slot) {
    return slot.texture >= 0 && pyramids[static_cast<std::size_t>(slot.texture)]->isPremultiplied();
  };
  // What nobody sees must not hide, by its depth, what is behind it.
  float evenOpacity = material.transparency;
  bool mayBeInvisible = false;
  if (alphaCounts) {
    evenOpacity *= alphaOf(material.diffuse) * alphaOf(material.transparent);
    mayBeInvisible = hasHoles(material.diffuse) || hasHoles(material.transparent) ||
                     (plan.hasVertexColor && mesh.color.components > 3);
  }
  mayBeInvisible = mayBeInvisible || !(evenOpacity >= invisibleOpacity);
  if (isBlended && material.blendMode == device::BlendMode::alpha && mayBeInvisible) {
    plan.cutoff = std::max(plan.cutoff, invisibleOpacity);
  }
  if (!plan.dropsFragments() || !alphaCounts) return;
  ReadMaker maker(plan, plan.opacityReads, pyramids);
  plan.opacityDiffuse = maker.slot(material.diffuse, alphaComponent);
  plan.opacityTransparent = maker.slot(material.transparent, alphaComponent);
}

void planLight(ShadingPlan& plan, const device::Mesh& mesh, ReadMaker& maker) {
  const device::Material& material = *plan.material;
  plan.ambientOcclusion = maker.scalar(material.ambientOcclusion);
  if (material.normal.texture >= 0) {
    plan.normal = maker.slot(material.normal, colorComponents);
    const auto* const channel = std::find(plan.channels.begin(), plan.channels.end(), material.normal.channel);
    plan.normalChannel = static_cast<std::size_t>(channel - plan.channels.begin());
    plan.hasNormalMap = true;
    plan.derivesTangents = !mesh.tangent.isPresent();
  }
  if (plan.isPhysical) {
    plan.roughness = maker.scalar(material.roughness);
    plan.metalness = maker.scalar(material.metalness);
    plan.hasClearCoat = material.clearCoat.factor.x * material.clearCoat.intensity != 0 &&
                        (material.clearCoat.texture >= 0 || material.clearCoat.value.x != 0);
    if (plan.hasClearCoat) {
      plan.clearCoat = maker.scalar(material.clearCoat);
      plan.clearCoatRoughness = maker.scalar(material.clearCoatRoughness);
    }
    plan.scalesReflectance = !isWhite(material.specularTint) || !isWhite(material.specularStrength);
    if (plan.scalesReflectance) {
      plan.specularTint = maker.slot(material.specularTint, colorComponents);
      plan.specularStrength = maker.scalar(material.specularStrength);
    }
  }
  if (material.lightingModel == device::LightingModel::blinn) {
    plan.specular = maker.slot(material.specular, colorComponents);
    plan.hasSpecular = plan.specular.isTextured || !isBlack(material.specular);
  }
}

}  // namespace

ShadingPlan ShadingPlan::make(const device::Material& material, const device::Mesh& mesh, bool isBlended,
                              const std::vector<const TexturePyramid*>& pyramids) {
  ShadingPlan plan;
  plan.material = &material;
  plan.isLit = material.lightingModel != device::LightingModel::constant;
  plan.isPhysical = material.lightingModel == device::LightingModel::physicallyBased;
  plan.hasVertexColor = material.usesVertexColor && mesh.color.isPresent();
  planOpacity(plan, mesh, isBlended, pyramids);

  ReadMaker maker(plan, plan.reads, pyramids);
  const bool alphaCounts = material.alphaMode != device::AlphaMode::opaque;
  plan.diffuse = maker.slot(material.diffuse, alphaCounts ? allComponents : colorComponents);
  plan.emission = maker.slot(material.emission, colorComponents);
  plan.hasEmission = plan.emission.isTextured || !isBlack(material.emission);
  if (alphaCounts) plan.transparent = maker.slot(material.transparent, alphaComponent);
  if (plan.isLit) planLight(plan, mesh, maker);
  return plan;
}

}  // namespace ornolith::raster
