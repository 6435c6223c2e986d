// Loading files through the readers of their formats.

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "SceneControllerFixture.h"
#include "support/FailureOf.h"
#include "support/TemporaryFolder.h"

namespace ornolith {
namespace {

using scene_fixtures::instanceOf;
using scene_fixtures::SceneControllerFixture;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// Each of these files holds one triangle with the corners (0, 0, 0), (2, 0, 0) and (0, 4, 0).

const std::string objTriangle = "v 0 0 0\nv 2 0 0\nv 0 4 0\nf 1 2 3\n";
const std::string stlTriangle =
    "solid s\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 2 0 0\nvertex 0 4 0\nendloop\nendfacet\nendsolid\n";
const std::string plyTriangle =
    "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\nproperty float z\nelement face 1\n"
    "property list uchar int vertex_indices\nend_header\n0 0 0\n2 0 0\n0 4 0\n3 0 1 2\n";
const std::string inlineBuffer =
    "data:application/octet-stream;base64,AAAAAAAAAAAAAAAAAAAAQAAAAAAAAAAAAAAAAAAAgEAAAAAA";

/// `members` are further ones of the manifest, each followed by a comma.
std::string gltfTriangle(const std::string& bufferURI, const std::string& members = {}) {
  return "{" + members + R"("asset":{"version":"2.0"},"buffers":[{"byteLength":36,"uri":")" + bufferURI +
         R"("}],"bufferViews":[{"buffer":0,"byteLength":36}],
      "accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3","min":[0,0,0],"max":[2,4,0]}],
      "meshes":[{"primitives":[{"attributes":{"POSITION":0}}]}],"nodes":[{"mesh":0,"name":"Tri"}]})";
}

class SceneReaders : public SceneControllerFixture {
 protected:
  FileURL file(const std::string& name, const std::string& contents) const {
    std::filesystem::create_directories(std::filesystem::path(folder / name).parent_path());
    return FileURL(folder.makeFile(name, contents));
  }
  static std::vector<std::string> codesOf(const std::vector<ModelLoadDiagnostic>& diagnostics) {
    std::vector<std::string> codes;
    for (const ModelLoadDiagnostic& diagnostic : diagnostics) codes.push_back(diagnostic.code);
    return codes;
  }

  testsupport::TemporaryFolder folder;
};

TEST_F(SceneReaders, ReadEachFormatWithItsOwnAndFrameTheModel) {
  std::int64_t revision = 0;
  for (const auto& [format, contents] :
       {std::pair{ModelFormat::obj, objTriangle}, std::pair{ModelFormat::stl, stlTriangle},
        std::pair{ModelFormat::ply, plyTriangle}, std::pair{ModelFormat::gltf, gltfTriangle(inlineBuffer)}}) {
    SCOPED_TRACE(rawValue(format));
    controller.load(file("m." + std::string(rawValue(format)), contents), {}, format);
    expectDefaultTree();
    ASSERT_THAT(controller.modelEntries(), SizeIs(1));
    EXPECT_EQ(controller.selectedModelInstanceID.value(), controller.modelEntries().begin()->first);
    EXPECT_EQ(controller.modelEntries().begin()->second.fallbackAnimationPlayer, nullptr);
    EXPECT_THAT(controller.diagnostics.value(), IsEmpty());
    EXPECT_EQ(controller.modelInfo().meshCount, 1);
    EXPECT_EQ(controller.modelInfo().triangleCount, 1);
    EXPECT_EQ(controller.modelInfo().dimensions, (ModelDimensions{2, 4, 0}));
    EXPECT_EQ(controller.sceneGroupTransform().pivot, (simd_float3{1, 2, 0}));
    EXPECT_EQ(controller.cameraTarget(), (SCNVector3{1, 2, 0}));
    EXPECT_EQ(controller.cameraNode()->position(), (SCNVector3{1, 2 + 0.35 * 4, 2.4 * 4}));
    EXPECT_EQ(controller.cameraRevision, revision += 2) << "once for the instance and once for the load";
  }
}

TEST_F(SceneReaders, StampNodesOfGLTFAloneWithIdentities) {
  controller.load(file("m.gltf", gltfTriangle(inlineBuffer)), {}, ModelFormat::gltf);
  const std::vector<ModelPartDescriptor> parts = controller.modelEntries().begin()->second.parts.descriptors();
  ASSERT_THAT(parts, SizeIs(1));
  EXPECT_EQ(parts[0].sourceID.rawValue, "gltf:0");
  EXPECT_EQ(parts[0].name, "Tri");
  EXPECT_TRUE(parts[0].hasGeometry);
  controller.load(file("m.obj", "o Tri\n" + objTriangle), {}, ModelFormat::obj);
  EXPECT_THAT(controller.modelEntries().begin()->second.parts.descriptors(), IsEmpty());
}

TEST_F(SceneReaders, HaveTheirFindingsBetweenTheInstancesAndThoseOfItsParts) {
  ViewportModelInstance instance = instanceOf(
      ModelFormat::gltf,
      file("m.gltf", gltfTriangle(inlineBuffer, R"("extensionsUsed":["KHR_texture_basisu"],"animations":[{}],)"))
          .path());
  instance.diagnostics = {{ModelDiagnosticSeverity::warning, "resource.missing", ModelFormat::gltf, "m", "u"}};
  instance.partPresentationState.isolatedPartPath = ModelNodePath{{{ModelNodeSourceID{"gltf:9"}, "Gone"}}};
  const LoadedModelSummary summary = controller.addModelInstance(instance, true);
  EXPECT_THAT(codesOf(summary.diagnostics), ElementsAre("resource.missing", "gltf.extension-ignored",
                                                        "gltf.animation-static-frame", "parts.state-stale"));
  EXPECT_EQ(controller.diagnostics.value(), summary.diagnostics);
  EXPECT_EQ(controller.modelEntries().at(instance.id).diagnostics, summary.diagnostics);
  EXPECT_EQ(summary.modelInfo.animationCount, 0) << "nothing plays an animation of glTF";
}

TEST_F(SceneReaders, OfFBXLeaveTheirPlayerWithTheModel) {
  // The FBX library reads OBJ as well, whatever the file's name.
  const FileURL url = file("m.fbx", objTriangle);
  controller.load(url, {}, ModelFormat::fbx);
  EXPECT_EQ(controller.modelInfo().triangleCount, 1);
  const auto& player = controller.modelEntries().begin()->second.fallbackAnimationPlayer;
  ASSERT_NE(player, nullptr);
  EXPECT_EQ(player->modelURL(), url);
}

TEST_F(SceneReaders, FindARelativePathBelowTheRootOfTheFileSystem) {
  const std::string path = file("m.obj", objTriangle).path();
  controller.addModelInstance(instanceOf(ModelFormat::obj, path.substr(1)), true);
  EXPECT_EQ(controller.modelInfo().meshCount, 1);
}

TEST_F(SceneReaders, LookForResourcesInTheFoldersOfTheInstance) {
  file("assets/a.bin", std::string(36, '\0'));
  ViewportModelInstance instance = instanceOf(ModelFormat::gltf, file("model/m.gltf", gltfTriangle("a.bin")).path());
  EXPECT_EQ(failureOf([&] { controller.addModelInstance(instance, true); }), "m.gltf could not be loaded as glTF.");
  instance.assetDirectoryPaths = {(folder / "assets").substr(1)};
  controller.addModelInstance(instance, true);
  EXPECT_EQ(controller.modelInfo().meshCount, 1);

  const std::string text = "mtllib a.mtl\nusemtl red\n" + objTriangle;
  file("assets/a.mtl", "newmtl red\nKd 1 0 0\n");
  controller.load(file("model/m.obj", text), {FileURL(folder / "assets", true)}, ModelFormat::obj);
  SCNNode::Pointer drawn = controller.modelRootNodes()[0];
  while (!drawn->geometry) drawn = drawn->childNodes().at(0);
  EXPECT_EQ(std::get<NSColor>(drawn->geometry->firstMaterial()->diffuse.contents), (NSColor{1, 0, 0, 1}));
}

TEST_F(SceneReaders, HaveNoStandIns) {
  for (const auto& [format, text] : {std::pair{ModelFormat::gltf, "m.gltf could not be loaded as glTF."},
                                     std::pair{ModelFormat::glb, "m.glb could not be loaded as glTF."},
                                     std::pair{ModelFormat::obj, "The OBJ file holds nothing that can be drawn."},
                                     std::pair{ModelFormat::dae, "This build cannot read DAE files."},
                                     std::pair{ModelFormat::usdz, "This build cannot read USDZ files."},
                                     std::pair{ModelFormat::fbx, "This build cannot read FBX files."}}) {
    const FileURL url = file("m." + std::string(rawValue(format)), "This is no model.");
    EXPECT_EQ(failureOf([&, format = format] { controller.load(url, {}, format); }), text);
    EXPECT_THAT(controller.modelEntries(), IsEmpty());
  }
}

}  // namespace
}  // namespace ornolith
