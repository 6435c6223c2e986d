#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace ornolith {

/// A set of indices below a bound that finds its next member in a few steps: a bit for each index, and above each level
/// of words another with a bit for each word that is not empty.
class IndexSet {
 public:
  /// Holds every index below `count`.
  void fill(std::size_t count) {
    depth_ = 0;
    std::size_t bits = count;
    do {
      if (levels_.size() == depth_) levels_.emplace_back();
      std::vector<std::uint64_t>& words = levels_[depth_++];
      words.assign((bits + 63) / 64, ~std::uint64_t{0});
      if (bits % 64 != 0) words.back() = (std::uint64_t{1} << (bits % 64)) - 1;
      bits = words.size();
    } while (bits > 1);
  }

  /// `index` is below the count.
  void insert(std::size_t index) {
    for (std::size_t level = 0; level < depth_; ++level, index /= 64) {
      levels_[level][index / 64] |= std::uint64_t{1} << (index % 64);
    }
  }

  /// `index` is below the count.
  void erase(std::size_t index) {
    for (std::size_t level = 0; level < depth_; ++level, index /= 64) {
      std::uint64_t& word = levels_[level][index / 64];
      word &= ~(std::uint64_t{1} << (index % 64));
      if (word != 0) return;
    }
  }

  /// The smallest member that is not below `from`.
  std::optional<std::size_t> firstFrom(std::size_t from) const {
    for (std::size_t level = 0; level < depth_; ++level) {
      const std::size_t word = from / 64;
      if (word >= levels_[level].size()) return std::nullopt;
      const std::uint64_t bits = levels_[level][word] & (~std::uint64_t{0} << (from % 64));
      if (bits != 0) return lowestBelow(level, word * 64 + static_cast<std::size_t>(std::countr_zero(bits)));
      from = word + 1;
    }
    return std::nullopt;
  }

 private:
  std::size_t lowestBelow(std::size_t level, std::size_t index) const {
    while (level > 0) {
      --level;
      index = index * 64 + static_cast<std::size_t>(std::countr_zero(levels_[level][index]));
    }
    return index;
  }

  std::vector<std::vector<std::uint64_t>> levels_;
  std::size_t depth_ = 0;
};

}  // namespace ornolith
