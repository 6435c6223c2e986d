#include <gmock/gmock.h>

#include <string>

#include "GLTFFile.h"
#include "loaders/gltf/GLTFManifestPreflightError.h"
#include "support/TemporaryFolder.h"

namespace ornolith {
namespace {

using namespace gltf_files;
using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;
using testing::IsEmpty;
using testsupport::TemporaryFolder;

std::string errorOf(const std::string& bytes, ModelFormat format = ModelFormat::glb) {
  try {
    load(bytes, format);
    return {};
  } catch (const GLTFSceneLoaderError& error) {
    return error.errorDescription();
  }
}

std::string errorOfFile(const FileURL& url, ModelFormat format, const std::vector<FileURL>& folders = {}) {
  try {
    GLTFSceneLoader::loadScene(url, folders, format);
    return {};
  } catch (const GLTFSceneLoaderError& error) {
    return error.errorDescription();
  }
}

TEST(GLTFSceneLoader, ReadsTheSameSceneFromBothContainers) {
  const File file = triangleFile();
  const std::vector<double> positions{0, 0, 0, 2, 0, 0, 0, 3, 0};
  EXPECT_EQ(positionsOf(drawnGeometry(load(file.glb()).scene->rootNode())), positions);
  EXPECT_EQ(positionsOf(drawnGeometry(load(file.gltf(), ModelFormat::gltf).scene->rootNode())), positions);
}

TEST(GLTFSceneLoader, ReadsAContainerWhoseBinaryChunkStandsFirst) {
  const File file = triangleFile();
  const std::string bytes = container(chunk(binaryType, file.binary()) + chunk(jsonType, file.json()));
  EXPECT_NE(drawnNode(load(bytes).scene->rootNode()), nullptr);
}

TEST(GLTFSceneLoader, WrapsWhatFailsAndKeepsTheCause) {
  EXPECT_EQ(errorOf("short"), "model.glb could not be loaded as glTF.");
  EXPECT_EQ(refusalOf("short"), "The GLB container header or chunk table is invalid.");
  EXPECT_EQ(refusalOf("[]", ModelFormat::gltf), "The glTF manifest is not a valid JSON object.");
  EXPECT_EQ(refusalOf(R"({"accessors":[{"count":1,"type":"SCALAR"}]})", ModelFormat::gltf),
            "accessors[0]: The required key \"componentType\" is missing.");
  EXPECT_EQ(errorOfFile(FileURL("/nowhere/at all.glb"), ModelFormat::glb), "at all.glb could not be loaded as glTF.");
}

TEST(GLTFSceneLoader, RefusesASceneWithoutGeometry) {
  for (const char* text :
       {"{}", R"({"nodes":[{}]})", R"({"scene":0,"scenes":[{}],"nodes":[{"mesh":0}],"meshes":[{"primitives":[]}]})"}) {
    EXPECT_EQ(errorOf(text, ModelFormat::gltf), "model.gltf contains no renderable glTF scene.") << text;
  }
}

TEST(GLTFSceneLoader, RefusesRequiredExtensionsThatCannotBeShownBeforeAnythingElse) {
  const std::string text =
      R"({"extensionsRequired":["KHR_texture_basisu","X","KHR_draco_mesh_compression"],"nodes":7})";
  EXPECT_EQ(errorOf(text, ModelFormat::gltf),
            "Required glTF extensions are not available: KHR_draco_mesh_compression, KHR_texture_basisu.");
}

TEST(GLTFSceneLoader, LeavesUnknownRequiredExtensionsAndListsThatAreNoneAlone) {
  for (const char* required :
       {R"(["VENDOR_unknown"])", R"("KHR_draco_mesh_compression")", R"(["KHR_texture_basisu",1])"}) {
    File file = triangleFile();
    file.add("extensionsRequired", required);
    EXPECT_EQ(errorOf(file.glb()), "") << required;
  }
}

TEST(GLTFSceneLoader, WarnsOfExtensionsThatAreOnlyUsed) {
  File file = triangleFile();
  file.add("extensionsUsed", R"(["KHR_texture_basisu","KHR_materials_ior","KHR_draco_mesh_compression"])");
  const auto diagnostics = load(file.glb()).diagnostics;
  ASSERT_EQ(diagnostics.size(), 2U);
  EXPECT_EQ(diagnostics[0], (ModelLoadDiagnostic{.severity = ModelDiagnosticSeverity::warning,
                                                 .code = "gltf.extension-ignored",
                                                 .format = ModelFormat::glb,
                                                 .message = "Optional glTF extension 'KHR_draco_mesh_compression' is "
                                                            "not rendered.",
                                                 .resourcePath = "/nowhere/model.glb"}));
  EXPECT_EQ(diagnostics[1].message, "Optional glTF extension 'KHR_texture_basisu' is not rendered.");
}

TEST(GLTFSceneLoader, NotesAnimationsOnceHoweverManyThereAre) {
  File file = triangleFile();
  file.add("animations", R"([{"channels":7},{},{}])");
  EXPECT_THAT(load(file.glb()).diagnostics,
              ElementsAre(ModelLoadDiagnostic{.severity = ModelDiagnosticSeverity::info,
                                              .code = "gltf.animation-static-frame",
                                              .format = ModelFormat::glb,
                                              .message = "glTF animations were loaded as a static render frame.",
                                              .resourcePath = "/nowhere/model.glb"}));
  EXPECT_THAT(load(triangleFile().glb()).diagnostics, IsEmpty());
}

TEST(GLTFSceneLoader, ShowsThePlainFormOfAPrimitiveThatIsCompressedToo) {
  const std::string draco = R"(,"extensions":{"KHR_draco_mesh_compression":{"bufferView":0,"attributes":{}}})";
  File plain;
  plain.positions({0, 0, 0, 1, 0, 0, 0, 1, 0});
  plain.addMesh("\"POSITION\":0", draco);
  EXPECT_NE(drawnNode(rootOf(plain)), nullptr);
  File compressedOnly;
  compressedOnly.accessor(-1, floatingPoint, 3, "VEC3");
  compressedOnly.addMesh("\"POSITION\":0", draco);
  EXPECT_EQ(errorOf(compressedOnly.glb()), "model.glb contains no renderable glTF scene.");
}

TEST(GLTFSceneLoader, FindsGeometryAnywhereBelowANode) {
  const SCNNode::Pointer top = SCNNode::node();
  top->addChildNode(SCNNode::node());
  EXPECT_FALSE(GLTFSceneLoader::containsRenderableGeometry(*top));
  top->childNodes()[0]->addChildNode(SCNNode::nodeWithGeometry(SCNGeometry::geometryWithSources({}, {})));
  EXPECT_TRUE(GLTFSceneLoader::containsRenderableGeometry(*top));
  EXPECT_FALSE(GLTFSceneLoader::containsRenderableGeometry(*SCNNode::node()));
}

TEST(GLTFSceneLoader, NormalisesMaterialsWithoutTouchingContents) {
  const auto empty = SCNMaterial::material();
  empty->roughness.contents = std::monostate{};
  empty->metalness.contents = std::monostate{};
  const auto full = SCNMaterial::material();
  full->roughness.contents = std::string("/rough.png");
  full->metalness.contents = 0.25;
  const auto geometry = SCNGeometry::geometryWithSources({}, {});
  geometry->setMaterials({empty, full});
  const SCNNode::Pointer top = SCNNode::node();
  top->addChildNode(SCNNode::nodeWithGeometry(geometry));
  GLTFSceneLoader::normalizeMaterials(*top);
  for (const auto& material : {empty, full}) EXPECT_EQ(material->lightingModelName, SCNLightingModelPhysicallyBased);
  EXPECT_EQ(empty->roughness.contents, SCNMaterialContents(1.0));
  EXPECT_EQ(empty->metalness.contents, SCNMaterialContents(0.0));
  EXPECT_EQ(full->roughness.contents, SCNMaterialContents(std::string("/rough.png")));
  EXPECT_EQ(full->metalness.contents, SCNMaterialContents(0.25));
}

TEST(GLTFSceneLoader, KeepsUnlitMaterialsWithoutLight) {
  File file;
  file.positions({0, 0, 0, 1, 0, 0, 0, 1, 0});
  file.addMesh("\"POSITION\":0", ",\"material\":0");
  file.add("materials", R"([{"extensions":{"KHR_materials_unlit":{}}}])");
  EXPECT_EQ(drawnGeometry(rootOf(file)).firstMaterial()->lightingModelName, SCNLightingModelConstant);
  EXPECT_EQ(drawnGeometry(rootOf(triangleFile())).firstMaterial()->lightingModelName, SCNLightingModelPhysicallyBased);
}

// Resources.

TEST(GLTFSceneLoader, TakesBuffersFromTheImportRootOnly) {
  const TemporaryFolder folder;
  const File file = triangleFile();
  folder.makeDirectory("root/sub dir");
  folder.makeFile("outside.bin", file.binary());
  folder.makeFile("root/sub dir/a.bin", file.binary());
  folder.makeLink("root/link.bin", folder / "outside.bin");
  folder.makeLink("root/linked", folder.path());
  const FileURL root(folder / "root");
  const auto errorWith = [&](const std::string& uri) {
    return errorOfFile(FileURL(folder.makeFile("model.gltf", file.json(uri))), ModelFormat::gltf, {root});
  };
  EXPECT_EQ(errorWith("sub%20dir/a.bin"), "");
  EXPECT_EQ(errorWith("x/../sub%20dir/./a.bin"), "");
  for (const std::string uri : {"../outside.bin", "outside.bin", "link.bin", "linked/outside.bin", "sub%20dir",
                                "/etc/passwd", "file:///etc/passwd", "http://host/a.bin"}) {
    EXPECT_EQ(errorWith(uri), "model.gltf could not be loaded as glTF.") << uri;
  }
}

TEST(GLTFSceneLoader, TakesBuffersFromTheModelsFolderWithoutAnImportRoot) {
  const TemporaryFolder folder;
  folder.makeFile("a.bin", triangleFile().binary());
  EXPECT_EQ(errorOfFile(FileURL(folder.makeFile("m.gltf", triangleFile().json("a.bin"))), ModelFormat::gltf), "");
}

TEST(GLTFSceneLoader, RefusesBuffersThatAreShorterThanTheySay) {
  const File file = triangleFile();
  EXPECT_EQ(refusalOf(file.json("data:;base64,AAAA"), ModelFormat::gltf),
            "The buffer 0 is to have 36 bytes, but there are only 3.");
  EXPECT_EQ(refusalOf(container(chunk(jsonType, file.json()) + chunk(binaryType, "abcd"))),
            "The buffer 0 is to have 36 bytes, but there are only 4.");
  EXPECT_EQ(refusalOf(container(chunk(jsonType, file.json()))), "The buffer 0 has no data.");
  EXPECT_EQ(refusalOf(file.json(), ModelFormat::gltf), "The buffer 0 has no data.");
  EXPECT_THAT(refusalOf(file.json("data:;base64,A*=="), ModelFormat::gltf), HasSubstr("is malformed"));
}

TEST(GLTFSceneLoader, LetsNoBufferButTheFirstStandForTheChunk) {
  const std::string text = R"({"buffers":[{"byteLength":1,"uri":"none"},{"byteLength":36}],
      "bufferViews":[{"buffer":1,"byteLength":36}],
      "accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3"}],
      "meshes":[{"primitives":[{"attributes":{"POSITION":0}}]}],"nodes":[{"mesh":0}]})";
  EXPECT_EQ(refusalOf(container(chunk(jsonType, text) + chunk(binaryType, triangleFile().binary()))),
            "The buffer 1 has no data.");
}

TEST(GLTFSceneLoader, RefusesOtherVersionsOfTheFormat) {
  EXPECT_EQ(refusalOf(R"({"asset":{"version":"1.0"},"nodes":{}})", ModelFormat::gltf),
            "asset.version: The glTF version \"1.0\" cannot be read.");
  EXPECT_EQ(refusalOf(R"({"asset":{"version":"2.0","minVersion":"3.0"}})", ModelFormat::gltf),
            "asset.minVersion: The glTF version \"3.0\" cannot be read.");
  EXPECT_EQ(refusalOf(R"({"asset":{"version":"2.0","minVersion":"2.1"}})", ModelFormat::gltf),
            "asset.minVersion: The glTF version \"2.1\" cannot be read.");
  EXPECT_EQ(refusalOf(R"({"asset":{"version":"2"}})", ModelFormat::gltf),
            "asset.version: The glTF version \"2\" cannot be read.");
}

TEST(GLTFSceneLoader, TakesLaterVersionsThatDoNotNeedMore) {
  const std::string scene = triangleFile().gltf();
  for (const char* version : {R"("2.1")", R"("2.9","minVersion":"2.0")", R"("3.0","minVersion":"2.0")"}) {
    std::string changed = scene;
    changed.replace(changed.find(R"("2.0")"), 5, version);
    EXPECT_EQ(refusalOf(changed, ModelFormat::gltf), "") << version;
  }
}

}  // namespace
}  // namespace ornolith
