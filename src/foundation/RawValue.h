#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace ornolith {

/// The text of one case of an enumeration.
template <typename T>
struct RawValueEntry {
  T value;
  std::string_view text;
};

/// Gives an enumeration its texts, in case order. An enumeration that has texts specialises this:
///
///     template <>
///     inline constexpr auto rawValueTable<Fruit> = std::to_array<RawValueEntry<Fruit>>({{Fruit::apple, "apple"},
///     ...});
template <typename T>
inline constexpr std::nullptr_t rawValueTable = nullptr;

template <typename T>
concept HasRawValues = requires {
  rawValueTable<T>.size();
};

/// The text of `value`; empty for a value that is no case.
template <HasRawValues T>
constexpr std::string_view rawValue(T value) noexcept {
  for (const RawValueEntry<T>& entry : rawValueTable<T>) {
    if (entry.value == value) return entry.text;
  }
  return {};
}

/// The case with exactly this text, or nothing.
template <HasRawValues T>
constexpr std::optional<T> fromRawValue(std::string_view text) noexcept {
  for (const RawValueEntry<T>& entry : rawValueTable<T>) {
    if (entry.text == text) return entry.value;
  }
  return std::nullopt;
}

}  // namespace ornolith
