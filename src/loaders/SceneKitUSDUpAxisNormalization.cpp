#include "loaders/SceneKitUSDUpAxisNormalization.h"

#include <cmath>
#include <string>
#include <variant>

namespace ornolith {
namespace {

constexpr float shortestAxis = 0.000001F;
constexpr float leastCosine = 0.9999F;

bool isUSD(ModelFormat format) {
  switch (format) {
    case ModelFormat::usd:
    case ModelFormat::usda:
    case ModelFormat::usdc:
    case ModelFormat::usdz:
      return true;
    default:
      return false;
  }
}

bool isZUp(const SCNScene& scene) {
  const std::optional<SCNSceneAttribute> attribute = scene.attributeForKey(SCNSceneUpAxisAttributeKey);
  const SCNVector3* vector = attribute ? std::get_if<SCNVector3>(&*attribute) : nullptr;
  if (vector == nullptr) return false;
  const auto axis = vectorCast<float>(*vector);
  const float axisLength = length(axis);
  if (!std::isfinite(axisLength) || !(axisLength > shortestAxis)) return false;
  return axis.z / axisLength > leastCosine;  // The dot product with (0, 0, 1).
}

}  // namespace

bool SceneKitUSDUpAxisNormalization::applyIfNeeded(SCNScene& scene, ModelFormat format) {
  if (!isUSD(format) || !isZUp(scene)) return false;
  const SCNNode::Pointer turned = SCNNode::node();
  turned->setName(std::string(nodeName));
  turned->setSimdOrientation({-0.70710677F, 0, 0, 0.70710683F});
  for (const SCNNode::Pointer& child : scene.rootNode()->childNodes()) turned->addChildNode(child);
  scene.rootNode()->addChildNode(turned);
  scene.setAttribute(SCNVector3{0, 1, 0}, SCNSceneUpAxisAttributeKey);
  return true;
}

}  // namespace ornolith
