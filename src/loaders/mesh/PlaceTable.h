#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "foundation/LargeVector.h"

namespace ornolith {

/// What must be equal for two corners to be one vertex: the bits of a position, in which equal coordinates are equal
/// and what is no number is orderly too, and a word.
struct PlaceKey {
  std::uint64_t low = 0;   // x and y.
  std::uint64_t high = 0;  // z and the word.
  bool operator==(const PlaceKey&) const = default;

  /// That of three floats at any address.
  static PlaceKey at(const void* position, std::uint32_t word = 0) noexcept {
    PlaceKey key;
    std::uint32_t z = 0;
    std::memcpy(&key.low, position, sizeof key.low);
    std::memcpy(&z, static_cast<const std::byte*>(position) + sizeof key.low, sizeof z);
    key.high = z | std::uint64_t{word} << 32;
    if (mayHoldNegativeZero(key.low) || z == negativeZero) key.dropSignsOfZeros();
    return key;
  }

  std::uint32_t word() const noexcept { return static_cast<std::uint32_t>(high >> 32); }
  void copyPosition(float* place) const noexcept {
    std::memcpy(place, &low, sizeof low);
    std::memcpy(place + 2, &high, sizeof(float));
  }

 private:
  static constexpr std::uint64_t negativeZero = 0x80000000;

  /// True at least where one of two floats is one (S. E. Anderson, "Bit twiddling hacks": a word with a zero byte).
  static bool mayHoldNegativeZero(std::uint64_t both) noexcept {
    const std::uint64_t value = both ^ (negativeZero << 32 | negativeZero);
    return ((value - (std::uint64_t{1} << 32 | 1)) & ~value & (negativeZero << 32 | negativeZero)) != 0;
  }
  void dropSignsOfZeros() noexcept {
    if ((low & 0xFFFFFFFF) == negativeZero) low &= ~std::uint64_t{0xFFFFFFFF};
    if (low >> 32 == negativeZero) low &= 0xFFFFFFFF;
    if ((high & 0xFFFFFFFF) == negativeZero) high &= ~std::uint64_t{0xFFFFFFFF};
  }
};

/// Strongly universal hashing of short vectors (D. Lemire and O. Kaser, "Strongly universal string hashing is fast",
/// 2014), with multipliers that nobody who makes a file can know: so none can be made whose corners all meet at one
/// place of a table.
class PlaceHash {
 public:
  PlaceHash() noexcept;
  std::uint32_t operator()(const PlaceKey& key) const noexcept {
    const std::uint64_t sum = multipliers_[0] + multipliers_[1] * (key.low & 0xFFFFFFFF) +
                              multipliers_[2] * (key.low >> 32) + multipliers_[3] * (key.high & 0xFFFFFFFF) +
                              multipliers_[4] * (key.high >> 32);
    return static_cast<std::uint32_t>(sum >> 32);
  }
  /// What is added to the products, and the factors of x, y, z and the word.
  const std::array<std::uint64_t, 5>& multipliers() const noexcept { return multipliers_; }

 private:
  std::array<std::uint64_t, 5> multipliers_{};
};

/// Numbers found by the hashes of what they stand for: open addressing, at most five eighths full. A slot holds the
/// number and as many bits of the hash as there is room for.
class PlaceTable {
 public:
  /// For numbers up to `highest`, which is below 2^31 - 1, about `expectedCount` of them.
  PlaceTable(std::size_t expectedCount, std::uint32_t highest);

  void prefetch(std::uint32_t hash) const noexcept { __builtin_prefetch(&slots_[place(hash)]); }

  /// The number with that hash for which `isSame(number)`; `added`, which is taken in, where there is none. `hashOf`
  /// gives the hash of a number in the table.
  template <typename IsSame, typename HashOf>
  std::uint32_t find(std::uint32_t hash, std::uint32_t added, const IsSame& isSame, const HashOf& hashOf) {
    const std::uint32_t tag = hash << numberBits_;
    for (std::size_t i = place(hash);; i = i + 1 == slots_.size() ? 0 : i + 1) {
      const std::uint32_t slot = slots_[i];
      if (slot == 0) {
        slots_[i] = tag | (added + 1);
        if (++count_ > mostCount_) grow(hashOf);
        return added;
      }
      const std::uint32_t number = (slot & numberMask_) - 1;
      if ((slot & ~numberMask_) == tag && isSame(number)) return number;
    }
  }

 private:
  /// Lemire, "Fast random integer generation in an interval", 2019.
  std::size_t place(std::uint32_t hash) const noexcept { return std::uint64_t{hash} * slots_.size() >> 32; }
  void makeSlots(std::size_t count);

  template <typename HashOf>
  void grow(const HashOf& hashOf) {
    LargeVector<std::uint32_t> old;
    std::swap(old, slots_);
    makeSlots(old.size() * 2);
    for (const std::uint32_t slot : old) {
      if (slot == 0) continue;
      std::size_t i = place(hashOf((slot & numberMask_) - 1));
      while (slots_[i] != 0) i = i + 1 == slots_.size() ? 0 : i + 1;
      slots_[i] = slot;
    }
  }

  LargeVector<std::uint32_t> slots_;
  std::size_t count_ = 0;
  std::size_t mostCount_ = 0;
  int numberBits_ = 0;
  std::uint32_t numberMask_ = 0;
};

}  // namespace ornolith
