#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "SceneFixtures.h"
#include "foundation/Math.h"
#include "scene/ModelBounds.h"

namespace ornolith {
namespace {

using scene_fixtures::addNode;
using scene_fixtures::boxGeometry;
using scene_fixtures::unitCube;

const ModelBounds emptyBounds{{0, 0, 0}, {1, 1, 1}};

std::array<SCNVector3, 8> cornersOf(const SCNBoundingBox& box) {
  std::array<SCNVector3, 8> corners;
  for (std::size_t i = 0; i < 8; ++i) {
    corners[i] = {(i & 1U) ? box.maximum.x : box.minimum.x, (i & 2U) ? box.maximum.y : box.minimum.y,
                  (i & 4U) ? box.maximum.z : box.minimum.z};
  }
  return corners;
}

struct PointBox {
  SCNVector3 minimum{1e300, 1e300, 1e300};
  SCNVector3 maximum{-1e300, -1e300, -1e300};
  void add(SCNVector3 p) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      minimum[axis] = std::min(minimum[axis], p[axis]);
      maximum[axis] = std::max(maximum[axis], p[axis]);
    }
  }
};

/// The definition, worked out node by node and pair by pair.
ModelBounds boundsByDefinition(const SCNNode::Pointer& root, const SCNNode* reference) {
  std::vector<SCNNode::Pointer> nodes{root};
  root->enumerateChildNodes([&](SCNNode& node) { nodes.push_back(node.shared_from_this()); });
  PointBox result;
  for (const SCNNode::Pointer& node : nodes) {
    if (!node->geometry) continue;
    PointBox local;
    const auto addGeometry = [&](const SCNNode& other) {
      if (!other.geometry) return;
      for (const SCNVector3 p : cornersOf(other.geometry->boundingBox())) {
        local.add(other.convertPositionToNode(p, node.get()));
      }
    };
    addGeometry(*node);
    node->enumerateChildNodes(addGeometry);
    for (const SCNVector3 p : cornersOf({local.minimum, local.maximum})) {
      result.add(node->convertPositionToNode(p, reference));
    }
  }
  return {(result.minimum + result.maximum) * 0.5, result.maximum - result.minimum};
}

void expectNear(const ModelBounds& actual, const ModelBounds& expected, double tolerance) {
  for (std::size_t axis = 0; axis < 3; ++axis) {
    EXPECT_NEAR(actual.center[axis], expected.center[axis], tolerance) << "axis " << axis;
    EXPECT_NEAR(actual.extent[axis], expected.extent[axis], tolerance) << "axis " << axis;
  }
}

class ModelBoundsTest : public ::testing::Test {
 protected:
  ModelBounds bounds(bool includesHiddenNodes = true, const SCNNode* reference = nullptr) const {
    return modelBounds(std::vector<SCNNode::Pointer>{root}, reference, includesHiddenNodes);
  }

  SCNNode::Pointer world = SCNNode::node();
  SCNNode::Pointer root = addNode(world);
};

TEST_F(ModelBoundsTest, NothingToMeasureGivesTheUnitBoxAtTheOrigin) {
  EXPECT_EQ(modelBounds({}, nullptr, true), emptyBounds);
  EXPECT_EQ(bounds(), emptyBounds);
  root->removeFromParentNode();
  addNode(root, boxGeometry({4, 4, 4}, {9, 9, 9}));
  EXPECT_EQ(bounds(), emptyBounds);
}

TEST_F(ModelBoundsTest, MeasuresTheRootAndWhatIsBelowIt) {
  root->geometry = unitCube();
  addNode(root, boxGeometry({0, 0, 0}, {1, 2, 3}), {10, 0, 0});
  EXPECT_EQ(bounds(), (ModelBounds{{5.25, 0.75, 1.25}, {11.5, 2.5, 3.5}}));
}

TEST_F(ModelBoundsTest, AFlatModelHasNoExtentOnOneAxis) {
  addNode(root, boxGeometry({-1, 3, -2}, {1, 3, 2}));
  EXPECT_EQ(bounds(), (ModelBounds{{0, 3, 0}, {2, 0, 4}}));
}

TEST_F(ModelBoundsTest, HiddenGeometryCountsOnlyWhereHiddenNodesAreIncluded) {
  addNode(root, boxGeometry({0, 0, 0}, {2, 2, 2}))->isHidden = true;
  EXPECT_EQ(bounds(false), emptyBounds);
  EXPECT_EQ(bounds(true), (ModelBounds{{1, 1, 1}, {2, 2, 2}}));
}

TEST_F(ModelBoundsTest, AHiddenAncestorHidesEvenAboveTheMeasuredRoot) {
  addNode(addNode(root), boxGeometry({0, 0, 0}, {2, 2, 2}));
  world->isHidden = true;
  EXPECT_EQ(bounds(false), emptyBounds);
  EXPECT_EQ(bounds(true), (ModelBounds{{1, 1, 1}, {2, 2, 2}}));
}

TEST_F(ModelBoundsTest, AHiddenChildWidensTheBoxOfItsVisibleParent) {
  const SCNNode::Pointer parent = addNode(root, unitCube());
  addNode(parent, unitCube(), {4, 0, 0})->isHidden = true;
  EXPECT_EQ(bounds(false), (ModelBounds{{2, 0, 0}, {5, 1, 1}}));
}

TEST_F(ModelBoundsTest, TheBoxOfATurnedParentIsTurnedWithIt) {
  const SCNNode::Pointer parent = addNode(root, boxGeometry({0, 0, 0}, {0, 0, 0}));
  parent->setEulerAngles({0, 0, math::pi / 4});
  addNode(parent, boxGeometry({0, 0, 0}, {2, 0, 0}));
  addNode(parent, boxGeometry({0, 0, 0}, {0, 2, 0}));
  const double diagonal = std::sqrt(8.0);
  expectNear(bounds(), {{0, diagonal / 2, 0}, {diagonal, diagonal, 0}}, 1e-12);
}

TEST_F(ModelBoundsTest, MeasuresInTheSpaceOfTheReference) {
  root->setPosition({100, 0, 0});
  addNode(root, unitCube(), {1, 2, 3});
  const SCNNode::Pointer reference = addNode(world);
  reference->setPosition({50, 0, 0});
  reference->setScale({2, 2, 2});
  EXPECT_EQ(bounds(true, reference.get()), (ModelBounds{{25.5, 1, 1.5}, {0.5, 0.5, 0.5}}));
}

TEST_F(ModelBoundsTest, GeometryWithoutPositionsAddsNothing) {
  root->geometry = SCNGeometry::geometryWithSources({}, {});
  EXPECT_EQ(bounds(), emptyBounds);
}

TEST_F(ModelBoundsTest, APlaceThatIsNoNumberIsLeftOut) {
  addNode(root, unitCube());
  addNode(root, unitCube(), {std::numeric_limits<double>::quiet_NaN(), 0, 0});
  EXPECT_EQ(bounds().extent.x, 1);
}

TEST_F(ModelBoundsTest, AgreesWithTheDefinitionOnRandomTrees) {
  std::mt19937 random(7);
  std::uniform_real_distribution<double> number(-2, 2);
  for (int round = 0; round < 20; ++round) {
    root->removeFromParentNode();
    root = addNode(world);
    std::vector<SCNNode::Pointer> nodes{root};
    for (int index = 0; index < 40; ++index) {
      const SCNNode::Pointer node = addNode(nodes[random() % nodes.size()]);
      node->setPosition({number(random), number(random), number(random)});
      node->setEulerAngles({number(random), number(random), number(random)});
      node->setScale({1 + number(random) / 4, 1 + number(random) / 4, 1 + number(random) / 4});
      if (random() % 2 == 0) node->geometry = boxGeometry({number(random) - 2, -1, -1}, {1, number(random) + 2, 1});
      nodes.push_back(node);
    }
    nodes.back()->geometry = unitCube();
    const ModelBounds expected = boundsByDefinition(root, nullptr);
    expectNear(bounds(), expected, 1e-9 * (1 + length(expected.extent)));
    const ModelBounds relative = boundsByDefinition(root, nodes[3].get());
    expectNear(bounds(true, nodes[3].get()), relative, 1e-9 * (1 + length(relative.extent)));
  }
}

TEST_F(ModelBoundsTest, AVeryWideTreeIsMeasuredInOneWalk) {
  for (int index = 0; index < 100'000; ++index) addNode(root, unitCube(), {static_cast<double>(index), 0, 0});
  EXPECT_EQ(bounds(false).extent.x, 100'000);
  root->geometry = unitCube();
  EXPECT_EQ(bounds(false).extent.x, 100'000);
}

TEST_F(ModelBoundsTest, AVeryDeepTreeWithGeometryOnEveryLevelIsMeasuredInBoundedTime) {
  const std::shared_ptr<SCNGeometry> cube = unitCube();
  SCNNode::Pointer node = root;
  for (int level = 0; level < 100'000; ++level) node = addNode(node, cube, {1, 0, 0});
  EXPECT_EQ(bounds(false), (ModelBounds{{50'000.5, 0, 0}, {100'000, 1, 1}}));
}

}  // namespace
}  // namespace ornolith
