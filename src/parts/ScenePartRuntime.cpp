#include "parts/ScenePartRuntime.h"

#include <algorithm>

#include "scenegraph/NodeMetadata.h"

namespace ornolith {

namespace {

constexpr std::size_t noPart = std::numeric_limits<std::size_t>::max();

/// The identity of a node that is a part, or nothing for a transparent node.
std::optional<ModelNodeSourceID> partIdentity(const SCNNode& node) {
  std::optional<std::string> text = metadataString(ornolithSourceNodeIDKey, node);
  if (!text || metadataBool(ornolithIsSyntheticPrimitiveKey, node)) return std::nullopt;
  return ModelNodeSourceID{*std::move(text)};
}

std::string partName(const SCNNode& node, const ModelNodeSourceID& identity) {
  if (std::optional<std::string> authored = metadataString(ornolithSourceNodeNameKey, node))
    return *std::move(authored);
  return node.name().value_or(identity.rawValue);
}

}  // namespace

std::size_t LogicalPartTree::ChildKeyHash::operator()(const ChildKey& key) const noexcept {
  constexpr std::size_t oddFactor = 0x9E3779B97F4A7C15U;
  const std::size_t identity = std::hash<ModelNodeSourceID>{}(key.component.sourceID);
  const std::size_t name = std::hash<std::string>{}(key.component.originalName);
  return ((key.parent * oddFactor) ^ identity) * oddFactor ^ name;
}

/// Walks the scene nodes in pre-order.
struct LogicalPartTree::Builder {
  LogicalPartTree& tree;
  std::vector<std::size_t> parentParts;  ///< Of each part the part above, or `noPart`.

  struct Step {
    SCNNode::Pointer node;
    PathIndex parentPath = rootPath;
    std::size_t parentPart = noPart;
  };

  void visitBelow(const SCNNode& container) {
    std::vector<Step> pending;
    push(pending, container, rootPath, noPart);
    while (!pending.empty()) {
      const Step step = std::move(pending.back());
      pending.pop_back();
      const SCNNode& node = *step.node;
      if (std::optional<ModelNodeSourceID> identity = partIdentity(node)) {
        const PathIndex path = addPart(step, *std::move(identity));
        push(pending, node, path, tree.parts_.size() - 1);
      } else {
        addTransparentNode(step);
        push(pending, node, step.parentPath, step.parentPart);
      }
    }
    completeSubtrees();
  }

  static void push(std::vector<Step>& pending, const SCNNode& node, PathIndex path, std::size_t part) {
    std::vector<SCNNode::Pointer> children = node.childNodes();
    for (auto child = children.rbegin(); child != children.rend(); ++child) {
      pending.push_back({std::move(*child), path, part});
    }
  }

  PathIndex addPart(const Step& step, ModelNodeSourceID identity) {
    const SCNNode& node = *step.node;
    std::string name = partName(node, identity);
    ChildKey key{step.parentPath, {std::move(identity), std::move(name)}};
    const auto [entry, isNew] = tree.pathsByChild_.try_emplace(key, tree.paths_.size());
    const PathIndex path = entry->second;
    if (isNew) tree.paths_.push_back({step.parentPath, std::move(key.component), nullptr, false});
    tree.paths_[path].node = step.node;
    tree.paths_[path].isAuthoredHidden = tree.paths_[path].isAuthoredHidden || node.isHidden;
    tree.pathsByNode_.emplace(step.node.get(), path);
    tree.parts_.push_back({path, step.node, 0, node.geometry != nullptr, node.isHidden});
    parentParts.push_back(step.parentPart);
    return path;
  }

  void addTransparentNode(const Step& step) {
    if (step.parentPart == noPart) return;
    tree.pathsByNode_.emplace(step.node.get(), step.parentPath);
    tree.transparentNodes_.push_back(step.node);
    if (step.node->geometry) tree.parts_[step.parentPart].hasGeometry = true;
  }

  /// Fixes where each part's subtree ends. A part whose identity is the empty text does not keep its geometry to
  /// itself: the part above owns it as well.
  void completeSubtrees() {
    for (std::size_t index = tree.parts_.size(); index-- > 0;) {
      Part& part = tree.parts_[index];
      part.endOfSubtree = std::max(part.endOfSubtree, index + 1);
      if (parentParts[index] == noPart) continue;
      Part& above = tree.parts_[parentParts[index]];
      above.endOfSubtree = std::max(above.endOfSubtree, part.endOfSubtree);
      const bool isUnnamedIdentity = tree.paths_[part.path].component.sourceID.rawValue.empty();
      if (isUnnamedIdentity && part.hasGeometry) above.hasGeometry = true;
    }
  }
};

LogicalPartTree::LogicalPartTree(const SCNNode& container) {
  Builder{*this, {}}.visitBelow(container);
}

std::optional<LogicalPartTree::PathIndex> LogicalPartTree::indexOfPath(const ModelNodePath& path) const {
  PathIndex index = rootPath;
  for (const ModelNodePath::Component& component : path.components) {
    const auto entry = pathsByChild_.find({index, component});
    if (entry == pathsByChild_.end()) return std::nullopt;
    index = entry->second;
  }
  return index;
}

std::optional<LogicalPartTree::PathIndex> LogicalPartTree::indexOfNode(const SCNNode& node) const {
  const auto entry = pathsByNode_.find(&node);
  if (entry == pathsByNode_.end()) return std::nullopt;
  return entry->second;
}

ModelNodePath LogicalPartTree::path(PathIndex index) const {
  ModelNodePath path;
  for (; index != rootPath; index = paths_[index].parent) path.components.push_back(paths_[index].component);
  std::reverse(path.components.begin(), path.components.end());
  return path;
}

std::vector<ModelPartDescriptor> LogicalPartTree::descriptors() const {
  std::vector<ModelPartDescriptor> top;
  // The parts that are still open, outermost first: where each ends and the list that its descriptor stands in.
  std::vector<std::pair<std::size_t, ModelPartDescriptor>> open;
  const auto close = [&] {
    ModelPartDescriptor finished = std::move(open.back().second);
    open.pop_back();
    std::vector<ModelPartDescriptor>& siblings = open.empty() ? top : open.back().second.children;
    siblings.push_back(std::move(finished));
  };
  for (std::size_t index = 0; index < parts_.size(); ++index) {
    while (!open.empty() && open.back().first <= index) close();
    const Part& part = parts_[index];
    const ModelNodePath::Component& component = paths_[part.path].component;
    ModelPartDescriptor descriptor;
    descriptor.sourceID = component.sourceID;
    descriptor.path = path(part.path);
    descriptor.name = component.originalName;
    descriptor.hasGeometry = part.hasGeometry;
    descriptor.isAuthoredHidden = part.isAuthoredHidden;
    open.emplace_back(part.endOfSubtree, std::move(descriptor));
  }
  while (!open.empty()) close();
  return top;
}

SCNNode::Pointer ScenePartRuntime::nodesByPath(const ModelNodePath& path) const {
  const std::optional<LogicalPartTree::PathIndex> index = tree->indexOfPath(path);
  if (!index || *index == LogicalPartTree::rootPath) return nullptr;
  return tree->paths()[*index].node;
}

std::optional<ModelNodePath> ScenePartRuntime::pathsByNode(const SCNNode& node) const {
  const std::optional<LogicalPartTree::PathIndex> index = tree->indexOfNode(node);
  if (!index) return std::nullopt;
  return tree->path(*index);
}

bool ScenePartRuntime::authoredHiddenPaths(const ModelNodePath& path) const {
  const std::optional<LogicalPartTree::PathIndex> index = tree->indexOfPath(path);
  return index && *index != LogicalPartTree::rootPath && tree->paths()[*index].isAuthoredHidden;
}

ScenePartRuntime makePartRuntime(const SCNNode& container, const PartPresentationState& restoredState) {
  ScenePartRuntime runtime;
  runtime.tree = std::make_shared<const LogicalPartTree>(container);
  runtime.presentation = restoredState;
  const auto isGone = [&](const ModelNodePath& path) { return runtime.nodesByPath(path) == nullptr; };
  const auto dropIfGone = [&](std::optional<ModelNodePath>& path) {
    if (path && isGone(*path)) path.reset();
  };
  dropIfGone(runtime.presentation.selectedPartPath);
  dropIfGone(runtime.presentation.isolatedPartPath);
  std::erase_if(runtime.presentation.hiddenPartPaths, isGone);
  return runtime;
}

std::size_t discardedPartStateCount(const PartPresentationState& restored, const PartPresentationState& sanitized) {
  const auto pathCount = [](const PartPresentationState& state) {
    return state.hiddenPartPaths.size() + (state.selectedPartPath ? 1U : 0U) + (state.isolatedPartPath ? 1U : 0U);
  };
  const std::size_t before = pathCount(restored);
  const std::size_t after = pathCount(sanitized);
  return before > after ? before - after : 0;
}

void applyPartVisibility(const ScenePartRuntime& runtime) {
  const LogicalPartTree& tree = *runtime.tree;
  const std::span<const LogicalPartTree::Path> paths = tree.paths();

  std::vector<bool> isHidden(paths.size());
  for (std::size_t index = 0; index < paths.size(); ++index) isHidden[index] = paths[index].isAuthoredHidden;
  for (const ModelNodePath& path : runtime.presentation.hiddenPartPaths) {
    const std::optional<LogicalPartTree::PathIndex> index = tree.indexOfPath(path);
    if (index && *index != LogicalPartTree::rootPath) isHidden[*index] = true;
  }

  if (runtime.presentation.isolatedPartPath) {
    const std::optional<LogicalPartTree::PathIndex> isolated = tree.indexOfPath(*runtime.presentation.isolatedPartPath);
    if (isolated && *isolated != LogicalPartTree::rootPath) {
      std::vector<bool> staysInView(paths.size());
      staysInView[*isolated] = true;
      for (std::size_t index = *isolated + 1; index < paths.size(); ++index) {
        const LogicalPartTree::PathIndex parent = paths[index].parent;
        if (parent != LogicalPartTree::rootPath && staysInView[parent]) staysInView[index] = true;
      }
      // A hidden node hides what hangs below it, so that the parts above have to stay.
      for (LogicalPartTree::PathIndex above = paths[*isolated].parent; above != LogicalPartTree::rootPath;
           above = paths[above].parent) {
        staysInView[above] = true;
      }
      for (std::size_t index = 0; index < paths.size(); ++index)
        isHidden[index] = isHidden[index] || !staysInView[index];
    }
  }

  for (std::size_t index = 0; index < paths.size(); ++index) paths[index].node->isHidden = isHidden[index];
}

}  // namespace ornolith
