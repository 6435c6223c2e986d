#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/JSONCoding.h"

namespace ornolith {

/// A universally unique identifier (RFC 4122).
class UUID {
 public:
  /// The nil UUID, all zeros.
  UUID() = default;
  explicit UUID(const std::array<std::uint8_t, 16>& bytes) : bytes_(bytes) {}

  /// A fresh version 4 UUID from the kernel's random source. Throws `SystemError` where that gives nothing.
  static UUID random();
  /// Reads the form 8-4-4-4-12 of hexadecimal digits, in either case; nothing for any other text.
  static std::optional<UUID> parse(std::string_view text);

  /// The form 8-4-4-4-12 with upper-case digits.
  std::string uuidString() const;
  const std::array<std::uint8_t, 16>& bytes() const noexcept { return bytes_; }

  /// A JSON string; read in either case, written in upper case.
  static UUID fromJSON(const JSONElement& element);
  JSONValue toJSON() const { return {uuidString()}; }

  friend bool operator==(const UUID&, const UUID&) = default;
  friend auto operator<=>(const UUID&, const UUID&) = default;

 private:
  std::array<std::uint8_t, 16> bytes_{};
};

}  // namespace ornolith

template <>
struct std::hash<ornolith::UUID> {
  std::size_t operator()(const ornolith::UUID& uuid) const noexcept {
    return std::hash<std::string_view>{}(
        std::string_view(reinterpret_cast<const char*>(uuid.bytes().data()), uuid.bytes().size()));
  }
};
