#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/JSON.h"

namespace ornolith {

// Values of a manifest that the picture can do without: one of another type or form counts as absent. What the shape
// depends on is read by GLTFStrictValues.

/// The object under `key`; nothing where `object` is no object.
std::optional<JSONElement> optionalObject(const JSONElement& object, std::string_view key);
std::optional<JSONElement> optionalObject(const std::optional<JSONElement>& object, std::string_view key);

/// The object of an extension.
std::optional<JSONElement> extension(const JSONElement& object, std::string_view name);

std::optional<double> optionalNumber(const JSONElement& object, std::string_view key);
std::optional<bool> optionalBool(const JSONElement& object, std::string_view key);
std::optional<std::string> optionalString(const JSONElement& object, std::string_view key);

/// An index into one of the document's lists.
std::optional<std::uint32_t> optionalIndex(const JSONElement& object, std::string_view key);

/// A list of exactly `count` finite numbers.
std::optional<std::vector<double>> optionalNumbers(const JSONElement& object, std::string_view key, std::size_t count);

/// The list under `key`, or an empty one.
std::vector<JSONElement> optionalList(const JSONElement& object, std::string_view key);

}  // namespace ornolith
