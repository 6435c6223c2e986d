#include <gtest/gtest.h>

#include <filesystem>

#include "MeshFiles.h"
#include "foundation/FileSystem.h"
#include "imaging/Color.h"
#include "loaders/mesh/PLYReader.h"

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

std::string refusal(const std::string& file) {
  return refusalOf(readPLY, file);
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

TEST(PLYReader, AFileWithoutVerticesIsAnEmptyScene) {
  EXPECT_EQ(readPLY(bytesOf(header("ascii", "")))->rootNode()->childCount(), 0U);
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
  expectSurvivesDamage(readPLY, binaryFile(false));
  expectSurvivesDamage(readPLY, header("ascii", threeVertices + faces) + "0 0 0\n1 0 0\n0 1 0\n3 0 1 2\n");
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

}  // namespace
}  // namespace ornolith
