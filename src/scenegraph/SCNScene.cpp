#include "scenegraph/SCNScene.h"

#include <utility>

namespace ornolith {

std::optional<SCNSceneAttribute> SCNScene::attributeForKey(std::string_view key) const {
  const auto found = attributes_.find(key);
  return found != attributes_.end() ? std::optional(found->second) : std::nullopt;
}

void SCNScene::setAttribute(SCNSceneAttribute value, std::string_view key) {
  attributes_.insert_or_assign(std::string(key), std::move(value));
}

}  // namespace ornolith
