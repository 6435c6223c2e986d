#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <limits>
#include <vector>

#include "MeshFiles.h"
#include "foundation/FileSystem.h"
#include "imaging/Color.h"
#include "loaders/mesh/STLReader.h"

namespace ornolith {
namespace {

using namespace mesh_files;

constexpr std::uint16_t topBit = 0x8000;

/// A binary file of one facet for each attribute word.
std::string binaryFile(const std::vector<std::uint16_t>& attributes, std::string header = "made by a test") {
  header.resize(80, ' ');
  std::string file = header + packed(static_cast<std::uint32_t>(attributes.size()));
  for (const std::uint16_t attribute : attributes) {
    for (const float value : {0.F, 0.F, 0.F, 0.F, 0.F, 0.F, 2.F, 0.F, 0.F, 0.F, 3.F, 0.F}) file += packed(value);
    file += packed(attribute);
  }
  return file;
}

std::string textFacet(const std::string& lineEnd = "\n") {
  return "  facet normal 0 0 0" + lineEnd + "    outer loop" + lineEnd + "      vertex 0 0 0" + lineEnd +
         "      vertex +2.0e0 0 0" + lineEnd + "      VERTEX 0 3 0" + lineEnd + "    endloop" + lineEnd + "  endfacet" +
         lineEnd;
}

std::string refusal(const std::string& file) {
  return refusalOf([](auto bytes) { return readSTL(bytes); }, file);
}

void expectTheFacet(const SCNGeometry& geometry) {
  const SCNGeometrySource* vertices = geometry.firstSourceForSemantic(SCNGeometrySourceSemantic::vertex);
  ASSERT_EQ(vertices->vectorCount(), 3U);
  const SCNGeometryElement& element = *geometry.geometryElements()[0];
  ASSERT_EQ(element.indexCount(), 3U);
  EXPECT_EQ(vertices->component(element.index(1), 0), 2);
  EXPECT_EQ(vertices->component(element.index(2), 1), 3);
  const SCNGeometrySource* normals = geometry.firstSourceForSemantic(SCNGeometrySourceSemantic::normal);
  ASSERT_NE(normals, nullptr);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(normals->component(i, 2), 1) << "that of the corners, not the file's";
}

/// One facet as bytes, with a normal that is wrong.
std::string facetOf(const std::array<float, 9>& corners, std::uint16_t attribute = 0) {
  std::string bytes = packed(-1.0F) + packed(0.0F) + packed(-1.0F);
  for (const float value : corners) bytes += packed(value);
  return bytes + packed(attribute);
}

/// Two facets that share the edge from (0, 0, 0) to (0, 0, 1), the second one folded up by `height` over a width of 1.
std::string foldedFile(float height, std::uint16_t secondAttribute = 0) {
  return std::string(80, ' ') + packed(std::uint32_t{2}) + facetOf({0, 0, 0, -1, 0, 0, 0, 0, 1}) +
         facetOf({0, 0, 0, 0, 0, 1, 1, height, 0}, secondAttribute);
}

std::size_t vertexCountOf(const std::string& file) {
  const auto scene = readSTL(bytesOf(file));
  return geometryAt(*scene, 0).firstSourceForSemantic(SCNGeometrySourceSemantic::vertex)->vectorCount();
}

TEST(STLReader, ReadsABinaryFileAlsoWhereItsHeaderSaysSolid) {
  for (const char* header : {"made by a test", "solid facet normal"}) {
    const auto scene = readSTL(bytesOf(binaryFile({0}, header)));
    ASSERT_EQ(scene->rootNode()->childCount(), 1U);
    expectTheFacet(geometryAt(*scene, 0));
    EXPECT_EQ(geometryAt(*scene, 0).firstSourceForSemantic(SCNGeometrySourceSemantic::color), nullptr);
  }
}

TEST(STLReader, ReadsABinaryFileWithBytesBehindItsFacets) {
  expectTheFacet(geometryAt(*readSTL(bytesOf(binaryFile({0}) + "tail")), 0));
}

TEST(STLReader, ReadsTextWithAnyLineEnd) {
  for (const std::string end : {"\n", "\r\n", "\r"}) {
    const auto scene = readSTL(bytesOf("solid a b" + end + textFacet(end) + "endsolid a b" + end));
    ASSERT_EQ(scene->rootNode()->childCount(), 1U);
    EXPECT_TRUE(scene->rootNode()->childNodes()[0]->hasName("a b"));
    expectTheFacet(geometryAt(*scene, 0));
  }
}

TEST(STLReader, ReadsTextWithOtherLinesBeforeItsFirstFacet) {
  expectTheFacet(geometryAt(*readSTL(bytesOf("solid\n# made by hand\ncolor 1 0 0\n" + textFacet())), 0));
}

TEST(STLReader, ReadsTextInOneLine) {
  for (const std::string name : {"", "a facet "}) {
    const auto scene = readSTL(bytesOf("solid " + name + textFacet(" ") + "endsolid " + name));
    ASSERT_EQ(scene->rootNode()->childCount(), 1U);
    EXPECT_EQ(scene->rootNode()->childNodes()[0]->name().value_or(""), name.empty() ? "" : "a facet");
    expectTheFacet(geometryAt(*scene, 0));
  }
}

TEST(STLReader, MakesANamedNodeOfEachSolidThatHasFacets) {
  const auto scene =
      readSTL(bytesOf("solid one\n" + textFacet() + "endsolid one\nsolid none\nendsolid none\nsolid \xFF\n" +
                      textFacet() + textFacet() + "endsolid\n"));
  const auto nodes = scene->rootNode()->childNodes();
  ASSERT_EQ(nodes.size(), 2U);
  EXPECT_TRUE(nodes[0]->hasName("one"));
  EXPECT_TRUE(nodes[1]->hasName("\xEF\xBF\xBD"));
  EXPECT_EQ(nodes[1]->geometry->geometryElements()[0]->primitiveCount(), 2U);
}

TEST(STLReader, TakesColorsWithBlueInTheLowBitsWhereTheTopBitIsSet) {
  const auto scene = readSTL(bytesOf(binaryFile({topBit | 31 << 10, 0})));
  const SCNGeometrySource* colors = geometryAt(*scene, 0).firstSourceForSemantic(SCNGeometrySourceSemantic::color);
  const SCNGeometryElement& element = *geometryAt(*scene, 0).geometryElements()[0];
  ASSERT_NE(colors, nullptr);
  EXPECT_EQ(colors->component(element.index(0), 0), 1);
  EXPECT_EQ(colors->component(element.index(0), 2), 0);
  EXPECT_EQ(colors->component(element.index(3), 2), 1) << "a facet without a mark is white";
}

TEST(STLReader, TakesColorsWithRedInTheLowBitsWhereTheHeaderHasAColor) {
  const auto scene = readSTL(bytesOf(binaryFile({31, 0x8000}, std::string("COLOR=\x00\x80\xFF\xFF", 10))));
  const SCNGeometrySource* colors = geometryAt(*scene, 0).firstSourceForSemantic(SCNGeometrySourceSemantic::color);
  const SCNGeometryElement& element = *geometryAt(*scene, 0).geometryElements()[0];
  ASSERT_NE(colors, nullptr);
  EXPECT_EQ(colors->component(element.index(0), 0), 1);
  EXPECT_EQ(colors->component(element.index(0), 2), 0);
  EXPECT_EQ(colors->component(element.index(3), 0), 0) << "the header's colour";
  EXPECT_EQ(colors->component(element.index(3), 1), static_cast<double>(linearFromSRGB8(0x80)));
}

TEST(STLReader, TakesTheHeadersColorWhereNoFacetSaysAnything) {
  const auto scene = readSTL(bytesOf(binaryFile({0, 0}, std::string("COLOR=\x00\x80\xFF\xFF", 10))));
  const SCNGeometrySource* colors = geometryAt(*scene, 0).firstSourceForSemantic(SCNGeometrySourceSemantic::color);
  ASSERT_NE(colors, nullptr);
  EXPECT_EQ(colors->component(0, 2), 1);
}

TEST(STLReader, JoinsFacetsAtAnEdgeFlatterThanTheCrease) {
  EXPECT_EQ(vertexCountOf(foldedFile(0.5F)), 4U);
}

TEST(STLReader, SplitsFacetsAtAnEdgeSharperThanTheCrease) {
  EXPECT_EQ(vertexCountOf(foldedFile(3)), 6U);
}

TEST(STLReader, KeepsColorsApartAndTheSurfaceSmooth) {
  const std::string file = foldedFile(0.5F, topBit | 31);
  EXPECT_EQ(vertexCountOf(file), 6U);
  const auto scene = readSTL(bytesOf(file));
  const SCNGeometry& geometry = geometryAt(*scene, 0);
  const SCNGeometrySource* normals = geometry.firstSourceForSemantic(SCNGeometrySourceSemantic::normal);
  const SCNGeometryElement& element = *geometry.geometryElements()[0];
  EXPECT_EQ(normals->component(element.index(0), 0), normals->component(element.index(3), 0));
  const SCNGeometrySource* colors = geometry.firstSourceForSemantic(SCNGeometrySourceSemantic::color);
  EXPECT_EQ(colors->component(element.index(0), 0), 1);
  EXPECT_EQ(colors->component(element.index(3), 0), 0);
  EXPECT_EQ(colors->component(element.index(3), 2), 1);
}

TEST(STLReader, ReadsTextBehindAByteOrderMark) {
  expectTheFacet(geometryAt(*readSTL(bytesOf("\xEF\xBB\xBFsolid\n" + textFacet())), 0));
}

TEST(STLReader, PassesOverNormalsThatAreNoNumbers) {
  expectTheFacet(geometryAt(*readSTL(bytesOf("solid\nfacet normal -1.#IND nan 1,5\nouter loop vertex 0 0 0 "
                                             "vertex 2 0 0 vertex 0 3 0\nendloop endfacet endsolid")),
                            0));
}

TEST(STLReader, AFileWithoutFacetsIsAnEmptyScene) {
  EXPECT_EQ(readSTL(bytesOf(binaryFile({})))->rootNode()->childCount(), 0U);
  EXPECT_EQ(readSTL(bytesOf("solid\nendsolid\n"))->rootNode()->childCount(), 0U);
}

TEST(STLReader, AFileWithoutAFiniteFacetIsAnEmptyScene) {
  constexpr float nan = std::numeric_limits<float>::quiet_NaN();
  constexpr float infinity = std::numeric_limits<float>::infinity();
  const std::string nowhere = facetOf({0, 0, nan, 1, 0, 0, 0, 1, 0}) + facetOf({0, 0, 0, 1, infinity, 0, 0, 1, 0});
  const std::string header = std::string(80, ' ');
  EXPECT_EQ(readSTL(bytesOf(header + packed(2U) + nowhere))->rootNode()->childCount(), 0U);
  const std::string somewhere = facetOf({0, 0, 0, 1, 0, 0, 0, 1, 0});
  EXPECT_EQ(readSTL(bytesOf(header + packed(3U) + nowhere + somewhere))->rootNode()->childCount(), 1U);

  const std::string textNowhere = "facet vertex nan 0 0 vertex 1 0 0 vertex 0 inf 0 endfacet ";
  EXPECT_EQ(readSTL(bytesOf("solid\n" + textNowhere + "endsolid\n"))->rootNode()->childCount(), 0U);
  EXPECT_EQ(readSTL(bytesOf("solid a\n" + textNowhere + "endsolid\nsolid b\n" + textFacet() + "endsolid\n"))
                ->rootNode()
                ->childCount(),
            2U);
}

TEST(STLReader, ReadsLargeSolidsOfTextAsItReadsBinaryOnes) {
  // The second solid has more facets than the file's beginning lets expect, which are shorter than any program writes.
  constexpr std::uint32_t side = 80;
  std::string binary;
  std::string text;
  std::string shortText;
  const auto addFacet = [&](const std::array<float, 9>& corners) {
    binary += facetOf(corners);
    text += "facet normal 0 0 1 outer loop ";
    shortText += "facet ";
    for (std::size_t i = 0; i < 9; i += 3) {
      std::string vertex = "vertex ";
      for (std::size_t axis = 0; axis < 3; ++axis) vertex += std::to_string(static_cast<int>(corners[i + axis])) + " ";
      text += vertex;
      shortText += vertex;
    }
    text += "endloop endfacet\n";
    shortText += "endfacet ";
  };
  for (std::uint32_t i = 0; i < side * side; ++i) {
    const auto x = static_cast<float>(i % side);
    const auto y = static_cast<float>(i / side);
    addFacet({x, y, 0, x + 1, y, 0, x + 1, y + 1, 0});
    addFacet({x, y, 0, x + 1, y + 1, 0, x, y + 1, 0});
  }
  const std::string header = std::string(80, ' ') + packed(std::uint32_t{2 * side * side});
  const std::string binaryFileOfAll = header + binary;
  const std::string textFileOfAll = "solid first\n" + text + "endsolid\nsolid second\n" + shortText + "endsolid\n";
  const auto scene = readSTL(bytesOf(binaryFileOfAll));
  const auto textScene = readSTL(bytesOf(textFileOfAll));
  ASSERT_EQ(textScene->rootNode()->childCount(), 2U);
  const SCNGeometry& expected = geometryAt(*scene, 0);
  for (std::size_t solid = 0; solid < 2; ++solid) {
    const SCNGeometry& found = geometryAt(*textScene, solid);
    for (const auto semantic : {SCNGeometrySourceSemantic::vertex, SCNGeometrySourceSemantic::normal}) {
      const SCNGeometrySource* source = found.firstSourceForSemantic(semantic);
      const SCNGeometrySource* expectedSource = expected.firstSourceForSemantic(semantic);
      ASSERT_EQ(source->vectorCount(), std::size_t{side + 1} * (side + 1));
      ASSERT_EQ(expectedSource->vectorCount(), source->vectorCount());
      for (std::size_t i = 0; i < source->vectorCount(); ++i) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
          ASSERT_EQ(source->component(i, axis), expectedSource->component(i, axis)) << i;
        }
      }
    }
    const SCNGeometryElement& element = *found.geometryElements()[0];
    const SCNGeometryElement& expectedElement = *expected.geometryElements()[0];
    ASSERT_EQ(element.indexCount(), expectedElement.indexCount());
    for (std::size_t i = 0; i < element.indexCount(); ++i) ASSERT_EQ(element.index(i), expectedElement.index(i)) << i;
  }
}

TEST(STLReader, RefusesMoreFacetsThanTheFileHolds) {
  std::string file = binaryFile({0});
  file.replace(80, 4, "\xFF\xFF\xFF\xFF");
  EXPECT_EQ(refusal(file), "The STL file's header claims 4294967295 facets, but the file holds 1.");
}

TEST(STLReader, RefusesFacetsThatAreNoTriangles) {
  EXPECT_EQ(refusal("solid\nfacet\nvertex 0 0 0\nendfacet\n"),
            "The STL file has a facet with fewer than three corners (line 4).");
  EXPECT_EQ(refusal("solid\nfacet\nvertex 0 0 0\nvertex 0 0 0 vertex 0 0 0 vertex 0 0 0\nendfacet\n"),
            "The STL file has a facet with more than three corners (line 4).");
  EXPECT_EQ(refusal("solid\nfacet\nvertex 0 0 x\n"), "The STL file has a corner that is not three numbers (line 3).");
  EXPECT_EQ(refusal("solid\nfacet\nvertex 0 0 0"), "The STL file ends inside a facet (line 3).");
  EXPECT_EQ(refusal("no mesh"), "The STL file is neither text nor long enough for a binary file.");
}

TEST(STLReader, SurvivesDamage) {
  const auto read = [](auto bytes) { return readSTL(bytes); };
  expectSurvivesDamage(read, binaryFile({0, 0x8001, 3}));
  expectSurvivesDamage(read, "solid a\n" + textFacet() + textFacet() + "endsolid a\n");
}

TEST(STLReader, ReadsRealFilesSoundly) {
  const std::filesystem::path folder = sharedModels() / "stl";
  if (!std::filesystem::exists(folder)) GTEST_SKIP() << "no model files here";
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().extension() != ".stl") continue;
    const auto scene = readSTL(readFile(FileURL(entry.path().string())));
    EXPECT_GT(scene->rootNode()->childCount(), 0U) << entry.path();
    EXPECT_EQ(checkScene(*scene).brokenPromise, std::nullopt) << entry.path();
  }
}

TEST(STLReader, LooksAtNoByteOnceItHasSaidSo) {
  const std::string file = foldedFile(3);
  std::string lost = file;
  int calls = 0;
  const auto scene = readSTL(bytesOf(lost), [&](std::span<const std::byte> /*part*/) {
    lost.assign(lost.size(), '\xFF');
    ++calls;
  });
  EXPECT_EQ(calls, 1);
  const auto expected = readSTL(bytesOf(file));
  EXPECT_EQ(geometryAt(*scene, 0).boundingBox(), geometryAt(*expected, 0).boundingBox());
}

TEST(STLReader, SaysWhatItHasRead) {
  const auto read = [](auto bytes, const BytesRead& whenRead) { return readSTL(bytes, whenRead); };
  EXPECT_EQ(bytesNotedBy(read, binaryFile({0, 0, 0})), 150U);
  // Long enough for several parts.
  EXPECT_EQ(bytesNotedBy(read, binaryFile(std::vector<std::uint16_t>(200'000))), 10'000'000U);
  const std::string text = "solid\n" + textFacet() + "endsolid\n";
  EXPECT_EQ(bytesNotedBy(read, text), text.size());
}

}  // namespace
}  // namespace ornolith
