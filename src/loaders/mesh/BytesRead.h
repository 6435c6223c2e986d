#pragma once

#include <cstddef>
#include <functional>
#include <span>

namespace ornolith {

/// What a reader calls, on any of its threads, with a part of a file's bytes that it will hardly look at again: whoever
/// holds the file may give back the memory that shows them.
using BytesRead = std::function<void(std::span<const std::byte> part)>;

/// How many bytes are worth a call.
inline constexpr std::size_t bytesOfAPart = std::size_t{4} << 20;

/// Calls it, where there is one.
inline void noteBytesRead(const BytesRead& whenRead, std::span<const std::byte> part) {
  if (whenRead && !part.empty()) whenRead(part);
}

}  // namespace ornolith
