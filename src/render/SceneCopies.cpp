#include "render/SceneCopies.h"

#include "scene/SceneController.h"

namespace ornolith {

namespace {

SCNNode::Pointer cloneWithoutCaptureOverlays(const SCNNode& node) {
  SCNNode::Pointer clone = node.clone();
  for (const SCNNode::Pointer& overlay : clone->childNodesPassingTest(SceneController::isTransientCaptureOverlay)) {
    overlay->removeFromParentNode();
  }
  return clone;
}

std::shared_ptr<SCNGeometry> copyWithOwnMaterials(const SCNGeometry& geometry) {
  auto copy = SCNGeometry::geometryWithSources(geometry.geometrySources(), geometry.geometryElements());
  copy->name = geometry.name;
  SCNGeometry::Materials materials;
  materials.reserve(geometry.materials().size());
  for (const auto& material : geometry.materials()) materials.push_back(material->copy());
  copy->setMaterials(std::move(materials));
  return copy;
}

void freeze(SCNNode& node) {
  if (node.geometry) node.geometry = copyWithOwnMaterials(*node.geometry);
  node.removeAllActions();
  node.removeAllAnimations();
}

}  // namespace

std::shared_ptr<SCNScene> copyOfSceneWithoutCaptureOverlays(const SCNScene& scene) {
  auto copy = SCNScene::scene();
  for (const SCNNode::Pointer& child : scene.rootNode()->childNodes()) {
    if (child->camera || SceneController::isTransientCaptureOverlay(*child)) continue;
    copy->rootNode()->addChildNode(cloneWithoutCaptureOverlays(*child));
  }
  return copy;
}

std::shared_ptr<SCNScene> makeFrozenScene(const SCNScene& scene) {
  auto frozen = copyOfSceneWithoutCaptureOverlays(scene);
  frozen->rootNode()->enumerateChildNodes(freeze);
  return frozen;
}

}  // namespace ornolith
