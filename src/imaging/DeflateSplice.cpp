#include "imaging/DeflateSplice.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <stdexcept>

namespace ornolith {

namespace {

[[noreturn]] void malformed() {
  throw std::logic_error("the DEFLATE stream to be joined is malformed");
}

/// Bits of a byte sequence, each byte's least significant bit first. Reads zeros behind the end.
class BitCursor {
 public:
  explicit BitCursor(std::span<const std::byte> bytes) : bytes_(bytes) {}

  std::uint64_t position() const noexcept { return position_; }
  void skip(std::uint64_t count) noexcept { position_ += count; }
  bool isBehindEnd() const noexcept { return position_ > std::uint64_t{bytes_.size()} * 8; }

  /// The next 32 bits or more, unconsumed.
  std::uint64_t peek() const noexcept {
    const auto first = static_cast<std::size_t>(position_ / 8);
    std::uint64_t word = 0;
    if (first + 8 <= bytes_.size()) {
      for (std::size_t i = 0; i < 8; ++i) word |= std::to_integer<std::uint64_t>(bytes_[first + i]) << (8 * i);
    } else {
      for (std::size_t i = 0; first + i < bytes_.size(); ++i) {
        word |= std::to_integer<std::uint64_t>(bytes_[first + i]) << (8 * i);
      }
    }
    return word >> (position_ % 8);
  }

  std::uint32_t take(unsigned count) noexcept {
    const auto bits = static_cast<std::uint32_t>(peek() & ((std::uint64_t{1} << count) - 1));
    skip(count);
    return bits;
  }

 private:
  std::span<const std::byte> bytes_;
  std::uint64_t position_ = 0;
};

constexpr unsigned maximumCodeLength = 15;
constexpr std::size_t literalSymbolCount = 288;
constexpr std::size_t distanceSymbolCount = 32;
constexpr std::uint16_t endOfBlock = 256;

/// Symbols by the next bits of the stream, for a canonical prefix code (RFC 1951, 3.2.2). An entry holds the symbol
/// and how many bits it takes, its extra bits included; zero bits mark what is no code.
class PrefixCode {
 public:
  struct Entry {
    std::uint16_t symbol = 0;
    std::uint16_t bitCount = 0;
  };

  /// `extraBits(symbol)` is how many bits follow the code of a symbol.
  template <typename ExtraBits>
  void build(std::span<const std::uint8_t> lengths, ExtraBits extraBits) {
    std::array<std::uint32_t, maximumCodeLength + 2> next{};
    std::array<std::uint32_t, maximumCodeLength + 1> count{};
    for (const std::uint8_t length : lengths) ++count[length];
    count[0] = 0;
    unsigned longest = 1;
    for (unsigned length = 1; length <= maximumCodeLength; ++length) {
      next[length + 1] = (next[length] + count[length]) << 1;
      if (next[length] + count[length] > (1U << length)) malformed();
      if (count[length] != 0) longest = length;
    }
    mask_ = (1U << longest) - 1;
    entries_.assign(std::size_t{1} << longest, Entry{});
    for (std::size_t symbol = 0; symbol < lengths.size(); ++symbol) {
      const unsigned length = lengths[symbol];
      if (length == 0) continue;
      const Entry entry{static_cast<std::uint16_t>(symbol), static_cast<std::uint16_t>(length + extraBits(symbol))};
      std::uint32_t reversed = 0;
      for (std::uint32_t code = next[length]++, bit = 0; bit < length; ++bit) {
        reversed |= ((code >> bit) & 1U) << (length - 1 - bit);
      }
      for (std::size_t i = reversed; i < entries_.size(); i += std::size_t{1} << length) entries_[i] = entry;
    }
  }

  Entry find(std::uint64_t bits) const noexcept { return entries_[bits & mask_]; }

 private:
  std::vector<Entry> entries_;
  std::uint32_t mask_ = 0;
};

unsigned extraBitsOfLiteral(std::size_t symbol) {
  if (symbol < 265 || symbol == 285) return 0;
  return static_cast<unsigned>((symbol - 261) / 4);
}

unsigned extraBitsOfDistance(std::size_t symbol) {
  return symbol < 4 ? 0 : static_cast<unsigned>((symbol - 2) / 2);
}

struct BlockCodes {
  PrefixCode literals;
  PrefixCode distances;
};

void buildFixedCodes(BlockCodes& codes) {
  std::array<std::uint8_t, literalSymbolCount> literals{};
  std::fill(literals.begin(), literals.begin() + 144, std::uint8_t{8});
  std::fill(literals.begin() + 144, literals.begin() + 256, std::uint8_t{9});
  std::fill(literals.begin() + 256, literals.begin() + 280, std::uint8_t{7});
  std::fill(literals.begin() + 280, literals.end(), std::uint8_t{8});
  std::array<std::uint8_t, distanceSymbolCount> distances{};
  distances.fill(5);
  codes.literals.build(literals, extraBitsOfLiteral);
  codes.distances.build(distances, extraBitsOfDistance);
}

/// Reads the code lengths in front of a dynamic block (RFC 1951, 3.2.7).
void readDynamicCodes(BitCursor& cursor, BlockCodes& codes) {
  constexpr std::array<std::uint8_t, 19> order{16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};
  const std::size_t literalCount = cursor.take(5) + 257;
  const std::size_t distanceCount = cursor.take(5) + 1;
  const std::size_t codeLengthCount = cursor.take(4) + 4;
  std::array<std::uint8_t, 19> codeLengths{};
  for (std::size_t i = 0; i < codeLengthCount; ++i) codeLengths[order[i]] = static_cast<std::uint8_t>(cursor.take(3));

  PrefixCode lengthCode;
  lengthCode.build(codeLengths, [](std::size_t) { return 0U; });
  std::array<std::uint8_t, literalSymbolCount + distanceSymbolCount> lengths{};
  const std::size_t total = literalCount + distanceCount;
  std::size_t filled = 0;
  while (filled < total) {
    const PrefixCode::Entry entry = lengthCode.find(cursor.peek());
    if (entry.bitCount == 0 || cursor.isBehindEnd()) malformed();
    cursor.skip(entry.bitCount);
    std::uint8_t value = 0;
    std::size_t repeat = 1;
    switch (entry.symbol) {
      case 16:
        if (filled == 0) malformed();
        value = lengths[filled - 1];
        repeat = 3 + cursor.take(2);
        break;
      case 17:
        repeat = 3 + cursor.take(3);
        break;
      case 18:
        repeat = 11 + cursor.take(7);
        break;
      default:
        value = static_cast<std::uint8_t>(entry.symbol);
    }
    if (repeat > total - filled) malformed();
    std::fill_n(lengths.begin() + static_cast<std::ptrdiff_t>(filled), repeat, value);
    filled += repeat;
  }
  const std::span<const std::uint8_t> all(lengths);
  codes.literals.build(all.first(literalCount), extraBitsOfLiteral);
  codes.distances.build(all.subspan(literalCount, distanceCount), extraBitsOfDistance);
}

void skipStoredBlock(BitCursor& cursor) {
  cursor.skip((8 - cursor.position() % 8) % 8);
  const std::uint32_t byteCount = cursor.take(16);
  if ((byteCount ^ cursor.take(16)) != 0xffff) malformed();
  cursor.skip(std::uint64_t{byteCount} * 8);
}

void skipSymbols(BitCursor& cursor, const BlockCodes& codes) {
  while (!cursor.isBehindEnd()) {
    // A symbol and its extra bits take 20 bits, its distance 28 at most: one word holds both.
    const std::uint64_t bits = cursor.peek();
    const PrefixCode::Entry entry = codes.literals.find(bits);
    if (entry.bitCount == 0) malformed();
    cursor.skip(entry.bitCount);
    if (entry.symbol < endOfBlock) continue;
    if (entry.symbol == endOfBlock) return;
    const PrefixCode::Entry distance = codes.distances.find(bits >> entry.bitCount);
    if (distance.bitCount == 0) malformed();
    cursor.skip(distance.bitCount);
  }
}

}  // namespace

void openDeflateStream(std::vector<std::byte>& stream) {
  BitCursor cursor(stream);
  BlockCodes codes;
  for (bool isFinal = false; !isFinal;) {
    const std::uint64_t blockStart = cursor.position();
    isFinal = cursor.take(1) != 0;
    const std::uint32_t type = cursor.take(2);
    if (type == 0) {
      skipStoredBlock(cursor);
    } else if (type == 1) {
      buildFixedCodes(codes);
      skipSymbols(cursor, codes);
    } else if (type == 2) {
      readDynamicCodes(cursor, codes);
      skipSymbols(cursor, codes);
    } else {
      malformed();
    }
    if (cursor.isBehindEnd()) malformed();
    if (isFinal) stream[static_cast<std::size_t>(blockStart / 8)] &= ~(std::byte{1} << (blockStart % 8));
  }
  if ((cursor.position() + 7) / 8 != stream.size()) malformed();

  // The header of a stored block is three zero bits; the compressor has left the rest of its last byte zero.
  if (cursor.position() % 8 == 0 || cursor.position() % 8 > 5) stream.push_back(std::byte{0});
  for (const unsigned byte : {0x00U, 0x00U, 0xffU, 0xffU}) stream.push_back(static_cast<std::byte>(byte));
}

}  // namespace ornolith
