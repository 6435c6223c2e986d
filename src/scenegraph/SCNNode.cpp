#include "scenegraph/SCNNode.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "scenegraph/SCNSubtreeWalk.h"
#include "scenegraph/Transforms.h"

namespace ornolith {

SCNNode::Pointer SCNNode::node() {
  return Pointer(new SCNNode);
}

SCNNode::Pointer SCNNode::nodeWithGeometry(std::shared_ptr<SCNGeometry> geometry) {
  Pointer node = SCNNode::node();
  node->geometry = std::move(geometry);
  return node;
}

SCNNode::~SCNNode() {
  releaseChildren();
}

// Nodes whose last owner is the list are emptied before they go, so that no destructor finds children of its own.
void SCNNode::releaseChildren() noexcept {
  SCNNode* pending = std::exchange(firstChild_, nullptr);
  lastChild_ = nullptr;
  childCount_ = 0;
  while (pending != nullptr) {
    SCNNode* node = pending;
    pending = node->nextSibling_;
    node->parent_ = nullptr;
    node->previousSibling_ = nullptr;
    node->nextSibling_ = nullptr;
    const Pointer owner = std::move(node->ownedByParent_);
    if (owner.use_count() > 1) {
      node->invalidateWorldTransforms();
      continue;
    }
    if (node->firstChild_ != nullptr) {
      node->lastChild_->nextSibling_ = pending;
      pending = std::exchange(node->firstChild_, nullptr);
      node->lastChild_ = nullptr;
      node->childCount_ = 0;
    }
  }
}

// Tree.

SCNNode::Pointer SCNNode::parentNode() const noexcept {
  return parent_ != nullptr ? parent_->weak_from_this().lock() : nullptr;
}

std::vector<SCNNode::Pointer> SCNNode::childNodes() const {
  std::vector<Pointer> children;
  children.reserve(childCount_);
  for (const SCNNode* child = firstChild_; child != nullptr; child = child->nextSibling_) {
    children.push_back(child->ownedByParent_);
  }
  return children;
}

std::size_t SCNNode::childCount() const noexcept {
  return childCount_;
}

// Looks down from this node and up from `sought` in turns, and stops as soon as one of the two searches is complete.
bool SCNNode::subtreeHolds(const SCNNode& sought) const noexcept {
  const SCNNode* below = this;
  const SCNNode* above = &sought;
  while (below != nullptr && above != nullptr) {
    if (below == &sought || above == this) return true;
    below = below->nextInSubtree(this);
    above = above->parent_;
  }
  return false;
}

void SCNNode::addChildNode(const Pointer& child) {
  if (!child) throw std::logic_error("A null node cannot be added to a node.");
  if (child->subtreeHolds(*this)) throw std::logic_error("A node cannot be added to itself or to a node below itself.");
  Pointer owner = child;
  child->detach();
  child->parent_ = this;
  child->previousSibling_ = lastChild_;
  (lastChild_ != nullptr ? lastChild_->nextSibling_ : firstChild_) = child.get();
  lastChild_ = child.get();
  ++childCount_;
  child->ownedByParent_ = std::move(owner);
  child->invalidateWorldTransforms();
}

// Takes this node out of its parent's list. The caller gets the parent's ownership.
SCNNode::Pointer SCNNode::detach() noexcept {
  if (parent_ == nullptr) return nullptr;
  (previousSibling_ != nullptr ? previousSibling_->nextSibling_ : parent_->firstChild_) = nextSibling_;
  (nextSibling_ != nullptr ? nextSibling_->previousSibling_ : parent_->lastChild_) = previousSibling_;
  --parent_->childCount_;
  parent_ = nullptr;
  previousSibling_ = nullptr;
  nextSibling_ = nullptr;
  invalidateWorldTransforms();
  return std::move(ownedByParent_);
}

void SCNNode::removeFromParentNode() {
  const Pointer owner = detach();
}

SCNNode* SCNNode::nextBesideSubtree(const SCNNode* top) const noexcept {
  for (const SCNNode* node = this; node != top; node = node->parent_) {
    if (node->nextSibling_ != nullptr) return node->nextSibling_;
  }
  return nullptr;
}

SCNNode* SCNNode::nextInSubtree(const SCNNode* top) const noexcept {
  return firstChild_ != nullptr ? firstChild_ : nextBesideSubtree(top);
}

void SCNNode::enumerateChildNodes(const std::function<void(SCNNode&)>& visit) const {
  for (SCNNode* node = firstChild_; node != nullptr; node = node->nextInSubtree(this)) visit(*node);
}

void SCNNode::enumerateChildNodesUntil(const std::function<bool(SCNNode&)>& visit) const {
  for (SCNNode* node = firstChild_; node != nullptr; node = node->nextInSubtree(this)) {
    if (!visit(*node)) return;
  }
}

std::vector<SCNNode::Pointer> SCNNode::childNodesPassingTest(const std::function<bool(const SCNNode&)>& test) const {
  std::vector<Pointer> passed;
  for (SCNNode* node = firstChild_; node != nullptr; node = node->nextInSubtree(this)) {
    if (test(*node)) passed.push_back(node->ownedByParent_);
  }
  return passed;
}

// Content and display.

void SCNNode::copyValuesTo(SCNNode& copy) const {
  copy.geometry = geometry;
  copy.camera = camera;
  copy.light = light;
  copy.skinner = skinner;
  copy.morpher = morpher;
  copy.constraints = constraints;
  copy.ornolithMetadata = ornolithMetadata;
  copy.isHidden = isHidden;
  copy.castsShadow = castsShadow;
  copy.categoryBitMask = categoryBitMask;
  copy.renderingOrder = renderingOrder;
  copy.name_ = name_;
  copy.position_ = position_;
  copy.orientation_ = orientation_;
  copy.scale_ = scale_;
  copy.eulerAngles_ = eulerAngles_;
  copy.transform_ = transform_;
  copy.componentsAreKnown_ = componentsAreKnown_;
  copy.eulerAnglesAreKnown_ = eulerAnglesAreKnown_;
  copy.transformIsKnown_ = transformIsKnown_;
  copy.worldTransformIsKnown_ = false;
  copy.animationPlayers_ = animationPlayers_;
}

SCNNode::Pointer SCNNode::clone() const {
  Pointer copyOfTop = node();
  copyValuesTo(*copyOfTop);
  // `original` walks this subtree while `copyOfParent` stays at the copy of its parent.
  SCNNode* copyOfParent = copyOfTop.get();
  const SCNNode* original = firstChild_;
  while (original != nullptr) {
    const Pointer copy = node();
    original->copyValuesTo(*copy);
    copyOfParent->addChildNode(copy);
    if (original->firstChild_ != nullptr) {
      original = original->firstChild_;
      copyOfParent = copy.get();
      continue;
    }
    while (original != this && original->nextSibling_ == nullptr) {
      original = original->parent_;
      if (original != this) copyOfParent = copyOfParent->parent_;
    }
    original = original == this ? nullptr : original->nextSibling_;
  }
  return copyOfTop;
}

bool SCNNode::isHiddenInTree() const noexcept {
  for (const SCNNode* node = this; node != nullptr; node = node->parent_) {
    if (node->isHidden) return true;
  }
  return false;
}

// Local transform.

void SCNNode::requireComponents() const {
  if (componentsAreKnown_) return;
  const TransformComponents components = componentsFromMatrix(transform_);
  position_ = components.position;
  orientation_ = components.orientation;
  scale_ = components.scale;
  componentsAreKnown_ = true;
}

void SCNNode::localTransformChanged() noexcept {
  transformIsKnown_ = false;
  invalidateWorldTransforms();
}

SCNVector3 SCNNode::position() const {
  if (componentsAreKnown_) return position_;
  return {transform_.columns[3].x, transform_.columns[3].y, transform_.columns[3].z};
}

void SCNNode::setPosition(SCNVector3 position) {
  if (componentsAreKnown_) position_ = position;
  if (transformIsKnown_) {
    transform_.columns[3].x = position.x;
    transform_.columns[3].y = position.y;
    transform_.columns[3].z = position.z;
  }
  invalidateWorldTransforms();
}

SCNVector3 SCNNode::eulerAngles() const {
  if (!eulerAnglesAreKnown_) {
    requireComponents();
    eulerAngles_ = eulerAnglesFromRotationMatrix(rotationMatrix(orientation_));
    eulerAnglesAreKnown_ = true;
  }
  return eulerAngles_;
}

void SCNNode::setEulerAngles(SCNVector3 angles) {
  requireComponents();
  orientation_ = quaternionFromEulerAngles(angles);
  eulerAngles_ = angles;
  eulerAnglesAreKnown_ = true;
  localTransformChanged();
}

SCNVector3 SCNNode::scale() const {
  requireComponents();
  return scale_;
}

void SCNNode::setScale(SCNVector3 scale) {
  requireComponents();
  scale_ = scale;
  localTransformChanged();
}

simd_quatd SCNNode::orientation() const {
  requireComponents();
  return orientation_;
}

void SCNNode::setOrientation(simd_quatd orientation) {
  requireComponents();
  orientation_ = normalized(orientation);
  eulerAnglesAreKnown_ = false;
  localTransformChanged();
}

namespace {

simd_quatf narrowed(simd_quatd q) {
  return {static_cast<float>(q.x), static_cast<float>(q.y), static_cast<float>(q.z), static_cast<float>(q.w)};
}

}  // namespace

simd_quatf SCNNode::simdOrientation() const {
  return narrowed(orientation());
}

void SCNNode::setSimdOrientation(simd_quatf value) {
  setOrientation({double{value.x}, double{value.y}, double{value.z}, double{value.w}});
}

const SCNMatrix4& SCNNode::transform() const {
  if (!transformIsKnown_) {
    transform_ = matrixFromComponents({position_, orientation_, scale_});
    transformIsKnown_ = true;
  }
  return transform_;
}

void SCNNode::setTransform(const SCNMatrix4& transform) {
  transform_ = transform;
  transformIsKnown_ = true;
  componentsAreKnown_ = false;
  eulerAnglesAreKnown_ = false;
  invalidateWorldTransforms();
}

void SCNNode::lookAt(SCNVector3 worldTarget) {
  // The basis is built in the parent's space, where the orientation counts, so that the node's negative z meets the
  // target under any transform above.
  SCNMatrix4 parentFromWorld;
  if (parent_ != nullptr) parentFromWorld = invertedAffine(parent_->worldTransform());
  SCNVector3 backward = position() - transformPoint(parentFromWorld, worldTarget);
  if (scale().z < 0) backward = -backward;
  const double distance = length(backward);
  if (!std::isfinite(distance) || distance == 0) return;

  constexpr double parallelSine = 1e-12;
  const SCNVector3 z = backward / distance;
  const SCNVector3 up = transformDirection(parentFromWorld, SCNVector3{0, 1, 0});
  SCNVector3 x = cross(up / length(up), z);
  if (!(length(x) > parallelSine)) {
    const SCNVector3 level = transformDirection(parentFromWorld, SCNVector3{1, 0, 0});
    x = level - z * dot(level, z);
  }
  x = x / length(x);
  if (!isFinite(x)) return;
  setOrientation(quaternionFromBasis(x, cross(z, x), z));
}

// World transform.

void SCNNode::invalidateWorldTransforms() const noexcept {
  const SCNNode* node = this;
  while (node != nullptr) {
    if (node->worldTransformIsKnown_) {
      node->worldTransformIsKnown_ = false;
      node = node->nextInSubtree(this);
    } else {
      node = node->nextBesideSubtree(this);
    }
  }
}

const SCNMatrix4& SCNNode::worldTransform() const {
  if (worldTransformIsKnown_) return worldTransform_;
  std::vector<const SCNNode*> path;
  for (const SCNNode* node = parent_; node != nullptr && !node->worldTransformIsKnown_; node = node->parent_) {
    path.push_back(node);
  }
  const auto computeFromParent = [](const SCNNode& node) {
    node.worldTransform_ =
        node.parent_ != nullptr ? node.parent_->worldTransform_ * node.transform() : node.transform();
    node.worldTransformIsKnown_ = true;
  };
  std::for_each(path.rbegin(), path.rend(), [&](const SCNNode* node) { computeFromParent(*node); });
  computeFromParent(*this);
  return worldTransform_;
}

SCNVector3 SCNNode::worldPosition() const {
  const simd_double4& translation = worldTransform().columns[3];
  return {translation.x, translation.y, translation.z};
}

simd_quatf SCNNode::simdWorldOrientation() const {
  return narrowed(componentsFromMatrix(worldTransform()).orientation);
}

SCNVector3 SCNNode::convertPositionToNode(SCNVector3 point, const SCNNode* other) const {
  if (other == this) return point;
  const SCNVector3 world = transformPoint(worldTransform(), point);
  return other != nullptr ? transformPoint(invertedAffine(other->worldTransform()), world) : world;
}

simd_float4x4 SCNNode::simdConvertTransformToNode(const simd_float4x4& transform, const SCNNode* other) const {
  if (other == this) return transform;
  const SCNMatrix4 world = worldTransform() * matrixCast<double>(transform);
  return matrixCast<float>(other != nullptr ? invertedAffine(other->worldTransform()) * world : world);
}

std::optional<SCNBoundingBox> SCNNode::boundingBox() const {
  std::optional<SCNBoundingBox> box;
  if (geometry && geometry->hasExtent()) box = geometry->boundingBox();
  if (firstChild_ == nullptr) return box;
  // The matrices from each node on the way down into this node's space.
  std::vector<SCNMatrix4> path{SCNMatrix4{}};
  const SCNNode* node = firstChild_;
  while (node != nullptr) {
    const SCNMatrix4 toThis = path.back() * node->transform();
    if (node->geometry && node->geometry->hasExtent()) widenByCorners(box, node->geometry->boundingBox(), toThis);
    if (node->firstChild_ != nullptr) {
      path.push_back(toThis);
      node = node->firstChild_;
      continue;
    }
    while (node != this && node->nextSibling_ == nullptr) {
      node = node->parent_;
      path.pop_back();
    }
    node = node == this ? nullptr : node->nextSibling_;
  }
  return box;
}

// Animation.

SCNNode::Pointer SCNNode::presentationNode() {
  return shared_from_this();
}

std::vector<std::string> SCNNode::animationKeys() const {
  std::vector<std::string> keys;
  keys.reserve(animationPlayers_.size());
  for (const auto& [key, player] : animationPlayers_) keys.push_back(key);
  return keys;
}

std::shared_ptr<SCNAnimationPlayer> SCNNode::animationPlayerForKey(std::string_view key) const {
  const auto found = std::find_if(animationPlayers_.begin(), animationPlayers_.end(),
                                  [&](const auto& entry) { return entry.first == key; });
  return found != animationPlayers_.end() ? found->second : nullptr;
}

void SCNNode::addAnimationPlayer(std::shared_ptr<SCNAnimationPlayer> player, std::string key) {
  for (auto& [existingKey, existingPlayer] : animationPlayers_) {
    if (existingKey == key) {
      existingPlayer = std::move(player);
      return;
    }
  }
  animationPlayers_.emplace_back(std::move(key), std::move(player));
}

void SCNNode::removeAllAnimations() {
  animationPlayers_.clear();
}

// No action ever runs: nothing that builds a scene attaches one.
void SCNNode::removeAllActions() {}

// Walks.

SCNSubtreeWalk::SCNSubtreeWalk(SCNNode& top) noexcept : top_(&top), node_(&top) {
  ancestorIsHidden_ = top.parent_ != nullptr && top.parent_->isHiddenInTree();
  enter();
}

void SCNSubtreeWalk::enter() noexcept {
  if (hiddenTop_ == nullptr && node_->isHidden) hiddenTop_ = node_;
}

void SCNSubtreeWalk::next() noexcept {
  if (node_->firstChild_ == nullptr) {
    nextBesideSubtree();
    return;
  }
  node_ = node_->firstChild_;
  ++depth_;
  enter();
}

void SCNSubtreeWalk::nextBesideSubtree() noexcept {
  while (true) {
    if (node_ == hiddenTop_) hiddenTop_ = nullptr;
    if (node_ == top_) {
      node_ = nullptr;
      return;
    }
    if (node_->nextSibling_ != nullptr) break;
    node_ = node_->parent_;
    --depth_;
  }
  node_ = node_->nextSibling_;
  enter();
}

}  // namespace ornolith
