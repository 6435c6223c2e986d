#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <span>
#include <type_traits>

namespace ornolith {

/// Zeros of which many will stay so: what is never written takes no memory, where there is much of it.
template <typename Value>
class LazyZeros {
  static_assert(std::is_trivial_v<Value>);

 public:
  LazyZeros() = default;
  /// Throws `std::bad_alloc`.
  explicit LazyZeros(std::size_t count)
      : values_(static_cast<Value*>(std::calloc(count > 0 ? count : 1, sizeof(Value)))), count_(count) {
    if (!values_) throw std::bad_alloc();
  }

  std::span<Value> values() noexcept { return {values_.get(), count_}; }
  std::span<const Value> values() const noexcept { return {values_.get(), count_}; }

 private:
  struct Free {
    void operator()(Value* memory) const noexcept { std::free(memory); }
  };
  std::unique_ptr<Value[], Free> values_;
  std::size_t count_ = 0;
};

}  // namespace ornolith
