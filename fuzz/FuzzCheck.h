#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>

namespace ornolith::fuzz {

/// Ends the program, so that the fuzzer keeps the input, where a property does not hold.
inline void check(bool holds, const char* property) {
  if (holds) return;
  std::fprintf(stderr, "Property broken: %s\n", property);
  std::abort();
}

/// True where `action` throws an `ErrorType`.
template <typename ErrorType, typename Action>
bool throws(Action action) {
  try {
    action();
    return false;
  } catch (const ErrorType&) {
    return true;
  }
}

inline std::span<const std::byte> bytes(const std::uint8_t* data, std::size_t size) {
  return std::as_bytes(std::span(data, size));
}

inline std::span<const std::byte> bytes(const std::string& text) {
  return std::as_bytes(std::span(text));
}

}  // namespace ornolith::fuzz
