#include "raster/ShadingPlan.h"

#include <algorithm>

namespace ornolith::raster {
namespace {

bool isBlack(const device::MaterialSlot& slot) noexcept {
  return slot.value.x == 0 && slot.value.y == 0 && slot.value.z == 0;
}

/// Less than any step of an 8-bit picture.
constexpr float invisibleOpacity = 1.0f / 1024.0f;

bool hasHoles(const SlotPlan& slot) noexcept {
  return slot.isTextured() && slot.pyramid->isPremultiplied();
}

class PlanMaker {
 public:
  PlanMaker(ShadingPlan& plan, const std::vector<const TexturePyramid*>& pyramids) : plan_(plan), pyramids_(pyramids) {}

  SlotPlan slot(const device::MaterialSlot& slot) {
    SlotPlan result{&slot, nullptr, 0};
    if (slot.texture < 0) return result;
    result.pyramid = pyramids_[static_cast<std::size_t>(slot.texture)];
    auto* const end = plan_.channels.begin() + plan_.channelCount;
    auto* const known = std::find(plan_.channels.begin(), end, slot.channel);
    if (known == end) plan_.channels[plan_.channelCount++] = slot.channel;
    result.coordinateSet = static_cast<std::size_t>(known - plan_.channels.begin());
    return result;
  }

 private:
  ShadingPlan& plan_;
  const std::vector<const TexturePyramid*>& pyramids_;
};

}  // namespace

ShadingPlan ShadingPlan::make(const device::Material& material, const device::Mesh& mesh, bool isBlended,
                              const std::vector<const TexturePyramid*>& pyramids) {
  ShadingPlan plan;
  plan.material = &material;
  plan.isLit = material.lightingModel != device::LightingModel::constant;
  plan.hasVertexColor = material.usesVertexColor && mesh.color.isPresent();
  plan.cutoff = material.alphaCutoff;

  PlanMaker maker(plan, pyramids);
  plan.diffuse = maker.slot(material.diffuse);
  plan.emission = maker.slot(material.emission);
  plan.transparent = maker.slot(material.transparent);
  // What nobody sees must not hide, by its depth, what is behind it.
  const float evenOpacity = material.transparency * material.diffuse.value.w * material.transparent.value.w;
  const bool mayBeInvisible = hasHoles(plan.diffuse) || hasHoles(plan.transparent) ||
                              (plan.hasVertexColor && mesh.color.components > 3) || !(evenOpacity >= invisibleOpacity);
  if (isBlended && material.blendMode == device::BlendMode::alpha && mayBeInvisible) {
    plan.cutoff = std::max(plan.cutoff, invisibleOpacity);
  }
  if (!plan.isLit) return plan;

  plan.ambientOcclusion = maker.slot(material.ambientOcclusion);
  if (material.normal.texture >= 0) {
    plan.normal = maker.slot(material.normal);
    plan.hasNormalMap = true;
    plan.derivesTangents = !mesh.tangent.isPresent();
  }
  if (material.lightingModel == device::LightingModel::physicallyBased) {
    plan.roughness = maker.slot(material.roughness);
    plan.metalness = maker.slot(material.metalness);
  }
  if (material.lightingModel == device::LightingModel::blinn) {
    plan.specular = maker.slot(material.specular);
    plan.hasSpecular = plan.specular.isTextured() || !isBlack(material.specular);
  }
  return plan;
}

}  // namespace ornolith::raster
