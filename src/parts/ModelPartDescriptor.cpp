#include "parts/ModelPartDescriptor.h"

#include <utility>

#include "foundation/HashCombine.h"

namespace ornolith {

namespace {

/// The fields of one node, its children left out.
bool haveEqualFields(const ModelPartDescriptor& left, const ModelPartDescriptor& right) {
  return left.sourceID == right.sourceID && left.path == right.path && left.name == right.name &&
         left.hasGeometry == right.hasGeometry && left.isAuthoredHidden == right.isAuthoredHidden &&
         left.children.size() == right.children.size();
}

/// A descriptor nests its children's lists, so its JSON is two levels deeper for each level of the tree.
void requireWritableDepth(const ModelPartDescriptor& descriptor) {
  std::vector<std::pair<const ModelPartDescriptor*, std::size_t>> open{{&descriptor, 1}};
  while (!open.empty()) {
    const auto [node, depth] = open.back();
    open.pop_back();
    if (depth * 2 > maximumJSONDepth) {
      throw JSONError(
          json_error::Malformed{.description = "The tree of parts is nested too deep to be written as JSON."});
    }
    for (const ModelPartDescriptor& child : node->children) open.emplace_back(&child, depth + 1);
  }
}

/// The depth has been checked.
JSONValue jsonOfTree(const ModelPartDescriptor& descriptor) {
  JSONValue::Object object;
  addMember(object, "sourceID", descriptor.sourceID);
  addMember(object, "path", descriptor.path);
  addMember(object, "name", descriptor.name);
  addMember(object, "hasGeometry", descriptor.hasGeometry);
  addMember(object, "isAuthoredHidden", descriptor.isAuthoredHidden);
  JSONValue::Array children;
  children.reserve(descriptor.children.size());
  for (const ModelPartDescriptor& child : descriptor.children) children.push_back(jsonOfTree(child));
  object.emplace_back("children", std::move(children));
  return {std::move(object)};
}

}  // namespace

ModelPartDescriptor::ModelPartDescriptor(ModelNodeSourceID nodeSourceID, ModelNodePath nodePath, std::string nodeName,
                                         bool ownsGeometry, bool authoredHidden,
                                         std::vector<ModelPartDescriptor> nodeChildren)
    : sourceID(std::move(nodeSourceID)),
      path(std::move(nodePath)),
      name(std::move(nodeName)),
      hasGeometry(ownsGeometry),
      isAuthoredHidden(authoredHidden),
      children(std::move(nodeChildren)) {}

ModelPartDescriptor::ModelPartDescriptor(const ModelPartDescriptor& other)
    : ModelPartDescriptor(other.sourceID, other.path, other.name, other.hasGeometry, other.isAuthoredHidden) {
  // Each copied node gets childless copies of its children; these wait for theirs.
  std::vector<std::pair<const ModelPartDescriptor*, ModelPartDescriptor*>> open{{&other, this}};
  while (!open.empty()) {
    const auto [source, copy] = open.back();
    open.pop_back();
    copy->children.reserve(source->children.size());
    for (const ModelPartDescriptor& child : source->children) {
      copy->children.emplace_back(child.sourceID, child.path, child.name, child.hasGeometry, child.isAuthoredHidden);
      open.emplace_back(&child, &copy->children.back());
    }
  }
}

ModelPartDescriptor& ModelPartDescriptor::operator=(ModelPartDescriptor other) noexcept {
  std::swap(sourceID, other.sourceID);
  std::swap(path, other.path);
  std::swap(name, other.name);
  std::swap(hasGeometry, other.hasGeometry);
  std::swap(isAuthoredHidden, other.isAuthoredHidden);
  std::swap(children, other.children);
  return *this;
}

ModelPartDescriptor::~ModelPartDescriptor() {
  // Every list of children is emptied into the worklist before it goes, so that no destructor has a subtree to descend.
  std::vector<std::vector<ModelPartDescriptor>> open;
  if (!children.empty()) open.push_back(std::move(children));
  while (!open.empty()) {
    std::vector<ModelPartDescriptor> siblings = std::move(open.back());
    open.pop_back();
    for (ModelPartDescriptor& sibling : siblings) {
      if (!sibling.children.empty()) open.push_back(std::move(sibling.children));
      sibling.children.clear();
    }
  }
}

std::vector<const ModelPartDescriptor*> ModelPartDescriptor::flattened() const {
  std::vector<const ModelPartDescriptor*> list;
  std::vector<const ModelPartDescriptor*> open{this};
  while (!open.empty()) {
    const ModelPartDescriptor* const node = open.back();
    open.pop_back();
    list.push_back(node);
    for (auto child = node->children.rbegin(); child != node->children.rend(); ++child) open.push_back(&*child);
  }
  return list;
}

bool ModelPartDescriptor::containsGeometry() const {
  std::vector<const ModelPartDescriptor*> open{this};
  while (!open.empty()) {
    const ModelPartDescriptor* const node = open.back();
    open.pop_back();
    if (node->hasGeometry) return true;
    for (const ModelPartDescriptor& child : node->children) open.push_back(&child);
  }
  return false;
}

ModelPartDescriptor ModelPartDescriptor::fromJSON(const JSONElement& element) {
  ModelPartDescriptor descriptor;
  descriptor.sourceID = decodeJSON<ModelNodeSourceID>(element, "sourceID");
  descriptor.path = decodeJSON<ModelNodePath>(element, "path");
  descriptor.name = decodeJSON<std::string>(element, "name");
  descriptor.hasGeometry = decodeJSON<bool>(element, "hasGeometry");
  descriptor.isAuthoredHidden = decodeJSON<bool>(element, "isAuthoredHidden");
  descriptor.children = decodeJSON<std::vector<ModelPartDescriptor>>(element, "children");
  return descriptor;
}

JSONValue ModelPartDescriptor::toJSON() const {
  requireWritableDepth(*this);
  return jsonOfTree(*this);
}

bool operator==(const ModelPartDescriptor& left, const ModelPartDescriptor& right) {
  std::vector<std::pair<const ModelPartDescriptor*, const ModelPartDescriptor*>> open{{&left, &right}};
  while (!open.empty()) {
    const auto [first, second] = open.back();
    open.pop_back();
    if (!haveEqualFields(*first, *second)) return false;
    for (std::size_t i = 0; i < first->children.size(); ++i) {
      open.emplace_back(&first->children[i], &second->children[i]);
    }
  }
  return true;
}

}  // namespace ornolith

std::size_t std::hash<ornolith::ModelPartDescriptor>::operator()(
    const ornolith::ModelPartDescriptor& descriptor) const {
  std::size_t seed = 0;
  for (const ornolith::ModelPartDescriptor* node : descriptor.flattened()) {
    seed = ornolith::hashCombining(seed, node->path);
    seed = ornolith::hashCombining(seed, node->sourceID);
    seed = ornolith::hashCombining(seed, node->name);
    seed = ornolith::hashCombining(seed, node->hasGeometry);
    seed = ornolith::hashCombining(seed, node->isAuthoredHidden);
    seed = ornolith::hashCombining(seed, node->children.size());
  }
  return seed;
}
