#pragma once

#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/JSON.h"
#include "foundation/RawValue.h"

namespace ornolith {

// The one form of a JSON codec. A record has two members:
//
//     static T fromJSON(const JSONElement& element);   // reads its keys in their documented order; throws JSONError
//     JSONValue toJSON() const;                        // members in their documented order
//
// and is read and written, like texts, flags, numbers, enumerations with texts and lists of any of these, by
// `decodeJSON` and `encodeJSON`. A rule that a read value breaks is thrown as `element.fault(description)`.

template <typename T>
concept JSONDecodable = requires(const JSONElement& element) {
  { T::fromJSON(element) } -> std::same_as<T>;
};

template <typename T>
concept JSONEncodable = requires(const T& value) {
  { value.toJSON() } -> std::same_as<JSONValue>;
};

template <typename T>
struct JSONListTraits {
  static constexpr bool isList = false;
};
template <typename T>
struct JSONListTraits<std::vector<T>> {
  static constexpr bool isList = true;
  using Element = T;
};

/// `element` read as a `T`. Throws `JSONError` where it is none.
template <typename T>
T decodeJSON(const JSONElement& element) {
  if constexpr (JSONDecodable<T>) {
    return T::fromJSON(element);
  } else if constexpr (std::same_as<T, std::string>) {
    return element.asString();
  } else if constexpr (std::same_as<T, bool>) {
    return element.asBool();
  } else if constexpr (std::same_as<T, std::int64_t>) {
    return element.asInteger();
  } else if constexpr (std::same_as<T, double>) {
    return element.asDouble();
  } else if constexpr (std::same_as<T, float>) {
    return element.asFloat();
  } else if constexpr (HasRawValues<T>) {
    const std::string text = element.asString();
    const std::optional<T> value = fromRawValue<T>(text);
    if (!value) throw element.fault("The text \"" + text + "\" is none of the values that may stand here.");
    return *value;
  } else {
    static_assert(JSONListTraits<T>::isList, "this type has no JSON form");
    const std::vector<JSONElement> elements = element.elements();
    T list;
    list.reserve(elements.size());
    for (const JSONElement& entry : elements) list.push_back(decodeJSON<typename JSONListTraits<T>::Element>(entry));
    return list;
  }
}

/// The value of the required `key` of an object.
template <typename T>
T decodeJSON(const JSONElement& object, std::string_view key) {
  return decodeJSON<T>(object.value(key));
}

/// The value of the optional `key` of an object; nothing where it is absent or null.
template <typename T>
std::optional<T> decodeOptionalJSON(const JSONElement& object, std::string_view key) {
  const std::optional<JSONElement> element = object.optionalValue(key);
  if (!element) return std::nullopt;
  return decodeJSON<T>(*element);
}

/// `value` as JSON.
template <typename T>
JSONValue encodeJSON(const T& value) {
  if constexpr (JSONEncodable<T>) {
    return value.toJSON();
  } else if constexpr (HasRawValues<T>) {
    return {rawValue(value)};
  } else if constexpr (JSONListTraits<T>::isList) {
    JSONValue::Array array;
    array.reserve(value.size());
    for (const auto& entry : value) array.push_back(encodeJSON<typename JSONListTraits<T>::Element>(entry));
    return {std::move(array)};
  } else {
    return {value};
  }
}

/// `list`, which must outlive the result, as a list whose elements are made while it is written.
template <typename T>
JSONValue encodeLazyJSON(const std::vector<T>& list) {
  return {JSONValue::LazyArray{.count = list.size(),
                               .element = [&list](std::size_t index) { return encodeJSON(list[index]); }}};
}

/// Adds `key` to `object`.
template <typename T>
void addMember(JSONValue::Object& object, std::string_view key, const T& value) {
  object.emplace_back(key, encodeJSON(value));
}

/// Adds `key` to `object` where there is a value; an absent one is not written.
template <typename T>
void addOptionalMember(JSONValue::Object& object, std::string_view key, const std::optional<T>& value) {
  if (value) addMember(object, key, *value);
}

}  // namespace ornolith
