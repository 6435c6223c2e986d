#include "imaging/HEICPictures.h"

#include <algorithm>
#include <array>
#include <new>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "imaging/ByteOrder.h"

namespace ornolith {

namespace {

using Bytes = std::span<const std::byte>;

/// Big-endian fields one after the other. Reading behind the end gives zeros and is noted.
class Reader {
 public:
  explicit Reader(Bytes data) noexcept : data_(data) {}

  /// An integer of `bytes` bytes, at most 8.
  std::uint64_t integer(unsigned bytes) noexcept {
    std::uint64_t value = 0;
    for (const std::byte byte : take(bytes)) value = value << 8U | std::to_integer<unsigned>(byte);
    return value;
  }
  Bytes take(std::uint64_t bytes) noexcept {
    if (bytes > data_.size()) {
      isWithin_ = false;
      data_ = {};
      return {};
    }
    const Bytes taken = data_.first(static_cast<std::size_t>(bytes));
    data_ = data_.subspan(taken.size());
    return taken;
  }
  std::size_t remaining() const noexcept { return data_.size(); }
  bool isWithin() const noexcept { return isWithin_; }

 private:
  Bytes data_;
  bool isWithin_ = true;
};

constexpr std::uint32_t code(std::string_view letters) noexcept {
  std::uint32_t value = 0;
  for (const char letter : letters) value = value << 8U | static_cast<unsigned char>(letter);
  return value;
}

struct Box {
  std::uint32_t type = 0;
  Bytes content;
};

/// The boxes of `data`, up to the first that is damaged.
std::vector<Box> soundBoxesIn(Bytes data, bool& areAll) {
  std::vector<Box> boxes;
  areAll = false;
  Reader reader(data);
  while (reader.remaining() > 0) {
    std::uint64_t size = reader.integer(4);
    const auto type = static_cast<std::uint32_t>(reader.integer(4));
    std::uint64_t headerBytes = 8;
    if (size == 1) {
      size = reader.integer(8);
      headerBytes = 16;
    } else if (size == 0) {
      size = headerBytes + reader.remaining();
    }
    if (!reader.isWithin() || size < headerBytes || size - headerBytes > reader.remaining()) return boxes;
    boxes.push_back({type, reader.take(size - headerBytes)});
  }
  areAll = true;
  return boxes;
}

/// The boxes of `data`; nothing where they do not fill it.
std::optional<std::vector<Box>> boxesIn(Bytes data) {
  bool areAll = false;
  std::vector<Box> boxes = soundBoxesIn(data, areAll);
  if (!areAll) return std::nullopt;
  return boxes;
}

/// The only box of a type; nothing where there is none or several, of which readers may choose differently.
std::optional<Bytes> onlyBox(const std::vector<Box>& boxes, std::string_view type) {
  const auto isOfType = [&](const Box& box) { return box.type == code(type); };
  if (std::count_if(boxes.begin(), boxes.end(), isOfType) != 1) return std::nullopt;
  return std::find_if(boxes.begin(), boxes.end(), isOfType)->content;
}

/// The boxes of the only box of a type, behind its first `skippedBytes` bytes.
std::optional<std::vector<Box>> boxesOfOnlyBox(const std::vector<Box>& boxes, std::string_view type,
                                               std::size_t skippedBytes) {
  const std::optional<Bytes> content = onlyBox(boxes, type);
  if (!content || content->size() < skippedBytes) return std::nullopt;
  return boxesIn(content->subspan(skippedBytes));
}

// Sequence parameter sets.

/// Bits of a parameter set, from which the bytes are left out that keep start codes out of it.
class BitReader {
 public:
  explicit BitReader(Bytes unit) {
    for (std::size_t i = 0; i < unit.size(); ++i) {
      const bool isInserted = i >= 2 && byteAt(unit, i) == 3 && byteAt(unit, i - 1) == 0 && byteAt(unit, i - 2) == 0;
      if (!isInserted) bytes_.push_back(byteAt(unit, i));
    }
  }

  std::uint64_t bits(unsigned count) noexcept {
    std::uint64_t value = 0;
    for (unsigned i = 0; i < count; ++i, ++position_) {
      const std::size_t byte = position_ / 8;
      if (byte >= bytes_.size()) isWithin_ = false;
      value = value << 1U | (isWithin_ ? bytes_[byte] >> (7 - position_ % 8) & 1U : 0U);
    }
    return value;
  }
  void skip(std::size_t count) noexcept { position_ += count; }
  /// An unsigned Exp-Golomb number (H.265, 9.2).
  std::uint64_t exponential() noexcept {
    unsigned zeros = 0;
    while (isWithin_ && bits(1) == 0) ++zeros;
    if (zeros > 32) isWithin_ = false;
    return isWithin_ ? (std::uint64_t{1} << zeros) - 1 + bits(zeros) : 0;
  }
  bool isWithin() const noexcept { return isWithin_; }

 private:
  std::vector<std::uint8_t> bytes_;
  std::size_t position_ = 0;
  bool isWithin_ = true;
};

void skipProfileTierLevel(BitReader& reader, unsigned subLayersBelow) {
  constexpr std::size_t profileBits = 88, levelBits = 8;
  reader.skip(profileBits + levelBits);
  if (subLayersBelow == 0) return;
  std::vector<std::pair<bool, bool>> present(8);
  for (auto& [profile, level] : present) {
    profile = reader.bits(1) != 0;
    level = reader.bits(1) != 0;
  }
  for (unsigned i = 0; i < subLayersBelow; ++i) {
    reader.skip((present[i].first ? profileBits : 0) + (present[i].second ? levelBits : 0));
  }
}

/// The pixels of the pictures that follow a sequence parameter set, a unit with its header of two bytes.
std::optional<std::uint64_t> pixelsOfParameterSet(Bytes unit) {
  constexpr std::uint64_t largestSide = 1U << 16U;
  constexpr std::uint64_t fullChroma = 3;
  BitReader reader(unit);
  reader.skip(16 + 4);
  const auto subLayersBelow = static_cast<unsigned>(reader.bits(3));
  reader.skip(1);
  skipProfileTierLevel(reader, subLayersBelow);
  reader.exponential();
  if (reader.exponential() == fullChroma) reader.skip(1);
  const std::uint64_t width = reader.exponential();
  const std::uint64_t height = reader.exponential();
  if (!reader.isWithin() || width > largestSide || height > largestSide) return std::nullopt;
  return width * height;
}

constexpr unsigned sequenceParameterSet = 33;
constexpr unsigned lastPictureType = 31;

unsigned unitType(Bytes unit) noexcept {
  return unit.empty() ? 0U : byteAt(unit, 0) >> 1U & 63U;
}

/// The largest picture of a decoder configuration (ISO/IEC 14496-15, 8.3.3.1.2).
std::optional<std::uint64_t> largestOfConfiguration(Bytes content) {
  constexpr std::size_t fixedBytes = 22;
  Reader reader(content);
  reader.take(fixedBytes);
  const std::uint64_t arrays = reader.integer(1);
  std::uint64_t largest = 0;
  for (std::uint64_t array = 0; array < arrays && reader.isWithin(); ++array) {
    reader.integer(1);
    const std::uint64_t units = reader.integer(2);
    for (std::uint64_t i = 0; i < units && reader.isWithin(); ++i) {
      const Bytes unit = reader.take(reader.integer(2));
      // By the unit's own word, whatever the array says.
      if (unitType(unit) != sequenceParameterSet) continue;
      const std::optional<std::uint64_t> pixels = pixelsOfParameterSet(unit);
      if (!pixels) return std::nullopt;
      largest = std::max(largest, *pixels);
    }
  }
  if (!reader.isWithin()) return std::nullopt;
  return largest;
}

// Items.

using ItemSet = std::set<std::uint64_t>;

struct Items {
  ItemSet coded;  ///< Pictures.
  ItemSet grids;  ///< Images put together from tiles.
  ItemSet otherwiseMade;
};

/// Overlays, which may lay any number of whole pictures over one another, and pictures that other coders made: HEIC has
/// none, but a library may know them.
bool isOtherwiseMade(std::uint64_t type) noexcept {
  constexpr std::array<std::string_view, 7> types{"iovl", "av01", "avc1", "vvc1", "jpeg", "j2k1", "unci"};
  return std::any_of(types.begin(), types.end(), [&](std::string_view name) { return code(name) == type; });
}

/// The items by the item information box.
std::optional<Items> readItems(Bytes information) {
  Reader reader(information);
  const std::uint64_t version = reader.integer(4) >> 24U;
  reader.integer(version == 0 ? 2 : 4);
  const std::optional<std::vector<Box>> entries = boxesIn(reader.take(reader.remaining()));
  if (!entries) return std::nullopt;
  Items items;
  for (const Box& entry : *entries) {
    if (entry.type != code("infe")) continue;
    Reader fields(entry.content);
    const std::uint64_t entryVersion = fields.integer(4) >> 24U;
    if (entryVersion < 2) continue;
    const std::uint64_t item = fields.integer(entryVersion == 2 ? 2 : 4);
    fields.integer(2);
    const std::uint64_t type = fields.integer(4);
    if (isOtherwiseMade(type)) items.otherwiseMade.insert(item);
    if (type == code("hvc1") || type == code("hev1")) items.coded.insert(item);
    if (type == code("grid")) items.grids.insert(item);
  }
  return items;
}

struct Reference {
  std::uint32_t type = 0;
  std::uint64_t from = 0;
  std::vector<std::uint64_t> to;
};

/// What the item reference boxes of a meta box say.
std::optional<std::vector<Reference>> readReferences(const std::vector<Box>& meta) {
  std::vector<Reference> references;
  for (const Box& box : meta) {
    if (box.type != code("iref")) continue;
    Reader reader(box.content);
    const unsigned itemBytes = reader.integer(4) >> 24U == 0 ? 2 : 4;
    const std::optional<std::vector<Box>> boxes = boxesIn(reader.take(reader.remaining()));
    if (!boxes) return std::nullopt;
    for (const Box& reference : *boxes) {
      Reader fields(reference.content);
      Reference& added = references.emplace_back(Reference{reference.type, fields.integer(itemBytes), {}});
      for (std::uint64_t left = fields.integer(2); left > 0 && fields.isWithin(); --left) {
        added.to.push_back(fields.integer(itemBytes));
      }
    }
  }
  return references;
}

/// True where the tiles of grids are coded pictures, and not images that are themselves put together, each of which
/// would be made again for every use.
bool tilesArePictures(const std::vector<Reference>& references, const Items& items) {
  return std::all_of(references.begin(), references.end(), [&](const Reference& reference) {
    return reference.type != code("dimg") || !items.grids.contains(reference.from) ||
           std::all_of(reference.to.begin(), reference.to.end(),
                       [&](std::uint64_t item) { return items.coded.contains(item); });
  });
}

/// True where each of `items` is another image's thumbnail and nothing else: these are not decoded.
bool areThumbnails(const ItemSet& items, const std::vector<Reference>& references, const std::vector<Box>& meta) {
  if (items.empty()) return true;
  const std::optional<Bytes> primary = onlyBox(meta, "pitm");
  if (!primary) return false;
  Reader reader(*primary);
  const unsigned itemBytes = reader.integer(4) >> 24U == 0 ? 2 : 4;
  if (items.contains(reader.integer(itemBytes)) || !reader.isWithin()) return false;
  ItemSet thumbnails;
  for (const Reference& reference : references) {
    const bool isToOneOfThem =
        std::any_of(reference.to.begin(), reference.to.end(), [&](std::uint64_t item) { return items.contains(item); });
    if (isToOneOfThem) return false;
    if (!items.contains(reference.from)) continue;
    if (reference.type != code("thmb")) return false;
    thumbnails.insert(reference.from);
  }
  return thumbnails == items;
}

/// True where `units`, each behind its length, are one picture at most and nothing that changes its size.
bool isOnePicture(Bytes units) {
  Reader reader(units);
  std::size_t pictures = 0;
  while (reader.remaining() >= 4) {
    const Bytes unit = reader.take(reader.integer(4));
    if (!reader.isWithin()) return false;
    if (unitType(unit) == sequenceParameterSet) return false;
    if (unit.size() < 3 || unitType(unit) > lastPictureType) continue;
    // The first bit behind the header says that a slice begins a picture. No sound header has these three bits clear.
    const bool isUnsound = (byteAt(unit, 1) & 7U) == 0;
    if (isUnsound || (byteAt(unit, 2) & 0x80U) != 0) ++pictures;
  }
  return pictures <= 1;
}

/// True where every item of `coded` holds one picture, by the item location box (ISO/IEC 14496-12, 8.11.3). Items in
/// several pieces are not looked into, and so are none; nor are more bytes than the file has, which no items need that
/// have their own.
bool itemsAreSinglePictures(Bytes location, const ItemSet& coded, Bytes file, Bytes itemData) {
  Reader reader(location);
  const std::uint64_t version = reader.integer(4) >> 24U;
  const std::uint64_t sizes = reader.integer(2);
  const auto fieldBytes = [&](unsigned shift) { return static_cast<unsigned>(sizes >> shift & 15U); };
  const unsigned offsetBytes = fieldBytes(12), lengthBytes = fieldBytes(8), baseBytes = fieldBytes(4);
  const unsigned indexBytes = version == 0 ? 0 : fieldBytes(0);
  if (version > 2 || std::max({offsetBytes, lengthBytes, baseBytes, indexBytes}) > 8) return false;
  const std::uint64_t count = reader.integer(version < 2 ? 2 : 4);
  std::uint64_t bytesLeft = file.size();
  for (std::uint64_t i = 0; i < count && reader.isWithin(); ++i) {
    const std::uint64_t item = reader.integer(version < 2 ? 2 : 4);
    const std::uint64_t method = version == 0 ? 0 : reader.integer(2) & 15U;
    reader.integer(2);
    const std::uint64_t base = reader.integer(baseBytes);
    const std::uint64_t extents = reader.integer(2);
    const bool isCoded = coded.contains(item);
    if (isCoded && (extents != 1 || method > 1)) return false;
    for (std::uint64_t extent = 0; extent < extents && reader.isWithin(); ++extent) {
      reader.integer(indexBytes);
      const std::uint64_t offset = reader.integer(offsetBytes);
      const std::uint64_t length = reader.integer(lengthBytes);
      if (!isCoded) continue;
      const Bytes source = method == 1 ? itemData : file;
      const std::uint64_t size = source.size();
      if (base > size || offset > size - base || length > size - base - offset || length == 0) return false;
      if (length > bytesLeft) return false;
      bytesLeft -= length;
      const Bytes units = source.subspan(static_cast<std::size_t>(base + offset), static_cast<std::size_t>(length));
      if (!isOnePicture(units)) return false;
    }
  }
  return reader.isWithin();
}

std::optional<std::uint64_t> largestPicture(Bytes data) {
  constexpr std::size_t versionBytes = 4;
  bool areAll = false;
  const std::optional<std::vector<Box>> meta =
      boxesOfOnlyBox(soundBoxesIn(data, areAll), "meta", versionBytes);  // Whatever may follow the last sound box.
  if (!meta) return std::nullopt;
  const std::optional<Bytes> information = onlyBox(*meta, "iinf");
  const std::optional<Bytes> location = onlyBox(*meta, "iloc");
  const std::optional<std::vector<Box>> itemProperties = boxesOfOnlyBox(*meta, "iprp", 0);
  if (!information || !location || !itemProperties) return std::nullopt;
  const std::optional<std::vector<Box>> properties = boxesOfOnlyBox(*itemProperties, "ipco", 0);
  const std::optional<Items> items = readItems(*information);
  if (!properties || !items) return std::nullopt;
  const std::optional<std::vector<Reference>> references = readReferences(*meta);
  if (!references || !tilesArePictures(*references, *items)) return std::nullopt;
  if (!areThumbnails(items->otherwiseMade, *references, *meta)) return std::nullopt;
  const Bytes itemData = onlyBox(*meta, "idat").value_or(Bytes());
  if (!itemsAreSinglePictures(*location, items->coded, data, itemData)) return std::nullopt;

  std::uint64_t largest = 0;
  for (const Box& property : *properties) {
    if (property.type != code("hvcC")) continue;
    const std::optional<std::uint64_t> pixels = largestOfConfiguration(property.content);
    if (!pixels) return std::nullopt;
    largest = std::max(largest, *pixels);
  }
  return largest;
}

}  // namespace

std::optional<std::uint64_t> largestHEICPicture(std::span<const std::byte> data) noexcept {
  try {
    return largestPicture(data);
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

}  // namespace ornolith
