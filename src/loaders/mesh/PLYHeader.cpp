#include "loaders/mesh/PLYHeader.h"

#include <array>
#include <string_view>
#include <utility>

#include "foundation/NumberText.h"
#include "foundation/Text.h"
#include "loaders/mesh/MeshReadError.h"
#include "loaders/mesh/TextScanner.h"

namespace ornolith {

namespace {

constexpr std::array<std::pair<std::string_view, PLYType>, 16> typeNames{{{"char", PLYType::int8},
                                                                          {"int8", PLYType::int8},
                                                                          {"uchar", PLYType::uint8},
                                                                          {"uint8", PLYType::uint8},
                                                                          {"short", PLYType::int16},
                                                                          {"int16", PLYType::int16},
                                                                          {"ushort", PLYType::uint16},
                                                                          {"uint16", PLYType::uint16},
                                                                          {"int", PLYType::int32},
                                                                          {"int32", PLYType::int32},
                                                                          {"uint", PLYType::uint32},
                                                                          {"uint32", PLYType::uint32},
                                                                          {"float", PLYType::float32},
                                                                          {"float32", PLYType::float32},
                                                                          {"double", PLYType::float64},
                                                                          {"float64", PLYType::float64}}};

class HeaderReader {
 public:
  explicit HeaderReader(std::span<const std::byte> bytes)
      : text_(reinterpret_cast<const char*>(bytes.data()), bytes.size()), scanner_(bytes) {}

  PLYHeader read() {
    if (scanner_.restOfLine() != "ply")
      throwMalformedMesh("The file does not begin with the line \"ply\" of a PLY file.");
    const bool endsLinesInCR = text_.substr(scanner_.position() - 1, 1) == "\r";
    bool hasFormat = false;
    while (true) {
      if (scanner_.isAtEnd()) fail("ends inside");
      const std::string_view line = scanner_.restOfLine();
      TextScanner words(std::as_bytes(std::span(line)));
      const std::string_view keyword = words.nextToken();
      if (keyword == "end_header") break;
      if (keyword == "format") {
        header_.format = formatOf(words.nextToken());
        hasFormat = true;
      } else if (keyword == "element") {
        readElement(words);
      } else if (keyword == "property") {
        readProperty(words);
      } else if (keyword == "comment" && words.nextToken() == "TextureFile") {
        header_.textureFiles.emplace_back(words.restOfLine());
      }
    }
    if (!hasFormat) fail("names no format in");
    header_.size = scanner_.position();
    // Where lines end in CR alone, an LF behind the last one is the first byte of the rows.
    if (endsLinesInCR && text_[header_.size - 1] == '\n') --header_.size;
    for (const PLYElement& element : header_.elements) checkCount(element);
    return std::move(header_);
  }

 private:
  PLYFormat formatOf(std::string_view name) const {
    if (name == "ascii") return PLYFormat::ascii;
    if (name == "binary_little_endian") return PLYFormat::binaryLittleEndian;
    if (name == "binary_big_endian") return PLYFormat::binaryBigEndian;
    fail("names an unknown format in");
  }

  PLYType typeOf(std::string_view name) const {
    for (const auto& [known, type] : typeNames) {
      if (known == name) return type;
    }
    fail("names an unknown type in");
  }

  void readElement(TextScanner& words) {
    PLYElement element;
    element.name = repairingUTF8(words.nextToken());
    const auto count = parseUInt64Digits(words.nextToken());
    if (!count) fail("has an element without a count in");
    element.count = *count;
    header_.elements.push_back(std::move(element));
  }

  void readProperty(TextScanner& words) {
    if (header_.elements.empty()) fail("has a property before any element in");
    PLYProperty property;
    std::string_view type = words.nextToken();
    if (type == "list") {
      property.countType = typeOf(words.nextToken());
      if (*property.countType == PLYType::float32 || *property.countType == PLYType::float64) {
        fail("counts a list by a fraction in");
      }
      type = words.nextToken();
    }
    property.type = typeOf(type);
    property.name = words.nextToken();
    header_.elements.back().properties.push_back(std::move(property));
  }

  // A row takes at least its single values and its lists' counts; in text, a digit and a blank each, but for the last
  // blank of the file.
  void checkCount(const PLYElement& element) const {
    std::uint64_t leastRowSize = 0;
    for (const PLYProperty& property : element.properties) {
      leastRowSize += header_.format == PLYFormat::ascii ? 2 : sizeOf(property.countType.value_or(property.type));
    }
    if (leastRowSize == 0) return;
    const std::uint64_t room = text_.size() - header_.size + (header_.format == PLYFormat::ascii ? 1 : 0);
    if (element.count > room / leastRowSize) {
      throwMalformedMesh("The PLY file's header claims " + std::to_string(element.count) + " rows of the element \"" +
                         element.name + "\", but the file holds no more than " + std::to_string(room / leastRowSize) +
                         ".");
    }
  }

  [[noreturn]] void fail(const std::string& fault) const {
    throwMalformedMesh("The PLY file " + fault + " its header (before line " + std::to_string(scanner_.line()) + ").");
  }

  std::string_view text_;
  TextScanner scanner_;
  PLYHeader header_;
};

}  // namespace

std::size_t sizeOf(PLYType type) noexcept {
  switch (type) {
    case PLYType::int8:
    case PLYType::uint8:
      return 1;
    case PLYType::int16:
    case PLYType::uint16:
      return 2;
    case PLYType::int32:
    case PLYType::uint32:
    case PLYType::float32:
      return 4;
    case PLYType::float64:
      return 8;
  }
  return 1;
}

PLYHeader readPLYHeader(std::span<const std::byte> bytes) {
  return HeaderReader(bytes).read();
}

}  // namespace ornolith
