#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace ornolith {

/// Bits of a DEFLATE stream (RFC 1951, 3.1.1), appended to a byte vector, the least significant bit of a byte first.
/// Room is asked for in advance, so that writing is a few instructions.
class DeflateBitWriter {
 public:
  explicit DeflateBitWriter(std::vector<std::byte>& out) : out_(out), size_(out.size()) {}
  DeflateBitWriter(const DeflateBitWriter&) = delete;
  DeflateBitWriter& operator=(const DeflateBitWriter&) = delete;

  /// Makes room for `count` more bits.
  void reserve(std::uint64_t count);
  /// Appends the lowest `count` bits of `bits`, at most 56; the others are zero.
  void put(std::uint64_t bits, unsigned count) noexcept;
  void alignToByte() noexcept;
  /// Appends whole bytes at a byte's start.
  void putBytes(std::span<const std::uint8_t> bytes) noexcept;
  /// Fills the last byte with zeros and gives the vector its final size.
  void finish();

  unsigned pendingBitCount() const noexcept { return pendingCount_; }

 private:
  std::vector<std::byte>& out_;
  std::size_t size_;
  std::uint64_t pending_ = 0;
  unsigned pendingCount_ = 0;
};

/// The symbols of one block, in order, and how often each of them occurs.
class DeflateBlock {
 public:
  static constexpr std::size_t literalSymbolCount = 286;
  static constexpr std::size_t distanceSymbolCount = 30;
  static constexpr std::size_t minimumMatch = 3;
  static constexpr std::size_t maximumMatch = 258;

  void clear() noexcept;
  void addLiteral(std::uint8_t byte) {
    tokens_.push_back(byte);
    ++literalCounts_[byte];
  }
  /// `length` 3 to 258, `distance` 1 to 32768.
  void addMatch(std::size_t length, std::size_t distance);

  std::size_t tokenCount() const noexcept { return tokens_.size(); }

  /// How many bits `write` takes for it, where its symbols stand for `byteCount` bytes and a byte begins.
  std::uint64_t bitCount(std::size_t byteCount) const;

  /// Writes the block in the cheapest of the three forms there are. `bytes` is what its symbols stand for.
  void write(std::span<const std::uint8_t> bytes, bool isLast, DeflateBitWriter& writer) const;

 private:
  struct Codes;
  struct Plan;
  Plan plan() const;
  void writeSymbols(const Codes& codes, DeflateBitWriter& writer) const;

  std::vector<std::uint32_t> tokens_;  ///< A literal's byte, or `matchMark`, length - 3 and distance - 1.
  std::array<std::uint32_t, literalSymbolCount> literalCounts_{};
  std::array<std::uint32_t, distanceSymbolCount> distanceCounts_{};
};

}  // namespace ornolith
