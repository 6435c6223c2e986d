#include "loaders/obj/OBJListBlocks.h"

#include <algorithm>

#include "loaders/obj/OBJStatements.h"

namespace ornolith {

/// Visits each block that has one of the indices once.
template <typename Visit>
void OBJListBlocks::forEachBlock(const LargeVector<std::uint32_t>& indices, const Visit& visit) {
  ++callCount_;
  for (const std::uint32_t index : indices) {
    if (index == noOBJIndex) continue;
    const std::size_t number = index / vectorsOfABlock;
    if (blocks_[number].latestCall == callCount_) continue;
    blocks_[number].latestCall = callCount_;
    visit(number);
  }
}

void OBJListBlocks::add(const LargeVector<std::uint32_t>& indices) {
  forEachBlock(indices, [this](std::size_t number) { ++blocks_[number].stretchCount; });
}

void OBJListBlocks::remove(const LargeVector<std::uint32_t>& indices, std::size_t components,
                           std::initializer_list<LargeVector<float>*> lists) {
  forEachBlock(indices, [&](std::size_t number) {
    if (--blocks_[number].stretchCount > 0) return;
    for (LargeVector<float>* list : lists) {
      const std::size_t begin = std::min(number * vectorsOfABlock * components, list->size());
      const std::size_t end = std::min(begin + vectorsOfABlock * components, list->size());
      emptyLarge(list->data() + begin, (end - begin) * sizeof(float));
    }
  });
}

}  // namespace ornolith
