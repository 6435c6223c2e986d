#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

#include "SceneFixtures.h"
#include "scenegraph/SCNNodeBounds.h"
#include "scenegraph/Transforms.h"

namespace ornolith {
namespace {

using testing::cornersGeometry;
using testing::expectNear;

SCNNode::Pointer boxNode(SCNVector3 minimum, SCNVector3 maximum) {
  return SCNNode::nodeWithGeometry(cornersGeometry(minimum, maximum));
}

TEST(SCNNodeBoundingBox, IsNothingWithoutAnExtent) {
  const SCNNode::Pointer node = SCNNode::node();
  EXPECT_FALSE(node->boundingBox());
  node->addChildNode(SCNNode::node());
  EXPECT_FALSE(node->boundingBox());
  node->geometry = SCNGeometry::geometryWithSources({}, {});
  EXPECT_FALSE(node->boundingBox());
}

TEST(SCNNodeBoundingBox, UnitesTheNodeWithItsDescendantsInItsOwnSpace) {
  const SCNNode::Pointer root = boxNode({0, 0, 0}, {1, 1, 1});
  const SCNNode::Pointer child = boxNode({0, 0, 0}, {1, 2, 3});
  root->addChildNode(child);
  root->setPosition({100, 100, 100});
  child->setPosition({10, 0, 0});
  child->setScale({1, 2, 1});
  EXPECT_EQ(root->boundingBox(), (SCNBoundingBox{{0, 0, 0}, {11, 4, 3}}));
  EXPECT_EQ(child->boundingBox(), (SCNBoundingBox{{0, 0, 0}, {1, 2, 3}}));
}

TEST(SCNNodeBoundingBox, CountsHiddenDescendants) {
  const SCNNode::Pointer root = boxNode({0, 0, 0}, {1, 1, 1});
  const SCNNode::Pointer child = boxNode({-5, 0, 0}, {0, 0, 0});
  child->isHidden = true;
  root->addChildNode(child);
  EXPECT_EQ(root->boundingBox()->minimum.x, -5);
}

TEST(SCNNodeBoundingBox, MapsCornersOfGeometriesAndNotBoxesOfBoxes) {
  // Two turns of 45 degrees bring a square back onto the axes; a box of a box would be twice as wide.
  const SCNNode::Pointer top = SCNNode::node();
  const SCNNode::Pointer middle = SCNNode::node();
  const SCNNode::Pointer square = boxNode({-1, -1, 0}, {1, 1, 0});
  top->addChildNode(middle);
  middle->addChildNode(square);
  middle->setEulerAngles({0, 0, std::numbers::pi / 4});
  square->setEulerAngles({0, 0, std::numbers::pi / 4});
  expectNear(top->boundingBox()->maximum, {1, 1, 0}, 1e-12);
  expectNear(middle->boundingBox()->maximum, {std::sqrt(2), std::sqrt(2), 0}, 1e-12);
}

TEST(SCNNodeBoundingBox, PassesOverWhatIsNotFinite) {
  const SCNNode::Pointer root = boxNode({0, 0, 0}, {1, 1, 1});
  const SCNNode::Pointer child = boxNode({0, 0, 0}, {1, 1, 1});
  root->addChildNode(child);
  child->setPosition({std::nan(""), 0, 0});
  EXPECT_EQ(root->boundingBox(), (SCNBoundingBox{{0, 0, 0}, {1, 1, 1}}));
}

TEST(GeometryNodeBounds, AnswersAsTheNodesThemselves) {
  std::mt19937_64 random(8);
  std::uniform_real_distribution<double> number(-2, 2);
  std::vector<SCNNode::Pointer> nodes{SCNNode::node()};
  for (int i = 0; i < 200; ++i) {
    const SCNNode::Pointer node = SCNNode::node();
    if (random() % 3 != 0) node->geometry = cornersGeometry({number(random), -1, 0}, {3, number(random) + 2, 1});
    node->isHidden = random() % 10 == 0;
    node->setPosition({number(random), number(random), number(random)});
    node->setEulerAngles({number(random), number(random), number(random)});
    nodes[random() % nodes.size()]->addChildNode(node);
    nodes.push_back(node);
  }
  std::vector<SCNNode*> withGeometry;
  nodes[0]->enumerateChildNodes([&](SCNNode& node) {
    if (node.geometry) withGeometry.push_back(&node);
  });
  const std::vector<SCNNodeBounds> bounds = geometryNodeBounds(*nodes[0]);
  ASSERT_EQ(bounds.size(), withGeometry.size());
  for (std::size_t i = 0; i < bounds.size(); ++i) {
    EXPECT_EQ(bounds[i].node, withGeometry[i]);
    EXPECT_EQ(bounds[i].isHiddenInTree, withGeometry[i]->isHiddenInTree());
    EXPECT_EQ(bounds[i].boundingBox, withGeometry[i]->boundingBox());
  }
}

TEST(GeometryNodeBounds, TheRootItselfComesFirst) {
  const SCNNode::Pointer root = boxNode({0, 0, 0}, {1, 1, 1});
  root->addChildNode(boxNode({0, 0, 0}, {2, 1, 1}));
  const auto bounds = geometryNodeBounds(*root);
  ASSERT_EQ(bounds.size(), 2U);
  EXPECT_EQ(bounds[0].node, root.get());
  EXPECT_EQ(bounds[0].boundingBox->maximum.x, 2);
}

TEST(GeometryNodeBounds, DeepNestsOfGeometriesTakeLinearTimeAndBoxesThatHold) {
  constexpr std::size_t levels = 20'000;
  const auto geometry = cornersGeometry({-1, -1, -1}, {1, 1, 1});
  const SCNNode::Pointer root = SCNNode::nodeWithGeometry(geometry);
  SCNNode::Pointer lowest = root;
  for (std::size_t i = 0; i < levels; ++i) {
    const SCNNode::Pointer child = SCNNode::nodeWithGeometry(geometry);
    child->setPosition({0.001, 0, 0});
    child->setEulerAngles({0, 0, 0.1});
    lowest->addChildNode(child);
    lowest = child;
  }
  const auto bounds = geometryNodeBounds(*root);
  ASSERT_EQ(bounds.size(), levels + 1);
  const SCNBoundingBox exact = *root->boundingBox();
  const SCNBoundingBox found = *bounds[0].boundingBox;
  EXPECT_LE(found.minimum.x, exact.minimum.x + 1e-9);
  EXPECT_GE(found.maximum.y, exact.maximum.y - 1e-9);
  EXPECT_LE(length(found.maximum - found.minimum), 3 * length(exact.maximum - exact.minimum));
  EXPECT_EQ(bounds.back().boundingBox, lowest->boundingBox());
}

}  // namespace
}  // namespace ornolith
