#pragma once

#include <cstddef>
#include <limits>
#include <memory>
#include <new>
#include <span>
#include <type_traits>

namespace ornolith {

/// Memory of zeros that the system provides where it is touched. Throws `std::bad_alloc`.
void* allocateLazyZeros(std::size_t byteCount);
void releaseLazyZeros(void* memory, std::size_t byteCount) noexcept;

/// Zeros of which many will stay so: what is never written takes no memory, where there is much of it.
template <typename Value>
class LazyZeros {
  static_assert(std::is_trivial_v<Value>);

 public:
  LazyZeros() = default;
  /// Throws `std::bad_alloc`.
  explicit LazyZeros(std::size_t count) {
    if (count > std::numeric_limits<std::size_t>::max() / sizeof(Value)) throw std::bad_array_new_length();
    const std::size_t byteCount = count * sizeof(Value);
    values_ = Memory(static_cast<Value*>(allocateLazyZeros(byteCount)), Release{byteCount});
    count_ = count;
  }

  std::span<Value> values() noexcept { return {values_.get(), count_}; }
  std::span<const Value> values() const noexcept { return {values_.get(), count_}; }

 private:
  struct Release {
    std::size_t byteCount = 0;
    void operator()(Value* memory) const noexcept { releaseLazyZeros(memory, byteCount); }
  };
  using Memory = std::unique_ptr<Value[], Release>;

  Memory values_;
  std::size_t count_ = 0;
};

}  // namespace ornolith
