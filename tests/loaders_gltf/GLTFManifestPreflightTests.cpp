#include <gmock/gmock.h>

#include "GLTFFile.h"
#include "foundation/SystemError.h"
#include "loaders/gltf/GLTFManifestPreflight.h"
#include "loaders/gltf/GLTFManifestPreflightError.h"
#include "support/TemporaryFolder.h"

namespace ornolith {
namespace {

using namespace gltf_files;
using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::TemporaryFolder;

std::span<const std::byte> bytesOf(const std::string& text) {
  return std::as_bytes(std::span(text));
}
std::string textOf(std::span<const std::byte> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}
std::string manifestFaultOf(const std::string& data) {
  try {
    GLTFManifestPreflight::jsonManifest(bytesOf(data));
    return {};
  } catch (const GLTFManifestPreflightError& error) {
    return error.errorDescription();
  }
}

constexpr const char* invalidGLB = "The GLB container header or chunk table is invalid.";
constexpr const char* missingJSON = "The GLB container has no JSON manifest chunk.";
constexpr const char* invalidJSON = "The glTF manifest is not a valid JSON object.";

TEST(GLTFManifestPreflight, ReadsNumbersLittleEndianWhereAllFourBytesAreThere) {
  const std::string data("\x01\x02\x03\x84\x05", 5);
  EXPECT_EQ(GLTFManifestPreflight::uint32(bytesOf(data), 0), 0x84030201U);
  EXPECT_EQ(GLTFManifestPreflight::uint32(bytesOf(data), 1), 0x05840302U);
  EXPECT_EQ(GLTFManifestPreflight::uint32(bytesOf(data), 2), std::nullopt);
  EXPECT_EQ(GLTFManifestPreflight::uint32(bytesOf(data), -1), std::nullopt);
  EXPECT_EQ(GLTFManifestPreflight::uint32(bytesOf("abc"), 0), std::nullopt);
}

TEST(GLTFManifestPreflight, FindsTheManifestChunkWhereverItStands) {
  EXPECT_EQ(textOf(GLTFManifestPreflight::jsonManifest(bytesOf(container(chunk(jsonType, "{}"))))), "{}");
  const std::string behind = container(chunk(binaryType, "abc") + chunk(7, "") + chunk(jsonType, "{ }"));
  EXPECT_EQ(textOf(GLTFManifestPreflight::jsonManifest(bytesOf(behind))), "{ }");
}

TEST(GLTFManifestPreflight, LooksAtNoChunkBehindTheManifest) {
  const std::string file = container(chunk(jsonType, "{}") + "torn");
  EXPECT_EQ(textOf(GLTFManifestPreflight::jsonManifest(bytesOf(file))), "{}");
}

TEST(GLTFManifestPreflight, RefusesContainersThatAreNone) {
  EXPECT_EQ(manifestFaultOf(""), invalidGLB);
  EXPECT_EQ(manifestFaultOf(container(chunk(jsonType, "{}")).substr(0, 19)), invalidGLB);
  EXPECT_EQ(manifestFaultOf(container(chunk(jsonType, "{}"), 1)), invalidGLB) << "version 1";
  EXPECT_EQ(manifestFaultOf("FTlg" + container(chunk(jsonType, "{}")).substr(4)), invalidGLB);
  EXPECT_EQ(manifestFaultOf(container(chunk(jsonType, "{}") + "  ").substr(0, 23)), invalidGLB)
      << "length beyond the file";
}

TEST(GLTFManifestPreflight, IgnoresWhatFollowsTheLengthOfTheContainer) {
  EXPECT_EQ(manifestFaultOf(container(chunk(jsonType, "{}")) + "tail"), "");
  const std::string short19 = "glTF" + packed<std::uint32_t>({2, 19}) + chunk(jsonType, "{}");
  EXPECT_EQ(manifestFaultOf(short19), invalidGLB) << "a length below 20";
  const std::string cut = "glTF" + packed<std::uint32_t>({2, 20}) + chunk(jsonType, "{}");
  EXPECT_EQ(manifestFaultOf(cut), invalidGLB) << "the chunk goes on past the length";
}

TEST(GLTFManifestPreflight, TellsAMissingManifestFromATornChunkTable) {
  EXPECT_EQ(manifestFaultOf(container(chunk(binaryType, "abcd"))), missingJSON);
  EXPECT_EQ(manifestFaultOf(container(chunk(binaryType, "abcd") + "1234567")), invalidGLB);
}

TEST(GLTFManifestPreflight, TakesOnlyListsOfTexts) {
  const std::string text = R"({"a":["y","x","y"],"b":"x","c":["x",1],"d":{},"e":null,"f":[]})";
  const JSONDocument document = JSONDocument::parse(bytesOf(text));
  EXPECT_THAT(GLTFManifestPreflight::stringSet("a", document.root()), ElementsAre("x", "y"));
  for (const char* key : {"b", "c", "d", "e", "f", "g"}) {
    EXPECT_THAT(GLTFManifestPreflight::stringSet(key, document.root()), IsEmpty()) << key;
  }
}

TEST(GLTFManifestPreflight, InspectsFilesOfBothKinds) {
  const TemporaryFolder folder;
  const std::string manifest = R"({"extensionsRequired":["R"],"extensionsUsed":["U","R"]})";
  const GLTFInspection expected{{"R"}, {"R", "U"}};
  EXPECT_EQ(GLTFManifestPreflight::inspect(FileURL(folder.makeFile("a.gltf", manifest)), ModelFormat::gltf), expected);
  EXPECT_EQ(GLTFManifestPreflight::inspect(FileURL(folder.makeFile("a.glb", container(chunk(jsonType, manifest)))),
                                           ModelFormat::glb),
            expected);
  EXPECT_THROW(GLTFManifestPreflight::inspect(FileURL(folder / "none.gltf"), ModelFormat::gltf), SystemError);
}

TEST(GLTFManifestPreflight, RefusesManifestsThatAreNoObjects) {
  for (const char* text : {"", "{", "[]", "1", "{} {}"}) {
    try {
      GLTFManifestPreflight::manifest(bytesOf(text), ModelFormat::gltf);
      ADD_FAILURE() << text;
    } catch (const GLTFManifestPreflightError& error) {
      EXPECT_EQ(error.errorDescription(), invalidJSON);
    }
  }
}

}  // namespace
}  // namespace ornolith
