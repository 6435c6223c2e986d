#include "imaging/EXRHeader.h"

#include <array>
#include <limits>
#include <string_view>

#include "imaging/ByteOrder.h"

namespace ornolith {

namespace {

using Bytes = std::span<const std::byte>;

std::string_view textAt(Bytes data, std::size_t offset) {
  const std::string_view rest(reinterpret_cast<const char*>(data.data()) + offset, data.size() - offset);
  return rest.substr(0, rest.find('\0'));
}

bool isChannelList(Bytes value) {
  constexpr std::size_t bytesBehindName = 16;
  std::size_t offset = 0;
  while (offset < value.size() && byteAt(value, offset) != 0) {
    offset += textAt(value, offset).size() + 1 + bytesBehindName;
  }
  return offset + 1 == value.size();
}

bool isStringVector(Bytes value) {
  std::size_t offset = 0;
  while (value.size() - offset >= 4) {
    const std::uint32_t length = littleEndian32(value, offset);
    offset += 4;
    if (length > value.size() - offset) return false;
    offset += length;
  }
  return offset == value.size();
}

bool isPreview(Bytes value) {
  return value.size() >= 8 &&
         std::uint64_t{littleEndian32(value, 0)} * littleEndian32(value, 4) == (value.size() - 8) / 4 &&
         value.size() % 4 == 0;
}

/// True where a value of type `type` fills `value` exactly. Of types that are not known any bytes do.
bool attributeFits(std::string_view type, Bytes value) {
  struct FixedType {
    std::string_view name;
    std::size_t size;
  };
  constexpr std::array<FixedType, 24> fixedTypes{{{"box2i", 16},
                                                  {"box2f", 16},
                                                  {"chromaticities", 32},
                                                  {"compression", 1},
                                                  {"deepImageState", 1},
                                                  {"double", 8},
                                                  {"envmap", 1},
                                                  {"float", 4},
                                                  {"int", 4},
                                                  {"keycode", 28},
                                                  {"lineOrder", 1},
                                                  {"m33f", 36},
                                                  {"m33d", 72},
                                                  {"m44f", 64},
                                                  {"m44d", 128},
                                                  {"rational", 8},
                                                  {"tiledesc", 9},
                                                  {"timecode", 8},
                                                  {"v2i", 8},
                                                  {"v2f", 8},
                                                  {"v2d", 16},
                                                  {"v3i", 12},
                                                  {"v3f", 12},
                                                  {"v3d", 24}}};
  if (type == "chlist") return isChannelList(value);
  if (type == "stringvector") return isStringVector(value);
  if (type == "preview") return isPreview(value);
  if (type == "floatvector") return value.size() % 4 == 0;
  for (const FixedType& fixed : fixedTypes) {
    if (fixed.name == type) return fixed.size == value.size();
  }
  return true;
}

EXRBox boxOf(Bytes value) {
  const auto corner = [&](std::size_t offset) { return static_cast<std::int32_t>(littleEndian32(value, offset)); };
  return {corner(0), corner(4), corner(8), corner(12)};
}

}  // namespace

std::optional<EXRHeader> readEXRHeader(std::span<const std::byte> data, std::size_t offset) noexcept {
  EXRHeader header;
  while (offset < data.size() && byteAt(data, offset) != 0) {
    const std::string_view name = textAt(data, offset);
    offset += name.size() + 1;
    if (offset >= data.size()) return std::nullopt;
    const std::string_view type = textAt(data, offset);
    offset += type.size() + 1;
    if (offset > data.size() || data.size() - offset < 4) return std::nullopt;
    const std::uint32_t size = littleEndian32(data, offset);
    offset += 4;
    if (size > data.size() - offset) return std::nullopt;
    const Bytes value = data.subspan(offset, size);
    if (!attributeFits(type, value)) return std::nullopt;
    if (name == "dataWindow" && type == "box2i") header.dataWindow = boxOf(value);
    offset += size;
  }
  if (offset >= data.size()) return std::nullopt;
  header.end = offset + 1;
  return header;
}

std::optional<ImageSize> claimedEXRSize(std::span<const std::byte> data) noexcept {
  const std::optional<EXRHeader> header = readEXRHeader(data, exrFirstHeaderOffset);
  if (!header || !header->dataWindow) return std::nullopt;
  constexpr std::int64_t largest = std::numeric_limits<std::int32_t>::max();
  const std::int64_t width = std::int64_t{header->dataWindow->maxX} - header->dataWindow->minX + 1;
  const std::int64_t height = std::int64_t{header->dataWindow->maxY} - header->dataWindow->minY + 1;
  if (width < 1 || height < 1 || width > largest || height > largest) return std::nullopt;
  return ImageSize{static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height)};
}

}  // namespace ornolith
