#pragma once

#include <cstddef>
#include <limits>
#include <new>
#include <vector>

#include "foundation/UninitializedVector.h"

namespace ornolith {

/// Memory of at least `byteCount` bytes, aligned for everything; pieces of some megabytes are asked for in the system's
/// large pages, which are much cheaper to touch for the first time. Throws `std::bad_alloc`.
void* allocateLarge(std::size_t byteCount);
void releaseLarge(void* memory) noexcept;

/// Gives the system back what lies in some memory, which is still there, without its values.
void emptyLarge(void* memory, std::size_t byteCount) noexcept;

/// Asks the system for its large pages in the same way, for memory from elsewhere that has not been touched yet.
void preferLargePages(void* memory, std::size_t byteCount) noexcept;

/// Takes memory by `allocateLarge` and leaves values that nobody gives uninitialised.
template <typename Value>
struct LargeAllocator : UninitializedAllocator<Value> {
  LargeAllocator() = default;
  template <typename Other>
  explicit LargeAllocator(const LargeAllocator<Other>& /*other*/) noexcept {}

  Value* allocate(std::size_t count) {
    if (count > std::numeric_limits<std::size_t>::max() / sizeof(Value)) throw std::bad_array_new_length();
    return static_cast<Value*>(allocateLarge(count * sizeof(Value)));
  }
  void deallocate(Value* memory, std::size_t /*count*/) noexcept { releaseLarge(memory); }
};

/// A vector for streams of vertices and indices, that are written once by several threads: what it grows by without a
/// value (`LargeVector(n)`, `resize(n)`) is uninitialised, not zero.
template <typename Value>
using LargeVector = std::vector<Value, LargeAllocator<Value>>;

/// Empties a vector and gives the system back its memory at once, but not its addresses. Memory that is merely freed
/// the program keeps in large part, to use it for what it asks for next, and to keep that in its turn.
template <typename Value>
void giveBack(LargeVector<Value>& values) noexcept {
  emptyLarge(values.data(), values.size() * sizeof(Value));
  values.clear();
}

}  // namespace ornolith
