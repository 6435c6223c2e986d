#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "SceneFixtures.h"
#include "scenegraph/SceneCheck.h"

namespace ornolith {
namespace {

using testing::bytesOf;
using testing::elementOf;
using ::testing::HasSubstr;
using ::testing::Optional;

std::shared_ptr<const SCNGeometrySource> threeVertices() {
  return SCNGeometrySource::geometrySourceWithVertices(std::vector<SCNVector3>{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
}

std::optional<std::string> brokenPromise(const std::shared_ptr<SCNGeometry>& geometry) {
  SCNScene scene;
  scene.rootNode()->addChildNode(SCNNode::nodeWithGeometry(geometry));
  return checkScene(scene).brokenPromise;
}

std::optional<std::string> brokenElement(SCNGeometryPrimitiveType type, std::size_t count,
                                         const std::vector<std::uint32_t>& indices) {
  return brokenPromise(SCNGeometry::geometryWithSources({threeVertices()}, {elementOf(type, count, indices)}));
}

TEST(SceneCheck, CountsWhatASoundSceneHolds) {
  SCNScene scene;
  const auto geometry = testing::triangleGeometry();
  const SCNNode::Pointer child = SCNNode::nodeWithGeometry(geometry);
  child->addChildNode(SCNNode::nodeWithGeometry(geometry));
  scene.rootNode()->addChildNode(child);
  scene.rootNode()->setPosition({std::nan(""), 0, 0});
  const SceneCheckResult result = checkScene(scene);
  EXPECT_EQ(result.brokenPromise, std::nullopt);
  EXPECT_EQ(result.nodeCount, 3U);
  EXPECT_EQ(result.deepestLevel, 2U);
  EXPECT_EQ(result.geometryCount, 1U);
  EXPECT_EQ(result.materialCount, 1U);
  EXPECT_EQ(result.nonFiniteTransformCount, 1U);
  EXPECT_EQ(result.nonFinitePositionCount, 0U);
}

TEST(SceneCheck, CountsPositionsThatAreNotFinite) {
  SCNScene scene;
  scene.rootNode()->geometry = testing::triangleGeometry({{std::nan(""), 0, 0}, {0, INFINITY, 0}, {0, 0, 0}});
  EXPECT_EQ(checkScene(scene).brokenPromise, std::nullopt);
  EXPECT_EQ(checkScene(scene).nonFinitePositionCount, 2U);
}

TEST(SceneCheck, NamesTheNode) {
  SCNScene scene;
  const SCNNode::Pointer node = SCNNode::nodeWithGeometry(SCNGeometry::geometryWithSources({}, {}));
  node->setName("arm");
  scene.rootNode()->addChildNode(node);
  EXPECT_EQ(checkScene(scene).brokenPromise, "The node number 2 'arm' has a geometry without vertices.");
}

TEST(SceneCheck, FindsIndicesOutOfRange) {
  using Type = SCNGeometryPrimitiveType;
  EXPECT_EQ(brokenElement(Type::triangles, 1, {0, 1, 2}), std::nullopt);
  EXPECT_THAT(brokenElement(Type::triangles, 1, {0, 1, 3}), Optional(HasSubstr("index 3 over 3 vertices")));
  EXPECT_EQ(brokenElement(Type::polygon, 1, {3, 0, 1, 2}), std::nullopt);
  EXPECT_THAT(brokenElement(Type::polygon, 1, {3, 0, 1, 7}), Optional(HasSubstr("index 7")));
}

TEST(SceneCheck, FindsElementsThatAreShort) {
  using Type = SCNGeometryPrimitiveType;
  EXPECT_THAT(brokenElement(Type::triangles, 2, {0, 1, 2}), Optional(HasSubstr("3 indices that needs 6")));
  EXPECT_THAT(brokenElement(Type::triangleStrip, 2, {0, 1, 2}), Optional(HasSubstr("needs 4")));
  EXPECT_THAT(brokenElement(Type::polygon, 1, {4, 0, 1, 2}), Optional(HasSubstr("needs 5")));
  EXPECT_THAT(brokenElement(Type::triangles, std::size_t(-1), {0}), Optional(HasSubstr("too many primitives")));
}

TEST(SceneCheck, FindsStreamsOfAnotherLength) {
  const auto normals = SCNGeometrySource::geometrySourceWithData(
      bytesOf(std::vector<float>(6)), SCNGeometrySourceSemantic::normal, 2, true, 3, 4, 0, 12);
  const auto geometry = SCNGeometry::geometryWithSources(
      {threeVertices(), normals}, {elementOf(SCNGeometryPrimitiveType::triangles, 1, {0, 1, 2})});
  EXPECT_THAT(brokenPromise(geometry), Optional(HasSubstr("2 vectors for 3 vertices")));
}

TEST(SceneCheck, FindsGeometriesWithoutElementsAndNullMaterials) {
  EXPECT_THAT(brokenPromise(SCNGeometry::geometryWithSources({threeVertices()}, {})),
              Optional(HasSubstr("without elements")));
  const auto geometry = testing::triangleGeometry();
  geometry->setMaterials({nullptr});
  EXPECT_THAT(brokenPromise(geometry), Optional(HasSubstr("null material")));
}

TEST(SceneCheck, FindsBadMaterials) {
  const auto geometry = testing::triangleGeometry();
  geometry->firstMaterial()->diffuse.contents = std::shared_ptr<const Image>();
  EXPECT_THAT(brokenPromise(geometry), Optional(HasSubstr("null image")));
  geometry->firstMaterial()->diffuse.contents = std::make_shared<const Image>(Image{2, 2, {1, 2, 3}});
  EXPECT_THAT(brokenPromise(geometry), Optional(HasSubstr("do not match")));
  geometry->firstMaterial()->diffuse = {};
  geometry->firstMaterial()->normal.mappingChannel = -1;
  EXPECT_THAT(brokenPromise(geometry), Optional(HasSubstr("negative mapping channel")));
}

TEST(SceneCheck, WalksDeepScenes) {
  SCNScene scene;
  testing::addChain(scene.rootNode(), 100'000);
  EXPECT_EQ(checkScene(scene).deepestLevel, 100'000U);
}

}  // namespace
}  // namespace ornolith
