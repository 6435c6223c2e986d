#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "imaging/DeflateBlock.h"

namespace ornolith {

/// Compresses the filtered rows of pictures to DEFLATE (RFC 1951). Bytes that repeat over long stretches, such as a
/// plain background, and bytes that never repeat, such as noise, are told early and cost little time; what lies between
/// is searched greedily along hash chains. The same bytes give the same stream on every machine. One object serves one
/// call at a time and keeps its memory between calls.
class DeflateCompressor {
 public:
  DeflateCompressor();

  /// Appends `bytes`, less than 4 GiB, to `out` as blocks that stand on their own: none refers to bytes of an earlier
  /// call. With `isLast` the stream ends with them; without, it stops at a whole byte, so that the result of another
  /// call can follow.
  void compress(std::span<const std::uint8_t> bytes, bool isLast, std::vector<std::byte>& out);

  /// About how many bits `compress` would write for `bytes` behind the first `historyCount` of them.
  std::uint64_t compressedBitCount(std::span<const std::uint8_t> bytes, std::size_t historyCount);

 private:
  struct Match {
    std::size_t length = 0;
    std::size_t distance = 0;
  };

  void start(std::span<const std::uint8_t> bytes, int depth);
  std::size_t fillBlock(std::size_t position);
  std::size_t remember(std::size_t position) noexcept;
  Match findMatch(std::size_t position, int depth) noexcept;
  void addMatch(std::size_t position, Match match);

  std::span<const std::uint8_t> bytes_;
  int searchDepth_ = 0;
  std::vector<std::uint32_t> newest_;    ///< By hash: the last position with it.
  std::vector<std::uint16_t> previous_;  ///< By position in the window: how far back the one before with its hash is.
  DeflateBlock block_;
};

}  // namespace ornolith
