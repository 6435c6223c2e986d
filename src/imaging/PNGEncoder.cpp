#include "imaging/PNGEncoder.h"

#include <libdeflate.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <span>
#include <utility>

#include "foundation/Parallel.h"
#include "imaging/DeflateSplice.h"

namespace ornolith {

namespace {

constexpr int compressionLevel = 4;

/// How many bytes are filtered and compressed as one task. It is part of the output: the compressor's window starts
/// anew with each strip.
constexpr std::size_t stripBytes = std::size_t{256} * 1024;

/// A chunk's length must stay below 2^31.
constexpr std::size_t maximumChunkBytes = std::size_t{1} << 30;

constexpr std::size_t pixelBytes = 4;

// Filters, by the names and numbers of the PNG specification (third edition, 9.2). Of its five, Sub and Up are tried:
// on rendered pictures the other three cost more time and no fewer bytes.
enum class Filter : std::uint8_t { none = 0, sub = 1, up = 2 };

// The cost of a filtered row: the sum of its bytes as signed distances from zero (the same, 12.7).

std::uint8_t magnitude(std::uint8_t difference) {
  return std::min(difference, static_cast<std::uint8_t>(-difference));
}

std::uint32_t filterSub(const std::uint8_t* row, std::uint8_t* out, std::size_t count) {
  std::uint32_t cost = 0;
  for (std::size_t i = 0; i < pixelBytes; ++i) {
    out[i] = row[i];
    cost += magnitude(out[i]);
  }
  for (std::size_t i = pixelBytes; i < count; ++i) {
    out[i] = static_cast<std::uint8_t>(row[i] - row[i - pixelBytes]);
    cost += magnitude(out[i]);
  }
  return cost;
}

std::uint32_t filterUp(const std::uint8_t* row, const std::uint8_t* above, std::uint8_t* out, std::size_t count) {
  std::uint32_t cost = 0;
  for (std::size_t i = 0; i < count; ++i) {
    out[i] = static_cast<std::uint8_t>(row[i] - above[i]);
    cost += magnitude(out[i]);
  }
  return cost;
}

/// Writes the filter's number and the filtered row to `out`; `above` is null for the first row. `spare` has room for a
/// row.
void filterRow(const std::uint8_t* row, const std::uint8_t* above, std::uint8_t* out, std::uint8_t* spare,
               std::size_t rowBytes) {
  Filter filter = Filter::sub;
  if (above != nullptr && std::memcmp(row, above, rowBytes) == 0) {
    filter = Filter::up;
    std::memset(out + 1, 0, rowBytes);
  } else {
    const std::uint32_t subCost = filterSub(row, out + 1, rowBytes);
    if (above != nullptr && filterUp(row, above, spare, rowBytes) < subCost) {
      filter = Filter::up;
      std::memcpy(out + 1, spare, rowBytes);
    }
  }
  out[0] = static_cast<std::uint8_t>(filter);
}

/// What one strip needs beside its result. Reused by the strips that follow on the same thread.
class StripWorkspace {
 public:
  StripWorkspace() : compressor_(libdeflate_alloc_compressor(compressionLevel)) {
    if (compressor_ == nullptr) throw std::bad_alloc();
  }
  StripWorkspace(const StripWorkspace&) = delete;
  StripWorkspace& operator=(const StripWorkspace&) = delete;
  ~StripWorkspace() { libdeflate_free_compressor(compressor_); }

  std::span<const std::uint8_t> filter(const Image& image, std::size_t firstRow, std::size_t rowCount) {
    const std::size_t rowBytes = image.rowBytes();
    filtered_.resize((rowBytes + 1) * rowCount);
    spare_.resize(rowBytes);
    for (std::size_t y = firstRow; y < firstRow + rowCount; ++y) {
      const std::uint8_t* row = image.pixels.data() + y * rowBytes;
      filterRow(row, y == 0 ? nullptr : row - rowBytes, filtered_.data() + (y - firstRow) * (rowBytes + 1),
                spare_.data(), rowBytes);
    }
    return filtered_;
  }

  std::vector<std::byte> compress(std::span<const std::uint8_t> bytes) {
    compressed_.resize(libdeflate_deflate_compress_bound(compressor_, bytes.size()));
    const std::size_t size =
        libdeflate_deflate_compress(compressor_, bytes.data(), bytes.size(), compressed_.data(), compressed_.size());
    return {compressed_.begin(), compressed_.begin() + static_cast<std::ptrdiff_t>(size)};
  }

 private:
  libdeflate_compressor* compressor_;
  std::vector<std::uint8_t> filtered_;
  std::vector<std::uint8_t> spare_;
  std::vector<std::byte> compressed_;
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
    strip.deflated = workspace->compress(filtered);
    if (index + 1 < strips.size()) openDeflateStream(strip.deflated);
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
