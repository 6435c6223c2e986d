#include <gtest/gtest.h>

#include <cmath>

#include "parts/ExplicitPoseRuntime.h"
#include "parts/ExplicitPoseRuntimeError.h"
#include "scenegraph/NodeMetadata.h"

namespace ornolith {
namespace {

SCNNode::Pointer authored(const std::string& id, const std::string& name, const SCNNode::Pointer& parent) {
  auto node = SCNNode::node();
  node->setName(name);
  node->ornolithMetadata = MetadataDictionary{{std::string(ornolithSourceNodeIDKey), id},
                                              {std::string(ornolithSourceNodeNameKey), name},
                                              {std::string(ornolithUsesAuthoredHierarchyKey), true}};
  parent->addChildNode(node);
  return node;
}

/// A model of four parts: base (fbx:1) > arm (fbx:2) > hand (fbx:3), and a second "arm" (fbx:4) at the top.
class PosedModel : public testing::Test {
 protected:
  SCNNode::Pointer container = SCNNode::node();
  SCNNode::Pointer base = authored("fbx:1", "base", container);
  SCNNode::Pointer arm = authored("fbx:2", "arm", base);
  SCNNode::Pointer hand = authored("fbx:3", "hand", arm);

  std::vector<AddressableLogicalPart> parts() const {
    return addressableLogicalParts(makePartRuntime(*container, PartPresentationState{}));
  }

  static ExplicitModelPose pose(const std::string& id,
                                const std::vector<std::pair<std::string, std::string>>& rotations) {
    ExplicitModelPose result{.id = id, .label = std::nullopt, .rotations = {}};
    for (const auto& [selector, axes] : rotations) {
      result.rotations.push_back(
          {.selector = ModelPartSelector::parsing(selector), .localDegrees = LocalRotationDegrees::fromAxisSpec(axes)});
    }
    return result;
  }

  std::string failure(const std::vector<ExplicitModelPose>& poses) const {
    try {
      const ExplicitPoseRuntime runtime(poses, parts());
    } catch (const ExplicitPoseRuntimeError& error) {
      return error.errorDescription();
    }
    return "no failure";
  }
};

TEST_F(PosedModel, ReturnsToRestForAnEmptyPose) {
  const SCNMatrix4 rest = arm->transform();
  const std::vector poses = {pose("turned", {{"arm", "x=30"}}), pose("rest", {})};
  const ExplicitPoseRuntime runtime(poses, parts());
  runtime.apply(0);
  EXPECT_NE(arm->transform(), rest);
  runtime.apply(1);
  EXPECT_EQ(arm->transform(), rest);
}

TEST_F(PosedModel, MakesPosesIndependentOfTheirOrder) {
  const std::vector poses = {pose("0", {}), pose("1", {{"arm", "x=30,z=4"}}), pose("2", {{"hand", "y=5"}}),
                             pose("3", {{"arm", "y=70"}, {"base", "z=9"}})};
  const ExplicitPoseRuntime runtime(poses, parts());
  runtime.apply(1);
  const SCNMatrix4 expected[] = {base->transform(), arm->transform(), hand->transform()};
  runtime.apply(3);
  runtime.apply(1);
  EXPECT_EQ(base->transform(), expected[0]);
  EXPECT_EQ(arm->transform(), expected[1]);
  EXPECT_EQ(hand->transform(), expected[2]);
}

TEST_F(PosedModel, LeavesTheLoadedMatrixForFullTurns) {
  arm->setEulerAngles({0.1, 0.2, 0.3});
  arm->setPosition({1.0 / 3.0, 2, 3});
  const SCNMatrix4 rest = arm->transform();
  const std::vector poses = {pose("a", {{"arm", "x=360"}}), pose("b", {{"arm", "x=-720,y=0"}}),
                             pose("c", {{"arm", "x=0.0001"}})};
  const ExplicitPoseRuntime runtime(poses, parts());
  runtime.apply(0);
  EXPECT_EQ(arm->transform(), rest);
  runtime.apply(1);
  EXPECT_EQ(arm->transform(), rest);
  runtime.apply(2);
  EXPECT_NE(arm->transform(), rest);
}

TEST_F(PosedModel, TreatsAbsentAxesAsZeroAndIgnoresTheirOrder) {
  const std::vector poses = {pose("a", {{"arm", "x=90"}}), pose("b", {{"arm", "x=90,y=0,z=0"}}),
                             pose("c", {{"arm", "x=90,y=90"}}), pose("d", {{"arm", "y=90,x=90"}})};
  const ExplicitPoseRuntime runtime(poses, parts());
  const auto matrix = [&](std::int64_t index) {
    runtime.apply(index);
    return arm->transform();
  };
  EXPECT_EQ(matrix(0), matrix(1));
  EXPECT_EQ(matrix(2), matrix(3));
}

TEST_F(PosedModel, TurnsAboutXThenTheTurnedYThenTheTurnedZ) {
  const std::vector poses = {pose("a", {{"arm", "x=90,y=90"}})};
  const ExplicitPoseRuntime runtime(poses, parts());
  runtime.apply(0);
  // qx * qy: z axis first turns about y to x, then about x, which leaves it.
  const simd_float4x4 m = arm->simdTransform();
  EXPECT_NEAR(m.columns[2].x, 1.0F, 1e-6F);
  // x axis: about y to -z, then about x to y.
  EXPECT_NEAR(m.columns[0].y, 1.0F, 1e-6F);
}

TEST_F(PosedModel, TurnsAboutTheNodesOwnAxesAtRest) {
  arm->setEulerAngles({0, 0, 1.5707963267948966});
  const std::vector poses = {pose("a", {{"arm", "x=90"}})};
  const ExplicitPoseRuntime runtime(poses, parts());
  runtime.apply(0);
  // The local x axis lies along the parent's y and stays there.
  EXPECT_NEAR(arm->simdTransform().columns[0].y, 1.0F, 1e-6F);
}

TEST_F(PosedModel, KeepsAMirrorAndTheTranslation) {
  arm->setScale({-2, 1, 1});
  arm->setPosition({4, 5, 6});
  const std::vector poses = {pose("a", {{"arm", "y=45"}})};
  const ExplicitPoseRuntime runtime(poses, parts());
  runtime.apply(0);
  EXPECT_LT(determinant3(arm->transform()), 0.0);
  EXPECT_EQ(arm->simdPosition(), (simd_float3{4, 5, 6}));
}

TEST_F(PosedModel, SharesOneBaseStateBetweenPoses) {
  const std::vector poses = {pose("a", {{"arm", "x=1"}}),
                             pose("b", {{"path:fbx:1/fbx:2", "y=1"}, {"id:fbx:3", "z=1"}})};
  const ExplicitPoseRuntime runtime(poses, parts());
  ASSERT_EQ(runtime.baseStates().size(), 2U);
  EXPECT_EQ(runtime.baseStates()[0].node, arm);
  EXPECT_EQ(runtime.baseStates()[1].node, hand);
  EXPECT_EQ(runtime.resolvedPoses()[1][0].baseStateIndex, 0U);
}

TEST_F(PosedModel, RefusesTwoSelectorsForOneNodeInOnePose) {
  EXPECT_EQ(failure({pose("p", {{"arm", "x=1"}, {"path:fbx:1/fbx:2", "y=1"}})}),
            "Pose 'p' resolves more than one rotation to 'path:fbx:1/fbx:2'. Specify each node only once per pose.");
}

TEST_F(PosedModel, NamesAllCandidatesOfAnAmbiguousName) {
  authored("fbx:10", "arm", container);
  EXPECT_EQ(failure({pose("p", {{"hand", "x=1"}, {"arm", "x=1"}})}),
            "Part name 'arm' is ambiguous. Use one of these canonical paths: path:fbx:1/fbx:2, path:fbx:10.");
}

TEST_F(PosedModel, NamesSeveralPartsInTheOrderOfTheirText) {
  for (const std::string id : {"fbx:9", "fbx:20", "fbx:10"}) authored(id, "wheel", container);
  const std::vector<std::string> sorted{"path:fbx:1",  "path:fbx:1/fbx:2", "path:fbx:1/fbx:2/fbx:3",
                                        "path:fbx:10", "path:fbx:20",      "path:fbx:9"};
  EXPECT_EQ(canonicalPaths(parts()), sorted);
  EXPECT_EQ(failure({pose("p", {{"wheel", "x=1"}})}),
            "Part name 'wheel' is ambiguous. Use one of these canonical paths: path:fbx:10, path:fbx:20, path:fbx:9.");
}

TEST_F(PosedModel, NamesAllCandidatesOfAnAmbiguousIdentity) {
  authored("fbx:2", "other", container);
  EXPECT_EQ(failure({pose("p", {{"id:fbx:2", "x=1"}})}),
            "Source node ID 'fbx:2' is ambiguous. Use one of these canonical paths: path:fbx:1/fbx:2, path:fbx:2.");
  authored("fbx:2", "twin", base);
  EXPECT_EQ(failure({pose("p", {{"path:fbx:1/fbx:2", "x=1"}})}),
            "Source node ID 'path:fbx:1/fbx:2' is ambiguous. Use one of these canonical paths: path:fbx:1/fbx:2, "
            "path:fbx:1/fbx:2.");
}

TEST_F(PosedModel, FindsNamesByCanonicalEquivalence) {
  authored("fbx:7", "caf\u00e9", container);
  EXPECT_EQ(failure({pose("p", {{"cafe\u0301", "x=1"}})}), "no failure");
}

TEST_F(PosedModel, DoesNotFindANonAddressableNodeByAnyForm) {
  (*hand->ornolithMetadata)[std::string(ornolithIsNonAddressableNodeKey)] = true;
  for (const std::string selector : {"name:hand", "id:fbx:3", "path:fbx:1/fbx:2/fbx:3"}) {
    EXPECT_EQ(failure({pose("p", {{selector, "x=1"}})}),
              "Part selector '" + selector +
                  "' did not match an addressable logical node. Run --list-parts and use a listed selector.");
  }
}

TEST_F(PosedModel, DoesNotFindUnknownPathsOrPrefixesOfNothing) {
  EXPECT_EQ(failure({pose("p", {{"path:fbx:2", "x=1"}})}),
            "Part selector 'path:fbx:2' did not match an addressable logical node. Run --list-parts and use a listed "
            "selector.");
}

TEST_F(PosedModel, RefusesAnUnsafeTransformOfAnotherPart) {
  SCNMatrix4 sheared;
  sheared.columns[1].x = 0.5;
  hand->setTransform(sheared);
  EXPECT_EQ(
      failure({pose("p", {{"base", "x=1"}})}),
      "Part 'path:fbx:1/fbx:2/fbx:3' has a non-finite, non-affine, sheared, or otherwise unsafe local transform.");
}

TEST_F(PosedModel, RefusesAModelWithoutItsAuthoredHierarchy) {
  (*arm->ornolithMetadata)[std::string(ornolithUsesAuthoredHierarchyKey)] = false;
  EXPECT_EQ(failure({pose("p", {{"base", "x=1"}})}),
            "Part 'path:fbx:1/fbx:2' does not belong to a hierarchy-preserving FBX or GLB import.");
}

TEST_F(PosedModel, RefusesIndicesOutOfRangeAndChangesNothing) {
  const std::vector poses = {pose("a", {{"arm", "x=90"}})};
  const ExplicitPoseRuntime runtime(poses, parts());
  runtime.apply(0);
  const SCNMatrix4 turned = arm->transform();
  for (const std::int64_t index : {INT64_C(-1), INT64_C(1), INT64_MAX}) {
    try {
      runtime.apply(index);
      ADD_FAILURE() << index;
    } catch (const ExplicitPoseRuntimeError& error) {
      EXPECT_EQ(error.errorDescription(), "Pose index " + std::to_string(index) + " is out of range.");
    }
  }
  EXPECT_EQ(arm->transform(), turned);
}

TEST_F(PosedModel, ListsPartsInPreOrderWithoutMarkedNodesButWithTheirChildren) {
  (*arm->ornolithMetadata)[std::string(ornolithIsNonAddressableNodeKey)] = true;
  const auto listed = parts();
  ASSERT_EQ(listed.size(), 2U);
  EXPECT_EQ(listed[0].name(), "base");
  EXPECT_TRUE(listed[0].hasChildren());
  EXPECT_EQ(listed[1].canonicalSelector().canonicalString(), "path:fbx:1/fbx:2/fbx:3");
  EXPECT_FALSE(listed[1].hasChildren());
}

TEST(PathListing, RefusesHierarchiesWhosePathsTogetherAreTooLong) {
  const auto listable = [](int levels) {
    const auto container = SCNNode::node();
    auto parent = container;
    for (int level = 0; level < levels; ++level) parent = authored("fbx:" + std::to_string(level), "n", parent);
    const auto parts = addressableLogicalParts(makePartRuntime(*container, PartPresentationState{}));
    requireListablePaths(parts);
  };
  // n levels hold n (n + 1) / 2 identities.
  EXPECT_NO_THROW(listable(1999));
  try {
    listable(2000);
    ADD_FAILURE() << "nothing was thrown";
  } catch (const PartListingError& error) {
    EXPECT_EQ(error.errorDescription(), "The nodes of this model are nested too deep for a list of their paths.");
  }
}

TEST(NodeTreeHasDeformationOrAnimation, LooksAtTheNodeAndAllDescendants) {
  const auto root = SCNNode::node();
  const auto child = SCNNode::node();
  root->addChildNode(child);
  EXPECT_FALSE(nodeTreeHasDeformationOrAnimation(*root));
  child->skinner = std::make_shared<SCNSkinner>();
  EXPECT_TRUE(nodeTreeHasDeformationOrAnimation(*root));
  child->skinner = nullptr;
  child->morpher = std::make_shared<SCNMorpher>();
  EXPECT_TRUE(nodeTreeHasDeformationOrAnimation(*child));
  child->morpher = nullptr;
  child->addAnimationPlayer(std::make_shared<SCNAnimationPlayer>(SCNAnimation{.duration = 1}), "spin");
  EXPECT_TRUE(nodeTreeHasDeformationOrAnimation(*root));
}

}  // namespace
}  // namespace ornolith
