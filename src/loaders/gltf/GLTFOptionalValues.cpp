#include "loaders/gltf/GLTFOptionalValues.h"

#include <cmath>

namespace ornolith {

namespace {

std::optional<JSONElement> member(const JSONElement& object, std::string_view key, JSONElement::Kind kind) {
  if (object.kind() != JSONElement::Kind::object) return std::nullopt;
  std::optional<JSONElement> value = object.optionalValue(key);
  if (!value || value->kind() != kind) return std::nullopt;
  return value;
}

}  // namespace

std::optional<JSONElement> optionalObject(const JSONElement& object, std::string_view key) {
  return member(object, key, JSONElement::Kind::object);
}

std::optional<JSONElement> optionalObject(const std::optional<JSONElement>& object, std::string_view key) {
  return object ? optionalObject(*object, key) : std::nullopt;
}

std::optional<JSONElement> extension(const JSONElement& object, std::string_view name) {
  return optionalObject(optionalObject(object, "extensions"), name);
}

std::optional<double> optionalNumber(const JSONElement& object, std::string_view key) {
  const std::optional<JSONElement> value = member(object, key, JSONElement::Kind::number);
  if (!value) return std::nullopt;
  return value->asDouble();
}

std::optional<bool> optionalBool(const JSONElement& object, std::string_view key) {
  const std::optional<JSONElement> value = member(object, key, JSONElement::Kind::boolean);
  if (!value) return std::nullopt;
  return value->asBool();
}

std::optional<std::string> optionalString(const JSONElement& object, std::string_view key) {
  const std::optional<JSONElement> value = member(object, key, JSONElement::Kind::string);
  if (!value) return std::nullopt;
  return value->asString();
}

std::optional<std::uint32_t> optionalIndex(const JSONElement& object, std::string_view key) {
  const std::optional<double> value = optionalNumber(object, key);
  if (!value || !(*value >= 0) || *value >= 4294967295.0 || *value != std::floor(*value)) return std::nullopt;
  return static_cast<std::uint32_t>(*value);
}

std::optional<std::vector<double>> optionalNumbers(const JSONElement& object, std::string_view key, std::size_t count) {
  const std::optional<JSONElement> list = member(object, key, JSONElement::Kind::array);
  if (!list) return std::nullopt;
  std::vector<double> numbers;
  for (const JSONElement& element : list->elements()) {
    if (numbers.size() == count || element.kind() != JSONElement::Kind::number) return std::nullopt;
    numbers.push_back(element.asDouble());
  }
  if (numbers.size() != count) return std::nullopt;
  return numbers;
}

std::vector<JSONElement> optionalList(const JSONElement& object, std::string_view key) {
  const std::optional<JSONElement> list = member(object, key, JSONElement::Kind::array);
  return list ? list->elements() : std::vector<JSONElement>();
}

}  // namespace ornolith
