#include "scenegraph/SCNNodeBounds.h"

#include <cstddef>

#include "scenegraph/SCNSubtreeWalk.h"
#include "scenegraph/Transforms.h"

namespace ornolith {
namespace {

constexpr std::size_t none = static_cast<std::size_t>(-1);

// A node with geometry and where it stands in the walk.
struct Entry {
  SCNNodeBounds bounds;
  std::size_t number = 0;  // Of the node among all nodes of the walk.
  std::size_t nodesBelow = 0;
  std::size_t ancestor = none;                  // The nearest entry above.
  std::optional<SCNBoundingBox> worldBoxBelow;  // Of the geometries below.
};

std::vector<Entry> listGeometryNodes(SCNNode& root) {
  struct Open {
    std::size_t entry;
    std::size_t depth;
  };
  std::vector<Entry> entries;
  std::vector<Open> open;
  std::size_t number = 0;
  const auto closeFrom = [&](std::size_t depth) {
    while (!open.empty() && open.back().depth >= depth) {
      Entry& entry = entries[open.back().entry];
      entry.nodesBelow = number - entry.number - 1;
      open.pop_back();
    }
  };
  for (SCNSubtreeWalk walk(root); !walk.isAtEnd(); walk.next(), ++number) {
    closeFrom(walk.depth());
    if (!walk.node().geometry) continue;
    Entry entry;
    entry.bounds.node = &walk.node();
    entry.bounds.isHiddenInTree = walk.isHidden();
    entry.number = number;
    if (!open.empty()) entry.ancestor = open.back().entry;
    open.push_back({entries.size(), walk.depth()});
    entries.push_back(std::move(entry));
  }
  closeFrom(0);
  return entries;
}

bool exactBoxesAreAffordable(const std::vector<Entry>& entries) {
  std::size_t pairs = 0;
  for (const Entry& entry : entries) pairs += entry.nodesBelow;
  return pairs <= maximumExactBoundsPairs;
}

const SCNMatrix4 identity;

// Each entry's box in world space, with what is below it, joins the box below its ancestor. Entries below come later.
void gatherWorldBoxes(std::vector<Entry>& entries) {
  for (std::size_t i = entries.size(); i-- > 0;) {
    const Entry& entry = entries[i];
    if (entry.ancestor == none) continue;
    std::optional<SCNBoundingBox>& box = entries[entry.ancestor].worldBoxBelow;
    const SCNNode& node = *entry.bounds.node;
    if (node.geometry->hasExtent()) widenByCorners(box, node.geometry->boundingBox(), node.worldTransform());
    if (entry.worldBoxBelow) widenByCorners(box, *entry.worldBoxBelow, identity);
  }
}

std::optional<SCNBoundingBox> wideBox(const Entry& entry) {
  const SCNNode& node = *entry.bounds.node;
  std::optional<SCNBoundingBox> box;
  if (node.geometry->hasExtent()) box = node.geometry->boundingBox();
  if (entry.worldBoxBelow) widenByCorners(box, *entry.worldBoxBelow, invertedAffine(node.worldTransform()));
  return box;
}

}  // namespace

std::vector<SCNNodeBounds> geometryNodeBounds(SCNNode& root) {
  std::vector<Entry> entries = listGeometryNodes(root);
  const bool allAreExact = exactBoxesAreAffordable(entries);
  if (!allAreExact) gatherWorldBoxes(entries);
  std::vector<SCNNodeBounds> result;
  result.reserve(entries.size());
  for (Entry& entry : entries) {
    const bool isExact = allAreExact || entry.nodesBelow <= maximumExactBoundsSubtree;
    entry.bounds.boundingBox = isExact ? entry.bounds.node->boundingBox() : wideBox(entry);
    result.push_back(entry.bounds);
  }
  return result;
}

}  // namespace ornolith
