#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/JSON.h"

namespace ornolith {

// Values of a manifest that the shape depends on: they may be absent where that is said, but one of another type, a
// negative size or an index that is out of range throws `JSONError` and so ends the load. What a picture can do without
// is read by GLTFOptionalValues.

/// The list of objects under `key`; empty where there is none.
std::vector<JSONElement> listUnder(const std::optional<JSONElement>& object, std::string_view key);

/// The value of an extension, or nothing.
std::optional<JSONElement> strictExtension(const JSONElement& object, std::string_view name);

std::uint64_t asSize(const JSONElement& value);
/// 0 where it is absent.
std::uint64_t sizeUnder(const JSONElement& object, std::string_view key);

/// An index below `count`.
std::uint32_t asIndex(const JSONElement& value, std::size_t count);
std::optional<std::uint32_t> indexUnder(const JSONElement& object, std::string_view key, std::size_t count);
std::vector<std::uint32_t> indicesUnder(const JSONElement& object, std::string_view key, std::size_t count);

double numberUnder(const JSONElement& object, std::string_view key, double absent);
std::vector<double> numbersUnder(const JSONElement& object, std::string_view key);

/// The `size` numbers under `key`, or nothing where there is no such key.
template <std::size_t size>
std::optional<std::array<double, size>> tupleUnder(const JSONElement& object, std::string_view key) {
  const std::optional<JSONElement> value = object.optionalValue(key);
  if (!value) return std::nullopt;
  const std::vector<JSONElement> elements = value->elements();
  if (elements.size() != size) throw value->fault("Expected " + std::to_string(size) + " numbers.");
  std::array<double, size> tuple;
  for (std::size_t i = 0; i < size; ++i) tuple[i] = elements[i].asDouble();
  return tuple;
}

template <typename Value>
struct Named {
  std::string_view name;
  Value value;
};

/// What the text of `value` names.
template <typename Value>
Value asOneOf(const JSONElement& value, std::span<const Named<Value>> choices) {
  const std::string text = value.asString();
  for (const Named<Value>& choice : choices) {
    if (choice.name == text) return choice.value;
  }
  throw value.fault("The value \"" + text + "\" is not known.");
}

}  // namespace ornolith
