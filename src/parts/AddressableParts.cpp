#include "parts/AddressableParts.h"

#include <algorithm>

#include "foundation/Text.h"
#include "parts/ExplicitPoseRuntimeError.h"
#include "scenegraph/NodeMetadata.h"

namespace ornolith {

namespace {

ModelPartSelector::Path identities(const LogicalPartTree& tree, LogicalPartTree::PathIndex index) {
  ModelPartSelector::Path result;
  for (; index != LogicalPartTree::rootPath; index = tree.paths()[index].parent) {
    result.push_back(tree.paths()[index].component.sourceID);
  }
  std::ranges::reverse(result);
  return result;
}

}  // namespace

ModelPartSelector AddressableLogicalPart::canonicalSelector() const {
  return ModelPartSelector::path(identities(*tree_, part().path));
}

std::optional<ModelPartSelector> AddressableLogicalPart::parentSelector() const {
  if (path().parent == LogicalPartTree::rootPath) return std::nullopt;
  return ModelPartSelector::path(identities(*tree_, path().parent));
}

std::vector<AddressableLogicalPart> addressableLogicalParts(const ScenePartRuntime& runtime) {
  std::vector<AddressableLogicalPart> result;
  for (std::size_t index = 0; index < runtime.tree->parts().size(); ++index) {
    AddressableLogicalPart part(runtime.tree, index);
    if (!metadataBool(ornolithIsNonAddressableNodeKey, *part.node())) result.push_back(std::move(part));
  }
  return result;
}

std::string PartListingError::describe(const part_listing_error::TooDeep&) {
  return "The nodes of this model are nested too deep for a list of their paths.";
}

void requireListablePaths(std::span<const AddressableLogicalPart> parts) {
  if (parts.empty()) return;
  // A path's number is above its parent's, so one pass gives every depth.
  const std::span<const LogicalPartTree::Path> paths = parts.front().tree().paths();
  std::vector<std::size_t> depth(paths.size());
  for (std::size_t index = 0; index < paths.size(); ++index) {
    depth[index] = paths[index].parent == LogicalPartTree::rootPath ? 1 : depth[paths[index].parent] + 1;
  }
  std::size_t identityCount = 0;
  for (const AddressableLogicalPart& part : parts) {
    identityCount += depth[part.pathIndex()];
    if (identityCount > maximumListedIdentityCount) throw PartListingError(part_listing_error::TooDeep{});
  }
}

std::vector<std::string> canonicalPaths(std::span<const AddressableLogicalPart> parts) {
  requireListablePaths(parts);
  std::vector<std::string> result;
  result.reserve(parts.size());
  for (const AddressableLogicalPart& part : parts) result.push_back(part.canonicalSelector().canonicalString());
  std::ranges::sort(result);
  return result;
}

std::size_t PartResolver::ChainKeyHash::operator()(const ChainKey& key) const noexcept {
  return std::hash<ModelNodeSourceID>{}(key.sourceID) * 31 + key.parent;
}

PartResolver::PartResolver(std::span<const AddressableLogicalPart> parts) : parts_(parts.begin(), parts.end()) {
  for (std::size_t index = 0; index < parts_.size(); ++index) {
    const AddressableLogicalPart& part = parts_[index];
    byName_[canonicalKey(part.name())].push_back(index);
    byID_[part.sourceID()].push_back(index);
  }
  if (parts_.empty()) return;

  // A path's number is above its parent's, so one pass gives each path the number of its chain; chain 0 is the empty
  // one.
  const std::span<const LogicalPartTree::Path> paths = parts_.front().tree().paths();
  std::vector<std::size_t> chainOfPath(paths.size());
  for (std::size_t index = 0; index < paths.size(); ++index) {
    const std::size_t parent = paths[index].parent == LogicalPartTree::rootPath ? 0 : chainOfPath[paths[index].parent];
    chainOfPath[index] =
        chains_.try_emplace({parent, paths[index].component.sourceID}, chains_.size() + 1).first->second;
  }
  for (std::size_t index = 0; index < parts_.size(); ++index) {
    byChain_[chainOfPath[parts_[index].pathIndex()]].push_back(index);
  }
}

const PartResolver::Candidates* PartResolver::candidates(const ModelPartSelector& selector) const {
  const auto find = [](const auto& map, const auto& key) -> const Candidates* {
    const auto found = map.find(key);
    return found == map.end() ? nullptr : &found->second;
  };
  if (const std::string* name = selector.asName()) return find(byName_, canonicalKey(*name));
  if (const ModelNodeSourceID* id = selector.asID()) return find(byID_, *id);
  std::size_t chain = 0;
  for (const ModelNodeSourceID& sourceID : *selector.asPath()) {
    const auto next = chains_.find({chain, sourceID});
    if (next == chains_.end()) return nullptr;
    chain = next->second;
  }
  return find(byChain_, chain);
}

const AddressableLogicalPart& PartResolver::resolvePart(const ModelPartSelector& selector) const {
  using namespace explicit_pose_runtime_error;
  const Candidates* found = candidates(selector);
  if (found == nullptr) throw ExplicitPoseRuntimeError(PartNotFound{.selector = selector.canonicalString()});
  if (found->size() == 1) return parts_[found->front()];

  std::vector<AddressableLogicalPart> ambiguous;
  for (const std::size_t index : *found) ambiguous.push_back(parts_[index]);
  std::vector<std::string> paths = canonicalPaths(ambiguous);
  if (const std::string* name = selector.asName()) {
    throw ExplicitPoseRuntimeError(AmbiguousName{.name = *name, .paths = std::move(paths)});
  }
  const ModelNodeSourceID* id = selector.asID();
  throw ExplicitPoseRuntimeError(
      AmbiguousSourceID{.id = id != nullptr ? id->rawValue : selector.canonicalString(), .paths = std::move(paths)});
}

}  // namespace ornolith
