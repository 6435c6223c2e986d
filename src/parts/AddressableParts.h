#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "contracts/ModelPartSelector.h"
#include "foundation/Error.h"
#include "parts/ScenePartRuntime.h"

namespace ornolith {

/// One part of a model that a selector can reach, with the scene node that shows it.
class AddressableLogicalPart {
 public:
  AddressableLogicalPart(std::shared_ptr<const LogicalPartTree> tree, std::size_t partIndex)
      : tree_(std::move(tree)), partIndex_(partIndex) {}

  /// The node that the part's path leads to; never null.
  const SCNNode::Pointer& node() const { return path().node; }
  const std::string& name() const { return path().component.originalName; }
  const ModelNodeSourceID& sourceID() const { return path().component.sourceID; }
  bool hasGeometry() const { return part().hasGeometry; }
  bool hasChildren() const { return part().endOfSubtree > partIndex_ + 1; }
  LogicalPartTree::PathIndex pathIndex() const { return part().path; }
  const LogicalPartTree& tree() const { return *tree_; }

  /// The path selector: the identities from the top of the logical tree down to this part.
  ModelPartSelector canonicalSelector() const;
  /// The path selector of the part above; nothing at the top.
  std::optional<ModelPartSelector> parentSelector() const;

 private:
  const LogicalPartTree::Part& part() const { return tree_->parts()[partIndex_]; }
  const LogicalPartTree::Path& path() const { return tree_->paths()[part().path]; }

  std::shared_ptr<const LogicalPartTree> tree_;
  std::size_t partIndex_;
};

/// The parts that may be addressed, in the order of every listing: pre-order, without nodes marked as non-addressable.
std::vector<AddressableLogicalPart> addressableLogicalParts(const ScenePartRuntime& runtime);

namespace part_listing_error {
struct TooDeep {
  bool operator==(const TooDeep&) const = default;
};
}  // namespace part_listing_error

/// The paths of a model's parts together are too long to be written out: its nodes are nested too deep.
class PartListingError final : public TypedError<PartListingError, part_listing_error::TooDeep> {
 public:
  using TypedError::TypedError;
  static std::string describe(const part_listing_error::TooDeep& error);
};

/// How many identities the canonical paths of a list of parts may hold together. A list of paths repeats every node
/// above each part, so that a small file with a deep hierarchy would take gigabytes; this is some tens of megabytes of
/// text.
inline constexpr std::size_t maximumListedIdentityCount = 2'000'000;

/// Throws `PartListingError` where the canonical paths of `parts` hold more than `maximumListedIdentityCount`
/// identities.
void requireListablePaths(std::span<const AddressableLogicalPart> parts);

/// "path:" and the identities of each part, sorted by text. Throws `PartListingError`.
std::vector<std::string> canonicalPaths(std::span<const AddressableLogicalPart> parts);

/// Finds parts by selector in time that does not grow with their number.
class PartResolver {
 public:
  /// `parts` all belong to one model.
  explicit PartResolver(std::span<const AddressableLogicalPart> parts);

  /// The one part that `selector` names: a name by canonical equivalence, an identity, or a chain of identities, in
  /// which authored names play no part. Throws `ExplicitPoseRuntimeError` for none or several, and `PartListingError`.
  const AddressableLogicalPart& resolvePart(const ModelPartSelector& selector) const;

 private:
  using Candidates = std::vector<std::size_t>;
  /// A chain of identities, as the number of the chain above and the last identity.
  struct ChainKey {
    std::size_t parent = 0;
    ModelNodeSourceID sourceID;
    bool operator==(const ChainKey&) const = default;
  };
  struct ChainKeyHash {
    std::size_t operator()(const ChainKey& key) const noexcept;
  };

  const Candidates* candidates(const ModelPartSelector& selector) const;

  std::vector<AddressableLogicalPart> parts_;
  std::unordered_map<std::string, Candidates> byName_;
  std::unordered_map<ModelNodeSourceID, Candidates> byID_;
  std::unordered_map<ChainKey, std::size_t, ChainKeyHash> chains_;
  std::unordered_map<std::size_t, Candidates> byChain_;
};

}  // namespace ornolith
