#include "contracts/ModelPartSelector.h"

#include <cstdint>
#include <limits>
#include <optional>

#include "foundation/NumberText.h"
#include "foundation/Text.h"

namespace ornolith {
namespace {

constexpr std::string_view namePrefix = "name:";
constexpr std::string_view idPrefix = "id:";
constexpr std::string_view pathPrefix = "path:";
constexpr char pathSeparator = '/';

ModelPoseContractError invalidSelector(std::string_view text) {
  return ModelPoseContractError(model_pose_contract_error::InvalidSelector{std::string(text)});
}

ModelPoseContractError invalidSourceID(std::string_view text) {
  return ModelPoseContractError(model_pose_contract_error::InvalidSourceID{std::string(text)});
}

std::string joined(const ModelPartSelector::Path& path) {
  std::string text;
  for (const ModelNodeSourceID& component : path) {
    if (!text.empty()) text += pathSeparator;
    text += component.rawValue;
  }
  return text;
}

}  // namespace

bool operator==(const ModelPartSelector::Name& left, const ModelPartSelector::Name& right) {
  return canonicallyEqual(left.text, right.text);
}

ModelPartSelector ModelPartSelector::parsing(std::string_view text) {
  if (text.starts_with(namePrefix)) {
    const std::string_view name = text.substr(namePrefix.size());
    if (isBlank(name)) throw invalidSelector(text);
    return ModelPartSelector::name(std::string(name));
  }
  if (text.starts_with(idPrefix)) return ModelPartSelector::id(parseSourceID(text.substr(idPrefix.size())));
  if (text.starts_with(pathPrefix)) {
    const std::vector<std::string_view> pieces = splitting(text.substr(pathPrefix.size()), pathSeparator);
    for (const std::string_view piece : pieces) {
      if (piece.empty()) throw invalidSelector(text);
    }
    Path path;
    path.reserve(pieces.size());
    for (const std::string_view piece : pieces) path.push_back(parseSourceID(piece));
    return ModelPartSelector::path(std::move(path));
  }
  if (isBlank(text)) throw invalidSelector(text);
  return ModelPartSelector::name(std::string(text));
}

ModelNodeSourceID ModelPartSelector::parseSourceID(std::string_view text) {
  const std::vector<std::string_view> pieces = splitting(text, ':');
  if (pieces.size() != 2) throw invalidSourceID(text);
  const std::string_view space = pieces[0];
  if (space != "fbx" && space != "gltf") throw invalidSourceID(text);
  const std::optional<std::uint64_t> number = parseUInt64Digits(pieces[1]);
  if (!number) throw invalidSourceID(text);
  // FBX element ids are unsigned; glTF identities are made from signed indices.
  constexpr auto greatestIndex = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  if (space == "gltf" && *number > greatestIndex) throw invalidSourceID(text);
  return {std::string(space) + ":" + std::to_string(*number)};
}

std::string ModelPartSelector::canonicalString() const {
  if (const std::string* name = asName()) return std::string(namePrefix) + *name;
  if (const ModelNodeSourceID* sourceID = asID()) return std::string(idPrefix) + sourceID->rawValue;
  return std::string(pathPrefix) + joined(*asPath());
}

const std::string* ModelPartSelector::asName() const noexcept {
  const Name* name = std::get_if<Name>(&value_);
  return name ? &name->text : nullptr;
}

const ModelNodeSourceID* ModelPartSelector::asID() const noexcept {
  return std::get_if<ModelNodeSourceID>(&value_);
}

const ModelPartSelector::Path* ModelPartSelector::asPath() const noexcept {
  return std::get_if<Path>(&value_);
}

ModelPartSelector ModelPartSelector::fromJSON(const JSONElement& element) {
  try {
    return parsing(element.asString());
  } catch (const ModelPoseContractError& error) {
    throw element.fault(error.errorDescription());
  }
}

}  // namespace ornolith

std::size_t std::hash<ornolith::ModelPartSelector>::operator()(const ornolith::ModelPartSelector& selector) const {
  return std::hash<std::string>{}(ornolith::canonicalKey(selector.canonicalString()));
}
