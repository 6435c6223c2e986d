#include "loaders/mesh/STLReader.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/ByteOrderMark.h"
#include "foundation/Text.h"
#include "imaging/ByteOrder.h"
#include "imaging/Color.h"
#include "loaders/mesh/IndexedMesh.h"
#include "loaders/mesh/MeshReadError.h"
#include "loaders/mesh/NumberScanner.h"
#include "loaders/mesh/TextScanner.h"
#include "loaders/mesh/VertexWelding.h"

namespace ornolith {

namespace {

constexpr std::size_t headerSize = 80;
constexpr std::size_t firstFacet = headerSize + 4;
constexpr std::size_t facetSize = 50;
constexpr std::size_t positionSize = 12;
constexpr std::size_t cornersOfAFacet = 3;
constexpr std::size_t componentsOfAFacet = 9;
constexpr std::uint16_t topBit = 0x8000;

using Bytes = std::span<const std::byte>;
using LinearColor = std::array<float, 3>;

bool equalsIgnoringCase(std::string_view text, std::string_view lowercase) {
  return std::equal(text.begin(), text.end(), lowercase.begin(), lowercase.end(),
                    [](char a, char b) { return (a >= 'A' && a <= 'Z' ? static_cast<char>(a - 'A' + 'a') : a) == b; });
}

/// Adds a node, and tells whether there is anything to be seen of it.
bool addSolid(SCNScene& scene, std::string_view name, IndexedMesh mesh) {
  const bool isSeen = canBeSeen(mesh);
  // Welded by their places, unless they were by colours too.
  addMissingNormals(mesh, mesh.colors.empty() ? VertexPlaces::differ : VertexPlaces::mayCoincide);
  const auto geometry = geometryOfMesh(std::move(mesh));
  const SCNNode::Pointer node = SCNNode::nodeWithGeometry(geometry);
  if (!name.empty()) {
    geometry->name = repairingUTF8(name);
    node->setName(geometry->name);
  }
  scene.rootNode()->addChildNode(node);
  return isSeen;
}

void checkFacetCount(std::size_t count) {
  if (count > mostWeldedCorners / cornersOfAFacet) throwMalformedMesh("The STL file has too many facets.");
}

// Binary files.

std::size_t claimedFacetCount(Bytes bytes) {
  return littleEndian32(bytes, headerSize);
}

std::size_t claimedSize(Bytes bytes) {
  return firstFacet + claimedFacetCount(bytes) * facetSize;
}

/// What the facets' attributes say about colours.
enum class Coloring { none, whereTopBitIsSet, unlessTopBitIsSet, wholeObject };

/// The colours of a binary file's facets.
class FacetColors {
 public:
  /// `attributes` are the bits that any of the facets' attributes has.
  FacetColors(Bytes header, std::uint16_t attributes) {
    for (std::size_t i = 0; i < levels_.size(); ++i) levels_[i] = linearFromSRGB(static_cast<float>(i) / 31.0F);
    if (const auto color = headerColor(header)) {
      objectColor_ = *color;
      coloring_ = attributes != 0 ? Coloring::unlessTopBitIsSet : Coloring::wholeObject;
    } else if ((attributes & topBit) != 0) {
      coloring_ = Coloring::whereTopBitIsSet;
    }
  }

  Coloring coloring() const noexcept { return coloring_; }

  LinearColor of(std::uint16_t attribute) const {
    const bool hasTopBit = (attribute & topBit) != 0;
    switch (coloring_) {
      case Coloring::whereTopBitIsSet:
        if (hasTopBit) return colorOfFiveBits(attribute, 10, 0);
        break;
      case Coloring::unlessTopBitIsSet:
        return hasTopBit ? objectColor_ : colorOfFiveBits(attribute, 0, 10);
      case Coloring::wholeObject:
        return objectColor_;
      case Coloring::none:
        break;
    }
    return {1, 1, 1};
  }

 private:
  /// The colour of the whole object that the header names, where it does.
  static std::optional<LinearColor> headerColor(Bytes header) {
    constexpr std::string_view mark = "COLOR=";
    const std::string_view text(reinterpret_cast<const char*>(header.data()), headerSize);
    const std::size_t place = text.find(mark);
    if (place == std::string_view::npos || place + mark.size() + 4 > headerSize) return std::nullopt;
    const std::size_t color = place + mark.size();
    return LinearColor{linearFromSRGB8(byteAt(header, color)), linearFromSRGB8(byteAt(header, color + 1)),
                       linearFromSRGB8(byteAt(header, color + 2))};
  }

  /// The colour of five bits each, by the places of red and blue.
  LinearColor colorOfFiveBits(std::uint16_t attribute, int redShift, int blueShift) const {
    const auto channel = [&](int shift) { return levels_[static_cast<std::size_t>(attribute >> shift & 31)]; };
    return {channel(redShift), channel(5), channel(blueShift)};
  }

  Coloring coloring_ = Coloring::none;
  std::array<float, 32> levels_{};
  LinearColor objectColor_{1, 1, 1};
};

/// The vertices of facets whose corners at one place, where these have one colour, are one. Hardly a file has colours,
/// so they are looked for on the way.
IndexedMesh meshOfFacets(Bytes header, Bytes facets, const BytesRead& whenRead) {
  static_assert(std::endian::native == std::endian::little, "corners are copied as they stand");
  FacetCorners corners{
      .bytes = facets, .facetSize = facetSize, .firstCorner = positionSize, .words = FacetWords::noted};
  WeldedCorners welded = weldedCorners(corners, whenRead);
  const FacetColors colors(header, welded.bitsOfWords);
  if (colors.coloring() == Coloring::whereTopBitIsSet || colors.coloring() == Coloring::unlessTopBitIsSet) {
    corners.words = FacetWords::counted;
    welded = {};
    welded = weldedCorners(corners, whenRead);
  }
  IndexedMesh mesh;
  mesh.triangles = std::move(welded.vertices);
  mesh.positions = std::move(welded.positions);
  if (colors.coloring() == Coloring::none) return mesh;
  welded.words.resize(mesh.vertexCount(), 0);  // There are none where all are 0 and the header has a colour.
  mesh.colors.reserve(mesh.positions.size());
  for (const std::uint16_t attribute : welded.words) {
    const LinearColor color = colors.of(attribute);
    mesh.colors.insert(mesh.colors.end(), color.begin(), color.end());
  }
  return mesh;
}

/// Tells whether there is anything to be seen.
bool readBinary(Bytes bytes, SCNScene& scene, const BytesRead& whenRead) {
  const std::size_t facetCount = claimedFacetCount(bytes);
  const std::size_t held = (bytes.size() - firstFacet) / facetSize;
  if (facetCount > held) {
    throwMalformedMesh("The STL file's header claims " + std::to_string(facetCount) + " facets, but the file holds " +
                       std::to_string(held) + ".");
  }
  if (facetCount == 0) return false;
  checkFacetCount(facetCount);
  const Bytes facets = bytes.subspan(firstFacet, facetCount * facetSize);
  return addSolid(scene, {}, meshOfFacets(bytes.first(headerSize), facets, whenRead));
}

// ASCII files.

/// Where in a line the first facet begins, which some programs write right behind the solid's name; the line's length
/// where none does.
std::size_t facetIn(std::string_view line) {
  TextScanner words(std::as_bytes(std::span(line)));
  std::size_t facet = line.size();
  for (std::string_view word = words.nextToken(); !word.empty(); word = words.nextToken()) {
    if (facet < line.size() && equalsIgnoringCase(word, "normal")) return facet;
    facet = equalsIgnoringCase(word, "facet") ? words.position() - word.size() : line.size();
  }
  return line.size();
}

/// True where the bytes begin as the text of an STL file does: "solid", and then "facet" or "endsolid" at the start of
/// one of the lines after it, or a facet in the same line.
bool isText(Bytes bytes) {
  constexpr int linesSearched = 64;
  TextScanner scanner(bytes);
  if (!equalsIgnoringCase(scanner.nextToken(), "solid")) return false;
  const std::string_view firstLine = scanner.restOfLine();
  if (facetIn(firstLine) < firstLine.size()) return true;
  for (int i = 0; i < linesSearched && !scanner.isAtEnd(); ++i) {
    const std::string_view keyword = scanner.nextToken();
    if (equalsIgnoringCase(keyword, "facet") || equalsIgnoringCase(keyword, "endsolid")) return true;
    scanner.restOfLine();
  }
  return false;
}

class TextReader {
 public:
  TextReader(Bytes bytes, SCNScene& scene, const BytesRead& whenRead)
      : begin_(reinterpret_cast<const char*>(bytes.data())),
        place_(begin_),
        end_(begin_ + bytes.size()),
        noted_(begin_),
        whenRead_(whenRead),
        scene_(scene) {}

  /// Tells whether there is anything to be seen.
  bool read() {
    for (std::string_view word = nextWord(); !word.empty(); word = nextWord()) {
      if (equalsIgnoringCase(word, "facet")) {
        readFacet();
        if (place_ - noted_ >= static_cast<std::ptrdiff_t>(bytesOfAPart)) notePart();
      } else if (equalsIgnoringCase(word, "solid")) {
        finishSolid();
        name_ = solidName();
      } else if (equalsIgnoringCase(word, "endsolid")) {
        restOfLine();
        finishSolid();
      } else {
        restOfLine();
      }
    }
    finishSolid();
    return isAnythingSeen_;
  }

 private:
  static bool isBlank(char letter) noexcept { return static_cast<unsigned char>(letter) <= ' '; }

  std::string_view nextWord() noexcept {
    while (place_ != end_ && isBlank(*place_)) ++place_;
    const char* start = place_;
    while (place_ != end_ && !isBlank(*place_)) ++place_;
    return {start, static_cast<std::size_t>(place_ - start)};
  }

  std::string_view solidName() {
    const std::string_view line = restOfLine();
    const std::size_t facet = facetIn(line);
    if (facet < line.size()) place_ = line.data() + facet;
    return trimmingWhitespace(line.substr(0, facet));
  }

  std::string_view restOfLine() noexcept {
    const char* start = place_;
    while (place_ != end_ && *place_ != '\n' && *place_ != '\r') ++place_;
    const char* stop = place_;
    while (start != stop && isBlank(*start)) ++start;
    while (start != stop && isBlank(stop[-1])) --stop;
    return {start, static_cast<std::size_t>(stop - start)};
  }

  // All words that are no corner are passed over, the normal among them.
  void readFacet() {
    std::size_t cornerCount = 0;
    for (std::string_view word = nextWord(); !equalsIgnoringCase(word, "endfacet"); word = nextWord()) {
      if (word.empty()) fail("ends inside a facet");
      if (!equalsIgnoringCase(word, "vertex")) continue;
      if (++cornerCount > cornersOfAFacet) fail("has a facet with more than three corners");
      for (int component = 0; component < 3; ++component) corners_.push_back(nextNumber());
    }
    if (cornerCount != cornersOfAFacet) fail("has a facet with fewer than three corners");
    if (corners_.size() == CornerWelding::facetsAtOnce * componentsOfAFacet) weldCorners();
  }

  float nextNumber() {
    while (place_ != end_ && isBlank(*place_)) ++place_;
    float value = 0;
    const char* stop = scanReal(place_, end_, value);
    const bool isNumber = stop != place_ && (stop == end_ || isBlank(*stop));
    if (!isNumber) fail("has a corner that is not three numbers");
    place_ = stop;
    return value;
  }

  /// Corners are welded before there are many, so that few are kept that become one.
  void weldCorners() {
    if (!welding_) welding_.emplace(expectedFacets(), mostFacetsLeft());
    facetCount_ += corners_.size() / componentsOfAFacet;
    checkFacetCount(facetCount_);
    welding_->add(corners_);
    corners_.clear();
  }

  /// Of a file that goes on as it began; later solids may be of any size.
  std::size_t expectedFacets() const {
    const auto facetsRead = corners_.size() / componentsOfAFacet;
    if (scene_.rootNode()->childCount() > 0 || facetsRead < CornerWelding::facetsAtOnce) return facetsRead;
    const auto read = static_cast<double>(place_ - begin_);
    const double wanted = static_cast<double>(facetsRead) * static_cast<double>(end_ - begin_) / read * 1.02;
    return std::min(static_cast<std::size_t>(wanted), mostFacetsLeft());
  }

  /// What the rest of the file has room for, besides the corners that are there.
  std::size_t mostFacetsLeft() const {
    constexpr std::string_view shortestFacet = "facet vertex 0 0 0 vertex 0 0 0 vertex 0 0 0 endfacet ";
    const std::size_t room = static_cast<std::size_t>(end_ - place_) / (shortestFacet.size() - 1) + 1;
    return std::min(corners_.size() / componentsOfAFacet + room, mostWeldedCorners / cornersOfAFacet);
  }

  void finishSolid() {
    const std::string_view name = std::exchange(name_, {});
    if (corners_.empty() && !welding_) return;
    weldCorners();
    WeldedCorners welded = welding_->finish();
    welding_.reset();
    facetCount_ = 0;
    IndexedMesh mesh;
    mesh.triangles = std::move(welded.vertices);
    mesh.positions = std::move(welded.positions);
    if (isAtEnd()) notePart();
    isAnythingSeen_ |= addSolid(scene_, name, std::move(mesh));
  }

  void notePart() {
    noteBytesRead(whenRead_, std::as_bytes(std::span(noted_, place_)));
    noted_ = place_;
  }

  bool isAtEnd() noexcept {
    while (place_ != end_ && isBlank(*place_)) ++place_;
    return place_ == end_;
  }

  [[noreturn]] void fail(const std::string& fault) const {
    const std::string_view text(begin_, static_cast<std::size_t>(end_ - begin_));
    const std::size_t line = lineNumberAt(text, static_cast<std::size_t>(place_ - begin_));
    throwMalformedMesh("The STL file " + fault + " (line " + std::to_string(line) + ").");
  }

  const char* begin_;
  const char* place_;
  const char* end_;
  const char* noted_;  // Where what `whenRead_` does not know of begins.
  const BytesRead& whenRead_;
  SCNScene& scene_;
  std::string_view name_;
  bool isAnythingSeen_ = false;
  std::optional<CornerWelding> welding_;  // Of the solid's facets.
  std::size_t facetCount_ = 0;            // Those that are welded.
  std::vector<float> corners_;            // Of further ones, three components each.
};

}  // namespace

std::shared_ptr<SCNScene> readSTL(std::span<const std::byte> bytes, const BytesRead& whenRead) {
  std::shared_ptr<SCNScene> scene = SCNScene::scene();
  const bool canBeBinary = bytes.size() >= firstFacet;
  const bool isWholeBinary = canBeBinary && claimedSize(bytes) == bytes.size();
  const Bytes text =
      std::as_bytes(std::span(withoutByteOrderMark({reinterpret_cast<const char*>(bytes.data()), bytes.size()})));
  const bool isTextFile = !isWholeBinary && isText(text);
  if (!isTextFile && !canBeBinary) {
    throwMalformedMesh("The STL file is neither text nor long enough for a binary file.");
  }
  const bool isAnythingSeen =
      isTextFile ? TextReader(text, *scene, whenRead).read() : readBinary(bytes, *scene, whenRead);
  return isAnythingSeen ? scene : SCNScene::scene();
}

}  // namespace ornolith
