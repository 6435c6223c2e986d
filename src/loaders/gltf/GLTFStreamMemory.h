#pragma once

#include <cstddef>
#include <memory>
#include <span>

#include "foundation/LargeVector.h"
#include "foundation/SharedBytes.h"

namespace ornolith {

/// Memory for the many streams that one file's data is converted into. Small ones share blocks in the system's large
/// pages, as soon as there are enough of them to be worth it: touching fresh small pages takes longer than the
/// conversion. A block stays until the last of its streams has gone.
class GLTFStreamMemory {
 public:
  template <typename Value>
  struct Stream {
    std::span<Value> values;  ///< Uninitialised.
    SharedBytes bytes;        ///< The same memory, to be kept.
  };

  template <typename Value>
  Stream<Value> make(std::size_t count) {
    const std::size_t byteCount = count * sizeof(Value);
    if (byteCount > sharedUpTo || total_ + byteCount < sharedFrom) {
      total_ += byteCount;
      auto own = std::make_shared<LargeVector<Value>>(count);
      return {*own, SharedBytes(own)};
    }
    const std::size_t place = placeInBlock(byteCount);
    auto* values = reinterpret_cast<Value*>(block_->data() + place);
    return {{values, count}, SharedBytes(block_, {block_->data() + place, byteCount})};
  }

 private:
  static constexpr std::size_t blockSize = std::size_t{32} << 20;
  static constexpr std::size_t sharedUpTo = blockSize / 4;             ///< Larger streams get pages of their own.
  static constexpr std::size_t sharedFrom = std::size_t{4} << 20;      ///< What is made before blocks are.
  static constexpr std::size_t alignment = alignof(std::max_align_t);  ///< Of streams in their block.

  std::size_t placeInBlock(std::size_t byteCount) {
    if (!block_ || byteCount > blockSize - used_) {
      block_ = std::make_shared<LargeVector<std::byte>>(blockSize);
      used_ = 0;
    }
    const std::size_t place = used_;
    used_ += (byteCount + alignment - 1) / alignment * alignment;
    return place;
  }

  std::shared_ptr<LargeVector<std::byte>> block_;
  std::size_t used_ = 0;
  std::size_t total_ = 0;  ///< Bytes of the streams with memory of their own.
};

}  // namespace ornolith
