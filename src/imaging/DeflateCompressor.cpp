#include "imaging/DeflateCompressor.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace ornolith {

namespace {

constexpr std::size_t windowBytes = 32'768;
constexpr unsigned hashBits = 15;
constexpr std::uint32_t nowhere = 0xffffffff;

/// As many bytes as are hashed, which no match is shorter than: those of a pixel.
constexpr std::size_t hashedBytes = 4;

/// How many earlier places are compared, the same where matches are rare or only counted, and the length of a match
/// with which the search is content.
constexpr int searchDepth = 8;
constexpr int hastySearchDepth = 3;
constexpr std::size_t contentLength = 64;

/// A match shorter than this takes more bits than its bytes as literals where it lies as far back as this, as the last
/// byte of a pixel and small differences take few.
constexpr std::size_t worthwhileLength = 6;
constexpr std::size_t shortMatchDistance = 1024;

/// Of a long match this many bytes are remembered at its begin and at its end.
constexpr std::size_t rememberedBytes = 16;

/// The bytes of literals less those that matches gain that the search bears; for each time as many it then skips a byte
/// more after a place without a match, up to the most.
constexpr std::size_t patience = 128;
constexpr std::size_t longestSkip = 7;

/// Where a block ends, as what follows may be of another kind.
constexpr std::size_t blockTokens = 20'000;

std::uint32_t load32(const std::uint8_t* bytes) noexcept {
  std::uint32_t word;
  std::memcpy(&word, bytes, 4);
  return word;
}

std::uint64_t load64(const std::uint8_t* bytes) noexcept {
  std::uint64_t word;
  std::memcpy(&word, bytes, 8);
  return word;
}

/// How many bytes from both places on are the same, at most `limit`.
std::size_t commonLength(const std::uint8_t* earlier, const std::uint8_t* later, std::size_t limit) noexcept {
  std::size_t length = 0;
  for (; length + 8 <= limit; length += 8) {
    const std::uint64_t difference = load64(earlier + length) ^ load64(later + length);
    static_assert(std::endian::native == std::endian::little);
    if (difference != 0) return length + static_cast<std::size_t>(std::countr_zero(difference)) / 8;
  }
  while (length < limit && earlier[length] == later[length]) ++length;
  return length;
}

}  // namespace

DeflateCompressor::DeflateCompressor() : newest_(std::size_t{1} << hashBits), previous_(windowBytes) {}

void DeflateCompressor::compress(std::span<const std::uint8_t> bytes, bool isLast, std::vector<std::byte>& out) {
  start(bytes, searchDepth);
  DeflateBitWriter writer(out);
  std::size_t position = 0;
  do {
    const std::size_t end = fillBlock(position);
    block_.write(bytes.subspan(position, end - position), isLast && end == bytes.size(), writer);
    position = end;
  } while (position < bytes.size());
  if (!isLast) {
    // An empty stored block ends at a whole byte.
    writer.reserve(48);
    writer.put(0, 3);
    writer.alignToByte();
    writer.put(0xffff0000, 32);
  }
  writer.finish();
}

std::uint64_t DeflateCompressor::compressedBitCount(std::span<const std::uint8_t> bytes, std::size_t historyCount) {
  start(bytes.first(historyCount), hastySearchDepth);
  std::size_t position = 0;
  while (position < historyCount) position = fillBlock(position);
  bytes_ = bytes;
  std::uint64_t count = 0;
  while (position < bytes.size()) {
    const std::size_t end = fillBlock(position);
    count += block_.bitCount(end - position);
    position = end;
  }
  return count;
}

void DeflateCompressor::start(std::span<const std::uint8_t> bytes, int depth) {
  bytes_ = bytes;
  searchDepth_ = depth;
  std::fill(newest_.begin(), newest_.end(), nowhere);
}

/// Collects the symbols of a block from `position` on; where it ends.
std::size_t DeflateCompressor::fillBlock(std::size_t position) {
  block_.clear();
  const std::size_t size = bytes_.size();
  std::size_t misses = 0;
  while (block_.tokenCount() < blockTokens && position + hashedBytes <= size) {
    const Match match = findMatch(position, misses < patience ? searchDepth_ : hastySearchDepth);
    if (match.length > 0) {
      addMatch(position, match);
      position += match.length;
      misses -= std::min(misses, match.length - hashedBytes);
      continue;
    }
    const std::size_t step = std::min(1 + std::min(misses / patience, longestSkip), size - position);
    for (std::size_t i = 0; i < step; ++i) block_.addLiteral(bytes_[position + i]);
    position += step;
    misses += step;
  }
  if (position + hashedBytes > size) {
    for (; position < size; ++position) block_.addLiteral(bytes_[position]);
  }
  return position;
}

/// Enters the four bytes at `position` into the chain of their hash, and gives the place before on it.
std::size_t DeflateCompressor::remember(std::size_t position) noexcept {
  const std::uint32_t hash = load32(bytes_.data() + position) * 0x9e3779b1U >> (32 - hashBits);
  const std::uint32_t before = newest_[hash];
  newest_[hash] = static_cast<std::uint32_t>(position);
  const std::size_t distance = position - before;
  // A place as far back as the window is wide has lost its own link.
  previous_[position % windowBytes] =
      before == nowhere || distance >= windowBytes ? std::uint16_t{0} : static_cast<std::uint16_t>(distance);
  return previous_[position % windowBytes];
}

/// The longest match that the search finds, the nearest of those; it may be longer than one symbol can say. Remembers
/// the position.
DeflateCompressor::Match DeflateCompressor::findMatch(std::size_t position, int depth) noexcept {
  std::size_t link = remember(position);
  std::size_t distance = link;
  const std::uint8_t* const here = bytes_.data() + position;
  const std::size_t limit = bytes_.size() - position;
  const std::uint32_t first = load32(here);
  Match best{hashedBytes - 1, 0};
  for (; depth > 0 && link != 0 && distance < windowBytes; --depth) {
    const std::uint8_t* const there = here - distance;
    if (load32(there + best.length - 3) == load32(here + best.length - 3) && load32(there) == first) {
      const std::size_t length = commonLength(there, here, limit);
      if (length > best.length) {
        best = {length, distance};
        if (length >= contentLength || length == limit) break;
      }
    }
    link = previous_[(position - distance) % windowBytes];
    distance += link;
  }
  return best.length >= worthwhileLength || (best.distance > 0 && best.distance < shortMatchDistance) ? best : Match{};
}

void DeflateCompressor::addMatch(std::size_t position, Match match) {
  const std::size_t matchEnd = position + match.length;
  std::size_t runEnd = 0;
  for (std::size_t at = position; at < matchEnd;) {
    const std::size_t left = matchEnd - at;
    std::size_t length = std::min(left, DeflateBlock::maximumMatch);
    // No rest that is too short for a symbol.
    if (left > length && left - length < DeflateBlock::minimumMatch) length -= DeflateBlock::minimumMatch;
    // What goes on as the byte before takes the fewest bits as a copy of that.
    if (at > 0 && runEnd < at) runEnd = at + commonLength(bytes_.data() + at - 1, bytes_.data() + at, left);
    block_.addMatch(length, runEnd >= at + length ? 1 : match.distance);
    at += length;
  }
  // The first byte is known already.
  const std::size_t end = std::min(matchEnd, bytes_.size() - hashedBytes + 1);
  const std::size_t headEnd = std::min(position + rememberedBytes, end);
  for (std::size_t i = position + 1; i < headEnd; ++i) remember(i);
  const std::size_t tail = std::max(headEnd, end - std::min(rememberedBytes, end));
  for (std::size_t i = tail; i < end; ++i) remember(i);
}

}  // namespace ornolith
