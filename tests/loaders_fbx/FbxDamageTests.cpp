#include <gmock/gmock.h>

#include <array>
#include <cstdint>
#include <functional>
#include <string>

#include "loaders_fbx/FbxSceneAssertions.h"
#include "loaders_fbx/FbxTestSupport.h"
#include "support/Damage.h"

namespace ornolith::test {
namespace {

using ::testing::HasSubstr;
using testsupport::cutEverywhere;
using testsupport::patchAtRandom;

/// Loads `contents`; a file is either read into a sound scene or refused with a message.
void expectSoundOrRefused(std::string_view contents) {
  try {
    const auto result =
        FbxFallbackSceneLoader::loadSceneFromContents(bytesOf(contents), FileURL("/nowhere/model.fbx"), {});
    expectSoundScene(*result.scene);
  } catch (const FbxLoadError& error) {
    EXPECT_FALSE(error.errorDescription().empty());
  }
}

/// A text file with one of everything that the loader looks at.
std::string variedScript() {
  FbxMesh mesh = FbxMesh::quadAndTriangle();
  mesh.uvSets = {std::vector<double>(14, 0.5), std::vector<double>(14, 0.25)};
  mesh.colors = std::vector<double>(28, 0.5);
  mesh.materials = {0, 1};
  OneMaterial model(colorProperty("DiffuseColor", 0.5, 0.5, 0.5) + numberProperty("TransparencyFactor", 0.5), mesh);
  const auto texture = model.addTexture("DiffuseColor", "RelativeFilename: \"a.png\"\n",
                                        "P: \"UVSet\", \"KString\", \"\", \"\", \"UV1\"\n");
  model.script.connect(model.script.video(smallPNG()), texture);
  model.script.connect(model.script.material("Second"), model.node);
  const auto camera = model.script.model("Eye", "Camera");
  model.script.connect(camera, model.node);
  model.script.connect(model.script.attribute("Camera"), camera);
  model.script.animate(camera);
  return model.script.text();
}

std::string example(std::string_view name) {
  return contentsOf(std::string(ORNOLITH_SOURCE_DIR) + "/examples/" + std::string(name));
}

TEST(FbxDamage, TextFilesCutAtEveryByte) {
  expectSoundOrRefused(variedScript());
  cutEverywhere(variedScript(), expectSoundOrRefused);
}

TEST(FbxDamage, BinaryFilesCutAtManyPlaces) {
  for (const char* name : {"skinned.fbx", "animated.fbx", "embedded-texture.fbx"}) {
    const std::string contents = example(name);
    ASSERT_FALSE(contents.empty()) << name;
    expectSoundOrRefused(contents);
    cutEverywhere(contents, expectSoundOrRefused, 512);
  }
}

TEST(FbxDamage, PatchedTextFiles) {
  patchAtRandom(variedScript(), 3000, 1, expectSoundOrRefused);
}

TEST(FbxDamage, PatchedBinaryFiles) {
  for (const char* name : {"skinned.fbx", "animated.fbx", "embedded-texture.fbx", "vertex-colors.fbx"}) {
    patchAtRandom(example(name), 700, 2, expectSoundOrRefused);
  }
}

void appendNumber(std::string& bytes, std::uint32_t value) {
  for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>((value >> shift) & 0xFF);
}

/// A binary file of a few hundred bytes whose one mesh claims `count` packed coordinates.
std::string fileThatClaims(std::uint32_t count) {
  struct Node {
    std::string name;
    std::string properties;
    std::uint32_t propertyCount;
    std::vector<Node> children;
  };
  const std::function<void(std::string&, const Node&)> write = [&write](std::string& bytes, const Node& node) {
    const std::size_t start = bytes.size();
    appendNumber(bytes, 0);
    appendNumber(bytes, node.propertyCount);
    appendNumber(bytes, static_cast<std::uint32_t>(node.properties.size()));
    bytes += static_cast<char>(node.name.size());
    bytes += node.name + node.properties;
    for (const Node& child : node.children) write(bytes, child);
    if (!node.children.empty()) bytes += std::string(13, '\0');
    std::string end;
    appendNumber(end, static_cast<std::uint32_t>(bytes.size()));
    bytes.replace(start, 4, end);
  };
  std::string packed = "d";
  appendNumber(packed, count);
  appendNumber(packed, 1);  // deflated
  const std::string stream("\x78\x9c\x63\x00\x00\x00\x01\x00\x01", 9);
  appendNumber(packed, static_cast<std::uint32_t>(stream.size()));
  packed += stream;
  std::string names = "L" + std::string(8, '\1') + "S";
  const std::string name("Big\0\1Geometry", 13);
  appendNumber(names, static_cast<std::uint32_t>(name.size()));
  names += name + "S";
  appendNumber(names, 4);
  names += "Mesh";
  std::string bytes("Kaydara FBX Binary  \0\x1a\0", 23);
  appendNumber(bytes, 7400);
  write(bytes,
        {.name = "Objects",
         .properties = "",
         .propertyCount = 0,
         .children = {{.name = "Geometry",
                       .properties = names,
                       .propertyCount = 3,
                       .children = {{.name = "Vertices", .properties = packed, .propertyCount = 1, .children = {}}}}}});
  bytes += std::string(13, '\0');
  return bytes;
}

std::string refusalOf(std::string_view contents) {
  try {
    FbxFallbackSceneLoader::loadSceneFromContents(bytesOf(contents), FileURL("/nowhere/model.fbx"), {});
  } catch (const FbxLoadError& error) {
    EXPECT_EQ(error.code(), 1);
    return error.errorDescription();
  }
  return "";
}

TEST(FbxMemory, ASmallFileThatClaimsGigabytesIsRefused) {
  EXPECT_THAT(refusalOf(fileThatClaims(1u << 30)), HasSubstr("Memory limit exceeded"));
}

/// A file in which `count` nodes show one mesh of 8,000 triangles.
FbxScript instances(int count) {
  FbxMesh mesh{.vertices = {0, 0, 0, 1, 0, 0, 0, 1, 0}};
  for (int face = 0; face < 8000; ++face) mesh.polygons.insert(mesh.polygons.end(), {0, 1, -3});
  FbxScript script;
  const auto geometry = script.geometry(mesh);
  for (int instance = 0; instance < count; ++instance) {
    const auto node = script.model("N", "Mesh");
    script.connect(node, FbxScript::root);
    script.connect(geometry, node);
  }
  return script;
}

TEST(FbxMemory, InstancesThatWouldTakeGigabytesAreRefused) {
  FbxScript script = instances(3000);
  // As a tree the instances share what they have in common.
  const auto shared =
      FbxFallbackSceneLoader::loadSceneFromContents(bytesOf(script.text()), FileURL("/nowhere/m.fbx"), {});
  EXPECT_EQ(meshNodes(shared).size(), 3000u);
  // As a flat list each has vertices of its own.
  script.animate(script.model("Other", "Null"));
  EXPECT_EQ(refusalOf(script.text()), "ufbx v0.22.0 error: Memory limit exceeded (geometry)\n");
}

TEST(FbxDrawing, OfMoreInstancesThanTheFileWarrantsIsRefused) {
  EXPECT_EQ(refusalOf(instances(12'000).text()), "ufbx v0.22.0 error: Memory limit exceeded (drawing)\n");
}

}  // namespace
}  // namespace ornolith::test
