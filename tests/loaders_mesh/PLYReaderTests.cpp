#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <stdexcept>
#include <variant>

#include "MeshFiles.h"
#include "foundation/FileSystem.h"
#include "imaging/Color.h"
#include "loaders/mesh/PLYReader.h"
#include "support/TemporaryFolder.h"

namespace ornolith {
namespace {

using namespace mesh_files;

std::string header(const std::string& format, const std::string& body) {
  return "ply\nformat " + format + " 1.0\ncomment a test\n" + body + "end_header\n";
}

const std::string threeVertices = "element vertex 3\nproperty float x\nproperty float y\nproperty float z\n";
const std::string faces = "element face 1\nproperty list uchar int vertex_indices\n";

/// A coloured triangle with an unknown element between its vertices and its face.
std::string binaryFile(bool isBig) {
  std::string file = header(isBig ? "binary_big_endian" : "binary_little_endian",
                            "element vertex 3\nproperty double x\nproperty short y\nproperty float z\n"
                            "property uchar red\nproperty uchar green\nproperty uchar blue\n"
                            "element other 2\nproperty list ushort double junk\nproperty char more\n"
                            "element face 1\nproperty uchar flags\nproperty list uint ushort vertex_index\n");
  for (int i = 0; i < 3; ++i) {
    file +=
        packed(static_cast<double>(i == 1 ? 2 : 0), isBig) + packed(static_cast<std::int16_t>(i == 2 ? -3 : 0), isBig);
    file += packed(0.5F, isBig) + std::string("\xFF\x80\x00", 3);
  }
  for (int i = 0; i < 2; ++i) file += packed(std::uint16_t{1}, isBig) + packed(1.0, isBig) + "m";
  file += "f" + packed(std::uint32_t{3}, isBig);
  for (int corner = 0; corner < 3; ++corner) file += packed(static_cast<std::uint16_t>(corner), isBig);
  return file;
}

std::shared_ptr<SCNScene> readAlone(std::span<const std::byte> bytes) {
  return readPLY(bytes);
}

std::string refusal(const std::string& file) {
  return refusalOf(readAlone, file);
}

TEST(PLYReader, ReadsBothByteOrdersAnyTypesAndSkipsWhatItDoesNotKnow) {
  for (const bool isBig : {false, true}) {
    const auto scene = readPLY(bytesOf(binaryFile(isBig)));
    ASSERT_EQ(scene->rootNode()->childCount(), 1U);
    const SCNGeometry& geometry = geometryAt(*scene, 0);
    const SCNBoundingBox box = geometry.boundingBox();
    EXPECT_EQ(box.minimum, (SCNVector3{0, -3, 0.5}));
    EXPECT_EQ(box.maximum, (SCNVector3{2, 0, 0.5}));
    const SCNGeometrySource* colors = geometry.firstSourceForSemantic(SCNGeometrySourceSemantic::color);
    ASSERT_NE(colors, nullptr);
    EXPECT_EQ(colors->component(0, 0), 1);
    EXPECT_NEAR(colors->component(0, 1), linearFromSRGB8(0x80), 1e-6);
    const SCNGeometrySource* normals = geometry.firstSourceForSemantic(SCNGeometrySourceSemantic::normal);
    ASSERT_NE(normals, nullptr);
    EXPECT_EQ(normals->component(0, 2), -1) << "a missing normal is that of the facet";
  }
}

TEST(PLYReader, ReadsNormalsTextureCoordinatesAndFractionalColorsInAnyOrder) {
  const auto scene =
      readPLY(bytesOf(header("ascii",
                             "element vertex 3\nproperty float t\nproperty float s\nproperty float nz\n"
                             "property float ny\nproperty float nx\nproperty float z\nproperty float y\n"
                             "property float x\nproperty float red\nproperty float green\n"
                             "property float blue\n" +
                                 faces) +
                      "0.25 0.5 0 1 0 0 0 0 1 0 0.5\n0 0 0 1 0 0 0 1 1 0 0\n0 0 0 1 0 0 1 0 1 0 0\n3 0 1 2\n"));
  const SCNGeometry& geometry = geometryAt(*scene, 0);
  EXPECT_EQ(geometry.firstSourceForSemantic(SCNGeometrySourceSemantic::normal)->component(0, 1), 1);
  const SCNGeometrySource* texcoords = geometry.firstSourceForSemantic(SCNGeometrySourceSemantic::texcoord);
  EXPECT_EQ(texcoords->component(0, 0), 0.5);
  EXPECT_EQ(texcoords->component(0, 1), 0.75) << "from the top";
  EXPECT_EQ(geometry.firstSourceForSemantic(SCNGeometrySourceSemantic::color)->component(0, 2),
            static_cast<double>(linearFromSRGB(0.5F)));
}

TEST(PLYReader, CutsAConcavePolygonInsideItsOutline) {
  const auto scene = readPLY(
      bytesOf(header("ascii", "element vertex 4\nproperty float x\nproperty float y\nproperty float z\n" + faces) +
              "2 0 0\n0 2 0\n0.5 0.5 0\n0 -2 0\n4 0 1 2 3\n"));
  const SCNGeometryElement& element = *geometryAt(*scene, 0).geometryElements()[0];
  EXPECT_EQ(element.primitiveCount(), 2U);
  const SCNGeometrySource* normals = geometryAt(*scene, 0).firstSourceForSemantic(SCNGeometrySourceSemantic::normal);
  for (std::size_t i = 0; i < normals->vectorCount(); ++i) EXPECT_EQ(normals->component(i, 2), 1);
}

TEST(PLYReader, TurnsEverySecondTriangleOfAStripAndBeginsAnewAtMinusOne) {
  const auto scene = readPLY(bytesOf(header("ascii",
                                            "element vertex 4\nproperty float x\nproperty float y\nproperty float z\n"
                                            "element tristrips 1\nproperty list int int vertex_indices\n") +
                                     "0 0 0\n1 0 0\n0 1 0\n1 1 0\n8 0 1 2 3 -1 0 1 2\n"));
  const SCNGeometry& geometry = geometryAt(*scene, 0);
  EXPECT_EQ(geometry.geometryElements()[0]->primitiveCount(), 3U);
  const SCNGeometrySource* normals = geometry.firstSourceForSemantic(SCNGeometrySourceSemantic::normal);
  for (std::size_t i = 0; i < normals->vectorCount(); ++i) EXPECT_EQ(normals->component(i, 2), 1);
}

TEST(PLYReader, DrawsVerticesWithoutFacesAsPoints) {
  const auto scene = readPLY(bytesOf(header("ascii", threeVertices) + "0 0 0\r\n1 0 0\r\n0 1 0"));
  const SCNGeometryElement& element = *geometryAt(*scene, 0).geometryElements()[0];
  EXPECT_EQ(element.primitiveType(), SCNGeometryPrimitiveType::point);
  EXPECT_EQ(element.primitiveCount(), 3U);
  EXPECT_EQ(checkScene(*scene).brokenPromise, std::nullopt);
}

/// A value of the type as a file of that format holds it.
std::string valueOf(const std::string& type, int value, bool isBig) {
  if (type == "int8" || type == "char" || type == "uint8" || type == "uchar")
    return std::string(1, static_cast<char>(value));
  if (type == "int16" || type == "short") return packed(static_cast<std::int16_t>(value), isBig);
  if (type == "uint16" || type == "ushort") return packed(static_cast<std::uint16_t>(value), isBig);
  if (type == "int32" || type == "int") return packed(static_cast<std::int32_t>(value), isBig);
  if (type == "uint32" || type == "uint") return packed(static_cast<std::uint32_t>(value), isBig);
  if (type == "float32" || type == "float") return packed(static_cast<float>(value), isBig);
  return packed(static_cast<double>(value), isBig);
}

const std::array<std::string, 16> typeNames{"char",   "int8",    "uchar",  "uint8",  "short", "int16",
                                            "ushort", "uint16",  "int",    "int32",  "uint",  "uint32",
                                            "float",  "float32", "double", "float64"};

const SCNGeometrySource& sourceAt(const SCNScene& scene, SCNGeometrySourceSemantic semantic) {
  const SCNGeometrySource* source = geometryAt(scene, 0).firstSourceForSemantic(semantic);
  if (source == nullptr) throw std::runtime_error("no such source");
  return *source;
}

/// The vertex of a corner of the first element.
std::size_t vertexAt(const SCNScene& scene, std::size_t corner) {
  return geometryAt(scene, 0).geometryElements()[0]->index(corner);
}

TEST(PLYReader, ReadsEveryTypeOfCoordinateIndexAndCountInEveryFormat) {
  for (const std::string& type : typeNames) {
    for (const std::string format : {"ascii", "binary_little_endian", "binary_big_endian"}) {
      const bool isText = format == "ascii";
      const bool isBig = format == "binary_big_endian";
      const bool countsLists = type.find("float") == std::string::npos && type != "double";
      const std::string countType = countsLists ? type : "uchar";
      std::string file =
          header(format, "element vertex 4\nproperty " + type + " x\nproperty " + type + " y\nproperty " + type +
                             " z\nelement face 2\nproperty list " + countType + " " + type + " vertex_indices\n");
      const auto add = [&](const std::string& kind, int value) {
        file += isText ? std::to_string(value) + " " : valueOf(kind, value, isBig);
      };
      for (const int value : {0, 0, 5, 100, 0, 5, 100, 70, 5, 0, 70, 5}) add(type, value);
      for (const int row : {3, 4}) {
        add(countType, row);
        for (int corner = 0; corner < row; ++corner) add(type, corner);
      }
      const auto scene = readPLY(bytesOf(file));
      EXPECT_EQ(geometryAt(*scene, 0).boundingBox().maximum, (SCNVector3{100, 70, 5})) << type << format;
      EXPECT_EQ(geometryAt(*scene, 0).geometryElements()[0]->primitiveCount(), 3U) << type << format;
    }
  }
}

TEST(PLYReader, ReadsNegativeCoordinates) {
  for (const std::string type : {"char", "short", "int", "float", "double"}) {
    std::string file = header("binary_big_endian", "element vertex 1\nproperty " + type + " x\nproperty " + type +
                                                       " y\nproperty " + type + " z\n");
    for (const int value : {-3, -2, -1}) file += valueOf(type, value, true);
    EXPECT_EQ(geometryAt(*readPLY(bytesOf(file)), 0).boundingBox().minimum, (SCNVector3{-3, -2, -1})) << type;
  }
}

TEST(PLYReader, ReadsRowsOfOneSizeAcrossManyBlocks) {
  constexpr int count = 50'000;
  std::string file = header("binary_little_endian", "element vertex " + std::to_string(count) +
                                                        "\nproperty uchar red\nproperty float x\nproperty float y\n"
                                                        "property uchar green\nproperty float z\nproperty uchar blue\n"
                                                        "element after 1\nproperty int k\n");
  for (int i = 0; i < count; ++i) {
    file += std::string(1, static_cast<char>(i % 251)) + packed(static_cast<float>(i)) + packed(-1.0F) + "a" +
            packed(static_cast<float>(i / 2)) + "b";
  }
  const auto scene = readPLY(bytesOf(file + packed(1)));
  const SCNGeometrySource& vertices = sourceAt(*scene, SCNGeometrySourceSemantic::vertex);
  const SCNGeometrySource& colors = sourceAt(*scene, SCNGeometrySourceSemantic::color);
  ASSERT_EQ(vertices.vectorCount(), static_cast<std::size_t>(count));
  for (std::size_t i = 0; i < count; i += 97) {
    ASSERT_EQ(vertices.component(i, 0), static_cast<double>(i));
    ASSERT_EQ(vertices.component(i, 2), static_cast<double>(i / 2));
    ASSERT_EQ(colors.component(i, 0), static_cast<double>(linearFromSRGB8(static_cast<std::uint8_t>(i % 251))));
  }
}

TEST(PLYReader, ReadsPositionsThatStandSideBySideInARowAndOnesThatDoNot) {
  constexpr int count = 5'000;
  const std::vector<std::string> rows = {"xyz", "zyx", "xyzq", "qxyz", "xqyz", "qzxyq"};
  for (const bool isBig : {false, true}) {
    for (const std::string& row : rows) {
      std::string properties = "element vertex " + std::to_string(count) + "\n";
      for (const char name : row) properties += std::string("property float ") + name + "\n";
      std::string file = header(isBig ? "binary_big_endian" : "binary_little_endian", properties);
      for (int i = 0; i < count; ++i) {
        for (const char name : row) file += packed(static_cast<float>(i) + static_cast<float>(name) / 128, isBig);
      }
      const auto scene = readPLY(bytesOf(file));
      const SCNGeometrySource& vertices = sourceAt(*scene, SCNGeometrySourceSemantic::vertex);
      ASSERT_EQ(vertices.vectorCount(), static_cast<std::size_t>(count));
      for (std::size_t i = 0; i < count; i += 7) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
          ASSERT_EQ(vertices.component(i, axis), static_cast<double>(i) + static_cast<double>('x' + axis) / 128) << row;
        }
      }
    }
  }
}

TEST(PLYReader, KeepsAlphasThatSaySomethingAndBlendsThen) {
  const auto read = [](const std::string& alphas) {
    return readPLY(bytesOf(header("ascii",
                                  "element vertex 3\nproperty float x\nproperty float y\nproperty float z\nproperty "
                                  "uchar red\nproperty uchar green\nproperty uchar blue\nproperty uchar alpha\n" +
                                      faces) +
                           alphas + "3 0 1 2\n"));
  };
  const auto some = read("0 0 0 1 2 3 255\n1 0 0 1 2 3 51\n0 1 0 1 2 3 255\n");
  EXPECT_EQ(sourceAt(*some, SCNGeometrySourceSemantic::color).componentsPerVector(), 4U);
  EXPECT_NEAR(sourceAt(*some, SCNGeometrySourceSemantic::color).component(vertexAt(*some, 1), 3), 0.2, 1e-6);
  EXPECT_EQ(geometryAt(*some, 0).firstMaterial()->blendMode, SCNBlendMode::alpha);
  for (const std::string same : {"0", "255"}) {
    const auto none = read("0 0 0 1 2 3 " + same + "\n1 0 0 1 2 3 " + same + "\n0 1 0 1 2 3 " + same + "\n");
    EXPECT_EQ(sourceAt(*none, SCNGeometrySourceSemantic::color).componentsPerVector(), 3U);
    EXPECT_EQ(geometryAt(*none, 0).firstMaterial()->blendMode, SCNBlendMode::replace);
  }
}

const std::string fourVertices = "element vertex 4\nproperty float x\nproperty float y\nproperty float z\n";
const std::string square = "0 0 0\n1 0 0\n1 1 0\n0 1 0\n";

TEST(PLYReader, GivesFacesTheirColorsAndKeepsTheirSurfaceSmooth) {
  const auto scene = readPLY(bytesOf(
      header("ascii", fourVertices + "element face 2\nproperty list uchar int vertex_indices\nproperty uchar red\n"
                                     "property uchar green\nproperty uchar blue\n") +
      square + "3 0 1 2 255 0 0\n3 0 2 3 0 255 0\n"));
  const SCNGeometrySource& colors = sourceAt(*scene, SCNGeometrySourceSemantic::color);
  for (std::size_t corner = 0; corner < 3; ++corner) {
    EXPECT_EQ(colors.component(vertexAt(*scene, corner), 0), 1);
    EXPECT_EQ(colors.component(vertexAt(*scene, corner + 3), 0), 0);
    EXPECT_EQ(colors.component(vertexAt(*scene, corner + 3), 1), 1);
  }
  const SCNGeometrySource& normals = sourceAt(*scene, SCNGeometrySourceSemantic::normal);
  EXPECT_EQ(normals.component(vertexAt(*scene, 0), 2), 1);
}

TEST(PLYReader, PrefersColorsOfVerticesToThoseOfFaces) {
  const auto scene = readPLY(bytesOf(
      header("ascii", threeVertices + "property uchar red\nproperty uchar green\nproperty uchar blue\nelement face 1\n"
                                      "property list uchar int vertex_indices\nproperty uchar red\nproperty uchar "
                                      "green\nproperty uchar blue\n") +
      "0 0 0 255 0 0\n1 0 0 255 0 0\n0 1 0 255 0 0\n3 0 1 2 0 0 255\n"));
  EXPECT_EQ(sourceAt(*scene, SCNGeometrySourceSemantic::color).component(0, 2), 0);
}

TEST(PLYReader, TakesColorsOfFacesWhereAllVerticesAreWhite) {
  const std::string colors = "property uchar red\nproperty uchar green\nproperty uchar blue\nproperty uchar alpha\n";
  const auto scene = readPLY(bytesOf(
      header("ascii", threeVertices + colors + "element face 1\nproperty list uchar int vertex_indices\n" + colors) +
      "0 0 0 255 255 255 255\n1 0 0 255 255 255 255\n0 1 0 255 255 255 255\n3 0 1 2 0 0 255 255\n"));
  EXPECT_EQ(sourceAt(*scene, SCNGeometrySourceSemantic::color).component(0, 0), 0);
  EXPECT_EQ(sourceAt(*scene, SCNGeometrySourceSemantic::color).component(0, 2), 1);
}

TEST(PLYReader, ReadsTextureCoordinatesOfCornersAlsoOfPolygons) {
  const auto scene = readPLY(bytesOf(
      header("ascii", fourVertices + "element face 1\nproperty list uchar float texcoord\nproperty list uchar int "
                                     "vertex_indices\n") +
      square + "8 0 0 1 0 1 1 0 1 4 0 1 2 3\n"));
  const SCNGeometrySource& vertices = sourceAt(*scene, SCNGeometrySourceSemantic::vertex);
  const SCNGeometrySource& texcoords = sourceAt(*scene, SCNGeometrySourceSemantic::texcoord);
  ASSERT_EQ(vertices.vectorCount(), texcoords.vectorCount());
  for (std::size_t i = 0; i < vertices.vectorCount(); ++i) {
    EXPECT_EQ(texcoords.component(i, 0), vertices.component(i, 0));
    EXPECT_EQ(texcoords.component(i, 1), 1 - vertices.component(i, 1));
  }
}

TEST(PLYReader, ShowsTheTextureBesideTheFileAndNoOther) {
  const testsupport::TemporaryFolder folder;
  folder.makeFile("inside.png");
  folder.makeFile("a b.png");
  const auto textureOf = [&](const std::string& name, bool hasFolder = true) {
    const std::string file = header("ascii", "comment TextureFile " + name +
                                                 "\nelement vertex 3\nproperty float x\nproperty float y\nproperty "
                                                 "float z\nproperty float s\nproperty float t\n" +
                                                 faces) +
                             "0 0 0 0 0\n1 0 0 1 0\n0 1 0 0 1\n3 0 1 2\n";
    const auto scene = hasFolder ? readPLY(bytesOf(file), FileURL(folder.path())) : readPLY(bytesOf(file));
    const SCNMaterialContents contents = geometryAt(*scene, 0).firstMaterial()->diffuse.contents;
    const auto* url = std::get_if<FileURL>(&contents);
    return url == nullptr ? std::string() : url->path();
  };
  EXPECT_EQ(textureOf("inside.png"), folder / "inside.png");
  EXPECT_EQ(textureOf("a b.png"), folder / "a b.png");
  EXPECT_EQ(textureOf("none.png"), "");
  EXPECT_EQ(textureOf("../" + FileURL(folder.path()).lastPathComponent() + "/inside.png"), "");
  EXPECT_EQ(textureOf(folder / "inside.png"), "");
  EXPECT_EQ(textureOf("inside.png", false), "");
}

TEST(PLYReader, ReadsFacesThatComeBeforeTheirVertices) {
  const auto scene = readPLY(bytesOf(header("ascii", faces + threeVertices) + "3 0 1 2\n0 0 0\n1 0 0\n0 1 0\n"));
  EXPECT_EQ(geometryAt(*scene, 0).geometryElements()[0]->primitiveCount(), 1U);
}

TEST(PLYReader, ReadsAHeaderThatEndsItsLinesInCR) {
  // The first byte of the rows is that of a line feed.
  std::string file =
      "ply\rformat binary_little_endian 1.0\relement vertex 1\rproperty uchar x\rproperty uchar y\r"
      "property uchar z\rend_header\r\n\x02\x03";
  EXPECT_EQ(geometryAt(*readPLY(bytesOf(file)), 0).boundingBox().minimum, (SCNVector3{10, 2, 3}));
  file =
      "ply\r\nformat binary_little_endian 1.0\r\nelement vertex 1\r\nproperty uchar x\r\nproperty uchar y\r\n"
      "property uchar z\r\nend_header\r\n\x01\x02\x03";
  EXPECT_EQ(geometryAt(*readPLY(bytesOf(file)), 0).boundingBox().minimum, (SCNVector3{1, 2, 3}));
}

TEST(PLYReader, ReadsColorsOfIntegersOfAnyWidthAsBytes) {
  const auto scene = readPLY(bytesOf(header("ascii",
                                            "element vertex 1\nproperty float x\nproperty float y\nproperty "
                                            "float z\nproperty int red\nproperty ushort green\nproperty "
                                            "float blue\n") +
                                     "0 0 0 255 65535 7.5\n"));
  for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(sourceAt(*scene, SCNGeometrySourceSemantic::color).component(0, i), 1);
}

TEST(PLYReader, SkipsUnknownElementsOfAnyShape) {
  for (const std::string format : {"ascii", "binary_little_endian"}) {
    const bool isText = format == "ascii";
    std::string file = header(format,
                              "element camera 2\nproperty float a\nproperty double b\nelement user 2\nproperty "
                              "list uchar short l\nproperty int k\n" +
                                  threeVertices + faces);
    if (isText) {
      file += "1 2\n3 nothing\n2 7 8 9\n0 5\n0 0 0 1 0 0 0 1 0 3 0 1 2";
    } else {
      file += std::string(24, 'x') + "\x02" + std::string(4, 'y') + packed(1) + std::string(1, '\0') + packed(1);
      for (const float value : {0.F, 0.F, 0.F, 1.F, 0.F, 0.F, 0.F, 1.F, 0.F}) file += packed(value);
      file += "\x03" + packed(0) + packed(1) + packed(2);
    }
    EXPECT_EQ(geometryAt(*readPLY(bytesOf(file)), 0).geometryElements()[0]->primitiveCount(), 1U) << format;
  }
}

TEST(PLYReader, RefusesListsAndIndicesBeyondTheFile) {
  const std::string start = header("binary_little_endian", threeVertices +
                                                               "element face 1\nproperty list uint uint "
                                                               "vertex_indices\n") +
                            std::string(36, '\0');
  EXPECT_EQ(refusal(start + "\xFF\xFF\xFF\xFF" + std::string(12, '\0')),
            "The PLY file has an impossible list length in row 0 of the element \"face\".");
  EXPECT_EQ(refusal(start + packed(std::uint32_t{3}) + packed(0) + packed(1) + "\xFF\xFF\xFF\xFF"),
            "The PLY file names a vertex that is not there in row 0 of the element \"face\".");
  const std::string common = header("binary_little_endian", threeVertices +
                                                                "element face 2\nproperty list uchar int "
                                                                "vertex_indices\n") +
                             std::string(36, '\0') + "\x03" + packed(0) + packed(1) + packed(2);
  EXPECT_EQ(refusal(common + "\x03" + packed(0) + packed(-1) + packed(2)),
            "The PLY file names a vertex that is not there in row 1 of the element \"face\".");
  EXPECT_EQ(refusal(common + "\x03" + packed(0) + packed(1)),
            "The PLY file has an impossible list length in row 1 of the element \"face\".");
  EXPECT_EQ(refusal(common), "The PLY file ends in row 1 of the element \"face\".");
}

TEST(PLYReader, RefusesCountsThatTheFileCannotHold) {
  EXPECT_EQ(refusal(header("ascii", "element vertex 18446744073709551616\nproperty float x\n")),
            "The PLY file has an element without a count in its header (before line 5).");
  EXPECT_EQ(
      refusal(header("binary_little_endian", "element vertex 18446744073709551615\nproperty double x\n") + "1234"),
      "The PLY file's header claims 18446744073709551615 rows of the element \"vertex\", but the file holds no more "
      "than 0.");
  EXPECT_EQ(refusal(header("ascii", "element vertex 4000000000\nelement face 4000000000\n")),
            "The PLY file has too many vertices.");
}

TEST(PLYReader, AFileWithoutVerticesIsAnEmptyScene) {
  EXPECT_EQ(readPLY(bytesOf(header("ascii", "")))->rootNode()->childCount(), 0U);
}

TEST(PLYReader, AFileWithoutAFiniteTriangleOrPointIsAnEmptyScene) {
  const std::string points = header("ascii", threeVertices);
  EXPECT_EQ(readPLY(bytesOf(points + "nan 0 0\n0 inf 0\n0 0 -inf\n"))->rootNode()->childCount(), 0U);
  EXPECT_EQ(readPLY(bytesOf(points + "nan 0 0\n0 inf 0\n0 0 1\n"))->rootNode()->childCount(), 1U);
  const std::string triangle = header("ascii", threeVertices + faces);
  EXPECT_EQ(readPLY(bytesOf(triangle + "0 0 0\n1 0 0\n0 nan 0\n3 0 1 2\n"))->rootNode()->childCount(), 0U);
}

TEST(PLYReader, RefusesWhatIsNotSound) {
  EXPECT_EQ(refusal("plx\n"), "The file does not begin with the line \"ply\" of a PLY file.");
  EXPECT_EQ(
      refusal(header("ascii", "element vertex 1000000000\nproperty float x\n") + "0 0"),
      "The PLY file's header claims 1000000000 rows of the element \"vertex\", but the file holds no more than 2.");
  EXPECT_EQ(refusal(header("ascii", threeVertices + faces) + "0 0 0\n1 0 0\n0 1 0\n3 0 1 3\n"),
            "The PLY file names a vertex that is not there in row 0 of the element \"face\".");
  EXPECT_EQ(refusal(header("ascii", threeVertices + faces) + "0 0 0\n1 0 0\n0 1 0\n999999999 0 1 2\n"),
            "The PLY file has an impossible list length in row 0 of the element \"face\".");
  EXPECT_EQ(refusal(header("ascii", "element vertex 1\nproperty float x\n") + "0\n"),
            "The PLY file's vertices have no x, y and z.");
}

TEST(PLYReader, SurvivesDamage) {
  expectSurvivesDamage(readAlone, binaryFile(false));
  expectSurvivesDamage(readAlone, header("ascii", threeVertices + faces) + "0 0 0\n1 0 0\n0 1 0\n3 0 1 2\n");
  expectSurvivesDamage(readAlone, binaryFile(true));
  const std::string common = header("binary_little_endian", threeVertices +
                                                                "element face 2\nproperty list uchar int "
                                                                "vertex_indices\n") +
                             std::string(36, '\0') + "\x03" + packed(0) + packed(1) + packed(2) + "\x04" + packed(0) +
                             packed(1) + packed(2) + packed(0);
  expectSurvivesDamage(readAlone, common);
  expectSurvivesDamage(
      readAlone, header("ascii", fourVertices + "element face 1\nproperty list uchar float texcoord\nproperty list "
                                                "uchar int vertex_indices\nproperty uchar red\nproperty uchar "
                                                "green\nproperty uchar blue\nelement tristrips 1\nproperty list int "
                                                "int vertex_indices\n") +
                     square + "8 0 0 1 0 1 1 0 1 4 0 1 2 3 1 2 3\n5 0 1 2 -1 3\n");
}

TEST(PLYReader, ReadsRealFilesSoundly) {
  const std::filesystem::path folder = sharedModels() / "ply";
  if (!std::filesystem::exists(folder)) GTEST_SKIP() << "no model files here";
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().extension() != ".ply") continue;
    const auto scene = readPLY(readFile(FileURL(entry.path().string())));
    EXPECT_GT(scene->rootNode()->childCount(), 0U) << entry.path();
    EXPECT_EQ(checkScene(*scene).brokenPromise, std::nullopt) << entry.path();
  }
}

TEST(PLYReader, SaysWhatItHasRead) {
  const auto read = [](auto bytes, const BytesRead& whenRead) { return readPLY(bytes, std::nullopt, whenRead); };
  const std::string mesh = threeVertices + faces;
  const std::string rows = "0 0 0\n1 0 0\n0 1 0\n3 0 1 2";
  EXPECT_EQ(bytesNotedBy(read, header("ascii", mesh) + rows), rows.size());
  std::string points;
  for (int i = 0; i < 1'000'000; ++i) points += packed(1.0F) + packed(2.0F) + packed(3.0F);
  const std::string cloud = "element vertex 1000000\nproperty float x\nproperty float y\nproperty float z\n";
  EXPECT_EQ(bytesNotedBy(read, header("binary_little_endian", cloud) + points), points.size());
}

}  // namespace
}  // namespace ornolith
