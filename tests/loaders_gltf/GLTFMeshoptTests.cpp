#include <gmock/gmock.h>

#include <cstring>
#include <string>

#include "GLTFFile.h"
#include "loaders/gltf/GLTFMeshopt.h"

namespace ornolith {
namespace {

using namespace gltf_files;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;

// Byte streams in the extension's formats, made by its reference encoder: the corners of a unit square as three floats
// each, the triangles (0, 1, 2) and (2, 1, 3) over them, and the index sequence 5, 3, 7.
const std::string squarePositions = packed<std::uint8_t>(
    {0xa0, 0x00, 0x00, 0x01, 0x33, 0x00, 0x00, 0x00, 0xff, 0xff, 0x01, 0x33, 0x00, 0x00, 0x00, 0x7e, 0x7d,
     0x00, 0x00, 0x01, 0x0c, 0x00, 0x00, 0x00, 0xff, 0x01, 0x0c, 0x00, 0x00, 0x00, 0x7e, 0x00, 0x00, 0x00,
     0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
     0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00});
const std::string squareTriangles = packed<std::uint8_t>(
    {0xe0, 0xf0, 0x10, 0x00, 0x76, 0x87, 0x56, 0x67, 0x78, 0xa9, 0x86, 0x65, 0x89, 0x68, 0x98, 0x01, 0x69, 0x00, 0x00});
const std::string indexSequence = packed<std::uint8_t>({0xd0, 0x14, 0x06, 0x10, 0x00, 0x00, 0x00, 0x00});

template <typename Value>
std::vector<Value> decompressed(const GLTFMeshoptCompression& compression, const std::string& source) {
  GLTFMemoryBudget budget(source.size());
  const auto bytes = decompressMeshopt(compression, std::as_bytes(std::span(source)), "the view", budget);
  std::vector<Value> values(bytes->size() / sizeof(Value));
  std::memcpy(values.data(), bytes->data(), bytes->size());
  return values;
}

std::string faultOf(const GLTFMeshoptCompression& compression, const std::string& source) {
  try {
    decompressed<std::uint8_t>(compression, source);
    return {};
  } catch (const GLTFReadError& error) {
    return error.errorDescription();
  }
}

GLTFMeshoptCompression layout(GLTFMeshoptMode mode, std::uint64_t count, std::uint64_t stride,
                              GLTFMeshoptFilter filter = GLTFMeshoptFilter::none) {
  GLTFMeshoptCompression compression;
  compression.mode = mode;
  compression.count = count;
  compression.byteStride = stride;
  compression.filter = filter;
  return compression;
}

TEST(GLTFMeshopt, DecodesAttributesTrianglesAndSequences) {
  EXPECT_THAT(decompressed<float>(layout(GLTFMeshoptMode::attributes, 4, 12), squarePositions),
              ElementsAre(0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0));
  EXPECT_THAT(decompressed<std::uint16_t>(layout(GLTFMeshoptMode::triangles, 6, 2), squareTriangles),
              ElementsAre(0, 1, 2, 2, 1, 3));
  EXPECT_THAT(decompressed<std::uint32_t>(layout(GLTFMeshoptMode::indices, 3, 4), indexSequence), ElementsAre(5, 3, 7));
}

TEST(GLTFMeshopt, UndoesFilters) {
  EXPECT_THAT(
      decompressed<std::int8_t>(
          layout(GLTFMeshoptMode::attributes, 4, 4, GLTFMeshoptFilter::octahedral),
          packed<std::uint8_t>({0xa0, 0x01, 0x3f, 0x00, 0x00, 0x00, 0xfe, 0xfd, 0xfe, 0x01, 0x0f, 0x00, 0x00, 0x00,
                                0xfd, 0x03, 0x00, 0x01, 0x2a, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                                0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                                0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x7f, 0x01})),
      ElementsAre(0, 0, 127, 1, 127, 0, 0, 2, 0, -127, 0, 3, 0, 0, -127, 4));
  EXPECT_THAT(decompressed<std::int16_t>(
                  layout(GLTFMeshoptMode::attributes, 2, 8, GLTFMeshoptFilter::quaternion),
                  packed<std::uint8_t>({0xa0, 0x00, 0x00, 0x00, 0x00, 0x01, 0x10, 0x00, 0x00, 0x00, 0x01, 0x30, 0x00,
                                        0x00, 0x00, 0xfe, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                                        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                                        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xff, 0x7f})),
              ElementsAre(0, 0, 0, 32767, 0, 0, 23170, 23170));
  EXPECT_THAT(
      decompressed<float>(layout(GLTFMeshoptMode::attributes, 4, 4, GLTFMeshoptFilter::exponential),
                          packed<std::uint8_t>({0xa0, 0x01, 0x3f, 0x00, 0x00, 0x00, 0x07, 0x0c, 0x05, 0x01, 0x18, 0x00,
                                                0x00, 0x00, 0x01, 0x18, 0x00, 0x00, 0x00, 0x01, 0x3f, 0x00, 0x00, 0x00,
                                                0x03, 0x18, 0x09, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                                                0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                                                0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00})),
      ElementsAre(1, -0.75F, 3072, 0));
}

TEST(GLTFMeshopt, StaysInRangeWhereAFilteredVectorHasNoUnit) {
  // The third component, which stands for 1, is 0.
  EXPECT_THAT(decompressed<std::int8_t>(
                  layout(GLTFMeshoptMode::attributes, 1, 4, GLTFMeshoptFilter::octahedral),
                  packed<std::uint8_t>({0xa0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                                        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                                        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x09})),
              ElementsAre(0, 0, 0, 9));
}

TEST(GLTFMeshopt, RefusesLayoutsThatAreNotAllowed) {
  const auto expectRefused = [](const GLTFMeshoptCompression& compression) {
    EXPECT_EQ(faultOf(compression, squarePositions), "The compression of the view has a layout that is not allowed.");
  };
  for (const std::uint64_t stride : {0U, 2U, 6U, 260U}) expectRefused(layout(GLTFMeshoptMode::attributes, 4, stride));
  for (const std::uint64_t stride : {0U, 1U, 3U, 8U}) {
    expectRefused(layout(GLTFMeshoptMode::triangles, 6, stride));
    expectRefused(layout(GLTFMeshoptMode::indices, 6, stride));
  }
  expectRefused(layout(GLTFMeshoptMode::triangles, 4, 2));
  expectRefused(layout(GLTFMeshoptMode::attributes, 4, 12, GLTFMeshoptFilter::octahedral));
  expectRefused(layout(GLTFMeshoptMode::attributes, 4, 4, GLTFMeshoptFilter::quaternion));
  expectRefused(layout(GLTFMeshoptMode::indices, 6, 4, GLTFMeshoptFilter::exponential));
}

TEST(GLTFMeshopt, RefusesDamagedDataAndClaimsThatItDoesNotWarrant) {
  const GLTFMeshoptCompression sound = layout(GLTFMeshoptMode::attributes, 4, 12);
  for (std::size_t size = 0; size < squarePositions.size(); ++size) {
    EXPECT_EQ(faultOf(sound, squarePositions.substr(0, size)), "The compressed data of the view is damaged.") << size;
  }
  EXPECT_THAT(faultOf(layout(GLTFMeshoptMode::triangles, 6, 2), squarePositions), HasSubstr("damaged"));
  EXPECT_EQ(faultOf(layout(GLTFMeshoptMode::attributes, 1ULL << 62U, 256), squarePositions),
            "The glTF file asks for more memory than its size warrants.");
}

TEST(GLTFMeshopt, ServesPositionsAndIndicesOfAFile) {
  File file;
  const std::size_t trianglesAt = (squarePositions.size() + 3) / 4 * 4;
  const std::string packedViews = squarePositions + std::string(trianglesAt - squarePositions.size(), '\0');
  const std::string total = std::to_string(trianglesAt + squareTriangles.size());
  const auto view = [](std::size_t length, const std::string& place, const std::string& rest) {
    return "{\"buffer\":1,\"byteLength\":" + std::to_string(length) +
           ",\"extensions\":{\"EXT_meshopt_compression\":{\"buffer\":0," + place + "," + rest + "}}}";
  };
  const std::string text = "{\"buffers\":[{\"byteLength\":" + total + R"(},{"byteLength":60}],"bufferViews":[)" +
                           view(48, "\"byteLength\":" + std::to_string(squarePositions.size()),
                                R"("byteStride":12,"count":4,"mode":"ATTRIBUTES")") +
                           "," +
                           view(12,
                                "\"byteOffset\":" + std::to_string(trianglesAt) +
                                    ",\"byteLength\":" + std::to_string(squareTriangles.size()),
                                R"("byteStride":2,"count":6,"mode":"TRIANGLES","filter":"NONE")") +
                           R"(],"accessors":[{"bufferView":0,"componentType":5126,"count":4,"type":"VEC3"},
          {"bufferView":1,"componentType":5123,"count":6,"type":"SCALAR"}],
          "meshes":[{"primitives":[{"attributes":{"POSITION":0},"indices":1}]}],"nodes":[{"mesh":0}]})";
  const auto result = load(container(chunk(jsonType, text) + chunk(binaryType, packedViews + squareTriangles)));
  const SCNGeometry& geometry = drawnGeometry(result.scene->rootNode());
  EXPECT_THAT(positionsOf(geometry), ElementsAre(0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0));
  EXPECT_THAT(indicesOf(*geometry.geometryElements()[0]), ElementsAre(0, 1, 2, 2, 1, 3));
}

}  // namespace
}  // namespace ornolith
