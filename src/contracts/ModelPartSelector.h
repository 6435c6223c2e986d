#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "contracts/ModelNodeSourceID.h"
#include "contracts/ModelPoseContractError.h"
#include "foundation/JSONCoding.h"

namespace ornolith {

/// Names one node of a model, in one of three ways. Selectors are equal exactly where alternative and payload are;
/// names compare by canonical equivalence.
class ModelPartSelector {
 public:
  /// The node's authored name, as written.
  struct Name {
    std::string text;
    friend bool operator==(const Name& left, const Name& right);
  };
  /// The source identities from the top of the authored hierarchy down to the node; never empty when parsed.
  using Path = std::vector<ModelNodeSourceID>;

  static ModelPartSelector name(std::string text) { return ModelPartSelector(Name{std::move(text)}); }
  static ModelPartSelector id(ModelNodeSourceID sourceID) { return ModelPartSelector(std::move(sourceID)); }
  static ModelPartSelector path(Path components) { return ModelPartSelector(std::move(components)); }

  /// Reads "name:<name>", "id:<source id>", "path:<source id>/...", or any other text that is not blank as a bare name.
  /// Names are kept untrimmed. Throws `ModelPoseContractError` (`InvalidSelector`, `InvalidSourceID`).
  static ModelPartSelector parsing(std::string_view text);

  /// The text with its prefix; parsing it gives an equal selector.
  std::string canonicalString() const;

  // The payload, or null where this is another alternative.
  const std::string* asName() const noexcept;
  const ModelNodeSourceID* asID() const noexcept;
  const Path* asPath() const noexcept;

  const std::variant<Name, ModelNodeSourceID, Path>& value() const noexcept { return value_; }

  /// One JSON string: any selector text when read, the canonical string when written.
  static ModelPartSelector fromJSON(const JSONElement& element);
  JSONValue toJSON() const { return {canonicalString()}; }

  bool operator==(const ModelPartSelector&) const = default;

 private:
  explicit ModelPartSelector(Name name) : value_(std::move(name)) {}
  explicit ModelPartSelector(ModelNodeSourceID sourceID) : value_(std::move(sourceID)) {}
  explicit ModelPartSelector(Path components) : value_(std::move(components)) {}

  static ModelNodeSourceID parseSourceID(std::string_view text);

  std::variant<Name, ModelNodeSourceID, Path> value_;
};

}  // namespace ornolith

template <>
struct std::hash<ornolith::ModelPartSelector> {
  std::size_t operator()(const ornolith::ModelPartSelector& selector) const;
};
