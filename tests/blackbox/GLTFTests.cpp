// glTF and GLB models through the built program: inventories, poses, contact sheets and what is said about them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <filesystem>
#include <fstream>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "blackbox/Program.h"
#include "contracts/ListedModelPartsDocument.h"
#include "contracts/PoseRenderIndexDocument.h"
#include "foundation/SHA256.h"
#include "imaging/ImageDecoder.h"
#include "support/TemporaryFolder.h"

namespace ornolith::blackbox {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testsupport::contentsOf;

const std::string examples = ORNOLITH_EXAMPLES;
const std::string lamp = examples + "/desk-lamp.glb";
const Outcome success{.status = 0, .output = "", .error = ""};

JSONDocument parsed(const std::string& text) {
  return JSONDocument::parse(std::as_bytes(std::span(text)));
}

std::string littleEndian(std::uint32_t value) {
  std::string bytes;
  for (unsigned shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<char>((value >> shift) & 0xFFU));
  return bytes;
}

std::string chunk(const char* type, std::string data, char padding) {
  data.resize((data.size() + 3) / 4 * 4, padding);
  return littleEndian(static_cast<std::uint32_t>(data.size())) + std::string(type, 4) + data;
}

std::string container(const std::string& chunks) {
  return "glTF" + littleEndian(2) + littleEndian(static_cast<std::uint32_t>(12 + chunks.size())) + chunks;
}

/// One triangle with the corners (0, 0, 0), (1, 0, 0) and (0, 1, 0).
std::string triangleBytes() {
  std::string bytes;
  for (const float value : {0.0F, 0.0F, 0.0F, 1.0F, 0.0F, 0.0F, 0.0F, 1.0F, 0.0F}) {
    bytes += littleEndian(std::bit_cast<std::uint32_t>(value));
  }
  return bytes;
}

/// A manifest with that triangle as mesh 0; `members` are further ones, nodes among them, each followed by a comma.
std::string triangleManifest(const std::string& members) {
  return "{" + members + R"("asset": {"version": "2.0"}, "buffers": [{"byteLength": 36}],
    "bufferViews": [{"buffer": 0, "byteLength": 36}],
    "accessors": [{"bufferView": 0, "componentType": 5126, "count": 3, "type": "VEC3", "min": [0, 0, 0], "max": [1, 1, 0]}],
    "meshes": [{"primitives": [{"attributes": {"POSITION": 0}}]}]})";
}

std::string triangleGLB(const std::string& members) {
  return container(chunk("JSON", triangleManifest(members), ' ') + chunk("BIN\0", triangleBytes(), '\0'));
}

std::string digestOf(const std::string& bytes) {
  SHA256 hash;
  hash.update(bytes);
  return SHA256::hexadecimal(hash.finalize());
}

/// A scratch folder in which runs take place.
class GLTF : public testing::Test {
 protected:
  testsupport::TemporaryFolder folder;

  Outcome runHere(const std::vector<std::string>& arguments) const {
    return run(arguments, Surroundings{.directory = folder.path()});
  }
  Image image(const std::string& name) const {
    const std::string bytes = contentsOf(folder / name);
    return decodeImage(std::as_bytes(std::span(bytes))).value_or(Image{});
  }
  /// The picture of a model, rendered small.
  Image picture(const std::string& model, const std::vector<std::string>& more = {}) const {
    std::vector<std::string> arguments{model, "--output", "picture.png", "--width", "128", "--height", "128"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    EXPECT_EQ(runHere(arguments), success);
    return image("picture.png");
  }
  static ListedModelPartsDocument inventory(const std::string& model) {
    const Outcome outcome = run({model, "--list-parts"});
    EXPECT_EQ(outcome.status, 0) << outcome.error;
    return ListedModelPartsDocument::fromJSON(parsed(outcome.output).root());
  }
};

TEST_F(GLTF, InventoryListsTheAuthoredNodesByTheirIndices) {
  const ListedModelPartsDocument document = inventory(lamp);
  std::vector<std::string> listed;
  for (const ListedModelPart& part : document.parts) {
    listed.push_back(part.originalName + " " + part.selector.canonicalString());
    EXPECT_TRUE(part.isRotatable) << part.originalName;
    EXPECT_TRUE(part.hasGeometry) << part.originalName;
  }
  EXPECT_THAT(listed,
              ElementsAre("Desk path:gltf:0", "Base path:gltf:0/gltf:1", "Lower Arm path:gltf:0/gltf:1/gltf:2",
                          "Upper Arm path:gltf:0/gltf:1/gltf:2/gltf:3", "Head path:gltf:0/gltf:1/gltf:2/gltf:3/gltf:4",
                          "Bulb path:gltf:0/gltf:1/gltf:2/gltf:3/gltf:4/gltf:5", "Spare Bulb path:gltf:0/gltf:6"));
  EXPECT_EQ(document.format, ModelFormat::glb);
  EXPECT_FALSE(document.parts[0].parent);
  EXPECT_EQ(document.parts[1].parent, document.parts[0].selector);
}

TEST_F(GLTF, InventoryIsExact) {
  const std::string model = triangleGLB(
      R"("nodes": [{"name": "T\u00fcr", "mesh": 0, "translation": [1, -2.5, 0]}, {"name": "Haus", "children": [0]}],)");
  folder.makeFile("door.glb", model);
  const std::string expected = R"({
  "format" : "glb",
  "model_sha256" : ")" + digestOf(model) +
                               R"(",
  "parts" : [
    {
      "has_children" : true,
      "has_geometry" : false,
      "local_transform" : {
        "column_major_matrix" : [
          1,
          0,
          0,
          0,
          0,
          1,
          0,
          0,
          0,
          0,
          1,
          0,
          0,
          0,
          0,
          1
        ],
        "rotation" : {
          "w" : 1,
          "x" : 0,
          "y" : 0,
          "z" : 0
        },
        "scale" : {
          "x" : 1,
          "y" : 1,
          "z" : 1
        },
        "translation" : {
          "x" : 0,
          "y" : 0,
          "z" : 0
        }
      },
      "original_name" : "Haus",
      "rotatable" : true,
      "selector" : "path:gltf:1",
      "source_id" : "gltf:1"
    },
    {
      "has_children" : false,
      "has_geometry" : true,
      "local_transform" : {
        "column_major_matrix" : [
          1,
          0,
          0,
          0,
          0,
          1,
          0,
          0,
          0,
          0,
          1,
          0,
          1,
          -2.5,
          0,
          1
        ],
        "rotation" : {
          "w" : 1,
          "x" : 0,
          "y" : 0,
          "z" : 0
        },
        "scale" : {
          "x" : 1,
          "y" : 1,
          "z" : 1
        },
        "translation" : {
          "x" : 1,
          "y" : -2.5,
          "z" : 0
        }
      },
      "original_name" : "Tür",
      "parent" : "path:gltf:1",
      "rotatable" : true,
      "selector" : "path:gltf:1\/gltf:0",
      "source_id" : "gltf:0"
    }
  ],
  "schema" : "ornolabs.ornolith-render.parts",
  "version" : 1
}
)";
  EXPECT_EQ(runHere({"door.glb", "--list-parts"}), (Outcome{.status = 0, .output = expected, .error = ""}));
}

TEST_F(GLTF, InventoryLeavesOutCamerasAndLightsButNotWhatHangsBelowThem) {
  folder.makeFile("rig.glb", triangleGLB(R"("nodes": [{"name": "Rig", "children": [1, 3]},
      {"name": "Camera", "camera": 0, "children": [2]}, {"name": "Held", "mesh": 0},
      {"name": "Lamp", "extensions": {"KHR_lights_punctual": {"light": 0}}}],
      "cameras": [{"type": "perspective", "perspective": {"yfov": 1, "znear": 1}}],
      "extensionsUsed": ["KHR_lights_punctual"],
      "extensions": {"KHR_lights_punctual": {"lights": [{"type": "point"}]}},)"));
  const auto parts = inventory(folder / "rig.glb").parts;
  ASSERT_EQ(parts.size(), 2U);
  EXPECT_EQ(parts[0].originalName, "Rig");
  EXPECT_TRUE(parts[0].hasChildren);
  EXPECT_EQ(parts[1].originalName, "Held");
  EXPECT_EQ(parts[1].selector.canonicalString(), "path:gltf:0/gltf:1/gltf:2");
  EXPECT_EQ(parts[1].parent->canonicalString(), "path:gltf:0/gltf:1");
  EXPECT_NE(picture("rig.glb", {"--rotate-part", "path:gltf:0/gltf:1/gltf:2", "z=90"}), picture("rig.glb"));
}

TEST_F(GLTF, InventoryHoldsTheNodesOfTheSceneHiddenNamelessAndTwinOnesToo) {
  folder.makeFile("scene.glb", triangleGLB(R"("scene": 1, "scenes": [{"nodes": [0]}, {"nodes": [2, 1]}],
      "nodes": [{"name": "Elsewhere", "mesh": 0}, {"name": "Twin", "mesh": 0}, {"mesh": 0, "children": [3, 4]},
      {"name": "Twin"}, {"name": "Hidden", "extensions": {"KHR_node_visibility": {"visible": false}}}],)"));
  std::vector<std::string> listed;
  for (const ListedModelPart& part : inventory(folder / "scene.glb").parts) {
    listed.push_back(part.originalName + " " + part.selector.canonicalString());
  }
  EXPECT_THAT(listed,
              ElementsAre(" path:gltf:2", "Twin path:gltf:2/gltf:3", "Hidden path:gltf:2/gltf:4", "Twin path:gltf:1"));
  EXPECT_EQ(
      runHere({"scene.glb", "--rotate-part", "Twin", "x=1", "--output", "x.png"}),
      failure("Part name 'Twin' is ambiguous. Use one of these canonical paths: path:gltf:1, path:gltf:2/gltf:3."));
}

TEST_F(GLTF, ANodeOfSeveralGeometriesIsOnePart) {
  std::string manifest = triangleManifest(R"("nodes": [{"name": "Both", "mesh": 0}],)");
  const std::string primitive = R"({"attributes": {"POSITION": 0}})";
  manifest.replace(manifest.find(primitive), primitive.size(), primitive + ", " + primitive);
  folder.makeFile("both.glb", container(chunk("JSON", manifest, ' ') + chunk("BIN\0", triangleBytes(), '\0')));
  const auto parts = inventory(folder / "both.glb").parts;
  ASSERT_EQ(parts.size(), 1U);
  EXPECT_TRUE(parts[0].hasGeometry);
  EXPECT_FALSE(parts[0].hasChildren);
  EXPECT_TRUE(parts[0].isRotatable);
}

TEST_F(GLTF, InventoryFoldsAMirrorIntoX) {
  folder.makeFile("mirror.glb", triangleGLB(R"("nodes": [{"name": "M", "mesh": 0, "scale": [2, -3, 4]}],)"));
  const auto transform = inventory(folder / "mirror.glb").parts.at(0).localTransform;
  EXPECT_EQ(transform.scale, (ListedModelVector3{.x = -2, .y = 3, .z = 4}));
  ASSERT_TRUE(transform.columnMajorMatrix);
  EXPECT_EQ((*transform.columnMajorMatrix)[5], -3);
}

TEST_F(GLTF, OneShearedNodeKeepsTheWholeModelFromBeingPosed) {
  folder.makeFile("sheared.glb", triangleGLB(R"("nodes": [{"name": "Sound", "children": [1]},
      {"name": "Sheared", "mesh": 0, "matrix": [1,0,0,0, 0.5,1,0,0, 0,0,1,0, 0,0,0,1]}],)"));
  const auto parts = inventory(folder / "sheared.glb").parts;
  ASSERT_EQ(parts.size(), 2U);
  for (const ListedModelPart& part : parts) {
    EXPECT_FALSE(part.isRotatable);
    EXPECT_EQ(part.rotationBlockReason, "unsafe-local-transform:path:gltf:0/gltf:1");
  }
  EXPECT_TRUE(parts[0].localTransform.translation);
  EXPECT_FALSE(parts[1].localTransform.translation);
  EXPECT_TRUE(parts[1].localTransform.columnMajorMatrix);
  EXPECT_EQ(runHere({"sheared.glb", "--rotate-part", "Sound", "x=1", "--output", "x.png"}),
            failure("Part 'path:gltf:0/gltf:1' has a non-finite, non-affine, sheared, or otherwise unsafe local "
                    "transform."));
}

TEST_F(GLTF, OneNodeIsPosedAlikeByNameByIdentityAndByPath) {
  const Image rest = picture(lamp);
  const Image byName = picture(lamp, {"--rotate-part", "Lower Arm", "z=-40"});
  EXPECT_NE(byName, rest);
  EXPECT_EQ(picture(lamp, {"--rotate-part", "id:gltf:2", "z=-40"}), byName);
  EXPECT_EQ(picture(lamp, {"--rotate-part", "path:gltf:0/gltf:1/gltf:2", "z=320"}), byName);
  EXPECT_EQ(picture(lamp, {"--rotate-part", "Lower Arm", "z=360"}), rest);
}

TEST_F(GLTF, NodesThatAreNotThereOrNotAddressableAreNotPosed) {
  for (const std::string selector : {"id:gltf:99", "id:gltf:7", "name:Camera", "name:Ceiling Light"}) {
    EXPECT_EQ(runHere({lamp, "--rotate-part", selector, "x=1", "--output", "x.png"}),
              failure("Part selector '" + selector +
                      "' did not match an addressable logical node. Run --list-parts and use a listed selector."));
  }
  EXPECT_FALSE(fs::exists(folder / "x.png"));
}

TEST_F(GLTF, APoseFileForOneFormatServesTheOther) {
  const std::vector<std::string> options{"--pose-file",        examples + "/lamp-poses.json",
                                         "--output-directory", "out",
                                         "--tile-width",       "96",
                                         "--tile-height",      "64",
                                         "--layout",           "contact-4"};
  std::vector<std::string> arguments{lamp};
  arguments.insert(arguments.end(), options.begin(), options.end());
  ASSERT_EQ(runHere(arguments), success);
  const std::string text = contentsOf(folder / "out/contact-sheet.json");
  const auto index = PoseRenderIndexDocument::fromJSON(parsed(text).root());
  EXPECT_EQ(index.canonicalJSONData(), text);
  EXPECT_EQ(index.modelFilename, "desk-lamp.glb");
  EXPECT_EQ(index.modelSHA256, inventory(lamp).modelSHA256);
  ASSERT_EQ(index.poses.size(), 4U);
  EXPECT_EQ(index.poses[1].rotations[0].selector.canonicalString(), "name:Lower Arm");
  ASSERT_EQ(index.pages.size(), 1U);
  EXPECT_EQ(index.pages[0].cells.size(), 16U);
  const Image page = image("out/page-0001.png");
  EXPECT_EQ(page.width, index.pages[0].width);
  EXPECT_EQ(page.height, index.pages[0].height);
  bool isDrawn = false;
  for (std::size_t offset = 3; offset < page.pixels.size() && !isDrawn; offset += 4) isDrawn = page.pixels[offset] != 0;
  EXPECT_TRUE(isDrawn);
}

TEST_F(GLTF, ContactSheetsShowEveryView) {
  ASSERT_EQ(runHere({lamp, "--layout", "contact-6", "--output", "six.png", "--width", "300", "--height", "200",
                     "--background", "#FF0000"}),
            success);
  const Image sheet = image("six.png");
  EXPECT_EQ(sheet.width, 300U);
  EXPECT_THAT(std::vector<int>(sheet.pixel(0, 0), sheet.pixel(0, 0) + 4), ElementsAre(255, 0, 0, 255));
  for (std::uint32_t cell = 0; cell < 6; ++cell) {
    std::size_t drawn = 0;
    for (std::uint32_t y = cell / 3 * 100; y < cell / 3 * 100 + 100; ++y) {
      for (std::uint32_t x = cell % 3 * 100; x < cell % 3 * 100 + 100; ++x) drawn += sheet.pixel(x, y)[1] != 0 ? 1 : 0;
    }
    EXPECT_GT(drawn, 200U) << "cell " << cell;
  }
}

TEST_F(GLTF, AnimationsAreNamedOnceAndDoNotKeepAModelFromBeingPosed) {
  const std::string model = examples + "/animated.glb";
  const std::string info =
      "ornolith-render: info [gltf.animation-static-frame]: glTF animations were loaded as a static render frame.\n";
  const Outcome outcome = runHere({model, "--rotate-part", "Rotor", "z=30", "--output", "x.png"});
  EXPECT_EQ(outcome, (Outcome{.status = 0, .output = "", .error = info}));
  EXPECT_EQ(run({model, "--list-parts"}).error, info);
}

TEST_F(GLTF, DeformationKeepsAModelFromBeingPosed) {
  for (const std::string name : {"/skinned.glb", "/morph.glb"}) {
    const ListedModelPartsDocument document = inventory(examples + name);
    ASSERT_FALSE(document.parts.empty());
    for (const ListedModelPart& part : document.parts) {
      EXPECT_EQ(part.rotationBlockReason, "model-has-animation-or-deformation");
    }
    EXPECT_EQ(
        runHere({examples + name, "--rotate-part", document.parts[0].originalName, "x=1", "--output", "x.png"}),
        failure("Explicit part poses are unavailable because the model contains animation, skinning, morphing, or "
                "deformation."));
  }
}

TEST_F(GLTF, APlainManifestIsRenderedButNotPosed) {
  const std::string model = examples + "/textured-box.gltf";
  EXPECT_NE(picture(model), Image{});
  EXPECT_EQ(run({model, "--list-parts"}),
            failure("Explicit part poses require a hierarchy-preserving FBX or GLB model; got GLTF."));
}

TEST_F(GLTF, ResourcesBesideTheManifestOrInAFurtherFolderAreFound) {
  const Image expected = picture(examples + "/textured-box.gltf");
  fs::create_directories(folder / "a");
  fs::create_directories(folder / "b/textures");
  fs::copy_file(examples + "/textured-box.gltf", folder / "a/box.gltf");
  fs::copy_file(examples + "/textured-box.bin", folder / "b/textured-box.bin");
  fs::copy_file(examples + "/textures/crate.png", folder / "b/textures/crate.png");
  EXPECT_EQ(picture("a/box.gltf", {"--asset-dir", "b"}), expected);

  fs::remove(folder / "b/textures/crate.png");
  const Outcome withoutTexture =
      runHere({"a/box.gltf", "--asset-dir", "b", "--output", "plain.png", "--width", "128", "--height", "128"});
  EXPECT_EQ(withoutTexture,
            (Outcome{.status = 0,
                     .output = "",
                     .error = "ornolith-render: warning [resource.missing]: glTF resource 'textures/crate.png' was not "
                              "found.\n"}));
  EXPECT_NE(image("plain.png"), expected);

  folder.makeFile("b/textures/crate.png", "this is no picture");
  const Outcome damagedTexture =
      runHere({"a/box.gltf", "--asset-dir", "b", "--output", "damaged.png", "--width", "128", "--height", "128"});
  EXPECT_EQ(damagedTexture.status, 0);
  EXPECT_EQ(image("damaged.png"), image("plain.png"));
}

TEST_F(GLTF, ExtensionsThatCannotBeShownAreRefusedWhereRequiredAndNamedWhereUsed) {
  const std::string nodes = R"("nodes": [{"mesh": 0}],)";
  folder.makeFile("required.glb", triangleGLB(nodes + R"("extensionsUsed": ["KHR_draco_mesh_compression"],
      "extensionsRequired": ["KHR_texture_basisu", "KHR_draco_mesh_compression"],)"));
  EXPECT_EQ(runHere({"required.glb", "--output", "x.png"}),
            failure("Required glTF extensions are not available: KHR_draco_mesh_compression, KHR_texture_basisu."));
  folder.makeFile("used.glb", triangleGLB(nodes + R"("extensionsUsed": ["KHR_texture_basisu", "VENDOR_other"],)"));
  const Outcome used = runHere({"used.glb", "--output", "x.png"});
  EXPECT_EQ(used.status, 0);
  EXPECT_THAT(used.error, HasSubstr("[gltf.extension-ignored]"));
  EXPECT_THAT(used.error, HasSubstr("KHR_texture_basisu"));
  EXPECT_THAT(used.error, testing::Not(HasSubstr("VENDOR_other")));
}

TEST_F(GLTF, ABinaryChunkMayStandBeforeTheManifest) {
  const std::string manifest = triangleManifest(R"("nodes": [{"mesh": 0}],)");
  folder.makeFile("usual.glb", triangleGLB(R"("nodes": [{"mesh": 0}],)"));
  folder.makeFile("turned.glb", container(chunk("BIN\0", triangleBytes(), '\0') + chunk("JSON", manifest, ' ')));
  EXPECT_EQ(picture("turned.glb"), picture("usual.glb"));
}

TEST_F(GLTF, DamagedFilesEndInOneMessage) {
  const std::string whole = triangleGLB(R"("nodes": [{"mesh": 0}],)");
  for (const std::size_t size : {std::size_t{0}, std::size_t{11}, std::size_t{19}, std::size_t{40}, whole.size() - 1}) {
    folder.makeFile("short.glb", std::string_view(whole).substr(0, size));
    EXPECT_EQ(runHere({"short.glb", "--output", "x.png"}).status, 1) << size;
  }
  folder.makeFile("cut.glb", std::string_view(whole).substr(0, 19));
  EXPECT_EQ(runHere({"cut.glb", "--output", "x.png"}), failure("cut.glb could not be loaded as glTF."));
  folder.makeFile("cycle.glb", triangleGLB(R"("nodes": [{"mesh": 0, "children": [1]}, {"children": [0]}],)"));
  EXPECT_EQ(runHere({"cycle.glb", "--output", "x.png"}), failure("cycle.glb could not be loaded as glTF."));
  folder.makeFile("empty.glb", triangleGLB(R"("nodes": [{"name": "nothing"}],)"));
  EXPECT_EQ(runHere({"empty.glb", "--output", "x.png"}), failure("empty.glb contains no renderable glTF scene."));
  EXPECT_FALSE(fs::exists(folder / "x.png"));
}

}  // namespace
}  // namespace ornolith::blackbox
