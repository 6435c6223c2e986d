#include "loaders/gltf/GLTFStrictValues.h"

#include <limits>

namespace ornolith {

std::vector<JSONElement> listUnder(const std::optional<JSONElement>& object, std::string_view key) {
  if (!object) return {};
  const std::optional<JSONElement> list = object->optionalValue(key);
  return list ? list->elements() : std::vector<JSONElement>();
}

std::optional<JSONElement> strictExtension(const JSONElement& object, std::string_view name) {
  const std::optional<JSONElement> extensions = object.optionalValue("extensions");
  return extensions ? extensions->optionalValue(name) : std::nullopt;
}

std::uint64_t asSize(const JSONElement& value) {
  const std::int64_t number = value.asInteger();
  if (number < 0) throw value.fault("Expected a number that is not negative.");
  return static_cast<std::uint64_t>(number);
}

std::uint64_t sizeUnder(const JSONElement& object, std::string_view key) {
  const std::optional<JSONElement> value = object.optionalValue(key);
  return value ? asSize(*value) : 0;
}

std::uint32_t asIndex(const JSONElement& value, std::size_t count) {
  const std::uint64_t index = asSize(value);
  if (index >= count || index > std::numeric_limits<std::uint32_t>::max()) {
    throw value.fault("The index " + std::to_string(index) + " is out of range.");
  }
  return static_cast<std::uint32_t>(index);
}

std::optional<std::uint32_t> indexUnder(const JSONElement& object, std::string_view key, std::size_t count) {
  const std::optional<JSONElement> value = object.optionalValue(key);
  return value ? std::optional(asIndex(*value, count)) : std::nullopt;
}

std::vector<std::uint32_t> indicesUnder(const JSONElement& object, std::string_view key, std::size_t count) {
  std::vector<std::uint32_t> indices;
  for (const JSONElement& element : listUnder(object, key)) indices.push_back(asIndex(element, count));
  return indices;
}

double numberUnder(const JSONElement& object, std::string_view key, double absent) {
  const std::optional<JSONElement> value = object.optionalValue(key);
  return value ? value->asDouble() : absent;
}

std::vector<double> numbersUnder(const JSONElement& object, std::string_view key) {
  std::vector<double> numbers;
  for (const JSONElement& element : listUnder(object, key)) numbers.push_back(element.asDouble());
  return numbers;
}

}  // namespace ornolith
