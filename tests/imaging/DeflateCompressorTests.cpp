#include <gtest/gtest.h>
#include <zlib.h>

#include <random>
#include <vector>

#include "TestImages.h"
#include "imaging/DeflateCompressor.h"

namespace ornolith {
namespace {

using testing::ByteVector;
using Bytes = std::vector<std::uint8_t>;

/// By zlib; nothing where the stream is no complete one or something stands behind it.
Bytes inflated(const ByteVector& stream, std::size_t expectedSize) {
  Bytes bytes(expectedSize + 1);
  z_stream reader{};
  EXPECT_EQ(inflateInit2(&reader, -15), Z_OK);
  reader.next_in = reinterpret_cast<Bytef*>(const_cast<std::byte*>(stream.data()));
  reader.avail_in = static_cast<uInt>(stream.size());
  reader.next_out = bytes.data();
  reader.avail_out = static_cast<uInt>(bytes.size());
  EXPECT_EQ(inflate(&reader, Z_FINISH), Z_STREAM_END);
  EXPECT_EQ(reader.avail_in, 0U);
  bytes.resize(reader.total_out);
  inflateEnd(&reader);
  return bytes;
}

ByteVector deflated(const Bytes& bytes) {
  ByteVector stream;
  DeflateCompressor().compress(bytes, true, stream);
  return stream;
}

void expectRoundTrip(const Bytes& bytes) {
  EXPECT_TRUE(inflated(deflated(bytes), bytes.size()) == bytes);
}

Bytes randomBytes(std::size_t count, unsigned range, std::uint32_t seed) {
  std::mt19937 random(seed);
  Bytes bytes(count);
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random() % range);
  return bytes;
}

void append(Bytes& bytes, const Bytes& more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
}

TEST(DeflateCompressor, ShortSequencesComeBack) {
  for (std::size_t count = 0; count < 40; ++count) {
    for (const unsigned range : {1U, 2U, 256U}) expectRoundTrip(randomBytes(count, range, 5));
  }
}

TEST(DeflateCompressor, SequencesOfEveryDensityComeBack) {
  // From one symbol to noise, beyond a block's symbols and beyond the window.
  for (unsigned range = 1; range <= 256; range = range * 3 / 2 + 1) {
    for (const std::size_t count : {300U, 30'000U, 200'000U}) expectRoundTrip(randomBytes(count, range, range));
  }
  expectRoundTrip(randomBytes(200'000, 256, 256));
}

TEST(DeflateCompressor, RunsOfEveryLengthComeBack) {
  // Around the longest match, where a rest too short for one would be left.
  Bytes all;
  for (std::size_t length = 1; length < 800; ++length) {
    Bytes bytes(length, 7);
    bytes.push_back(8);
    append(all, bytes);
    expectRoundTrip(bytes);
  }
  expectRoundTrip(all);
}

TEST(DeflateCompressor, RepetitionsAtAndBeyondTheWindowsEndComeBack) {
  const Bytes pattern = randomBytes(600, 256, 1);
  for (const std::size_t distance : {1U, 2U, 3U, 4U, 5U, 32'766U, 32'767U, 32'768U, 32'769U, 65'536U}) {
    Bytes bytes = pattern;
    if (distance < pattern.size()) {
      for (std::size_t i = distance; i < bytes.size(); ++i) bytes[i] = bytes[i - distance];
    } else {
      append(bytes, randomBytes(distance - pattern.size(), 256, 2));
      append(bytes, pattern);
    }
    expectRoundTrip(bytes);
  }
}

TEST(DeflateCompressor, VeryUnevenCountsKeepCodesWithinTheirLimit) {
  // Counts that double from symbol to symbol would take codes of more than 15 bits.
  Bytes bytes;
  std::mt19937 random(9);
  for (int i = 0; i < 300'000; ++i) {
    unsigned symbol = 0;
    while (symbol < 250 && random() % 2 == 0) ++symbol;
    bytes.push_back(static_cast<std::uint8_t>(symbol * 37));
  }
  expectRoundTrip(bytes);
}

TEST(DeflateCompressor, NoiseIsStoredAndPlainGroundsVanish) {
  const Bytes noise = randomBytes(200'000, 256, 4);
  EXPECT_LE(deflated(noise).size(), noise.size() + 100);
  EXPECT_LE(deflated(Bytes(1 << 20, 0)).size(), 1200U);
}

TEST(DeflateCompressor, PartsJoinToOneStream) {
  std::mt19937 random(7);
  DeflateCompressor compressor;
  for (int round = 0; round < 200; ++round) {
    Bytes expected;
    ByteVector joined;
    const int parts = 1 + static_cast<int>(random() % 4);
    for (int part = 0; part < parts; ++part) {
      const std::size_t count = random() % (round % 10 == 0 ? 100'000 : 300);
      const auto range = static_cast<unsigned>(1 + random() % 256);
      const Bytes bytes = randomBytes(count, range, static_cast<std::uint32_t>(round * 4 + part));
      compressor.compress(bytes, part + 1 == parts, joined);
      append(expected, bytes);
    }
    EXPECT_TRUE(inflated(joined, expected.size()) == expected);
  }
}

TEST(DeflateCompressor, ACountOfBitsIsNearTheStreams) {
  for (const unsigned range : {1U, 3U, 20U, 256U}) {
    const Bytes bytes = randomBytes(50'000, range, range);
    const std::uint64_t counted = DeflateCompressor().compressedBitCount(bytes, 0);
    const std::uint64_t written = deflated(bytes).size() * 8;
    EXPECT_LE(counted, written * 11 / 10 + 100) << range;
    EXPECT_GE(counted, written * 9 / 10) << range;
    // What stands in the history is found and not counted.
    Bytes twice = randomBytes(10'000, 256, range);
    append(twice, Bytes(twice));
    EXPECT_LT(DeflateCompressor().compressedBitCount(twice, 10'000), 2000U);
  }
}

}  // namespace
}  // namespace ornolith
