#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "SceneFixtures.h"
#include "parts/ExplicitPoseRuntimeError.h"
#include "scene/ExplicitPoses.h"
#include "support/FailureOf.h"

namespace ornolith {
namespace {

using scene_fixtures::addNode;
using scene_fixtures::loadResult;
using scene_fixtures::unitCube;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string hash = std::string(32, 'a') + std::string(32, '9');
const std::string hashText = "The model SHA-256 must contain exactly 64 lowercase hexadecimal characters.";
const std::string deformingText =
    "Explicit part poses are unavailable because the model contains animation, skinning, morphing, or deformation.";

SCNMatrix4 shearedMatrix() {
  SCNMatrix4 matrix;
  matrix.columns[1].x = 0.001;
  return matrix;
}

/// Base (fbx:1) > Arm (fbx:2) > Hand (fbx:3), all of one authored hierarchy; Arm is one above.
class ExplicitPoses : public testing::Test {
 protected:
  SceneController controller;
  std::shared_ptr<SCNScene> loaded = SCNScene::scene();
  SCNNode::Pointer base = addPart(loaded->rootNode(), "fbx:1", "Base", unitCube());
  SCNNode::Pointer arm = addPart(base, "fbx:2", "Arm", nullptr, {0, 1, 0});
  SCNNode::Pointer hand = addPart(arm, "fbx:3", "Hand", unitCube());
  FbxFallbackLoadResult result = loadResult(loaded);

  static SCNNode::Pointer addPart(const SCNNode::Pointer& parent, const std::string& id, const std::string& name,
                                  std::shared_ptr<SCNGeometry> geometry = nullptr, SCNVector3 position = {}) {
    const auto node = addNode(parent, std::move(geometry), position);
    scene_fixtures::stamp(*node, id, name);
    setFlag(*node, ornolithUsesAuthoredHierarchyKey, true);
    return node;
  }
  static void setFlag(SCNNode& node, std::string_view key, bool value) {
    (*node.ornolithMetadata)[std::string(key)] = value;
  }
  void load() { controller.loadFbxFallback(result, FileURL("/tmp/model.fbx"), {}); }
  void loadSecondModel() {
    ViewportModelInstance instance;
    instance.id = UUID::random();
    controller.addModelInstance(instance, loadResult(scene_fixtures::cubeScene()), false);
  }

  static ExplicitModelPose pose(const std::string& id, const std::string& selector = {},
                                const std::string& axes = "x=1") {
    ExplicitModelPose made{.id = id, .label = std::nullopt, .rotations = {}};
    if (!selector.empty()) {
      made.rotations.push_back(
          {.selector = ModelPartSelector::parsing(selector), .localDegrees = LocalRotationDegrees::fromAxisSpec(axes)});
    }
    return made;
  }
  ListedModelPartsDocument listed() const { return listedModelParts(controller, hash, ModelFormat::fbx); }
  std::vector<std::string> blockReasons() const {
    std::vector<std::string> reasons;
    for (const ListedModelPart& part : listed().parts) {
      EXPECT_EQ(part.isRotatable, !part.rotationBlockReason);
      reasons.push_back(part.rotationBlockReason.value_or("rotatable"));
    }
    return reasons;
  }
  std::string listingFailure(const std::string& modelHash, ModelFormat format) const {
    return failureOf([&] { listedModelParts(controller, modelHash, format); });
  }
  std::string poseFailure(const std::vector<ExplicitModelPose>& poses, ModelFormat format = ModelFormat::fbx) const {
    return failureOf([&] { makeExplicitPoseRuntime(controller, poses, format); });
  }
};

// The inventory.

TEST_F(ExplicitPoses, ListingChecksTheFormatThenTheHashThenTheModel) {
  EXPECT_EQ(listingFailure("", ModelFormat::gltf),
            "Explicit part poses require a hierarchy-preserving FBX or GLB model; got GLTF.");
  EXPECT_EQ(listingFailure("", ModelFormat::fbx), hashText);
  EXPECT_EQ(listingFailure(hash, ModelFormat::fbx), "No model is loaded.");
  load();
  loadSecondModel();
  EXPECT_EQ(listingFailure(hash, ModelFormat::glb), "Explicit part poses require exactly one loaded model.");
}

TEST_F(ExplicitPoses, ListingTakesFBXAndGLBAlone) {
  load();
  for (const auto& [format, text] : rawValueTable<ModelFormat>) {
    const bool isPosable = format == ModelFormat::fbx || format == ModelFormat::glb;
    EXPECT_EQ(listingFailure(hash, format) == "nothing was thrown", isPosable) << text;
    EXPECT_EQ(poseFailure({pose("p")}, format) == "nothing was thrown", isPosable) << text;
  }
  EXPECT_EQ(listedModelParts(controller, hash, ModelFormat::glb).format, ModelFormat::glb);
}

TEST_F(ExplicitPoses, ListingTakesOnlyALowerCaseHash) {
  load();
  for (const std::string& bad : {std::string(), hash.substr(1), hash + "a", "A" + hash.substr(1), "g" + hash.substr(1),
                                 " " + hash.substr(1), std::string(64, '\0')}) {
    EXPECT_EQ(listingFailure(bad, ModelFormat::fbx), hashText) << bad;
  }
  EXPECT_EQ(listed().modelSHA256, hash);
}

TEST_F(ExplicitPoses, ListsEveryPartWithItsPlaceAndTransform) {
  load();
  const ListedModelPartsDocument document = listed();
  EXPECT_EQ(document.schema, "ornolabs.ornolith-render.parts");
  EXPECT_EQ(document.version, 1);
  ASSERT_EQ(document.parts.size(), 3U);
  const ListedModelPart& top = document.parts[0];
  const ListedModelPart& middle = document.parts[1];
  const ListedModelPart& end = document.parts[2];
  EXPECT_EQ(top.originalName, "Base");
  EXPECT_EQ(top.sourceID, "fbx:1");
  EXPECT_EQ(top.selector.canonicalString(), "path:fbx:1");
  EXPECT_EQ(top.parent, std::nullopt);
  EXPECT_TRUE(top.hasGeometry);
  EXPECT_TRUE(top.hasChildren);
  EXPECT_EQ(middle.selector.canonicalString(), "path:fbx:1/fbx:2");
  EXPECT_EQ(middle.parent, top.selector);
  EXPECT_FALSE(middle.hasGeometry) << "the geometry below it belongs to a part of its own";
  EXPECT_EQ(middle.localTransform.translation, (ListedModelVector3{0, 1, 0}));
  EXPECT_EQ(middle.localTransform.rotation, (ListedModelQuaternion{0, 0, 0, 1}));
  EXPECT_EQ(middle.localTransform.scale, (ListedModelVector3{1, 1, 1}));
  EXPECT_EQ((*middle.localTransform.columnMajorMatrix)[13], 1.0);
  EXPECT_EQ(end.parent, middle.selector);
  EXPECT_FALSE(end.hasChildren);
  EXPECT_THAT(blockReasons(), Each("rotatable"));
}

TEST_F(ExplicitPoses, ListsAnEmptyModel) {
  result = loadResult(SCNScene::scene());
  addNode(result.scene->rootNode(), unitCube());
  load();
  const ListedModelPartsDocument document = listed();
  EXPECT_THAT(document.parts, IsEmpty());
  EXPECT_EQ(document.modelSHA256, hash);
  EXPECT_EQ(poseFailure({pose("p")}), "nothing was thrown") << "a model without parts is not unfit";
}

TEST_F(ExplicitPoses, ListsTheParentOfAPartBelowANodeThatMayNotBeAddressed) {
  setFlag(*arm, ornolithIsNonAddressableNodeKey, true);
  load();
  const ListedModelPartsDocument document = listed();
  ASSERT_EQ(document.parts.size(), 2U);
  EXPECT_EQ(document.parts[1].originalName, "Hand");
  EXPECT_EQ(document.parts[1].parent->canonicalString(), "path:fbx:1/fbx:2");
  EXPECT_TRUE(document.parts[0].hasChildren);
}

TEST_F(ExplicitPoses, ListsAShearedPartWithItsMatrixAlone) {
  arm->setTransform(shearedMatrix());
  load();
  const ListedModelLocalTransform transform = listed().parts[1].localTransform;
  EXPECT_TRUE(transform.columnMajorMatrix);
  EXPECT_FALSE(transform.translation || transform.rotation || transform.scale);
  EXPECT_THAT(blockReasons(), Each("unsafe-local-transform:path:fbx:1/fbx:2"));
}

TEST_F(ExplicitPoses, ListsAPartThatIsNotFiniteWithoutNumbers) {
  SCNMatrix4 matrix;
  matrix.columns[3].x = std::numeric_limits<double>::infinity();
  hand->setTransform(matrix);
  load();
  const ListedModelLocalTransform transform = listed().parts[2].localTransform;
  EXPECT_FALSE(transform.columnMajorMatrix || transform.translation || transform.rotation || transform.scale);
  EXPECT_THAT(blockReasons(), Each("unsafe-local-transform:path:fbx:1/fbx:2/fbx:3"));
  EXPECT_THAT(listed().canonicalJSONData(), HasSubstr("\"column_major_matrix\" : null"));
}

TEST_F(ExplicitPoses, BlockReasonPutsTheHierarchyBeforeTransforms) {
  base->setTransform(shearedMatrix());
  arm->setTransform(shearedMatrix());
  load();
  EXPECT_THAT(blockReasons(), Each("unsafe-local-transform:path:fbx:1"));
  setFlag(*hand, ornolithUsesAuthoredHierarchyKey, false);
  EXPECT_THAT(blockReasons(), Each("authored-hierarchy-unavailable:path:fbx:1/fbx:2/fbx:3"));
  setFlag(*arm, ornolithUsesAuthoredHierarchyKey, false);
  EXPECT_THAT(blockReasons(), Each("authored-hierarchy-unavailable:path:fbx:1/fbx:2"));
  hand->morpher = std::make_shared<SCNMorpher>();
  EXPECT_THAT(blockReasons(), Each("model-has-animation-or-deformation"));
}

TEST_F(ExplicitPoses, BlockReasonIsBlindToNodesThatMayNotBeAddressed) {
  hand->setTransform(shearedMatrix());
  setFlag(*hand, ornolithIsNonAddressableNodeKey, true);
  load();
  EXPECT_THAT(blockReasons(), ElementsAre("rotatable", "rotatable"));
  EXPECT_EQ(poseFailure({pose("p", "Arm")}), "nothing was thrown");
}

class DeformingModel : public ExplicitPoses, public testing::WithParamInterface<std::string> {
 protected:
  DeformingModel() {
    const std::string kind = GetParam();
    if (kind == "skeleton") result.skeletonCount = 1;
    if (kind == "bone") result.boneCount = 1;
    if (kind == "animation") result.animations.emplace_back();
    if (kind == "skinner") hand->skinner = std::make_shared<SCNSkinner>();
    if (kind == "morpher") hand->morpher = std::make_shared<SCNMorpher>();
  }
};

TEST_P(DeformingModel, IsListedButNotPosed) {
  arm->setTransform(shearedMatrix());
  load();
  EXPECT_THAT(blockReasons(), Each("model-has-animation-or-deformation"));
  EXPECT_EQ(poseFailure({pose("p")}), deformingText);
}

INSTANTIATE_TEST_SUITE_P(Kinds, DeformingModel, testing::Values("skeleton", "bone", "animation", "skinner", "morpher"));

// The pose runtime.

TEST_F(ExplicitPoses, PosingChecksTheFormatThenThePosesThenTheModel) {
  EXPECT_EQ(poseFailure({}, ModelFormat::gltf),
            "Explicit part poses require a hierarchy-preserving FBX or GLB model; got GLTF.");
  EXPECT_EQ(poseFailure({pose("same"), pose("same")}), "Pose id 'same' is duplicated.");
  EXPECT_EQ(poseFailure({}), "A pose document must contain at least one explicit pose.");
  EXPECT_EQ(poseFailure({pose("p", "Nobody")}), "No model is loaded.");
  load();
  loadSecondModel();
  EXPECT_EQ(poseFailure({pose("p", "Nobody")}), "Explicit part poses require exactly one loaded model.");
}

TEST_F(ExplicitPoses, PosingChecksDeformationThenEveryPartInOrderThenTheSelectors) {
  const std::vector poses = {pose("p", "Nobody")};
  setFlag(*hand, ornolithUsesAuthoredHierarchyKey, false);
  arm->setTransform(shearedMatrix());
  base->morpher = std::make_shared<SCNMorpher>();
  load();
  EXPECT_EQ(poseFailure(poses), deformingText);
  base->morpher = nullptr;
  EXPECT_EQ(poseFailure(poses),
            "Part 'path:fbx:1/fbx:2' has a non-finite, non-affine, sheared, or otherwise unsafe local transform.");
  setFlag(*arm, ornolithUsesAuthoredHierarchyKey, false);
  EXPECT_EQ(poseFailure(poses), "Part 'path:fbx:1/fbx:2' does not belong to a hierarchy-preserving FBX or GLB import.");
  setFlag(*arm, ornolithUsesAuthoredHierarchyKey, true);
  arm->setTransform({});
  EXPECT_EQ(poseFailure(poses),
            "Part 'path:fbx:1/fbx:2/fbx:3' does not belong to a hierarchy-preserving FBX or GLB import.");
  setFlag(*hand, ornolithUsesAuthoredHierarchyKey, true);
  EXPECT_EQ(poseFailure(poses),
            "Part selector 'name:Nobody' did not match an addressable logical node. Run --list-parts and use a listed "
            "selector.");
}

TEST_F(ExplicitPoses, PosingFailsAtTheFirstFaultOfThePosesInOrder) {
  addPart(base, "fbx:4", "Arm");
  load();
  ExplicitModelPose both = pose("both", "Hand");
  both.rotations.push_back(
      {.selector = ModelPartSelector::parsing("id:fbx:3"), .localDegrees = LocalRotationDegrees::fromAxisSpec("y=1")});
  EXPECT_EQ(poseFailure({both, pose("p", "Nobody")}),
            "Pose 'both' resolves more than one rotation to 'path:fbx:1/fbx:2/fbx:3'. Specify each node only once per "
            "pose.");
  EXPECT_EQ(poseFailure({pose("p", "Arm"), both}),
            "Part name 'Arm' is ambiguous. Use one of these canonical paths: path:fbx:1/fbx:2, path:fbx:1/fbx:4.");
}

TEST_F(ExplicitPoses, PosingFindsAPartByNameIdentityAndPathAndChangesNothingYet) {
  load();
  const SCNMatrix4 rest = arm->transform();
  const std::vector poses = {pose("a", "Arm", "x=90"), pose("b", "id:fbx:2", "x=90"),
                             pose("c", "path:fbx:1/fbx:2", "x=90")};
  const ExplicitPoseRuntime runtime = makeExplicitPoseRuntime(controller, poses, ModelFormat::fbx);
  ASSERT_EQ(runtime.baseStates().size(), 1U);
  EXPECT_EQ(runtime.baseStates()[0].node, arm);
  EXPECT_EQ(runtime.resolvedPoses().size(), 3U);
  EXPECT_EQ(arm->transform(), rest);
  runtime.apply(2);
  EXPECT_NE(arm->transform(), rest);
  runtime.restoreRestPose();
  EXPECT_EQ(arm->transform(), rest);
}

}  // namespace
}  // namespace ornolith
