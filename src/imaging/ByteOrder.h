#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace ornolith {

/// Integers at `offset`, which must leave room for them.
inline std::uint8_t byteAt(std::span<const std::byte> data, std::size_t offset) noexcept {
  return std::to_integer<std::uint8_t>(data[offset]);
}
inline std::uint16_t littleEndian16(std::span<const std::byte> data, std::size_t offset) noexcept {
  return static_cast<std::uint16_t>(byteAt(data, offset) | byteAt(data, offset + 1) << 8);
}
inline std::uint32_t littleEndian32(std::span<const std::byte> data, std::size_t offset) noexcept {
  return littleEndian16(data, offset) | std::uint32_t{littleEndian16(data, offset + 2)} << 16;
}
inline std::uint16_t bigEndian16(std::span<const std::byte> data, std::size_t offset) noexcept {
  return static_cast<std::uint16_t>(byteAt(data, offset) << 8 | byteAt(data, offset + 1));
}
inline std::uint32_t bigEndian32(std::span<const std::byte> data, std::size_t offset) noexcept {
  return std::uint32_t{bigEndian16(data, offset)} << 16 | bigEndian16(data, offset + 2);
}

}  // namespace ornolith
