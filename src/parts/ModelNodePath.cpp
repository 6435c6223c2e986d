#include "parts/ModelNodePath.h"

#include "foundation/HashCombine.h"

namespace ornolith {

ModelNodePath::Component ModelNodePath::Component::fromJSON(const JSONElement& element) {
  Component component;
  component.sourceID = decodeJSON<ModelNodeSourceID>(element, "sourceID");
  component.originalName = decodeJSON<std::string>(element, "originalName");
  return component;
}

JSONValue ModelNodePath::Component::toJSON() const {
  JSONValue::Object object;
  addMember(object, "sourceID", sourceID);
  addMember(object, "originalName", originalName);
  return {std::move(object)};
}

ModelNodePath ModelNodePath::appending(Component component) const {
  ModelNodePath longer;
  longer.components.reserve(components.size() + 1);
  longer.components = components;
  longer.components.push_back(std::move(component));
  return longer;
}

ModelNodePath ModelNodePath::fromJSON(const JSONElement& element) {
  return {decodeJSON<std::vector<Component>>(element, "components")};
}

JSONValue ModelNodePath::toJSON() const {
  JSONValue::Object object;
  addMember(object, "components", components);
  return {std::move(object)};
}

}  // namespace ornolith

std::size_t std::hash<ornolith::ModelNodePath>::operator()(const ornolith::ModelNodePath& path) const noexcept {
  std::size_t seed = path.components.size();
  for (const ornolith::ModelNodePath::Component& component : path.components) {
    seed = ornolith::hashCombining(seed, component.sourceID);
    seed = ornolith::hashCombining(seed, component.originalName);
  }
  return seed;
}
