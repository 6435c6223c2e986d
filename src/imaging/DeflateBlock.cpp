#include "imaging/DeflateBlock.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace ornolith {

namespace {

constexpr std::uint32_t matchMark = 0x80000000;
constexpr std::size_t endOfBlock = 256;
constexpr std::size_t fixedLiteralCount = 288;
constexpr std::size_t maximumStoredBytes = 65'535;
constexpr unsigned maximumCodeLength = 15;

/// The order in which the lengths of the code length code are written (RFC 1951, 3.2.7).
constexpr std::array<std::uint8_t, 19> codeLengthOrder{16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                                       11, 4,  12, 3, 13, 2, 14, 1, 15};

/// A symbol that stands for a range of values, and how many bits follow it to tell them apart.
struct RangeSymbol {
  std::uint8_t symbol = 0;  ///< Counted from the first such symbol.
  std::uint8_t extraBits = 0;
  std::uint16_t base = 0;
};

// The tables of RFC 1951, 3.2.5, in closed form: past the first values, each power of two is divided into four ranges
// of lengths or two ranges of distances.

constexpr RangeSymbol lengthSymbol(std::size_t length) {
  const std::size_t offset = length - DeflateBlock::minimumMatch;
  if (length == DeflateBlock::maximumMatch) return {28, 0, 255};
  if (offset < 8) return {static_cast<std::uint8_t>(offset), 0, static_cast<std::uint16_t>(offset)};
  const auto extraBits = static_cast<std::size_t>(std::bit_width(offset) - 3);
  const std::size_t quarter = offset >> extraBits;  // 4 to 7
  return {static_cast<std::uint8_t>(extraBits * 4 + quarter), static_cast<std::uint8_t>(extraBits),
          static_cast<std::uint16_t>(quarter << extraBits)};
}

constexpr RangeSymbol distanceSymbol(std::size_t distance) {
  const std::size_t offset = distance - 1;
  if (offset < 4) return {static_cast<std::uint8_t>(offset), 0, static_cast<std::uint16_t>(offset)};
  const auto extraBits = static_cast<std::size_t>(std::bit_width(offset) - 2);
  const std::size_t half = offset >> extraBits;  // 2 or 3
  return {static_cast<std::uint8_t>(extraBits * 2 + half), static_cast<std::uint8_t>(extraBits),
          static_cast<std::uint16_t>(half << extraBits)};
}

constexpr auto lengthSymbols = [] {
  std::array<RangeSymbol, 256> table{};
  for (std::size_t i = 0; i < table.size(); ++i) table[i] = lengthSymbol(i + DeflateBlock::minimumMatch);
  return table;
}();

/// By distance - 1 below 256, and by (distance - 1) / 128 behind.
constexpr auto distanceSymbols = [] {
  std::array<RangeSymbol, 512> table{};
  for (std::size_t i = 0; i < 256; ++i) table[i] = distanceSymbol(i + 1);
  for (std::size_t i = 2; i < 256; ++i) table[256 + i] = distanceSymbol(i * 128 + 1);
  return table;
}();

const RangeSymbol& symbolOfDistance(std::size_t offset) noexcept {
  return distanceSymbols[offset < 256 ? offset : 256 + (offset >> 7)];
}

constexpr unsigned extraBitsOfLength(std::size_t symbol) {
  return symbol < 8 || symbol == 28 ? 0 : static_cast<unsigned>((symbol - 4) / 4);
}

constexpr unsigned extraBitsOfDistance(std::size_t symbol) {
  return symbol < 4 ? 0 : static_cast<unsigned>((symbol - 2) / 2);
}

/// Code lengths of at most `limit` bits for symbols of these counts: Huffman's, by two queues, then shortened to the
/// limit. Zero for symbols that do not occur; at least two symbols get a code, as some readers refuse lesser ones.
template <std::size_t Size>
std::array<std::uint8_t, Size> codeLengths(const std::array<std::uint32_t, Size>& counts, unsigned limit) {
  std::array<std::pair<std::uint32_t, std::uint16_t>, Size> used;
  std::size_t usedCount = 0;
  for (std::size_t i = 0; i < Size; ++i) {
    if (counts[i] > 0) used[usedCount++] = {counts[i], static_cast<std::uint16_t>(i)};
  }
  for (std::size_t i = 0; usedCount < 2; ++i) {
    if (counts[i] == 0) used[usedCount++] = {1, static_cast<std::uint16_t>(i)};
  }
  std::sort(used.begin(), used.begin() + static_cast<std::ptrdiff_t>(usedCount));

  // Leaves come first, by rising weight, then the nodes in the order in which they are made, which is that of rising
  // weight too. The two lightest of both sequences join until one is left.
  std::array<std::uint32_t, 2 * Size> weight;
  std::array<std::uint16_t, 2 * Size> parent;
  for (std::size_t i = 0; i < usedCount; ++i) weight[i] = used[i].first;
  const std::size_t root = 2 * usedCount - 2;
  std::size_t leaf = 0;
  std::size_t inner = usedCount;
  for (std::size_t made = usedCount; made <= root; ++made) {
    weight[made] = 0;
    for (int side = 0; side < 2; ++side) {
      const bool takesLeaf = leaf < usedCount && (inner >= made || weight[leaf] <= weight[inner]);
      const std::size_t child = takesLeaf ? leaf++ : inner++;
      parent[child] = static_cast<std::uint16_t>(made);
      weight[made] += weight[child];
    }
  }

  // How many codes have each length, with those beyond the limit cut down to it, which takes `excess` units of the
  // code space too many, a unit being a code of the full length.
  std::array<std::uint16_t, 2 * Size> depth;
  std::array<std::uint32_t, maximumCodeLength + 1> countOfLength{};
  depth[root] = 0;
  for (std::size_t i = root; i-- > 0;) {
    depth[i] = static_cast<std::uint16_t>(depth[parent[i]] + 1);
    if (i < usedCount) ++countOfLength[std::min<unsigned>(depth[i], limit)];
  }
  std::uint64_t space = 0;
  for (unsigned length = 1; length <= limit; ++length)
    space += std::uint64_t{countOfLength[length]} << (limit - length);
  // A leaf above the last level moves down one and takes a cut leaf as its brother: one unit less each time.
  for (std::uint64_t excess = space - (std::uint64_t{1} << limit); excess > 0; --excess) {
    unsigned length = limit - 1;
    while (countOfLength[length] == 0) --length;
    --countOfLength[length];
    countOfLength[length + 1] += 2;
    --countOfLength[limit];
  }

  std::array<std::uint8_t, Size> lengths{};
  std::size_t next = usedCount;  // The most frequent first.
  for (unsigned length = 1; length <= limit; ++length) {
    for (std::uint32_t i = 0; i < countOfLength[length]; ++i) {
      lengths[used[--next].second] = static_cast<std::uint8_t>(length);
    }
  }
  return lengths;
}

/// A code as it is written: its first bit lowest.
struct Code {
  std::uint16_t bits = 0;
  std::uint8_t length = 0;
};

/// The canonical codes of these lengths (RFC 1951, 3.2.2).
template <std::size_t Size>
std::array<Code, Size> codesOf(const std::array<std::uint8_t, Size>& lengths) {
  std::array<std::uint32_t, maximumCodeLength + 2> next{};
  std::array<std::uint32_t, maximumCodeLength + 1> count{};
  for (const std::uint8_t length : lengths) ++count[length];
  count[0] = 0;
  for (unsigned length = 1; length <= maximumCodeLength; ++length)
    next[length + 1] = (next[length] + count[length]) << 1;
  std::array<Code, Size> codes{};
  for (std::size_t i = 0; i < Size; ++i) {
    const unsigned length = lengths[i];
    if (length == 0) continue;
    std::uint32_t reversed = 0;
    for (std::uint32_t code = next[length]++, bit = 0; bit < length; ++bit) {
      reversed |= ((code >> bit) & 1U) << (length - 1 - bit);
    }
    codes[i] = {static_cast<std::uint16_t>(reversed), static_cast<std::uint8_t>(length)};
  }
  return codes;
}

/// The lengths of the fixed codes (RFC 1951, 3.2.6).
constexpr auto fixedLiteralLengths = [] {
  std::array<std::uint8_t, fixedLiteralCount> lengths{};
  for (std::size_t i = 0; i < lengths.size(); ++i) {
    lengths[i] = static_cast<std::uint8_t>(i < 144 ? 8 : i < 256 ? 9 : i < 280 ? 7 : 8);
  }
  return lengths;
}();

constexpr std::uint8_t fixedDistanceLength = 5;

/// Code lengths in the form in which they are written: runs of them by symbols of their own (RFC 1951, 3.2.7).
class CodeLengthRuns {
 public:
  CodeLengthRuns(std::span<const std::uint8_t> literals, std::span<const std::uint8_t> distances) {
    std::array<std::uint8_t, DeflateBlock::literalSymbolCount + DeflateBlock::distanceSymbolCount> all{};
    std::copy(literals.begin(), literals.end(), all.begin());
    std::copy(distances.begin(), distances.end(), all.begin() + static_cast<std::ptrdiff_t>(literals.size()));
    const std::size_t total = literals.size() + distances.size();
    for (std::size_t begin = 0; begin < total;) {
      std::size_t end = begin + 1;
      while (end < total && all[end] == all[begin]) ++end;
      addRun(all[begin], end - begin);
      begin = end;
    }
    lengths_ = codeLengths(counts_, 7);
    while (lengths_[codeLengthOrder[writtenCount_ - 1]] == 0) --writtenCount_;
  }

  std::uint64_t bitCount() const noexcept {
    std::uint64_t count = 4 + 3 * writtenCount_;
    for (std::size_t i = 0; i < runCount_; ++i) count += lengths_[runs_[i].symbol] + runs_[i].extraBits;
    return count;
  }

  void write(DeflateBitWriter& writer) const {
    const auto codes = codesOf(lengths_);
    writer.put(writtenCount_ - 4, 4);
    for (std::size_t i = 0; i < writtenCount_; ++i) writer.put(lengths_[codeLengthOrder[i]], 3);
    for (std::size_t i = 0; i < runCount_; ++i) {
      writer.put(codes[runs_[i].symbol].bits, codes[runs_[i].symbol].length);
      writer.put(runs_[i].extra, runs_[i].extraBits);
    }
  }

 private:
  struct Run {
    std::uint8_t symbol = 0;
    std::uint8_t extra = 0;
    std::uint8_t extraBits = 0;
  };

  void add(std::size_t symbol, std::size_t extra, unsigned extraBits) {
    runs_[runCount_++] = {static_cast<std::uint8_t>(symbol), static_cast<std::uint8_t>(extra),
                          static_cast<std::uint8_t>(extraBits)};
    ++counts_[symbol];
  }

  void addRun(std::uint8_t length, std::size_t count) {
    if (length == 0) {
      for (; count >= 11; count -= std::min<std::size_t>(count, 138))
        add(18, std::min<std::size_t>(count, 138) - 11, 7);
      if (count >= 3) {
        add(17, count - 3, 3);
        return;
      }
    } else {
      add(length, 0, 0);
      for (--count; count >= 3; count -= std::min<std::size_t>(count, 6))
        add(16, std::min<std::size_t>(count, 6) - 3, 2);
    }
    for (; count > 0; --count) add(length, 0, 0);
  }

  std::array<Run, DeflateBlock::literalSymbolCount + DeflateBlock::distanceSymbolCount> runs_;
  std::size_t runCount_ = 0;
  std::size_t writtenCount_ = codeLengthOrder.size();
  std::array<std::uint32_t, 19> counts_{};
  std::array<std::uint8_t, 19> lengths_{};
};

/// How many of these lengths are written: at least `least`, up to the last one that is not zero.
std::size_t writtenLengths(std::span<const std::uint8_t> lengths, std::size_t least) {
  std::size_t count = lengths.size();
  while (count > least && lengths[count - 1] == 0) --count;
  return count;
}

void writeStored(std::span<const std::uint8_t> bytes, bool isLast, DeflateBitWriter& writer) {
  writer.reserve((bytes.size() + (bytes.size() / maximumStoredBytes + 1) * 5) * 8 + 8);
  do {
    const std::size_t count = std::min(bytes.size(), maximumStoredBytes);
    writer.put(isLast && count == bytes.size() ? 1 : 0, 3);
    writer.alignToByte();
    writer.put(count | (count ^ 0xffff) << 16, 32);
    writer.putBytes(bytes.first(count));
    bytes = bytes.subspan(count);
  } while (!bytes.empty());
}

std::uint64_t storedBitCount(std::size_t byteCount, unsigned pendingBitCount) {
  const std::uint64_t pieces = byteCount / maximumStoredBytes + 1;
  return byteCount * 8 + pieces * 40 + (8 - (pendingBitCount + 3) % 8) % 8;
}

}  // namespace

void DeflateBitWriter::reserve(std::uint64_t count) {
  // A word is written at once, of which later bits replace the upper part.
  const std::size_t needed = size_ + static_cast<std::size_t>((pendingCount_ + count) / 8) + 16;
  if (out_.size() < needed) out_.resize(std::max(needed, out_.size() * 3 / 2));
}

void DeflateBitWriter::put(std::uint64_t bits, unsigned count) noexcept {
  pending_ |= bits << pendingCount_;
  pendingCount_ += count;
  static_assert(std::endian::native == std::endian::little);
  std::memcpy(out_.data() + size_, &pending_, 8);
  const unsigned wholeBytes = pendingCount_ / 8;
  size_ += wholeBytes;
  pending_ >>= wholeBytes * 8;
  pendingCount_ %= 8;
}

void DeflateBitWriter::alignToByte() noexcept {
  if (pendingCount_ > 0) put(0, 8 - pendingCount_);
}

void DeflateBitWriter::putBytes(std::span<const std::uint8_t> bytes) noexcept {
  if (!bytes.empty()) std::memcpy(out_.data() + size_, bytes.data(), bytes.size());
  size_ += bytes.size();
}

void DeflateBitWriter::finish() {
  alignToByte();
  out_.resize(size_);
}

struct DeflateBlock::Codes {
  std::array<Code, fixedLiteralCount> literals{};
  std::array<Code, distanceSymbolCount> distances{};
};

void DeflateBlock::clear() noexcept {
  tokens_.clear();
  literalCounts_.fill(0);
  distanceCounts_.fill(0);
}

void DeflateBlock::addMatch(std::size_t length, std::size_t distance) {
  const std::size_t lengthOffset = length - minimumMatch;
  const std::size_t distanceOffset = distance - 1;
  tokens_.push_back(matchMark | static_cast<std::uint32_t>(lengthOffset << 16 | distanceOffset));
  ++literalCounts_[endOfBlock + 1 + lengthSymbols[lengthOffset].symbol];
  ++distanceCounts_[symbolOfDistance(distanceOffset).symbol];
}

/// The codes of a block's own, and what the block takes with them and with the fixed ones.
struct DeflateBlock::Plan {
  std::array<std::uint8_t, literalSymbolCount> literalLengths;
  std::array<std::uint8_t, distanceSymbolCount> distanceLengths;
  std::size_t writtenLiterals;
  std::size_t writtenDistances;
  CodeLengthRuns runs;
  std::uint64_t dynamicBits = 0;
  std::uint64_t fixedBits = 0;

  explicit Plan(const std::array<std::uint32_t, literalSymbolCount>& literalCounts,
                const std::array<std::uint32_t, distanceSymbolCount>& distanceCounts)
      : literalLengths(codeLengths(literalCounts, maximumCodeLength)),
        distanceLengths(codeLengths(distanceCounts, maximumCodeLength)),
        writtenLiterals(writtenLengths(literalLengths, 257)),
        writtenDistances(writtenLengths(distanceLengths, 1)),
        runs({literalLengths.data(), writtenLiterals}, {distanceLengths.data(), writtenDistances}) {
    std::uint64_t extraBits = 3;
    dynamicBits = 10 + runs.bitCount();
    for (std::size_t i = 0; i < literalSymbolCount; ++i) {
      dynamicBits += std::uint64_t{literalCounts[i]} * literalLengths[i];
      fixedBits += std::uint64_t{literalCounts[i]} * fixedLiteralLengths[i];
      if (i > endOfBlock) extraBits += std::uint64_t{literalCounts[i]} * extraBitsOfLength(i - endOfBlock - 1);
    }
    for (std::size_t i = 0; i < distanceSymbolCount; ++i) {
      dynamicBits += std::uint64_t{distanceCounts[i]} * distanceLengths[i];
      fixedBits += std::uint64_t{distanceCounts[i]} * fixedDistanceLength;
      extraBits += std::uint64_t{distanceCounts[i]} * extraBitsOfDistance(i);
    }
    dynamicBits += extraBits;
    fixedBits += extraBits;
  }

  std::uint64_t codedBits() const noexcept { return std::min(dynamicBits, fixedBits); }
};

DeflateBlock::Plan DeflateBlock::plan() const {
  std::array<std::uint32_t, literalSymbolCount> literalCounts = literalCounts_;
  literalCounts[endOfBlock] = 1;
  return Plan(literalCounts, distanceCounts_);
}

std::uint64_t DeflateBlock::bitCount(std::size_t byteCount) const {
  return std::min(plan().codedBits(), storedBitCount(byteCount, 0));
}

void DeflateBlock::write(std::span<const std::uint8_t> bytes, bool isLast, DeflateBitWriter& writer) const {
  const Plan planned = plan();
  if (storedBitCount(bytes.size(), writer.pendingBitCount()) < planned.codedBits()) {
    writeStored(bytes, isLast, writer);
    return;
  }
  writer.reserve(planned.codedBits());
  Codes codes;
  if (planned.dynamicBits < planned.fixedBits) {
    writer.put((isLast ? 1U : 0U) | 2U << 1, 3);
    writer.put((planned.writtenLiterals - 257) | (planned.writtenDistances - 1) << 5, 10);
    planned.runs.write(writer);
    const auto literals = codesOf(planned.literalLengths);
    std::copy(literals.begin(), literals.end(), codes.literals.begin());
    codes.distances = codesOf(planned.distanceLengths);
  } else {
    writer.put((isLast ? 1U : 0U) | 1U << 1, 3);
    codes.literals = codesOf(fixedLiteralLengths);
    std::array<std::uint8_t, distanceSymbolCount> lengths{};
    lengths.fill(fixedDistanceLength);
    codes.distances = codesOf(lengths);
  }
  writeSymbols(codes, writer);
}

void DeflateBlock::writeSymbols(const Codes& codes, DeflateBitWriter& writer) const {
  for (const std::uint32_t token : tokens_) {
    if ((token & matchMark) == 0) {
      writer.put(codes.literals[token].bits, codes.literals[token].length);
      continue;
    }
    const std::uint32_t lengthOffset = token >> 16 & 0xffU;
    const std::uint32_t distanceOffset = token & 0x7fffU;
    const RangeSymbol& length = lengthSymbols[lengthOffset];
    const RangeSymbol& distance = symbolOfDistance(distanceOffset);
    const Code& lengthCode = codes.literals[endOfBlock + 1 + length.symbol];
    const Code& distanceCode = codes.distances[distance.symbol];
    std::uint64_t bits = lengthCode.bits;
    unsigned count = lengthCode.length;
    const auto append = [&](std::uint64_t value, unsigned valueBits) {
      bits |= value << count;
      count += valueBits;
    };
    append(lengthOffset - length.base, length.extraBits);
    append(distanceCode.bits, distanceCode.length);
    append(distanceOffset - distance.base, distance.extraBits);
    writer.put(bits, count);
  }
  writer.put(codes.literals[endOfBlock].bits, codes.literals[endOfBlock].length);
}

}  // namespace ornolith
