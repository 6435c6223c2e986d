#include <gmock/gmock.h>

#include <cmath>
#include <cstdlib>

#include "OBJFiles.h"
#include "imaging/Color.h"
#include "support/FailureOf.h"
#include "support/TemporaryFolder.h"

namespace ornolith {
namespace {

using namespace testsupport;
using testing::DoubleEq;
using testing::ElementsAre;
using testing::FloatEq;
using Semantic = SCNGeometrySourceSemantic;
using Vectors = std::vector<std::vector<double>>;

constexpr const char* square = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\n";

Vectors positions(const std::string& text, std::size_t element = 0) {
  return drawn(*geometryOf(text), Semantic::vertex, element);
}

const Vectors triangleOfSquare{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}};

TEST(OBJReader, ReadsEveryFormOfCorner) {
  const std::string head = std::string(square) + "vt 0 0\nvt 1 0\nvt 1 .75\nvn 0 0 1\nvn 0 1 0\nvn 1 0 0\n";
  for (const char* face :
       {"f 1 2 3", "f 1/1 2/2 3/3", "f 1//1 2//2 3//3", "f 1/1/1 2/2/2 3/3/3", "f 1/ 2/ 3/", "f 1// 2// 3//",
        "f 1/1/ 2/2/ 3/3/", "f 1/0/0 2/0/0 3/0/0", "fo 1 2 3", "  f  1\t2 3 # end"}) {
    EXPECT_EQ(positions(head + face), triangleOfSquare) << face;
  }
  const auto full = geometryOf(head + "f 1/1/1 2/2/2 3/3/3");
  EXPECT_EQ(drawn(*full, Semantic::texcoord), (Vectors{{0, 1}, {1, 1}, {1, 0.25}}));
  EXPECT_EQ(drawn(*full, Semantic::normal), (Vectors{{0, 0, 1}, {0, 1, 0}, {1, 0, 0}}));
  const auto bare = geometryOf(head + "f 1 2 3");
  EXPECT_TRUE(drawn(*bare, Semantic::texcoord).empty());
  EXPECT_EQ(drawn(*bare, Semantic::normal), (Vectors{{0, 0, 1}, {0, 0, 1}, {0, 0, 1}}));
  EXPECT_EQ(drawn(*geometryOf(head + "f 1//2 2//2 3//2"), Semantic::normal),
            (Vectors{{0, 1, 0}, {0, 1, 0}, {0, 1, 0}}));
}

TEST(OBJReader, CountsNegativeIndicesBackFromTheirLine) {
  const std::string text = "v 9 9 9\nv 0 0 0\nv 1 0 0\nv 1 1 0\nvt 0 0\nvt 1 1\nf -3/-2 -2/-1 -1/-1\nv 7 7 7\nvt 5 5\n";
  EXPECT_EQ(positions(text), triangleOfSquare);
  EXPECT_EQ(drawn(*geometryOf(text), Semantic::texcoord), (Vectors{{0, 1}, {1, 0}, {1, 0}}));
}

TEST(OBJReader, TakesFacesBeforeTheirVertices) {
  EXPECT_EQ(positions(std::string("f 1 2 3\n") + square), triangleOfSquare);
}

TEST(OBJReader, SharesVerticesOfEqualIndicesAlone) {
  const std::string text = std::string(square) + "vt 0 0\nvt 1 0\nf 1/1 2/1 3/1\nf 1/1 3/1 4/1\nf 1/2 3/2 4/2\n";
  const auto geometry = geometryOf(text);
  EXPECT_EQ(geometry->firstSourceForSemantic(Semantic::vertex)->vectorCount(), 4U + 3U);
}

TEST(OBJReader, DrawsOnlyWhatIsReferredTo) {
  const auto geometry = geometryOf(std::string("v 1000 0 0\n") + square + "f 2 3 4\n");
  EXPECT_EQ(geometry->firstSourceForSemantic(Semantic::vertex)->vectorCount(), 3U);
}

TEST(OBJReader, CutsPolygonsAlongTheirOutline) {
  EXPECT_EQ(positions(std::string(square) + "f 1 2 3 4"),
            (Vectors{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 0, 0}, {1, 1, 0}, {0, 1, 0}}));
  // An arrowhead: the fan from its first corner would cover what lies outside.
  const Vectors arrow = positions("v 0 0 0\nv 2 1 0\nv 4 0 0\nv 2 4 0\nf 1 2 3 4\n");
  ASSERT_EQ(arrow.size(), 6U);
  double area = 0;
  for (std::size_t i = 0; i < 6; i += 3) {
    area += std::abs((arrow[i + 1][0] - arrow[i][0]) * (arrow[i + 2][1] - arrow[i][1]) -
                     (arrow[i + 2][0] - arrow[i][0]) * (arrow[i + 1][1] - arrow[i][1])) /
            2;
  }
  EXPECT_DOUBLE_EQ(area, 6);
  std::string big;
  std::string face = "f";
  for (int i = 0; i < 1000; ++i) {
    big += "v " + std::to_string(std::cos(i * 0.00628)) + " " + std::to_string(std::sin(i * 0.00628)) + " 0\n";
    face += " " + std::to_string(i + 1);
  }
  EXPECT_EQ(positions(big + face).size(), 998U * 3);
}

TEST(OBJReader, ReadsNumbersAsExportersWriteThem) {
  const Vectors numbers = positions("v 1e-5 +1 .5\nv 1. -2.5E+1 1,5\nv 1e10 -0.0 007\nf 1 2 3\n");
  EXPECT_THAT(numbers[0], ElementsAre(1e-5F, 1, 0.5));
  EXPECT_THAT(numbers[1], ElementsAre(1, -25, 1.5));
  EXPECT_THAT(numbers[2], ElementsAre(1e10F, 0, 7));
  const Vectors odd = positions("v nan 1.#QNAN -1.#IND\nv inf -inf 1.#INF\nv 3.1+e2 -1.#INF 2x\nf 1 2 3\n");
  EXPECT_TRUE(std::isnan(odd[0][0]) && std::isnan(odd[0][1]) && std::isnan(odd[0][2]));
  EXPECT_EQ(odd[1], (std::vector<double>{INFINITY, -INFINITY, INFINITY}));
  EXPECT_EQ(odd[2], (std::vector<double>{3.1F, -INFINITY, 2}));
}

TEST(OBJReader, ReadsAnyLineEndsAndContinuations) {
  for (const char* text :
       {"v 0 0 0\r\nv 1 0 0\r\nv 1 1 0\r\nf 1 2 3\r\n", "v 0 0 0\rv 1 0 0\rv 1 1 0\rf 1 2 3",
        "v 0 0 \\\n0\nv 1 0 0\\\r\n\nv 1 1 0\nf 1 \\ \n 2 3\n", "\xEF\xBB\xBFv 0 0 0\nv 1 0 0\nv 1 1 0\nf 1 2 3",
        "\n\n  v 0 0 0\n\tv 1 0 0 # c\n# f 1 1 1 \\\n f 9 9 9\nv 1 1 0\nf 1 2 3\n"}) {
    EXPECT_EQ(positions(text), triangleOfSquare) << text;
  }
}

TEST(OBJReader, TakesACommentOrTheEndRightBehindACorner) {
  for (const char* face : {"f 1 2 3# c\n", "f 1 2 3 \\", "f 1 2 3 \\ "}) {
    EXPECT_THAT(drawn(*geometryOf(std::string(square) + face), SCNGeometrySourceSemantic::vertex).size(), 3U) << face;
  }
}

TEST(OBJReader, SkipsWhatItDoesNotDraw) {
  EXPECT_EQ(
      positions(
          std::string(square) +
          "vp 1 2\ncstype bezier\ndeg 3\ncurv 0 1 1 2 \\\n 3 4\nparm u 0 1\nend\nshadow_obj x\nlod 3\nv1 x\nf 1 2 3"),
      triangleOfSquare);
}

TEST(OBJReader, ReadsVertexColorsBehindThePosition) {
  const auto colors = [](const std::string& text) { return drawn(*geometryOf(text), Semantic::color); };
  EXPECT_TRUE(colors("v 0 0 0 1\nv 1 0 0 1\nv 1 1 0 1\nf 1 2 3").empty());
  const Vectors mixed = colors("v 0 0 0\nv 1 0 0 1 0 0.5\nv 1 1 0 0 1 0 0.25\nf 1 2 3");
  EXPECT_THAT(mixed[0], ElementsAre(1, 1, 1));
  EXPECT_THAT(mixed[1], ElementsAre(1, 0, static_cast<double>(linearFromSRGB(0.5F))));
  EXPECT_THAT(mixed[2], ElementsAre(0, 1, 0));
  EXPECT_THAT(colors("v 0 0 0 255 0 51\nv 1 0 0 0 0 0\nv 1 1 0 0 0 0\nf 1 2 3")[0],
              ElementsAre(1, 0, testing::DoubleNear(static_cast<double>(linearFromSRGB(0.2F)), 1e-6)));
  const auto material = geometryOf("v 0 0 0 1 1 1\nv 1 0 0\nv 1 1 0\nf 1 2 3")->firstMaterial();
  EXPECT_EQ(std::get<NSColor>(material->diffuse.contents), NSColor::whiteColor());
}

TEST(OBJReader, MakesNodesOfObjectsAndGroups) {
  const std::string face = "f 1 2 3\n";
  const auto scene =
      sceneOf(square + face + "g Zarge\n" + face + "o T\u00fcr\n" + face + "g  Blatt links \n" + face + "g\n" + face +
              "o leer\ng nichts\no T\u00fcr\ng Griff\n" + face + "g Blatt links\n" + face + "o B\xFCro\n" + face);
  EXPECT_THAT(treeOf(*scene), ElementsAre("-", "Zarge", "T\u00fcr", " Blatt links", " Griff", "B\uFFFDro"));
  const auto door = scene->rootNode()->childNodes().at(2);
  EXPECT_EQ(door->geometry->geometryElements().at(0)->primitiveCount(), 2U);
  EXPECT_EQ(door->childNodes().at(0)->geometry->geometryElements().at(0)->primitiveCount(), 2U);
  EXPECT_EQ(door->childNodes().at(0)->geometry->name, "Blatt links");
}

TEST(OBJReader, MakesElementsOfMaterials) {
  const std::string face = "f 1 2 3\n";
  const auto known = SCNMaterial::material();
  const auto scene = sceneOf(square + face + "usemtl red  paint\n" + face + "usemtl \"blue\"\n" + face +
                                 "g second\nusemtl red paint\n" + face + face + "usemtl blue\n" + face,
                             {{"blue", known}});
  const auto first = scene->rootNode()->childNodes().at(0)->geometry;
  const auto second = scene->rootNode()->childNodes().at(1)->geometry;
  ASSERT_EQ(first->materials().size(), 3U);
  EXPECT_EQ(first->materials()[0]->name, "");
  EXPECT_EQ(first->materials()[1]->name, "red paint");
  EXPECT_EQ(first->materials()[2], known);
  EXPECT_EQ(second->materials()[0], first->materials()[1]);
  EXPECT_EQ(second->materials()[1], known);
  EXPECT_EQ(second->geometryElements()[0]->primitiveCount(), 2U);
}

TEST(OBJReader, HonoursSmoothingGroupsWhereNormalsAreMissing) {
  // Two triangles folded by a right angle along the edge from 1 to 2.
  const std::string fold = "v 0 0 0\nv 0 0 1\nv -1 0 0\nv 0 1 0\n";
  const auto normals = [&](const std::string& faces) { return drawn(*geometryOf(fold + faces), Semantic::normal); };
  const Vectors creased = normals("f 1 2 3\nf 2 1 4\n");
  EXPECT_NE(creased[0], creased[4]);
  const Vectors smooth = normals("s 7\nf 1 2 3\nf 2 1 4\n");
  EXPECT_EQ(smooth[0], smooth[4]);
  EXPECT_NEAR(std::abs(smooth[0][1]), std::sqrt(0.5), 1e-6);
  const Vectors apart = normals("s 1\nf 1 2 3\ns 2\nf 2 1 4\n");
  EXPECT_EQ(apart, creased);
  EXPECT_EQ(normals("s off\nf 1 2 3\ns 0\nf 2 1 4\n"), creased);
  EXPECT_EQ(normals("s on\nf 1 2 3\nf 2 1 4\n"), smooth);
  // A flat fold stays smooth by angle, but not where smoothing is off.
  const std::string flat = "v 0 0 0\nv 0 0 1\nv -1 0 0\nv 1 0.2 0\n";
  const auto flatNormals = [&](const std::string& faces) { return drawn(*geometryOf(flat + faces), Semantic::normal); };
  EXPECT_EQ(flatNormals("f 1 2 3\nf 2 1 4\n")[0], flatNormals("f 1 2 3\nf 2 1 4\n")[4]);
  EXPECT_NE(flatNormals("s off\nf 1 2 3\nf 2 1 4\n")[0], flatNormals("s off\nf 1 2 3\nf 2 1 4\n")[4]);
}

TEST(OBJReader, GivesEachSideOfFacesThatFaceBothWaysItsNormals) {
  const std::string text =
      std::string(square) + "s 1\nf 1 2 3\nf 3 2 1\nf 1 4 3\nf 1 3 4\nusemtl b\nf 1 2 4\nf 1 4 2\n";
  const auto geometry = geometryOf(text);
  const auto normals = drawn(*geometry, SCNGeometrySourceSemantic::normal, 0);
  ASSERT_EQ(normals.size(), 12U);
  for (std::size_t i = 0; i < normals.size(); ++i) {
    EXPECT_EQ(normals[i][2], i < 3 || i >= 9 ? 1 : -1) << i;
  }
  EXPECT_EQ(drawn(*geometry, SCNGeometrySourceSemantic::normal, 1)[3][2], -1);
}

TEST(OBJReader, KeepsNormalsThatAreThereBesideOnesThatAreMissing) {
  const auto geometry = geometryOf(std::string(square) + "vn 1 0 0\nf 1//1 2//1 3//1\nf 1 3 4\nf 1//1 2 3//1\n");
  const Vectors normals = drawn(*geometry, Semantic::normal);
  ASSERT_EQ(normals.size(), 9U);
  EXPECT_EQ(normals[0], (std::vector<double>{1, 0, 0}));
  for (std::size_t i = 3; i < 9; ++i) EXPECT_EQ(normals[i], (std::vector<double>{0, 0, 1})) << i;
  EXPECT_EQ(positions(std::string(square) + "vn 1 0 0\nf 1//1 2//1 3//1\nf 1 3 4\n"),
            (Vectors{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 0, 0}, {1, 1, 0}, {0, 1, 0}}));
}

TEST(OBJReader, DrawsLinesAndPoints) {
  const auto lines = geometryOf(std::string(square) + "l 1 2/1 -2\nvt 0 0\n");
  EXPECT_EQ(lines->geometryElements().at(0)->primitiveType(), SCNGeometryPrimitiveType::line);
  EXPECT_EQ(drawn(*lines, Semantic::vertex), (Vectors{{0, 0, 0}, {1, 0, 0}, {1, 0, 0}, {1, 1, 0}}));
  EXPECT_EQ(lines->firstSourceForSemantic(Semantic::normal), nullptr);
  const auto points = geometryOf(std::string(square) + "p 1 3\np 4\n");
  EXPECT_EQ(points->geometryElements().at(0)->primitiveType(), SCNGeometryPrimitiveType::point);
  EXPECT_EQ(drawn(*points, Semantic::vertex), (Vectors{{0, 0, 0}, {1, 1, 0}, {0, 1, 0}}));
  const auto mixed = geometryOf(std::string(square) + "f 1 2 3\nl 1 4\nf 4 2\nf 3\nusemtl x\nl 2 3\n");
  ASSERT_EQ(mixed->geometryElements().size(), 4U);
  EXPECT_EQ(drawn(*mixed, Semantic::vertex, 0), triangleOfSquare);
  EXPECT_EQ(drawn(*mixed, Semantic::vertex, 1), (Vectors{{0, 1, 0}, {1, 0, 0}, {0, 0, 0}, {0, 1, 0}}));
  EXPECT_EQ(drawn(*mixed, Semantic::vertex, 2), (Vectors{{1, 0, 0}, {1, 1, 0}}));
  EXPECT_EQ(mixed->geometryElements().at(3)->primitiveType(), SCNGeometryPrimitiveType::point);
  EXPECT_EQ(mixed->firstSourceForSemantic(Semantic::normal)->vectorCount(),
            mixed->firstSourceForSemantic(Semantic::vertex)->vectorCount());
}

TEST(OBJReader, DrawsVerticesAloneAsPoints) {
  const auto cloud = geometryOf("vn 0 0 1\nv 0 0 0\nvn 0 1 0\nv 1 0 0\n");
  EXPECT_EQ(cloud->geometryElements().at(0)->primitiveType(), SCNGeometryPrimitiveType::point);
  EXPECT_EQ(cloud->firstSourceForSemantic(Semantic::vertex)->vectorCount(), 2U);
  EXPECT_EQ(cloud->firstSourceForSemantic(Semantic::normal)->component(1, 1), 1);
}

TEST(OBJReader, GivesAnEmptySceneForAFileWithoutVertices) {
  EXPECT_EQ(sceneOf("")->rootNode()->childCount(), 0U);
  EXPECT_EQ(sceneOf("# nothing\no x\ng y\nvt 0 0\n")->rootNode()->childCount(), 0U);
}

TEST(OBJReader, RefusesFilesInUTF16) {
  EXPECT_EQ(failureOf([] { sceneOf(std::string_view("\xFE\xFF\0v", 4)); }),
            "The OBJ file is written in UTF-16; only ASCII and UTF-8 can be read.");
}

/// The whole of a scene as it is drawn, for comparisons.
std::vector<Vectors> contentsOfScene(const SCNScene& scene) {
  std::vector<Vectors> contents;
  for (SCNSubtreeWalk walk(*scene.rootNode()); !walk.isAtEnd(); walk.next()) {
    if (!walk.node().geometry) continue;
    for (std::size_t i = 0; i < walk.node().geometry->geometryElements().size(); ++i) {
      for (const Semantic semantic : {Semantic::vertex, Semantic::normal, Semantic::texcoord, Semantic::color}) {
        contents.push_back(drawn(*walk.node().geometry, semantic, i));
      }
    }
  }
  return contents;
}

/// A sheet with all attributes, in groups and materials that go over many stretches of the text.
std::string longSheet(bool relative, const std::string& lineEnd) {
  std::string text = "o sheet" + lineEnd;
  constexpr int side = 260;
  for (int y = 0; y < side; ++y) {
    for (int x = 0; x < side; ++x) {
      text += "v " + std::to_string(x) + " " + std::to_string(y) + " " + std::to_string((x * y) % 7) + " 0.5 0.25 1" +
              lineEnd + "vt " + std::to_string(x * 0.01) + " 0.5" + lineEnd;
      if (x % 50 == 0) text += "g part" + std::to_string(x) + lineEnd + "s " + std::to_string(x % 3) + lineEnd;
      if (x == 0 || y == 0) continue;
      if (x % 20 == 1) text += "usemtl m" + std::to_string(x % 3) + lineEnd;
      const int last = y * side + x + 1;
      for (const int corner : {0, 1, side + 1, side}) {
        const std::string index = std::to_string(relative ? -1 - corner : last - corner);
        text += (corner == 0 ? "f \\" + lineEnd : " ") + index + "/" + index;
      }
      text += lineEnd;
    }
  }
  return text;
}

TEST(OBJReader, ReadsLongFilesInStretchesAsIfInOne) {
  const std::string text = longSheet(false, "\n");
  ASSERT_GT(text.size(), std::size_t{5} << 20);
  const auto expected = contentsOfScene(*sceneOf(text));
  std::size_t corners = 0;
  for (std::size_t i = 0; i < expected.size(); i += 4) corners += expected[i].size();
  EXPECT_EQ(corners, 259U * 259 * 6);
  EXPECT_EQ(contentsOfScene(*sceneOf(longSheet(true, "\n"))), expected);
  EXPECT_EQ(contentsOfScene(*sceneOf(longSheet(true, "\r\n"))), expected);
}

/// Primitives of every kind over blocks of vertices, some of whose corners refer far back or ahead. Each block can
/// stand in stretches of its own, behind remarks.
std::string blocksOfEverything(bool areFarApart) {
  constexpr int blockCount = 16;
  constexpr int vertexCount = 700;
  std::string text;
  for (int block = 0; block < blockCount; ++block) {
    const auto number = [&](int value) { return " " + std::to_string((value * 37 + block) % 101); };
    text += "g part" + std::to_string(block % 3) + "\ns " + std::to_string(block / 2 % 3) + "\n";
    for (int i = 0; i < vertexCount; ++i) {
      text += "v" + number(i) + number(i * 3) + number(i * 7) + (block > 4 ? " 1 0.5 0\n" : "\n");
      text += "vt" + number(i) + number(i * 5) + "\nvn" + number(i) + number(i + 1) + " 1\n";
    }
    for (int i = 0; i < vertexCount; ++i) {
      const auto corner = [&](int of) {
        const bool isFar = (i + of) % 31 == 0;
        const int back = isFar ? i * 977 % (block * vertexCount + 1) : (i + of) % 9;
        const int absolute = isFar && i % 2 == 0 ? blockCount * vertexCount - back : 0;
        const std::string index = std::to_string(absolute > 0 ? absolute : -1 - back);
        return " " + index + (i % 3 == 0 ? "/" + index : "/") + (i % 11 == 0 ? "" : "/" + index);
      };
      if (i % 40 == 0) text += "usemtl m" + std::to_string(i / 40 % 3) + "\n";
      text += i % 50 == 7 ? "l" : i % 50 == 8 ? "p" : "f";
      for (int of = 0; of < (i % 60 == 5 ? 2 : 3 + i % 3); ++of) text += corner(of);
      text += '\n';
    }
    for (int line = 0; line < 800 && areFarApart; ++line) text += "# " + std::string(2000, 'x') + "\n";
  }
  return text;
}

TEST(OBJReader, DrawsTheSameHoweverFarApartItsPartsStand) {
  const std::string text = blocksOfEverything(true);
  ASSERT_GT(text.size(), std::size_t{20} << 20);
  const auto expected = contentsOfScene(*sceneOf(blocksOfEverything(false)));
  EXPECT_EQ(expected.size(), 3U * 3 * 3 * 4) << "elements of three kinds for three materials in three parts";
  EXPECT_EQ(contentsOfScene(*sceneOf(text)), expected);
}

TEST(OBJReader, ReadsIndicesOfAnyLength) {
  std::string text;
  for (int i = 0; i < 1'200'000; ++i) text += i == 7 || i == 1'199'999 ? "v 5 6 7\n" : "v 0 0 0\n";
  const auto geometry = geometryOf(text + "p 8 08 0000008 00000008 000000000000000000000008 1200000 +8 -1\np 8");
  EXPECT_EQ(drawn(*geometry, Semantic::vertex), Vectors(9, {5, 6, 7}));
}

TEST(OBJReader, LoadsAFileWithItsMaterialsAndTextures) {
  const TemporaryFolder folder;
  folder.makeFile("a.png");
  folder.makeFile("a.mtl", "newmtl blue paint\nKd 0 0 1\nmap_Kd -s 2 3 -o .5 .25 a.png\n");
  const FileURL url(folder.makeFile("a.obj", std::string("mtllib a.mtl\nusemtl blue paint\n") + square + "f 1 2 3\n"));
  const auto material = geometryIn(*loadOBJScene(url, {}))->firstMaterial();
  EXPECT_EQ(material->name, "blue paint");
  EXPECT_EQ(std::get<FileURL>(material->diffuse.contents), FileURL(folder / "a.png"));
  const SCNMatrix4& transform = material->diffuse.contentsTransform;
  EXPECT_EQ(transform.columns[0].x, 2);
  EXPECT_EQ(transform.columns[1].y, 3);
  EXPECT_EQ(transform.columns[3].x, 0.5);
  EXPECT_EQ(transform.columns[3].y, 1 - 3 - 0.25);
  EXPECT_EQ(material->diffuse.wrapS, SCNWrapMode::repeat);
}

TEST(OBJReader, FindsMaterialsWhoseNamesHaveANumberSignOrACommentBehindThem) {
  const TemporaryFolder folder;
  folder.makeFile("a.mtl",
                  "newmtl M #1\nKd 1 0 0\nnewmtl M #2\nKd 0 1 0\nnewmtl M\nKd 0 0 1\nnewmtl red # rot\nKd 1 0 0\n");
  const auto colorOf = [&](const std::string& name) {
    const FileURL url(folder.makeFile("a.obj", "mtllib a.mtl\nusemtl " + name + "\n" + square + "f 1 2 3\n"));
    return std::get<NSColor>(geometryIn(*loadOBJScene(url, {}))->firstMaterial()->diffuse.contents);
  };
  const NSColor red{1, 0, 0, 1};
  EXPECT_EQ(colorOf("M #1"), red);
  EXPECT_EQ(colorOf("M #2"), (NSColor{0, 1, 0, 1}));
  EXPECT_EQ(colorOf("M"), (NSColor{0, 0, 1, 1}));
  EXPECT_EQ(colorOf("M # blau"), (NSColor{0, 0, 1, 1}));
  EXPECT_EQ(colorOf("red"), red);
  EXPECT_EQ(colorOf("red # rot"), red);
  EXPECT_EQ(colorOf("red #1"), red);
}

}  // namespace
}  // namespace ornolith
