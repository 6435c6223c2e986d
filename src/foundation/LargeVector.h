#pragma once

#include <cstddef>
#include <limits>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

namespace ornolith {

/// Memory of at least `byteCount` bytes, aligned for everything; large pieces are asked for in the system's large
/// pages, which are much cheaper to touch for the first time. Throws `std::bad_alloc`.
void* allocateLarge(std::size_t byteCount);
void releaseLarge(void* memory) noexcept;

/// Asks the system for its large pages where memory from elsewhere, of some megabytes, has not been touched yet.
void preferLargePages(void* memory, std::size_t byteCount) noexcept;

/// Takes memory by `allocateLarge` and leaves values that nobody gives uninitialised.
template <typename Value>
struct LargeAllocator {
  static_assert(std::is_trivially_copyable_v<Value>);
  using value_type = Value;

  LargeAllocator() = default;
  template <typename Other>
  explicit LargeAllocator(const LargeAllocator<Other>& /*other*/) noexcept {}

  Value* allocate(std::size_t count) {
    if (count > std::numeric_limits<std::size_t>::max() / sizeof(Value)) throw std::bad_array_new_length();
    return static_cast<Value*>(allocateLarge(count * sizeof(Value)));
  }
  void deallocate(Value* memory, std::size_t /*count*/) noexcept { releaseLarge(memory); }

  template <typename Other>
  void construct(Other* place) noexcept {
    ::new (static_cast<void*>(place)) Other;
  }
  template <typename Other, typename... Arguments>
  void construct(Other* place, Arguments&&... arguments) {
    ::new (static_cast<void*>(place)) Other(std::forward<Arguments>(arguments)...);
  }

  friend bool operator==(const LargeAllocator& /*a*/, const LargeAllocator& /*b*/) noexcept { return true; }
};

/// A vector for streams of vertices and indices, that are written once by several threads: what it grows by without a
/// value (`LargeVector(n)`, `resize(n)`) is uninitialised, not zero.
template <typename Value>
using LargeVector = std::vector<Value, LargeAllocator<Value>>;

}  // namespace ornolith
