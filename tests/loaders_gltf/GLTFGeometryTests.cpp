#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "GLTFFile.h"

namespace ornolith {
namespace {

using namespace gltf_files;
using testing::DoubleNear;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pointwise;

using Semantic = SCNGeometrySourceSemantic;

/// A file whose one primitive has four positions and the given indices and mode.
File quadFile(int mode, std::initializer_list<std::uint16_t> indices = {}) {
  File file;
  file.positions({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0});
  std::string further = ",\"mode\":" + std::to_string(mode);
  if (indices.size() > 0) further += ",\"indices\":" + std::to_string(file.shorts(indices));
  file.addMesh("\"POSITION\":0", further);
  return file;
}

const SCNGeometryElement& elementOf(const SCNGeometry& geometry) {
  return *geometry.geometryElements().at(0);
}

struct DrawnMode {
  SCNGeometryPrimitiveType type;
  std::vector<std::uint32_t> indices;
};
DrawnMode drawn(const File& file) {
  const SCNNode::Pointer root = rootOf(file);
  const SCNGeometryElement& element = elementOf(drawnGeometry(root));
  return {element.primitiveType(), indicesOf(element)};
}

TEST(GLTFPrimitiveModes, BecomePointsLinesAndTriangles) {
  const auto expectMode = [](int mode, SCNGeometryPrimitiveType type, const std::vector<std::uint32_t>& indices) {
    const DrawnMode plain = drawn(quadFile(mode));
    EXPECT_EQ(plain.type, type) << mode;
    EXPECT_EQ(plain.indices, indices) << mode;
    EXPECT_EQ(drawn(quadFile(mode, {0, 1, 2, 3})).indices, indices) << mode;
  };
  expectMode(0, SCNGeometryPrimitiveType::point, {0, 1, 2, 3});
  expectMode(1, SCNGeometryPrimitiveType::line, {0, 1, 2, 3});
  expectMode(2, SCNGeometryPrimitiveType::line, {0, 1, 1, 2, 2, 3, 3, 0});
  expectMode(3, SCNGeometryPrimitiveType::line, {0, 1, 1, 2, 2, 3});
  expectMode(4, SCNGeometryPrimitiveType::triangles, {0, 1, 2});
  expectMode(5, SCNGeometryPrimitiveType::triangles, {0, 1, 2, 1, 3, 2});
  expectMode(6, SCNGeometryPrimitiveType::triangles, {1, 2, 0, 2, 3, 0});
}

TEST(GLTFPrimitiveModes, AreRefusedBeyondTheSeven) {
  EXPECT_EQ(refusalOf(quadFile(7)), "meshes[0].primitives[0].mode: The index 7 is out of range.");
}

TEST(GLTFPrimitiveModes, DrawNothingWithTooFewVertices) {
  for (int mode = 1; mode < 7; ++mode) {
    EXPECT_EQ(refusalOf(quadFile(mode, {0})), "model.glb contains no renderable glTF scene.") << mode;
  }
}

TEST(GLTFIndices, MayHaveAnyUnsignedType) {
  const auto indices = [](const std::string& bytes, int type) {
    File file;
    file.positions({0, 0, 0, 1, 0, 0, 0, 1, 0});
    const int accessor = file.accessor(file.view(bytes), type, 3, "SCALAR");
    file.addMesh("\"POSITION\":0", ",\"indices\":" + std::to_string(accessor));
    return drawn(file).indices;
  };
  EXPECT_THAT(indices(packed<std::uint8_t>({2, 1, 0}), unsignedByte), ElementsAre(2, 1, 0));
  EXPECT_THAT(indices(packed<std::uint16_t>({2, 1, 0}), unsignedShort), ElementsAre(2, 1, 0));
  EXPECT_THAT(indices(packed<std::uint32_t>({2, 1, 0}), unsignedInt), ElementsAre(2, 1, 0));
}

TEST(GLTFIndices, AreRefusedOutOfRange) {
  EXPECT_EQ(refusalOf(quadFile(4, {0, 1, 4})), "The accessor 1 holds the index 4 into 4 vertices.");
  EXPECT_EQ(refusalOf(quadFile(5, {0, 1, 0xFFFF, 2})), "The accessor 1 holds an index that restarts a primitive.");
}

TEST(GLTFIndices, AreRefusedWhereTheyAreNone) {
  const auto refusal = [](int type, const std::string& elementType, const std::string& further = "") {
    File file;
    file.positions({0, 0, 0, 1, 0, 0, 0, 1, 0});
    const int accessor = file.accessor(file.view(std::string(64, '\0')), type, 3, elementType, further);
    file.addMesh("\"POSITION\":0", ",\"indices\":" + std::to_string(accessor));
    return refusalOf(file);
  };
  EXPECT_THAT(refusal(floatingPoint, "SCALAR"), HasSubstr("type that is not allowed"));
  EXPECT_THAT(refusal(signedShort, "SCALAR"), HasSubstr("type that is not allowed"));
  EXPECT_THAT(refusal(unsignedShort, "VEC2"), HasSubstr("does not hold indices"));
  EXPECT_THAT(refusal(unsignedShort, "SCALAR", ",\"normalized\":true"), HasSubstr("does not hold indices"));
}

TEST(GLTFIndices, MayBeSparse) {
  const auto indices = [](const std::string& bytes, const std::string& replacing, int type) {
    File file;
    file.positions({0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0});
    const int given = bytes.empty() ? -1 : file.view(bytes);
    const std::string places = std::to_string(file.view(packed<std::uint8_t>({2, 4, 5})));
    const std::string values = std::to_string(file.view(replacing));
    const int accessor = file.accessor(given, type, 6, "SCALAR",
                                       R"(,"sparse":{"count":3,"indices":{"componentType":5121,"bufferView":)" +
                                           places + R"(},"values":{"bufferView":)" + values + "}}");
    file.addMesh("\"POSITION\":0", ",\"indices\":" + std::to_string(accessor));
    return file;
  };
  const File shorts =
      indices(packed<std::uint16_t>({0, 1, 9, 1, 9, 9}), packed<std::uint16_t>({2, 3, 2}), unsignedShort);
  EXPECT_THAT(drawn(shorts).indices, ElementsAre(0, 1, 2, 1, 3, 2));
  const File words = indices(packed<std::uint32_t>({0, 1, 9, 1, 9, 9}), packed<std::uint32_t>({2, 3, 2}), unsignedInt);
  EXPECT_THAT(drawn(words).indices, ElementsAre(0, 1, 2, 1, 3, 2));
  const File onZeros = indices("", packed<std::uint8_t>({2, 3, 2}), unsignedByte);
  EXPECT_THAT(drawn(onZeros).indices, ElementsAre(0, 0, 2, 0, 3, 2));
  EXPECT_EQ(refusalOf(indices("", packed<std::uint8_t>({2, 4, 2}), unsignedByte)),
            "The accessor 1 holds the index 4 into 4 vertices.");
  EXPECT_EQ(refusalOf(indices("", packed<std::uint8_t>({2, 255, 2}), unsignedByte)),
            "The accessor 1 holds an index that restarts a primitive.");
}

TEST(GLTFIndices, AreRefusedWithoutAnyData) {
  File file;
  file.positions({0, 0, 0, 1, 0, 0, 0, 1, 0});
  file.accessor(-1, unsignedShort, 3, "SCALAR");
  file.addMesh("\"POSITION\":0", ",\"indices\":1");
  EXPECT_EQ(refusalOf(file), "The accessor 1 holds indices in a way that is not allowed.");
}

TEST(GLTFIndices, DropWhatIsLeftOverBehindTheLastPrimitive) {
  EXPECT_THAT(drawn(quadFile(4, {0, 1, 2, 3, 0})).indices, ElementsAre(0, 1, 2));
  EXPECT_THAT(drawn(quadFile(1, {0, 1, 2})).indices, ElementsAre(0, 1));
}

// Accessors.

/// The positions that an accessor over `bytes` gives.
std::vector<double> positionsFrom(const std::string& bytes, int type, const std::string& further,
                                  const std::string& viewFurther = "") {
  File file;
  file.accessor(file.view(bytes, viewFurther), type, 3, "VEC3", further);
  file.addMesh("\"POSITION\":0");
  const SCNNode::Pointer root = rootOf(file);
  return positionsOf(drawnGeometry(root));
}

TEST(GLTFAccessors, ReadIntegersAsTheyStand) {
  const std::vector<double> expected{0, 1, 2, 3, 4, 5, 6, 7, 100};
  EXPECT_EQ(positionsFrom(packed<std::int8_t>({0, 1, 2, 3, 4, 5, 6, 7, 100}), signedByte, ""), expected);
  EXPECT_EQ(positionsFrom(packed<std::uint8_t>({0, 1, 2, 3, 4, 5, 6, 7, 100}), unsignedByte, ""), expected);
  EXPECT_EQ(positionsFrom(packed<std::int16_t>({0, 1, 2, 3, 4, 5, 6, 7, 100}), signedShort, ""), expected);
  EXPECT_EQ(positionsFrom(packed<std::uint16_t>({0, 1, 2, 3, 4, 5, 6, 7, 100}), unsignedShort, ""), expected);
  EXPECT_EQ(positionsFrom(packed<std::uint32_t>({0, 1, 2, 3, 4, 5, 6, 7, 100}), unsignedInt, ""), expected);
}

TEST(GLTFAccessors, ReadNormalisedIntegersByTheFormatsEquations) {
  const std::string normalized = ",\"normalized\":true";
  const auto near = [](const std::vector<double>& expected) { return Pointwise(DoubleNear(1e-7), expected); };
  EXPECT_THAT(positionsFrom(packed<std::int8_t>({-128, -127, -64, 0, 64, 127, 1, 2, 3}), signedByte, normalized),
              near({-1, -1, -64 / 127., 0, 64 / 127., 1, 1 / 127., 2 / 127., 3 / 127.}));
  EXPECT_THAT(positionsFrom(packed<std::uint8_t>({0, 51, 255, 1, 2, 3, 4, 5, 6}), unsignedByte, normalized),
              near({0, 0.2, 1, 1 / 255., 2 / 255., 3 / 255., 4 / 255., 5 / 255., 6 / 255.}));
  EXPECT_THAT(positionsFrom(packed<std::int16_t>({-32768, -32767, 0, 32767, 1, 0, 0, 0, 0}), signedShort, normalized),
              near({-1, -1, 0, 1, 1 / 32767., 0, 0, 0, 0}));
  EXPECT_THAT(positionsFrom(packed<std::uint16_t>({0, 13107, 65535, 0, 0, 0, 0, 0, 0}), unsignedShort, normalized),
              near({0, 0.2, 1, 0, 0, 0, 0, 0, 0}));
}

TEST(GLTFAccessors, ReadPaddedQuantisedVectors) {
  EXPECT_THAT(
      positionsFrom(packed<std::int16_t>({1, 2, 3, 9, 4, 5, 6, 9, 7, 8, 9}), signedShort, "", ",\"byteStride\":8"),
      ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9));
}

TEST(GLTFAccessors, ShareTheBytesOfOneInterleavedView) {
  File file;
  const int view =
      file.view(packed({0.F, 0.F, 0.F, 0.F, 0.F, 1.F, 2.F, 0.F, 0.F, 0.F, 0.F, 1.F, 0.F, 3.F, 0.F, 0.F, 0.F, 1.F}),
                ",\"byteStride\":24");
  file.accessor(view, floatingPoint, 3, "VEC3");
  file.accessor(view, floatingPoint, 3, "VEC3", ",\"byteOffset\":12");
  file.addMesh("\"POSITION\":0,\"NORMAL\":1");
  const SCNNode::Pointer root = rootOf(file);
  const SCNGeometry& geometry = drawnGeometry(root);
  EXPECT_THAT(positionsOf(geometry), ElementsAre(0, 0, 0, 2, 0, 0, 0, 3, 0));
  EXPECT_THAT(valuesOf(geometry, Semantic::normal), ElementsAre(0, 0, 1, 0, 0, 1, 0, 0, 1));
  const auto placeOf = [&](Semantic semantic) { return geometry.firstSourceForSemantic(semantic)->data()->data(); };
  EXPECT_EQ(placeOf(Semantic::normal) - placeOf(Semantic::vertex), 12) << "both show the file's own bytes";
}

TEST(GLTFAccessors, CopyFloatsThatStandAtOddPlaces) {
  const std::string bytes = "x" + packed({0.F, 0.F, 0.F, 2.F, 0.F, 0.F, 0.F, 3.F, 0.F});
  EXPECT_THAT(positionsFrom(bytes, floatingPoint, ",\"byteOffset\":1"), ElementsAre(0, 0, 0, 2, 0, 0, 0, 3, 0));
}

TEST(GLTFAccessors, ReplaceSparseElements) {
  File file;
  const int indices = file.view(packed<std::uint8_t>({2, 0}));
  const int values = file.view(packed({7.F, 8.F, 9.F, 1.F, 0.F, 0.F}));
  const std::string sparse = ",\"sparse\":{\"count\":2,\"indices\":{\"bufferView\":" + std::to_string(indices) +
                             ",\"componentType\":5121},\"values\":{\"bufferView\":" + std::to_string(values) + "}}";
  file.accessor(-1, floatingPoint, 3, "VEC3", sparse);
  file.accessor(file.view(packed({0.F, 0.F, 0.F, 2.F, 0.F, 0.F, 0.F, 3.F, 0.F})), floatingPoint, 3, "VEC3", sparse);
  file.add("meshes", R"([{"primitives":[{"attributes":{"POSITION":0}},{"attributes":{"POSITION":1}}]}])");
  file.add("nodes", R"([{"mesh":0}])");
  const auto parts = rootOf(file)->childNodes().at(0)->childNodes();
  ASSERT_EQ(parts.size(), 2U);
  EXPECT_THAT(positionsOf(*parts[0]->geometry), ElementsAre(1, 0, 0, 0, 0, 0, 7, 8, 9));
  EXPECT_THAT(positionsOf(*parts[1]->geometry), ElementsAre(1, 0, 0, 2, 0, 0, 7, 8, 9));
}

TEST(GLTFAccessors, RefuseBadSparseElements) {
  const auto refusal = [](std::uint16_t index, const std::string& count, const std::string& type) {
    File file;
    const int indices = file.view(packed<std::uint16_t>({index, 0}));
    const int values = file.view(std::string(24, '\0'));
    file.accessor(-1, floatingPoint, 3, "VEC3",
                  ",\"sparse\":{\"count\":" + count + ",\"indices\":{\"bufferView\":" + std::to_string(indices) +
                      ",\"componentType\":" + type + "},\"values\":{\"bufferView\":" + std::to_string(values) + "}}");
    file.addMesh("\"POSITION\":0");
    return refusalOf(file);
  };
  EXPECT_EQ(refusal(2, "2", "5123"), "");
  EXPECT_EQ(refusal(3, "2", "5123"), "The accessor 0 has a sparse index that is out of range.");
  EXPECT_EQ(refusal(2, "3", "5123"), "The accessor 0 lies outside its buffer view.");
  EXPECT_EQ(refusal(2, "4", "5123"), "The accessor 0 has more sparse values than elements.");
  EXPECT_EQ(refusal(2, "1", "5126"), "The accessor 0 has sparse indices of a type that is not allowed.");
}

TEST(GLTFAccessors, RefuseWhatLiesOutsideTheFile) {
  const auto refusal = [](const std::string& accessor, const std::string& view) {
    File file;
    file.accessor(file.view(std::string(36, '\0'), view), floatingPoint, 3, "VEC3", accessor);
    file.addMesh("\"POSITION\":0");
    return refusalOf(file);
  };
  const std::string outside = "The accessor 0 lies outside its buffer view.";
  EXPECT_EQ(refusal("", ""), "");
  EXPECT_EQ(refusal(",\"byteOffset\":1", ""), outside);
  EXPECT_EQ(refusal(",\"byteOffset\":9223372036854775807", ""), outside);
  EXPECT_EQ(refusal("", ",\"byteStride\":16"), outside);
  EXPECT_EQ(refusal("", ",\"byteStride\":8"),
            "The accessor 0 has elements that do not fit the stride of its buffer view.");
  EXPECT_EQ(refusal("", ",\"byteStride\":9223372036854775807"),
            "The accessor 0 has elements that do not fit the stride of its buffer view.");
  EXPECT_EQ(refusal(",\"byteOffset\":-1", ""), "accessors[0].byteOffset: Expected a number that is not negative.");
}

TEST(GLTFAccessors, RefuseViewsOutsideTheirBuffer) {
  const auto refusal = [](const std::string& place) {
    const std::string text = R"({"buffers":[{"byteLength":36}],"bufferViews":[{"buffer":0,)" + place + R"(}],
        "accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3"}],
        "meshes":[{"primitives":[{"attributes":{"POSITION":0}}]}],"nodes":[{"mesh":0}]})";
    return refusalOf(container(chunk(jsonType, text) + chunk(binaryType, std::string(36, '\0'))));
  };
  EXPECT_EQ(refusal("\"byteLength\":36"), "");
  for (const char* place : {"\"byteLength\":37", "\"byteOffset\":1,\"byteLength\":36",
                            "\"byteOffset\":9223372036854775807,\"byteLength\":9223372036854775807"}) {
    EXPECT_EQ(refusal(place), "The buffer view 0 lies outside its buffer.") << place;
  }
}

TEST(GLTFAccessors, RefuseClaimsThatTheFileDoesNotWarrant) {
  const auto refusal = [](const std::string& count) {
    File file;
    file.accessor(-1, floatingPoint, 3, "VEC3");
    file.addMesh("\"POSITION\":0");
    std::string text = file.json();
    text.replace(text.find("\"count\":3"), 9, "\"count\":" + count);
    return refusalOf(text, ModelFormat::gltf);
  };
  EXPECT_EQ(refusal("3"), "");
  EXPECT_EQ(refusal("100000000"), "The glTF file asks for more memory than its size warrants.");
  EXPECT_EQ(refusal("4294967296"), "The accessor 0 has too many elements.");
  EXPECT_EQ(refusal("9223372036854775807"), "The accessor 0 has too many elements.");
}

TEST(GLTFPrimitives, ThatShareDataOverAndOverAreRefused) {
  const auto refusal = [](std::size_t primitiveCount, const auto& primitive) {
    File file;
    file.accessor(file.view(std::string(1200000, '\0')), floatingPoint, 100000, "VEC3");
    const int colors = file.view(std::string(400000, '\xFF'));
    file.accessor(colors, unsignedByte, 100000, "VEC4", ",\"normalized\":true");
    file.shorts({0, 1, 2});
    std::string primitives = primitive(0);
    for (std::size_t i = 1; i < primitiveCount; ++i) primitives += "," + primitive(i);
    file.add("meshes", "[{\"primitives\":[" + primitives + "]}]").add("nodes", "[{\"mesh\":0}]");
    return refusalOf(file);
  };
  const std::string tooMuch = "The glTF file asks for more memory than its size warrants.";
  const auto sharingAll = [](std::size_t) { return std::string(R"({"attributes":{"POSITION":0}})"); };
  EXPECT_EQ(refusal(100, sharingAll), "");
  EXPECT_EQ(refusal(3000, sharingAll), tooMuch);
  // Streams of their own, for a triangle each.
  const auto sharingColors = [](std::size_t i) {
    return R"({"attributes":{"POSITION":0,"COLOR_0":1,"_)" + std::to_string(i) + R"(":0},"indices":2})";
  };
  EXPECT_EQ(refusal(100, sharingColors), "");
  EXPECT_EQ(refusal(1200, sharingColors), tooMuch);
}

// Attributes.

TEST(GLTFAttributes, BecomeStreams) {
  File file;
  const int position = file.positions({0, 0, 0, 1, 0, 0, 0, 1, 0});
  const int normal = file.floats({0, 0, 1, 0, 0, 1, 0, 0, 1}, "VEC3", 3);
  const int tangent = file.floats({1, 0, 0, -1, 1, 0, 0, -1, 1, 0, 0, -1}, "VEC4", 4);
  const int texcoord = file.floats({0, 0.25F, 1, 0, 0, 1}, "VEC2", 2);
  const int color = file.accessor(file.view(packed<std::uint8_t>({255, 0, 51, 255, 0, 0, 0, 255, 0, 0, 0, 255})),
                                  unsignedByte, 3, "VEC4", ",\"normalized\":true");
  const auto name = [](const char* attribute, int accessor) {
    return "\"" + std::string(attribute) + "\":" + std::to_string(accessor);
  };
  file.addMesh(name("POSITION", position) + "," + name("NORMAL", normal) + "," + name("TANGENT", tangent) + "," +
               name("TEXCOORD_1", texcoord) + "," + name("COLOR_0", color) + ",\"_OTHER\":0");
  const SCNNode::Pointer root = rootOf(file);
  const SCNGeometry& geometry = drawnGeometry(root);
  EXPECT_EQ(geometry.name, "m");
  EXPECT_EQ(geometry.geometrySources().size(), 6U);
  EXPECT_THAT(valuesOf(geometry, Semantic::normal), ElementsAre(0, 0, 1, 0, 0, 1, 0, 0, 1));
  EXPECT_THAT(valuesOf(geometry, Semantic::tangent), ElementsAre(1, 0, 0, -1, 1, 0, 0, -1, 1, 0, 0, -1));
  EXPECT_THAT(valuesOf(geometry, Semantic::texcoord, 0), ElementsAre(0, 0, 0, 0, 0, 0)) << "the channel left out";
  EXPECT_THAT(valuesOf(geometry, Semantic::texcoord, 1), ElementsAre(0, 0.25, 1, 0, 0, 1));
  EXPECT_THAT(valuesOf(geometry, Semantic::color),
              Pointwise(DoubleNear(1e-7), {1., 0., 0.2, 1., 0., 0., 0., 1., 0., 0., 0., 1.}));
}

TEST(GLTFAttributes, AreRefusedInOtherShapes) {
  const auto refusal = [](const std::string& attribute, const std::string& type, std::size_t count) {
    File file;
    file.positions({0, 0, 0, 1, 0, 0, 0, 1, 0});
    file.accessor(-1, floatingPoint, count, type);
    file.addMesh("\"POSITION\":0,\"" + attribute + "\":1");
    return refusalOf(file);
  };
  EXPECT_EQ(refusal("NORMAL", "VEC3", 3), "");
  EXPECT_EQ(refusal("NORMAL", "VEC3", 4),
            "The accessor 1 does not fit the attribute NORMAL of a primitive with 3 vertices.");
  EXPECT_THAT(refusal("NORMAL", "VEC4", 3), HasSubstr("NORMAL"));
  EXPECT_THAT(refusal("TEXCOORD_0", "VEC3", 3), HasSubstr("TEXCOORD_0"));
  EXPECT_THAT(refusal("COLOR_0", "VEC2", 3), HasSubstr("COLOR_0"));
  EXPECT_EQ(refusal("COLOR_0", "VEC3", 3), "");
}

TEST(GLTFAttributes, LeaveMissingNormalsToTheFacetsAndDropTangentsThen) {
  File file;
  file.positions({0, 0, 0, 1, 0, 0, 0, 1, 0});
  file.floats({1, 0, 0, 1, 1, 0, 0, 1, 1, 0, 0, 1}, "VEC4", 4);
  file.addMesh("\"POSITION\":0,\"TANGENT\":1");
  const SCNNode::Pointer root = rootOf(file);
  EXPECT_EQ(drawnGeometry(root).geometrySources().size(), 1U);
}

TEST(GLTFPrimitives, ShareAGeometryWhereTheyShareTheirStreams) {
  File file;
  file.positions({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0});
  const std::string a = std::to_string(file.shorts({0, 1, 2}));
  const std::string b = std::to_string(file.shorts({0, 2, 3}));
  file.add("materials", R"([{"name":"red"},{"name":"blue"}])");
  file.add("meshes", R"([{"primitives":[{"attributes":{"POSITION":0},"material":1,"indices":)" + a +
                         R"(},{"attributes":{"POSITION":0},"material":0,"indices":)" + b + "}]}]");
  file.add("nodes", R"([{"mesh":0},{"mesh":0}])");
  const SCNNode::Pointer root = rootOf(file);
  const auto nodes = root->childNodes();
  const SCNGeometry& geometry = *nodes.at(0)->geometry;
  EXPECT_EQ(nodes.at(1)->geometry.get(), &geometry) << "instances share";
  ASSERT_EQ(geometry.geometryElements().size(), 2U);
  EXPECT_EQ(geometry.materialForElement(0)->name, "blue");
  EXPECT_EQ(geometry.materialForElement(1)->name, "red");
}

TEST(GLTFPrimitives, OfLinesWithoutNormalsAreUnlit) {
  const SCNNode::Pointer root = rootOf(quadFile(1));
  EXPECT_EQ(drawnGeometry(root).firstMaterial()->lightingModelName, SCNLightingModelConstant);
}

/// A list of one image of one pixel.
constexpr const char* onePixel = R"([{"uri":"data:image/png;base64,iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUl)"
                                 R"(EQVR42mNk+M9QDwADhgGAWjR9awAAAABJRU5ErkJggg=="}])";

TEST(GLTFPrimitives, GetTheTangentsThatANormalMapNeeds) {
  File file;
  file.positions({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0});
  file.floats({0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1}, "VEC3", 3);
  file.floats({0, 1, 1, 1, 1, 0, 0, 0}, "VEC2", 2);
  const std::string indices = std::to_string(file.shorts({0, 1, 2, 0, 2, 3}));
  file.add("images", onePixel);
  file.add("textures", R"([{"source":0}])");
  file.add("materials", R"([{"normalTexture":{"index":0}},{}])");
  const std::string attributes = R"({"attributes":{"POSITION":0,"NORMAL":1,"TEXCOORD_0":2},"indices":)" + indices;
  file.add("meshes", "[{\"primitives\":[" + attributes + ",\"material\":0}," + attributes + ",\"material\":1}]}]");
  file.add("nodes", R"([{"mesh":0}])");
  const auto parts = rootOf(file)->childNodes().at(0)->childNodes();
  ASSERT_EQ(parts.size(), 2U);
  EXPECT_THAT(valuesOf(*parts[0]->geometry, Semantic::tangent),
              ElementsAre(1, 0, 0, 1, 1, 0, 0, 1, 1, 0, 0, 1, 1, 0, 0, 1));
  EXPECT_EQ(parts[1]->geometry->firstSourceForSemantic(Semantic::tangent), nullptr);
}

TEST(GLTFPrimitives, HaveTangentsThatFollowTheTransformOfTheirNormalMap) {
  // A quarter turn: what was the direction of v is that of u now; mirrored in u, it runs the other way.
  const auto tangents = [](const std::string& transform, const std::string& stride) {
    File file;
    file.positions({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0});
    file.floats({0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1}, "VEC3", 3);
    if (stride.empty()) {
      file.floats({0, 1, 1, 1, 1, 0, 0, 0}, "VEC2", 2);
    } else {
      file.accessor(file.view(packed<float>({0, 1, 9, 1, 1, 9, 1, 0, 9, 0, 0, 9}), stride), floatingPoint, 4, "VEC2");
    }
    const std::string indices = std::to_string(file.shorts({0, 1, 2, 0, 2, 3}));
    file.add("images", onePixel);
    file.add("textures", R"([{"source":0}])");
    file.add("materials",
             R"([{"normalTexture":{"index":0,"extensions":{"KHR_texture_transform":)" + transform + "}}}]");
    file.addMesh(R"("POSITION":0,"NORMAL":1,"TEXCOORD_0":2)", ",\"material\":0,\"indices\":" + indices);
    const SCNNode::Pointer root = rootOf(file);
    const SCNGeometry& geometry = drawnGeometry(root);
    EXPECT_THAT(valuesOf(geometry, Semantic::texcoord), ElementsAre(0, 1, 1, 1, 1, 0, 0, 0));
    return valuesOf(geometry, Semantic::tangent);
  };
  for (const char* stride : {"", ",\"byteStride\":12"}) {
    std::vector<double> turned = tangents(R"({"rotation":1.5707963267948966})", stride);
    for (double& value : turned) value = std::round(value * 1000) / 1000;
    EXPECT_THAT(turned, ElementsAre(0, -1, 0, 1, 0, -1, 0, 1, 0, -1, 0, 1, 0, -1, 0, 1)) << stride;
    EXPECT_THAT(tangents(R"({"scale":[-1,1]})", stride),
                ElementsAre(-1, 0, 0, -1, -1, 0, 0, -1, -1, 0, 0, -1, -1, 0, 0, -1))
        << stride;
    EXPECT_THAT(tangents(R"({"scale":[3,5],"offset":[1,2]})", stride),
                ElementsAre(1, 0, 0, 1, 1, 0, 0, 1, 1, 0, 0, 1, 1, 0, 0, 1))
        << stride;
  }
}

TEST(GLTFPrimitives, AreSplitWhereOneVertexHasTwoTangents) {
  // Two triangles on one edge, the second mapped mirror-wise.
  File file;
  file.positions({0, 0, 0, 0, 1, 0, -1, 0, 0, 1, 0, 0});
  file.floats({0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1}, "VEC3", 3);
  file.floats({0, 0, 0, 1, 1, 0, 1, 0}, "VEC2", 2);
  const std::string indices = std::to_string(file.shorts({0, 1, 2, 0, 3, 1}));
  file.add("images", onePixel);
  file.add("textures", R"([{"source":0}])");
  file.add("materials", R"([{"normalTexture":{"index":0}}])");
  file.addMesh(R"("POSITION":0,"NORMAL":1,"TEXCOORD_0":2)", ",\"material\":0,\"indices\":" + indices);
  const SCNNode::Pointer root = rootOf(file);
  const SCNGeometry& geometry = drawnGeometry(root);
  EXPECT_EQ(geometry.geometrySources()[0]->vectorCount(), 6U);
  const std::vector<double> tangents = valuesOf(geometry, Semantic::tangent);
  const auto corners = indicesOf(elementOf(geometry));
  ASSERT_EQ(corners.size(), 6U);
  for (std::size_t corner = 0; corner < 6; ++corner) {
    EXPECT_EQ(tangents.at(corners[corner] * 4), corner < 3 ? -1 : 1) << corner;
  }
}

}  // namespace
}  // namespace ornolith
