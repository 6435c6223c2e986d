#include "imaging/TIFFHeader.h"

#include <array>
#include <cstdint>

#include "imaging/ByteOrder.h"

namespace ornolith {

namespace {

using Bytes = std::span<const std::byte>;

/// A file's bytes in its own order. Reading behind the end gives zero.
class Reader {
 public:
  explicit Reader(Bytes data) noexcept : data_(data), isLittle_(data.size() >= 2 && byteAt(data, 0) == 'I') {}

  std::uint64_t size() const noexcept { return data_.size(); }
  bool holds(std::uint64_t offset, std::uint64_t count) const noexcept {
    return offset <= data_.size() && count <= data_.size() - offset;
  }
  /// An integer of `bytes` bytes, at most 8.
  std::uint64_t integer(std::uint64_t offset, unsigned bytes) const noexcept {
    if (!holds(offset, bytes)) return 0;
    std::uint64_t value = 0;
    for (unsigned i = 0; i < bytes; ++i) {
      const unsigned place = isLittle_ ? bytes - 1 - i : i;
      value = value << 8U | byteAt(data_, static_cast<std::size_t>(offset) + place);
    }
    return value;
  }

 private:
  Bytes data_;
  bool isLittle_;
};

/// How directories are written: with offsets of 32 or of 64 bits.
struct Form {
  unsigned offsetBytes;
  unsigned countBytes;  ///< Of the number of entries in front of a directory.
  unsigned entryBytes;
};
constexpr Form classicForm{4, 2, 12};
constexpr Form bigForm{8, 8, 20};

/// The bytes of one value of each type of TIFF 6.0, its first supplement and BigTIFF; zero where there is no such type.
unsigned bytesOfType(std::uint64_t type) noexcept {
  constexpr std::array<std::uint8_t, 19> sizes{0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 0, 0, 8, 8, 8};
  return type < sizes.size() ? sizes[static_cast<std::size_t>(type)] : 0;
}

bool isUnsignedType(std::uint64_t type) noexcept {
  constexpr std::uint64_t byteType = 1, shortType = 3, longType = 4, long8Type = 16;
  return type == byteType || type == shortType || type == longType || type == long8Type;
}

bool isSignedType(std::uint64_t type) noexcept {
  constexpr std::uint64_t byteType = 6, shortType = 8, longType = 9, long8Type = 17;
  return type == byteType || type == shortType || type == longType || type == long8Type;
}

struct Entry {
  std::uint64_t tag = 0;
  std::uint64_t type = 0;
  std::uint64_t count = 0;
  std::uint64_t valueOffset = 0;  ///< Of the value itself where it is small, else of its offset.
};

Entry entryAt(const Reader& reader, const Form& form, std::uint64_t offset) noexcept {
  return {reader.integer(offset, 2), reader.integer(offset + 2, 2), reader.integer(offset + 4, form.offsetBytes),
          offset + 4 + form.offsetBytes};
}

/// Some writers use signed integers, and the decoder reads these too.
std::optional<std::uint32_t> sideOf(const Reader& reader, const Form& form, const Entry& entry) noexcept {
  const unsigned bytes = bytesOfType(entry.type);
  const bool isSigned = isSignedType(entry.type);
  if ((!isSigned && !isUnsignedType(entry.type)) || entry.count != 1 || bytes > form.offsetBytes) return std::nullopt;
  const std::uint64_t value = reader.integer(entry.valueOffset, bytes);
  const bool isNegative = isSigned && value >> (bytes * 8 - 1) != 0;
  if (value == 0 || value > 0xffffffffU || isNegative) return std::nullopt;
  return static_cast<std::uint32_t>(value);
}

}  // namespace

std::optional<ImageSize> claimedTIFFSize(std::span<const std::byte> data) noexcept {
  constexpr std::uint64_t mostEntries = 256;
  constexpr std::uint64_t widthTag = 256, heightTag = 257;
  constexpr std::uint64_t bigVersion = 43;
  const Reader reader(data);
  const Form& form = reader.integer(2, 2) == bigVersion ? bigForm : classicForm;
  const std::uint64_t directory = reader.integer(form.offsetBytes, form.offsetBytes);
  const std::uint64_t count = reader.integer(directory, form.countBytes);
  const std::uint64_t first = directory + form.countBytes;
  if (count > mostEntries || directory > reader.size() || !reader.holds(first, count * form.entryBytes)) {
    return std::nullopt;
  }

  std::optional<std::uint32_t> width, height;
  std::uint64_t remaining = reader.size();
  for (std::uint64_t i = 0; i < count; ++i) {
    const Entry entry = entryAt(reader, form, first + i * form.entryBytes);
    const std::uint64_t typeBytes = bytesOfType(entry.type);
    if (typeBytes != 0 && entry.count > remaining / typeBytes) return std::nullopt;
    remaining -= entry.count * typeBytes;
    // Where a tag is there twice, the first one counts.
    if (entry.tag == widthTag && !width) width = sideOf(reader, form, entry).value_or(0);
    if (entry.tag == heightTag && !height) height = sideOf(reader, form, entry).value_or(0);
  }
  if (width.value_or(0) == 0 || height.value_or(0) == 0) return std::nullopt;
  return ImageSize{*width, *height};
}

}  // namespace ornolith
