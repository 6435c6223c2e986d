#include <gmock/gmock.h>
#include <ufbx.h>

#include <string>

#include "loaders/fbx/FbxHierarchy.h"
#include "loaders/fbx/FbxText.h"
#include "loaders_fbx/FbxTestSupport.h"

namespace ornolith::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr const char* flatShapeMessage =
    "FBX authored hierarchy is not exposed for rigid articulation because the file contains animation, skinning, morph "
    "targets, or cached deformation.";

std::string identityOf(const SCNNode& node) {
  return metadataString(ornolithSourceNodeIDKey, node).value_or("none");
}

/// base (mesh) with arm (mesh) below it, and a stand (mesh) beside it.
FbxScript lamp() {
  FbxScript script;
  const auto base = script.model("Base", "Mesh");
  const auto arm = script.model("Arm", "Mesh", "P: \"Lcl Translation\", \"Lcl Translation\", \"\", \"A\",0,2,0\n");
  const auto stand = script.model("Stand", "Mesh");
  script.connect(base, FbxScript::root);
  script.connect(stand, FbxScript::root);
  script.connect(arm, base);
  for (const auto node : {base, arm, stand}) script.connect(script.geometry(FbxMesh::triangle()), node);
  return script;
}

TEST(FbxHierarchy, StaticModelKeepsTheTreeOfTheFile) {
  const auto result = load(lamp());
  const SCNNode::Pointer root = result.scene->rootNode();
  ASSERT_EQ(root->childCount(), 2u);
  EXPECT_EQ(root->childNodes()[0]->name(), "Base");
  EXPECT_EQ(root->childNodes()[1]->name(), "Stand");
  ASSERT_EQ(root->childNodes()[0]->childCount(), 1u);
  const SCNNode::Pointer arm = root->childNodes()[0]->childNodes()[0];
  EXPECT_EQ(arm->name(), "Arm");
  EXPECT_EQ(arm->position(), (SCNVector3{0, 2, 0}));
  for (const SCNNode::Pointer& node : meshNodes(result)) {
    EXPECT_TRUE(metadataBool(ornolithUsesAuthoredHierarchyKey, *node));
    EXPECT_THAT(identityOf(*node), StartsWith("fbx:"));
    EXPECT_FALSE(metadataBool(ornolithIsSyntheticPrimitiveKey, *node));
    EXPECT_FALSE(metadataBool(ornolithIsNonAddressableNodeKey, *node));
    EXPECT_EQ(node->ornolithMetadata->size(), 5u);
  }
  EXPECT_THAT(result.diagnostics, IsEmpty());
  EXPECT_THAT(result.animations, IsEmpty());
  EXPECT_EQ(result.skeletonCount, 0u);
  EXPECT_EQ(result.boneCount, 0u);
  EXPECT_NE(result.animationPlayer, nullptr);
}

TEST(FbxHierarchy, OneAnimationCurveMakesTheModelFlat) {
  FbxScript script;
  const auto base = script.model("Base", "Mesh", "P: \"Lcl Translation\", \"Lcl Translation\", \"\", \"A\",0,2,0\n");
  const auto arm = script.model("Arm", "Mesh", "P: \"Lcl Translation\", \"Lcl Translation\", \"\", \"A\",0,3,0\n");
  script.connect(base, FbxScript::root);
  script.connect(arm, base);
  for (const auto node : {base, arm}) script.connect(script.geometry(FbxMesh::triangle()), node);
  script.animate(base);
  const auto result = load(script);
  EXPECT_THAT(result.diagnostics, ElementsAre(flatShapeMessage));
  const SCNNode::Pointer root = result.scene->rootNode();
  ASSERT_EQ(root->childCount(), 2u);
  const SCNNode::Pointer second = root->childNodes()[1];
  const std::string number = identityOf(*second).substr(4);
  EXPECT_EQ(second->name(), "__fbx_" + number + "__Arm");
  EXPECT_EQ(second->transform(), SCNMatrix4());
  EXPECT_FALSE(metadataBool(ornolithUsesAuthoredHierarchyKey, *second));
  EXPECT_EQ(metadataString(ornolithSourceNodeNameKey, *second), "Arm");
  // The vertices are in world space.
  EXPECT_EQ(second->geometry->boundingBox().minimum, (SCNVector3{0, 5, 0}));
}

TEST(FbxHierarchy, EqualNamesStayEqualInTheTreeAndDifferInTheFlatList) {
  FbxScript script;
  const auto first = script.model("Wheel", "Mesh");
  const auto second = script.model("Wheel", "Mesh");
  for (const auto node : {first, second}) {
    script.connect(node, FbxScript::root);
    script.connect(script.geometry(FbxMesh::triangle()), node);
  }
  const auto authored = meshNodes(load(script));
  ASSERT_EQ(authored.size(), 2u);
  EXPECT_EQ(authored[0]->name(), authored[1]->name());
  EXPECT_NE(identityOf(*authored[0]), identityOf(*authored[1]));

  script.animate(first);
  const auto flat = meshNodes(load(script));
  ASSERT_EQ(flat.size(), 2u);
  EXPECT_NE(flat[0]->name(), flat[1]->name());
}

TEST(FbxHierarchy, NamelessNodesTakeTheNameOfTheirMeshOrTheirNumber) {
  FbxScript script;
  const auto withMeshName = script.model("", "Mesh");
  const auto nameless = script.model("", "Mesh");
  script.connect(withMeshName, FbxScript::root);
  script.connect(nameless, FbxScript::root);
  script.connect(script.geometry(FbxMesh::triangle(), "Hull"), withMeshName);
  script.connect(script.geometry(FbxMesh::triangle()), nameless);
  const auto authored = meshNodes(load(script));
  ASSERT_EQ(authored.size(), 2u);
  EXPECT_EQ(authored[0]->name(), "Hull");
  EXPECT_EQ(authored[1]->name(), "Node " + identityOf(*authored[1]).substr(4));
  EXPECT_EQ(metadataString(ornolithSourceNodeNameKey, *authored[0]), "");

  script.animate(nameless);
  const auto flat = meshNodes(load(script));
  EXPECT_EQ(flat[0]->name(), "__fbx_" + identityOf(*flat[0]).substr(4) + "__Hull");
  EXPECT_EQ(flat[1]->name(), "__fbx_" + identityOf(*flat[1]).substr(4) + "__Mesh");
}

TEST(FbxHierarchy, CamerasAndLightsMayNotBeAddressed) {
  FbxScript script = lamp();
  const auto camera = script.model("Eye", "Camera");
  const auto light = script.model("Sun", "Light");
  const auto empty = script.model("Handle", "Null");
  for (const auto node : {camera, light, empty}) script.connect(node, FbxScript::root);
  script.connect(script.attribute("Camera"), camera);
  script.connect(script.attribute("Light"), light);
  const auto result = load(script);
  const SCNNode::Pointer root = result.scene->rootNode();
  EXPECT_TRUE(metadataBool(ornolithIsNonAddressableNodeKey, *childNamed(root, "Eye")));
  EXPECT_TRUE(metadataBool(ornolithIsNonAddressableNodeKey, *childNamed(root, "Sun")));
  EXPECT_FALSE(metadataBool(ornolithIsNonAddressableNodeKey, *childNamed(root, "Handle")));
}

TEST(FbxHierarchy, HiddenNodesAreHiddenInTheTreeAndDrawnInTheFlatList) {
  FbxScript script;
  const auto shown = script.model("Shown", "Mesh");
  const auto hidden = script.model("Hidden", "Mesh", "P: \"Visibility\", \"Visibility\", \"\", \"A\",0\n");
  const auto percent = script.model("Percent", "Mesh", "P: \"Visibility\", \"Visibility\", \"\", \"A\",0.5\n");
  for (const auto node : {shown, hidden, percent}) {
    script.connect(node, FbxScript::root);
    script.connect(script.geometry(FbxMesh::triangle()), node);
  }
  const auto result = load(script);
  const SCNNode::Pointer root = result.scene->rootNode();
  EXPECT_FALSE(childNamed(root, "Shown")->isHidden);
  EXPECT_TRUE(childNamed(root, "Hidden")->isHidden);
  EXPECT_FALSE(childNamed(root, "Percent")->isHidden) << "a visibility that is not zero as a real number shows";

  script.animate(shown);
  const auto flat = meshNodes(load(script));
  ASSERT_EQ(flat.size(), 3u);
  for (const SCNNode::Pointer& node : flat) EXPECT_FALSE(node->isHidden);
}

TEST(FbxHierarchy, ZUpFilesStandUpright) {
  FbxScript script = lamp();
  script.upAxis = 2;
  const auto result = load(script);
  const SCNNode::Pointer base = childNamed(result.scene->rootNode(), "Base");
  const SCNNode::Pointer arm = childNamed(base, "Arm");
  // (0, 2, 0) in the file lies to the back in a scene with y up.
  const SCNVector3 place = arm->worldPosition();
  EXPECT_NEAR(place.x, 0, 1e-12);
  EXPECT_NEAR(place.y, 0, 1e-12);
  EXPECT_NEAR(place.z, -2, 1e-12);
}

TEST(FbxHierarchy, TheFirstLevelTakesOverTheConversionOfTheRoot) {
  FbxScript script = lamp();
  script.upAxis = 2;
  const auto result = load(script);
  const ufbx_scene& scene = result.animationPlayer->scene();
  const ufbx_node& base = *scene.root_node->children[0];
  const ufbx_matrix expected = ufbx_matrix_mul(&scene.root_node->node_to_world, &base.node_to_parent);
  EXPECT_EQ(result.scene->rootNode()->childNodes()[0]->transform(), matrixForUfbxMatrix(expected));
}

TEST(FbxHierarchy, HelperNodesOfTheLibraryHaveNoIdentity) {
  ufbx_node helper{};
  helper.is_scale_helper = true;
  const SCNNode::Pointer node = SCNNode::node();
  ConfigureSourceMetadata(*node, helper, true);
  EXPECT_FALSE(node->ornolithMetadata.has_value());
  helper.is_scale_helper = false;
  helper.is_geometry_transform_helper = true;
  ConfigureSourceMetadata(*node, helper, true);
  EXPECT_FALSE(node->ornolithMetadata.has_value());
}

TEST(FbxHierarchy, AHundredThousandLevelsLoad) {
  FbxScript script;
  auto parent = FbxScript::root;
  for (int level = 0; level < 100'000; ++level) {
    const auto node = script.model("N", "Null");
    script.connect(node, parent);
    parent = node;
  }
  const auto leaf = script.model("Leaf", "Mesh");
  script.connect(leaf, parent);
  script.connect(script.geometry(FbxMesh::triangle()), leaf);
  const auto result = load(script);
  std::size_t count = 0;
  result.scene->rootNode()->enumerateChildNodes([&count](SCNNode&) { ++count; });
  EXPECT_EQ(count, 100'001u);
}

TEST(FbxHierarchy, OnlyCamerasAndEmptiesIsAnError) {
  FbxScript script;
  const auto camera = script.model("Eye", "Camera");
  script.connect(camera, FbxScript::root);
  script.connect(script.attribute("Camera"), camera);
  script.connect(script.model("Handle", "Null"), FbxScript::root);
  try {
    load(script);
    FAIL() << "loaded a file without a mesh";
  } catch (const FbxLoadError& error) {
    EXPECT_EQ(error.code(), 2);
    EXPECT_EQ(error.errorDescription(), "FBX wurde gelesen, enthaelt aber keine darstellbare Mesh-Geometrie.");
    EXPECT_STREQ(FbxLoadError::domain, "FbxFallbackSceneLoader");
  }
}

TEST(FbxHierarchy, AFileWithNothingInItIsAnError) {
  EXPECT_THROW(load(FbxScript()), FbxLoadError);
}

TEST(FbxHierarchy, AMissingFileIsReportedInTheWordsOfTheLibrary) {
  const TemporaryFolder folder;
  const FileURL url(folder.path() + "/none.fbx");
  try {
    FbxFallbackSceneLoader::loadSceneAtURL(url, {});
    FAIL() << "loaded a file that is not there";
  } catch (const FbxLoadError& error) {
    EXPECT_EQ(error.code(), 1);
    EXPECT_EQ(error.errorDescription(), "ufbx v0.22.0 error: File not found (" + url.path() + ")\n");
  }
}

TEST(FbxAnimations, AStackWithoutANameIsCalledByItsPlace) {
  FbxScript script = lamp();
  script.animationStack("");
  script.animationStack("Take");
  const auto result = load(script);
  ASSERT_EQ(result.animations.size(), 2u);
  EXPECT_EQ(result.animations[0].name, "Animation 1");
  EXPECT_EQ(result.animations[0].id, "0-Animation 1");
  EXPECT_EQ(result.animations[1].name, "Take");
  EXPECT_EQ(result.animations[1].id, "1-Take");
}

TEST(FbxAnimations, TimesAreSecondsAndDurationsNeverNegative) {
  FbxScript script = lamp();
  // One second is 46,186,158,000 ticks.
  script.animationStack("Forward",
                        "P: \"LocalStart\", \"KTime\", \"Time\", \"\",46186158000\n"
                        "P: \"LocalStop\", \"KTime\", \"Time\", \"\",138558474000\n");
  script.animationStack("Backward",
                        "P: \"LocalStart\", \"KTime\", \"Time\", \"\",138558474000\n"
                        "P: \"LocalStop\", \"KTime\", \"Time\", \"\",46186158000\n");
  const auto result = load(script);
  ASSERT_EQ(result.animations.size(), 2u);
  EXPECT_EQ(result.animations[0].startTime, 1);
  EXPECT_EQ(result.animations[0].endTime, 3);
  EXPECT_EQ(result.animations[0].duration, 2);
  EXPECT_EQ(result.animations[1].startTime, 3);
  EXPECT_EQ(result.animations[1].endTime, 1);
  EXPECT_EQ(result.animations[1].duration, 0);
}

TEST(FbxAnimations, TheFrameRateIsThatOfTheFileWhereItHasOne) {
  FbxScript script = lamp();
  script.animationStack("Take");
  script.settings = "P: \"TimeMode\", \"enum\", \"\", \"\",3\n";
  EXPECT_EQ(load(script).animations.at(0).framesPerSecond, 60);
  script.settings =
      "P: \"TimeMode\", \"enum\", \"\", \"\",14\nP: \"CustomFrameRate\", \"double\", \"Number\", \"\",0\n";
  const auto rateless = load(script);
  EXPECT_EQ(rateless.animationPlayer->scene().settings.frames_per_second, 0);
  EXPECT_EQ(rateless.animations.at(0).framesPerSecond, std::nullopt);
}

TEST(FbxAnimations, SkeletonsAndBonesAreCounted) {
  const auto result =
      FbxFallbackSceneLoader::loadSceneAtURL(FileURL(std::string(ORNOLITH_SOURCE_DIR) + "/examples/skinned.fbx"), {});
  const ufbx_scene& scene = result.animationPlayer->scene();
  EXPECT_EQ(result.skeletonCount, 1u);
  EXPECT_EQ(scene.bones.count, 3u);
  // Bone elements and the nodes that clusters name are different elements of the file.
  EXPECT_EQ(result.boneCount, 6u);
  EXPECT_THAT(result.diagnostics, ElementsAre(flatShapeMessage));
}

TEST(FbxText, NoTextWhereThereIsNone) {
  EXPECT_EQ(StringFromUfbx(nullptr, 3), std::nullopt);
  EXPECT_EQ(StringFromUfbx("abc", 0), std::nullopt);
  EXPECT_EQ(StringFromUfbx("\xC3\x28", 2), std::nullopt);
  EXPECT_EQ(StringFromUfbx("R\xC3\xA4"
                           "der",
                           6),
            "R\xC3\xA4"
            "der");
}

}  // namespace
}  // namespace ornolith::test
