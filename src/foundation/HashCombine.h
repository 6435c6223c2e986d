#pragma once

#include <cstddef>
#include <functional>

namespace ornolith {

/// The hash of a sequence whose hash so far is `seed`, with one more value (the mixing step of Boost's hash_combine,
/// for 64 bits).
template <typename T>
std::size_t hashCombining(std::size_t seed, const T& value) {
  return seed ^ (std::hash<T>{}(value) + 0x9E3779B97F4A7C15U + (seed << 12) + (seed >> 4));
}

}  // namespace ornolith
