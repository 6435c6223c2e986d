#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <vector>

#include "foundation/LargeVector.h"

namespace ornolith {

/// Knows how many stretches have corners in each block of one of the statements' lists, and gives the block's memory
/// back with the last of them.
class OBJListBlocks {
 public:
  /// For a list of so many vectors.
  explicit OBJListBlocks(std::size_t vectorCount) : blocks_((vectorCount + vectorsOfABlock - 1) / vectorsOfABlock) {}

  /// A stretch with corners of these indices. `noOBJIndex` is passed over.
  void add(const LargeVector<std::uint32_t>& indices);
  /// One of those that were added is done with. `lists` are the list, and others like it, with so many components.
  void remove(const LargeVector<std::uint32_t>& indices, std::size_t components,
              std::initializer_list<LargeVector<float>*> lists);

 private:
  // Sixteen pages of vectors of two components, and a whole number of them for any.
  static constexpr std::size_t vectorsOfABlock = std::size_t{1} << 13;

  struct Block {
    std::uint32_t stretchCount = 0;
    std::uint32_t latestCall = 0;  // The last one that has counted the block.
  };

  template <typename Visit>
  void forEachBlock(const LargeVector<std::uint32_t>& indices, const Visit& visit);

  std::vector<Block> blocks_;
  std::uint32_t callCount_ = 0;
};

}  // namespace ornolith
