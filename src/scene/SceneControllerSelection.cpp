#include "scene/SceneController.h"

namespace ornolith {

// Selection, what it refers to, and what a person does to a model.

const SceneModelEntry* SceneController::entryOf(const UUID& id) const {
  const auto entry = modelEntries_.find(id);
  return entry == modelEntries_.end() ? nullptr : &entry->second;
}

void SceneController::selectModelInstance(const std::optional<UUID>& id) {
  requireOwningThread();
  std::optional<UUID> normalized;
  std::optional<ViewportTransformTarget> target;
  if (id && entryOf(*id)) {
    normalized = id;
    target = transform_target::Model{*id};
  }
  if (selectedModelInstanceID.value() == normalized && transformTarget.value() == target) return;
  cancelTransformDrag();
  selectedModelInstanceID.publish(normalized);
  transformTarget.publish(target);
  applyCurrentAppearance();
}

std::optional<simd_float3> SceneController::targetWorldPivot() const {
  const std::optional<ViewportTransformTarget>& target = transformTarget.value();
  if (!target) return std::nullopt;
  if (std::holds_alternative<transform_target::Scene>(*target)) return sceneTransformNode_->simdWorldPosition();
  const auto* model = std::get_if<transform_target::Model>(&*target);
  const SceneModelEntry* entry = model ? entryOf(model->id) : nullptr;
  if (!entry) return std::nullopt;
  return entry->rootNode->simdWorldPosition();
}

simd_quatf SceneController::targetWorldOrientation(const ViewportTransformTarget& target) const {
  SCNNode::Pointer node;
  if (const auto* model = std::get_if<transform_target::Model>(&target)) {
    if (const SceneModelEntry* entry = entryOf(model->id)) node = entry->rootNode;
  } else if (const auto* articulation = std::get_if<transform_target::Articulation>(&target)) {
    const SceneModelEntry* entry = entryOf(articulation->id);
    if (entry && entry->parts.articulationBinding) {
      node = entry->parts.nodesByPath(entry->parts.articulationBinding->pivotPath);
    }
  } else {
    node = sceneTransformNode_;
  }
  if (!node) return {};
  return node->presentationNode()->simdWorldOrientation();
}

void SceneController::cancelTransformDrag() {
  if (!activeTransformDrag) return;
  const ActiveTransformDragState state = *std::move(activeTransformDrag);
  activeTransformDrag.reset();
  if (state.articulationSession) return;
  if (const auto* model = std::get_if<transform_target::Model>(&state.session.target)) {
    const SceneModelEntry* entry = entryOf(model->id);
    if (!entry || !state.startingModelTransform) return;
    entry->rootNode->setSimdPosition(state.startingModelTransform->position.simd());
    entry->rootNode->setSimdEulerAngles(state.startingModelTransform->eulerAngles.simd());
    entry->rootNode->setSimdScale(state.startingModelTransform->scale.simd());
  } else if (std::holds_alternative<transform_target::Scene>(state.session.target) && state.startingSceneTransform) {
    sceneGroupTransform_ = *state.startingSceneTransform;
    applySceneGroupTransform();
  }
}

void SceneController::applyPartVisibility(const UUID& modelID) {
  if (const SceneModelEntry* entry = entryOf(modelID)) ornolith::applyPartVisibility(entry->parts);
}

}  // namespace ornolith
