#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "SceneFixtures.h"
#include "scene/Invariants.h"
#include "scene/ModelFacts.h"

namespace ornolith {
namespace {

using scene_fixtures::addNode;
using scene_fixtures::boxGeometry;
using scene_fixtures::elementOf;
using scene_fixtures::unitCube;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ModelFactsTest : public ::testing::Test {
 protected:
  std::vector<SCNNode::Pointer> roots() const { return {root}; }
  ModelInfo counted() const { return countGeometry(geometryNodes(roots()), originals); }

  SCNNode::Pointer world = SCNNode::node();
  SCNNode::Pointer root = addNode(world);
  OriginalMaterials originals;
};

TEST_F(ModelFactsTest, ListsGeometryNodesInEnumerationOrderHiddenOnesIncluded) {
  root->geometry = unitCube();
  const SCNNode::Pointer group = addNode(root);
  const SCNNode::Pointer inner = addNode(group, unitCube());
  const SCNNode::Pointer last = addNode(root, unitCube());
  inner->isHidden = true;
  EXPECT_THAT(geometryNodes(roots()), ElementsAre(root, inner, last));
  root->removeFromParentNode();
  EXPECT_THAT(geometryNodes(roots()), IsEmpty());
}

TEST_F(ModelFactsTest, KnowsWhetherAnyGeometryCanBeSeen) {
  EXPECT_FALSE(rootsContainVisibleGeometry(roots()));
  const SCNNode::Pointer group = addNode(root);
  addNode(group, unitCube());
  EXPECT_TRUE(rootsContainVisibleGeometry(roots()));
  group->isHidden = true;
  EXPECT_FALSE(rootsContainVisibleGeometry(roots()));
  group->isHidden = false;
  world->isHidden = true;
  EXPECT_FALSE(rootsContainVisibleGeometry(roots()));
}

TEST_F(ModelFactsTest, LinesCountAsMeshWithVerticesButWithoutFaces) {
  const std::vector<SCNVector3> ends{{0, 0, 0}, {1, 0, 0}};
  root->geometry = SCNGeometry::geometryWithSources({SCNGeometrySource::geometrySourceWithVertices(ends)},
                                                    {elementOf(SCNGeometryPrimitiveType::line, 1)});
  const ModelInfo info = counted();
  EXPECT_EQ(info.meshCount, 1);
  EXPECT_EQ(info.vertexCount, 2);
  EXPECT_EQ(info.faceCount, 0);
  EXPECT_EQ(info.triangleCount, 0);
}

TEST_F(ModelFactsTest, CountsPrimitivesByTheirKind) {
  root->geometry = SCNGeometry::geometryWithSources(
      {}, {elementOf(SCNGeometryPrimitiveType::triangles, 3), elementOf(SCNGeometryPrimitiveType::triangleStrip, 5),
           elementOf(SCNGeometryPrimitiveType::polygon, 7), elementOf(SCNGeometryPrimitiveType::point, 11)});
  EXPECT_EQ(counted().faceCount, 15);
  EXPECT_EQ(counted().triangleCount, 8);
  EXPECT_EQ(counted().vertexCount, 0);
}

TEST_F(ModelFactsTest, OnlyTheFirstVertexSourceCounts) {
  const std::vector<SCNVector3> two(2);
  const std::vector<SCNVector3> nine(9);
  root->geometry = SCNGeometry::geometryWithSources(
      {SCNGeometrySource::geometrySourceWithVertices(two), SCNGeometrySource::geometrySourceWithVertices(nine)}, {});
  EXPECT_EQ(counted().vertexCount, 2);
}

TEST_F(ModelFactsTest, SharedGeometryCountsForEveryNode) {
  const auto shared = boxGeometry({0, 0, 0}, {1, 1, 1}, 2);
  for (int index = 0; index < 10; ++index) addNode(root, shared);
  const ModelInfo info = counted();
  EXPECT_EQ(info.meshCount, 10);
  EXPECT_EQ(info.vertexCount, 80);
  EXPECT_EQ(info.materialCount, 20);
}

TEST_F(ModelFactsTest, CountsMaterialsThatCarryAnImageNotTheImages) {
  const auto geometry = boxGeometry({0, 0, 0}, {1, 1, 1}, 4);
  geometry->materials()[0]->diffuse.contents = std::string("a.png");
  geometry->materials()[0]->normal.contents = FileURL("/n.png");
  geometry->materials()[1]->transparent.contents = std::make_shared<const Image>();
  geometry->materials()[2]->diffuse.contents = NSColor::systemRedColor();
  geometry->materials()[2]->roughness.contents = 0.5;
  geometry->materials()[3]->specular.contents = std::string("not among the six.png");
  root->geometry = geometry;
  EXPECT_EQ(counted().materialCount, 4);
  EXPECT_EQ(counted().textureCount, 2);
}

TEST_F(ModelFactsTest, CountsLookThroughReplacedMaterials) {
  root->geometry = boxGeometry({0, 0, 0}, {1, 1, 1}, 3);
  root->geometry->materials()[2]->emission.contents = std::string("e.png");
  originals.collect(*root);
  root->geometry->setMaterials({SCNMaterial::material()});
  EXPECT_EQ(counted().materialCount, 3);
  EXPECT_EQ(counted().textureCount, 1);
}

TEST_F(ModelFactsTest, SkeletonsAreListedPerSkinnedNodeAndOnceWhereAskedFor) {
  const SCNNode::Pointer bones = addNode(root);
  addNode(addNode(bones));
  for (int index = 0; index < 3; ++index) {
    addNode(root, unitCube())->skinner = std::make_shared<SCNSkinner>(SCNSkinner{bones});
  }
  EXPECT_THAT(collectSkeletonRoots(roots()), ElementsAre(bones, bones, bones));
  EXPECT_THAT(collectUniqueSkeletonRoots(roots()), ElementsAre(bones));
  const std::vector<SCNNode::Pointer> overlapping{bones, bones->childNodes()[0]};
  EXPECT_EQ(countUniqueBones(overlapping), 3);
  EXPECT_EQ(countUniqueBones({}), 0);
}

TEST_F(ModelFactsTest, NativeAnimationsOfTwoNodesUnderOneKeyHaveDifferentIds) {
  const SCNNode::Pointer first = addNode(root);
  const SCNNode::Pointer second = addNode(root);
  first->setName("Arm");
  const auto player = std::make_shared<SCNAnimationPlayer>(SCNAnimation{2.5});
  first->addAnimationPlayer(player, "turn");
  second->addAnimationPlayer(player, "turn");
  std::set<std::string> seen;
  std::vector<ModelAnimationInfo> animations;
  std::map<std::string, NativeAnimationTarget> targets;
  const UUID instanceID = UUID::random();
  collectNativeAnimations(root, instanceID, seen, animations, targets);
  collectNativeAnimations(first, instanceID, seen, animations, targets);
  ASSERT_EQ(animations.size(), 2U);
  EXPECT_EQ(animations[0].name, "Arm: turn");
  EXPECT_EQ(animations[1].name, "Node: turn");
  EXPECT_EQ(animations[0].duration, 2.5);
  EXPECT_EQ(animations[0].endTime, 2.5);
  EXPECT_EQ(animations[0].framesPerSecond, std::nullopt);
  EXPECT_NE(animations[0].id, animations[1].id);
  EXPECT_TRUE(animations[0].id.starts_with(instanceID.uuidString() + "|"));
  EXPECT_TRUE(animations[0].id.ends_with("-turn"));
  EXPECT_EQ(targets.at(animations[1].id).node, second);
}

TEST_F(ModelFactsTest, DeepTreesAreWalkedWithoutRecursion) {
  SCNNode::Pointer node = root;
  for (int level = 0; level < 100'000; ++level) node = addNode(node);
  node->geometry = unitCube();
  node->skinner = std::make_shared<SCNSkinner>(SCNSkinner{root});
  EXPECT_TRUE(rootsContainVisibleGeometry(roots()));
  EXPECT_EQ(countUniqueBones(collectUniqueSkeletonRoots(roots())), 100'001);
}

TEST(CheckedSumDeathTest, AnOverflowOfACountEndsTheProcess) {
  EXPECT_EQ(checkedSum(2, 3), 5);
  EXPECT_DEATH(checkedSum(std::numeric_limits<std::int64_t>::max(), 1), "a count does not overflow");
  EXPECT_DEATH(checkedCount(std::numeric_limits<std::uint64_t>::max()), "a count does not overflow");
}

}  // namespace
}  // namespace ornolith
