#pragma once

#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

namespace ornolith {

/// Leaves values that nobody gives uninitialised.
template <typename Value>
struct UninitializedAllocator : std::allocator<Value> {
  static_assert(std::is_trivially_copyable_v<Value>);

  UninitializedAllocator() = default;
  template <typename Other>
  explicit UninitializedAllocator(const UninitializedAllocator<Other>& /*other*/) noexcept {}

  template <typename Other>
  void construct(Other* place) noexcept {
    ::new (static_cast<void*>(place)) Other;
  }
  template <typename Other, typename... Arguments>
  void construct(Other* place, Arguments&&... arguments) {
    ::new (static_cast<void*>(place)) Other(std::forward<Arguments>(arguments)...);
  }
};

/// A vector for what is about to be written as a whole: what it grows by without a value (`UninitializedVector(n)`,
/// `resize(n)`) is uninitialised, not zero; `resize(n, 0)` gives zeros.
template <typename Value>
using UninitializedVector = std::vector<Value, UninitializedAllocator<Value>>;

}  // namespace ornolith
