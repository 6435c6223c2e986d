#include "loaders/mesh/STLReader.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/Text.h"
#include "imaging/ByteOrder.h"
#include "imaging/Color.h"
#include "loaders/mesh/MeshGeometry.h"
#include "loaders/mesh/MeshReadError.h"
#include "loaders/mesh/TextScanner.h"

namespace ornolith {

namespace {

constexpr std::size_t headerSize = 80;
constexpr std::size_t firstFacet = headerSize + 4;
constexpr std::size_t facetSize = 50;
constexpr std::size_t normalSize = 12;
constexpr std::size_t cornersSize = 36;
constexpr std::uint16_t topBit = 0x8000;
constexpr std::size_t cornersOfAFacet = 3;

using Bytes = std::span<const std::byte>;
using Buffer = std::vector<std::byte>;
using LinearColor = std::array<float, 3>;

bool equalsIgnoringCase(std::string_view text, std::string_view lowercase) {
  return std::equal(text.begin(), text.end(), lowercase.begin(), lowercase.end(),
                    [](char a, char b) { return (a >= 'A' && a <= 'Z' ? static_cast<char>(a - 'A' + 'a') : a) == b; });
}

/// Adds a node of facets whose corners stand in order in `corners`; colours are one for each corner, or none.
void addSolid(SCNScene& scene, std::string_view name, Buffer corners, Buffer colors) {
  const std::size_t vertexCount = corners.size() / normalSize;
  if (vertexCount == 0) return;
  const auto source = [&](Buffer data, SCNGeometrySourceSemantic semantic) {
    return SCNGeometrySource::geometrySourceWithData(std::make_shared<const Buffer>(std::move(data)), semantic,
                                                     vertexCount, true, 3, sizeof(float), 0, 0);
  };
  const bool hasColors = !colors.empty();
  SCNGeometry::Sources sources{source(std::move(corners), SCNGeometrySourceSemantic::vertex)};
  if (hasColors) sources.push_back(source(std::move(colors), SCNGeometrySourceSemantic::color));
  const auto geometry = SCNGeometry::geometryWithSources(
      std::move(sources), {SCNGeometryElement::geometryElementWithData(nullptr, SCNGeometryPrimitiveType::triangles,
                                                                       vertexCount / cornersOfAFacet, 4)});
  geometry->setFirstMaterial(defaultMeshMaterial(hasColors));
  const SCNNode::Pointer node = SCNNode::nodeWithGeometry(geometry);
  if (!name.empty()) {
    geometry->name = repairingUTF8(name);
    node->setName(geometry->name);
  }
  scene.rootNode()->addChildNode(node);
}

// Binary files.

std::size_t claimedFacetCount(Bytes bytes) {
  return littleEndian32(bytes, headerSize);
}

std::size_t claimedSize(Bytes bytes) {
  return firstFacet + claimedFacetCount(bytes) * facetSize;
}

std::uint16_t attributeOf(Bytes bytes, std::size_t facet) {
  return littleEndian16(bytes, firstFacet + facet * facetSize + normalSize + cornersSize);
}

/// The colour of five bits each, by the places of red, green and blue.
LinearColor colorOf(std::uint16_t attribute, int redShift, int blueShift) {
  const auto channel = [&](int shift) { return linearFromSRGB(static_cast<float>(attribute >> shift & 31) / 31.0F); };
  return {channel(redShift), channel(5), channel(blueShift)};
}

/// The colour of the whole object that the header names, where it does.
std::optional<LinearColor> headerColor(Bytes bytes) {
  constexpr std::string_view mark = "COLOR=";
  const std::string_view header(reinterpret_cast<const char*>(bytes.data()), headerSize);
  const std::size_t place = header.find(mark);
  if (place == std::string_view::npos || place + mark.size() + 4 > headerSize) return std::nullopt;
  const std::size_t color = place + mark.size();
  return LinearColor{linearFromSRGB8(byteAt(bytes, color)), linearFromSRGB8(byteAt(bytes, color + 1)),
                     linearFromSRGB8(byteAt(bytes, color + 2))};
}

/// One colour for each corner, or nothing where the file marks none.
Buffer facetColors(Bytes bytes, std::size_t facetCount) {
  const std::optional<LinearColor> objectColor = headerColor(bytes);
  bool isMarked = objectColor.has_value();
  for (std::size_t facet = 0; !isMarked && facet < facetCount; ++facet) {
    isMarked = (attributeOf(bytes, facet) & topBit) != 0;
  }
  if (!isMarked) return {};
  Buffer colors(facetCount * cornersSize);
  for (std::size_t facet = 0; facet < facetCount; ++facet) {
    const std::uint16_t attribute = attributeOf(bytes, facet);
    const bool hasTopBit = (attribute & topBit) != 0;
    const LinearColor color = objectColor ? (hasTopBit ? *objectColor : colorOf(attribute, 0, 10))
                              : hasTopBit ? colorOf(attribute, 10, 0)
                                          : LinearColor{1, 1, 1};
    for (std::size_t corner = 0; corner < cornersOfAFacet; ++corner) {
      std::memcpy(colors.data() + facet * cornersSize + corner * sizeof color, color.data(), sizeof color);
    }
  }
  return colors;
}

void readBinary(Bytes bytes, SCNScene& scene) {
  static_assert(std::endian::native == std::endian::little, "corners are copied as they stand");
  const std::size_t facetCount = claimedFacetCount(bytes);
  const std::size_t held = (bytes.size() - firstFacet) / facetSize;
  if (facetCount > held) {
    throwMalformedMesh("The STL file's header claims " + std::to_string(facetCount) + " facets, but the file holds " +
                       std::to_string(held) + ".");
  }
  Buffer corners(facetCount * cornersSize);
  for (std::size_t facet = 0; facet < facetCount; ++facet) {
    std::memcpy(corners.data() + facet * cornersSize, bytes.data() + firstFacet + facet * facetSize + normalSize,
                cornersSize);
  }
  addSolid(scene, {}, std::move(corners), facetColors(bytes, facetCount));
}

// ASCII files.

/// True where the bytes begin as the text of an STL file does: "solid", and then "facet" or "endsolid" at the start of
/// one of the lines after it.
bool isText(Bytes bytes) {
  TextScanner scanner(bytes);
  if (!equalsIgnoringCase(scanner.nextToken(), "solid")) return false;
  scanner.restOfLine();
  const std::string_view keyword = scanner.nextToken();
  return equalsIgnoringCase(keyword, "facet") || equalsIgnoringCase(keyword, "endsolid");
}

class TextReader {
 public:
  TextReader(Bytes bytes, SCNScene& scene) : scanner_(bytes), scene_(scene) {}

  void read() {
    for (std::string_view word = scanner_.nextToken(); !word.empty(); word = scanner_.nextToken()) {
      if (equalsIgnoringCase(word, "solid")) {
        finishSolid();
        name_ = scanner_.restOfLine();
      } else if (equalsIgnoringCase(word, "endsolid")) {
        scanner_.restOfLine();
        finishSolid();
      } else if (equalsIgnoringCase(word, "facet")) {
        readFacet();
      } else {
        scanner_.restOfLine();
      }
    }
    finishSolid();
  }

 private:
  void readFacet() {
    std::size_t cornerCount = 0;
    for (std::string_view word = scanner_.nextToken(); !equalsIgnoringCase(word, "endfacet");
         word = scanner_.nextToken()) {
      if (word.empty()) fail("ends inside a facet");
      if (!equalsIgnoringCase(word, "vertex")) continue;
      if (++cornerCount > cornersOfAFacet) fail("has a facet with more than three corners");
      for (int component = 0; component < 3; ++component) readComponent();
    }
    if (cornerCount != cornersOfAFacet) fail("has a facet with fewer than three corners");
  }

  void readComponent() {
    const std::optional<float> value = numberOf<float>(scanner_.nextToken());
    if (!value) fail("has a corner that is not three numbers");
    const auto bytes = std::bit_cast<std::array<std::byte, sizeof(float)>>(*value);
    corners_.insert(corners_.end(), bytes.begin(), bytes.end());
  }

  void finishSolid() {
    addSolid(scene_, name_, std::exchange(corners_, {}), {});
    name_ = {};
  }

  [[noreturn]] void fail(const std::string& fault) const {
    throwMalformedMesh("The STL file " + fault + " (line " + std::to_string(scanner_.line()) + ").");
  }

  TextScanner scanner_;
  SCNScene& scene_;
  std::string_view name_;
  Buffer corners_;
};

}  // namespace

std::shared_ptr<SCNScene> readSTL(std::span<const std::byte> bytes) {
  std::shared_ptr<SCNScene> scene = SCNScene::scene();
  const bool canBeBinary = bytes.size() >= firstFacet;
  if (canBeBinary && claimedSize(bytes) == bytes.size()) {
    readBinary(bytes, *scene);
  } else if (isText(bytes)) {
    TextReader(bytes, *scene).read();
  } else if (canBeBinary) {
    readBinary(bytes, *scene);
  } else {
    throwMalformedMesh("The STL file is neither text nor long enough for a binary file.");
  }
  return scene;
}

}  // namespace ornolith
