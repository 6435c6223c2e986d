#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "scenegraph/SCNAnimationPlayer.h"
#include "scenegraph/SCNCamera.h"
#include "scenegraph/SCNConstraint.h"
#include "scenegraph/SCNGeometry.h"
#include "scenegraph/SCNLight.h"
#include "scenegraph/SCNMorpher.h"
#include "scenegraph/SCNSkinner.h"
#include "scenegraph/SCNTypes.h"

namespace ornolith {

/// A value in a node's metadata dictionary.
using MetadataValue = std::variant<bool, std::int64_t, double, std::string>;
using MetadataDictionary = std::map<std::string, MetadataValue, std::less<>>;

/// A node of the retained scene, shared by identity. A node has at most one parent, which owns it; the tree may be of
/// any depth and width, and no operation recurses. Main thread only.
///
/// The local transform is held in double precision, as position, orientation and scale or as the matrix that was set; a
/// matrix is kept exactly, also where it shears, until its orientation or scale is set (the position only replaces the
/// translation). Reading a component of a matrix decomposes it: scale from the lengths of its columns (x negative for a
/// mirroring matrix), orientation from the rest. Euler angles read as they were set until the orientation changes in
/// another way. World matrices are cached.
class SCNNode : public std::enable_shared_from_this<SCNNode> {
 public:
  using Pointer = std::shared_ptr<SCNNode>;

  static Pointer node();
  static Pointer nodeWithGeometry(std::shared_ptr<SCNGeometry> geometry);
  ~SCNNode();
  SCNNode(const SCNNode&) = delete;
  SCNNode& operator=(const SCNNode&) = delete;

  // Identity.
  const std::optional<std::string>& name() const noexcept { return name_; }
  void setName(std::optional<std::string> name) { name_ = std::move(name); }
  bool hasName(std::string_view name) const noexcept { return name_ && *name_ == name; }

  // Tree. Adding and removing take constant time, but for the world matrices that were known in the subtree moved, and
  // for the guard against cycles, which takes the smaller of the child's subtree and this node's depth.
  Pointer parentNode() const noexcept;
  /// The children in order: a snapshot that later changes do not touch.
  std::vector<Pointer> childNodes() const;
  std::size_t childCount() const noexcept;
  bool hasParent() const noexcept { return parent_ != nullptr; }
  /// Appends `child`, which leaves its previous parent first. Adding a node to itself or below itself is a programming
  /// error: it throws std::logic_error and changes nothing.
  void addChildNode(const Pointer& child);
  void removeFromParentNode();
  /// Every descendant, parents before children, without this node; the tree must not be changed by `visit`.
  void enumerateChildNodes(const std::function<void(SCNNode&)>& visit) const;
  /// The same until `visit` answers false.
  void enumerateChildNodesUntil(const std::function<bool(SCNNode&)>& visit) const;
  std::vector<Pointer> childNodesPassingTest(const std::function<bool(const SCNNode&)>& test) const;

  // Content.
  std::shared_ptr<SCNGeometry> geometry;
  std::shared_ptr<SCNCamera> camera;
  std::shared_ptr<SCNLight> light;
  std::shared_ptr<SCNSkinner> skinner;
  std::shared_ptr<SCNMorpher> morpher;
  std::vector<std::shared_ptr<SCNConstraint>> constraints;
  /// A new subtree of the same shape and values; geometries, cameras, lights, skinners and metadata values are shared
  /// or copied as the platform does: objects shared, values copied. It has no parent.
  Pointer clone() const;

  /// What the loaders say about the authored node (NodeMetadata.h); a node without one counts as having no keys.
  std::optional<MetadataDictionary> ornolithMetadata;

  // Display.
  bool isHidden = false;  ///< Hides the subtree.
  bool castsShadow = true;
  std::int64_t categoryBitMask = 1;
  std::int64_t renderingOrder = 0;  ///< Higher is drawn later.
  /// True where this node or an ancestor is hidden. It climbs to the root: a caller that asks it of every node of a
  /// tree walks the tree with an SCNSubtreeWalk (SCNSubtreeWalk.h), which carries the answer along.
  bool isHiddenInTree() const noexcept;

  // Local transform. Euler angles are radians, applied as R = Rz * Ry * Rx to column vectors (about x first).
  SCNVector3 position() const;
  void setPosition(SCNVector3 position);
  SCNVector3 eulerAngles() const;
  void setEulerAngles(SCNVector3 angles);
  SCNVector3 scale() const;
  void setScale(SCNVector3 scale);
  simd_quatd orientation() const;
  void setOrientation(simd_quatd orientation);
  const SCNMatrix4& transform() const;
  void setTransform(const SCNMatrix4& transform);

  simd_float3 simdPosition() const { return vectorCast<float>(position()); }
  void setSimdPosition(simd_float3 value) { setPosition(vectorCast<double>(value)); }
  simd_float3 simdEulerAngles() const { return vectorCast<float>(eulerAngles()); }
  void setSimdEulerAngles(simd_float3 value) { setEulerAngles(vectorCast<double>(value)); }
  simd_float3 simdScale() const { return vectorCast<float>(scale()); }
  void setSimdScale(simd_float3 value) { setScale(vectorCast<double>(value)); }
  simd_quatf simdOrientation() const;
  void setSimdOrientation(simd_quatf value);
  simd_float4x4 simdTransform() const { return matrixCast<float>(transform()); }
  void setSimdTransform(const simd_float4x4& value) { setTransform(matrixCast<double>(value)); }

  /// Turns this node so that its negative z points at `worldTarget`, with world y as up; scale and position stay. Where
  /// the target lies straight above or below, x stays level with world x. A target at the node's own place changes
  /// nothing.
  void lookAt(SCNVector3 worldTarget);

  // World transform: the product of the transforms from the topmost ancestor down to this node.
  const SCNMatrix4& worldTransform() const;
  simd_float4x4 simdWorldTransform() const { return matrixCast<float>(worldTransform()); }
  SCNVector3 worldPosition() const;
  simd_float3 simdWorldPosition() const { return vectorCast<float>(worldPosition()); }
  simd_quatf simdWorldOrientation() const;

  // Conversion from this node's space to another node's; null means world space. Into a space with a singular matrix
  // the result is not finite.
  SCNVector3 convertPositionToNode(SCNVector3 point, const SCNNode* other) const;
  simd_float4x4 simdConvertTransformToNode(const simd_float4x4& transform, const SCNNode* other) const;

  /// This node's geometry's box united with the box of each descendant's geometry, whose eight corners are mapped into
  /// this node's space. Hidden descendants count. Nothing where no geometry in the subtree has an extent. Takes time in
  /// proportion to the subtree: who needs the boxes of many nodes of one tree calls `geometryNodeBounds`
  /// (SCNNodeBounds.h).
  std::optional<SCNBoundingBox> boundingBox() const;

  // Animation. Native animations are attached by loaders under keys.
  /// The node as it is shown now: reads that must see a running animation go through it.
  Pointer presentationNode();
  std::vector<std::string> animationKeys() const;
  std::shared_ptr<SCNAnimationPlayer> animationPlayerForKey(std::string_view key) const;
  void addAnimationPlayer(std::shared_ptr<SCNAnimationPlayer> player, std::string key);
  void removeAllAnimations();
  void removeAllActions();

 private:
  SCNNode() = default;

  // The node after this one in a walk of `top`'s subtree, parents first; null at the end.
  SCNNode* nextInSubtree(const SCNNode* top) const noexcept;
  SCNNode* nextBesideSubtree(const SCNNode* top) const noexcept;
  friend class SCNSubtreeWalk;

  bool subtreeHolds(const SCNNode& sought) const noexcept;
  Pointer detach() noexcept;
  void releaseChildren() noexcept;
  void invalidateWorldTransforms() const noexcept;
  void localTransformChanged() noexcept;
  void requireComponents() const;
  void copyValuesTo(SCNNode& copy) const;

  std::optional<std::string> name_;

  // Children form a doubly linked list. A node that has a parent holds a reference to itself, which is the parent's
  // ownership: it is given up where the node leaves the list.
  SCNNode* parent_ = nullptr;
  SCNNode* firstChild_ = nullptr;
  SCNNode* lastChild_ = nullptr;
  SCNNode* previousSibling_ = nullptr;
  SCNNode* nextSibling_ = nullptr;
  std::size_t childCount_ = 0;
  Pointer ownedByParent_;

  // Either form of the local transform may be out of date, never both; Euler angles only restate the orientation.
  mutable SCNVector3 position_{};
  mutable simd_quatd orientation_{};
  mutable SCNVector3 scale_{1, 1, 1};
  mutable SCNVector3 eulerAngles_{};
  mutable SCNMatrix4 transform_;
  mutable bool componentsAreKnown_ = true;
  mutable bool eulerAnglesAreKnown_ = true;
  mutable bool transformIsKnown_ = true;

  // A node whose world matrix is known has ancestors whose world matrices are known, so that invalidation stops at
  // the first node without one.
  mutable SCNMatrix4 worldTransform_;
  mutable bool worldTransformIsKnown_ = true;

  std::vector<std::pair<std::string, std::shared_ptr<SCNAnimationPlayer>>> animationPlayers_;
};

}  // namespace ornolith
