#include "imaging/PNGEncoder.h"

#include <libdeflate.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <utility>

#include "foundation/Parallel.h"
#include "imaging/DeflateCompressor.h"
#include "imaging/PNGRowFilter.h"

namespace ornolith {

namespace {

/// How many bytes are filtered and compressed as one task. It is part of the output: the compressor's window starts
/// anew with each strip.
constexpr std::size_t stripBytes = std::size_t{512} * 1024;

/// A chunk's length must stay below 2^31.
constexpr std::size_t maximumChunkBytes = std::size_t{1} << 30;

/// How many bytes from the middle of a strip tell whether it does better unfiltered.
constexpr std::size_t sampleBytes = std::size_t{32} * 1024;

/// What one strip needs beside its result. Reused by the strips that follow on the same thread.
class StripWorkspace {
 public:
  std::span<const std::uint8_t> filter(const Image& image, std::size_t firstRow, std::size_t rowCount) {
    filterRows(image, firstRow, rowCount, doesBetterUnfiltered(image, firstRow, rowCount));
    return filtered_;
  }

  void compress(std::span<const std::uint8_t> bytes, bool isLast, std::vector<std::byte>& out) {
    compressor_.compress(bytes, isLast, out);
  }

 private:
  /// Smooth shading in few colours repeats them exactly, while the differences of neighbours vary.
  bool doesBetterUnfiltered(const Image& image, std::size_t firstRow, std::size_t rowCount) {
    const std::size_t sampleRows = std::min(std::max<std::size_t>(sampleBytes / image.rowBytes(), 2), rowCount);
    const std::size_t sampleStart = firstRow + (rowCount - sampleRows) / 2;
    // The first half is what the other finds its repetitions in, as in the midst of a strip.
    const std::size_t historyBytes = sampleRows / 2 * (image.rowBytes() + 1);
    filterRows(image, sampleStart, sampleRows, false);
    const std::uint64_t filteredCost = compressor_.compressedBitCount(filtered_, historyBytes);
    filterRows(image, sampleStart, sampleRows, true);
    return compressor_.compressedBitCount(filtered_, historyBytes) < filteredCost;
  }

  void filterRows(const Image& image, std::size_t firstRow, std::size_t rowCount, bool isRaw) {
    const std::size_t rowBytes = image.rowBytes();
    filtered_.resize((rowBytes + 1) * rowCount);
    if (firstRow == 0) zeros_.assign(rowBytes, 0);
    std::uint8_t* out = filtered_.data();
    for (std::size_t y = firstRow; y < firstRow + rowCount; ++y, out += rowBytes + 1) {
      const std::uint8_t* const row = image.pixels.data() + y * rowBytes;
      const std::uint8_t* const above = y == 0 ? zeros_.data() : row - rowBytes;
      const PNGFilter filter = isRaw ? PNGFilter::none : choosePNGFilter(row, above, rowBytes);
      out[0] = static_cast<std::uint8_t>(filter);
      applyPNGFilter(filter, row, above, rowBytes, out + 1);
    }
  }

  DeflateCompressor compressor_;
  std::vector<std::uint8_t> filtered_;
  std::vector<std::uint8_t> zeros_;
};

/// As many workspaces as strips are being worked on at once.
class WorkspacePool {
 public:
  std::unique_ptr<StripWorkspace> take() {
    {
      const std::lock_guard lock(mutex_);
      if (!idle_.empty()) {
        std::unique_ptr<StripWorkspace> workspace = std::move(idle_.back());
        idle_.pop_back();
        return workspace;
      }
    }
    return std::make_unique<StripWorkspace>();
  }

  void giveBack(std::unique_ptr<StripWorkspace> workspace) {
    const std::lock_guard lock(mutex_);
    idle_.push_back(std::move(workspace));
  }

 private:
  std::mutex mutex_;
  std::vector<std::unique_ptr<StripWorkspace>> idle_;
};

struct Strip {
  std::vector<std::byte> deflated;
  std::uint64_t byteCount = 0;  ///< Before compression.
  std::uint32_t checksum = 1;   ///< Adler-32 of those bytes.
};

/// The Adler-32 (RFC 1950) of two byte sequences one after the other: with A the sum of the bytes plus 1 and B the sum
/// of all A so far, the second sequence starts from the first one's A instead of from 1, which each of its
/// `secondCount` steps adds to B.
std::uint32_t joinedAdler32(std::uint32_t first, std::uint32_t second, std::uint64_t secondCount) {
  constexpr std::uint64_t base = 65'521;
  const std::uint64_t carried = (first & 0xffffU) + base - 1;
  const std::uint64_t a = (carried + (second & 0xffffU)) % base;
  const std::uint64_t b = ((first >> 16) + (second >> 16) + (secondCount % base) * (carried % base)) % base;
  return static_cast<std::uint32_t>(b << 16 | a);
}

std::vector<Strip> compressStrips(const Image& image) {
  const std::size_t rowsPerStrip = std::max<std::size_t>(stripBytes / (image.rowBytes() + 1), 1);
  std::vector<Strip> strips((image.height + rowsPerStrip - 1) / rowsPerStrip);
  WorkspacePool pool;
  parallelFor(strips.size(), 1, [&](std::size_t index) {
    std::unique_ptr<StripWorkspace> workspace = pool.take();
    const std::size_t firstRow = index * rowsPerStrip;
    const std::span<const std::uint8_t> filtered =
        workspace->filter(image, firstRow, std::min(rowsPerStrip, image.height - firstRow));
    Strip& strip = strips[index];
    strip.byteCount = filtered.size();
    strip.checksum = libdeflate_adler32(1, filtered.data(), filtered.size());
    workspace->compress(filtered, index + 1 == strips.size(), strip.deflated);
    pool.giveBack(std::move(workspace));
  });
  return strips;
}

void append(std::vector<std::byte>& out, std::span<const std::byte> bytes) {
  out.insert(out.end(), bytes.begin(), bytes.end());
}

void appendBigEndian(std::vector<std::byte>& out, std::uint32_t value) {
  for (const unsigned shift : {24U, 16U, 8U, 0U}) out.push_back(static_cast<std::byte>(value >> shift & 0xffU));
}

/// One zlib stream (RFC 1950) of the strips.
std::vector<std::byte> zlibStream(const std::vector<Strip>& strips) {
  std::size_t size = 6;
  for (const Strip& strip : strips) size += strip.deflated.size();
  std::vector<std::byte> stream;
  stream.reserve(size);
  // A window of 32 KiB, a fast compressor, no dictionary; the two bytes are a multiple of 31.
  stream.push_back(std::byte{0x78});
  stream.push_back(std::byte{0x5e});
  std::uint32_t checksum = 1;
  for (const Strip& strip : strips) {
    append(stream, strip.deflated);
    checksum = joinedAdler32(checksum, strip.checksum, strip.byteCount);
  }
  appendBigEndian(stream, checksum);
  return stream;
}

void appendChunk(std::vector<std::byte>& out, const char (&type)[5], std::span<const std::byte> data) {
  appendBigEndian(out, static_cast<std::uint32_t>(data.size()));
  const std::size_t checkedFrom = out.size();
  append(out, std::as_bytes(std::span(type).first<4>()));
  append(out, data);
  appendBigEndian(out, libdeflate_crc32(0, out.data() + checkedFrom, out.size() - checkedFrom));
}

}  // namespace

std::vector<std::byte> encodePNG(const Image& image) {
  constexpr std::array<unsigned, 8> signature{0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
  // 8 bits a sample, colour with alpha, and the only compression, filter method and no interlace there are.
  constexpr std::array<unsigned, 5> format{8, 6, 0, 0, 0};

  const std::vector<std::byte> stream = zlibStream(compressStrips(image));
  std::vector<std::byte> png;
  png.reserve(stream.size() + 128);
  for (const unsigned byte : signature) png.push_back(static_cast<std::byte>(byte));
  std::vector<std::byte> header;
  appendBigEndian(header, image.width);
  appendBigEndian(header, image.height);
  for (const unsigned byte : format) header.push_back(static_cast<std::byte>(byte));
  appendChunk(png, "IHDR", header);
  for (std::size_t begin = 0; begin < stream.size(); begin += maximumChunkBytes) {
    appendChunk(png, "IDAT", std::span(stream).subspan(begin, std::min(maximumChunkBytes, stream.size() - begin)));
  }
  appendChunk(png, "IEND", {});
  return png;
}

}  // namespace ornolith
