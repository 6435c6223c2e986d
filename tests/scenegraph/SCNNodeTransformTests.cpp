#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

#include "SceneFixtures.h"
#include "scenegraph/SCNNode.h"
#include "scenegraph/Transforms.h"

namespace ornolith {
namespace {

using testing::expectNear;
constexpr double pi = std::numbers::pi;

// The textbook matrix of Rz * Ry * Rx, from the C library's functions.
SCNMatrix4 eulerMatrix(SCNVector3 angles) {
  const auto about = [](std::size_t axis, double angle) {
    SCNMatrix4 m;
    const std::size_t a = (axis + 1) % 3;
    const std::size_t b = (axis + 2) % 3;
    m.columns[a][a] = std::cos(angle);
    m.columns[a][b] = std::sin(angle);
    m.columns[b][a] = -std::sin(angle);
    m.columns[b][b] = std::cos(angle);
    return m;
  };
  return about(2, angles.z) * about(1, angles.y) * about(0, angles.x);
}

SCNMatrix4 translationMatrix(SCNVector3 t) {
  SCNMatrix4 m;
  m.columns[3] = {t.x, t.y, t.z, 1};
  return m;
}

SCNMatrix4 scaleMatrix(SCNVector3 s) {
  SCNMatrix4 m;
  m.columns[0].x = s.x;
  m.columns[1].y = s.y;
  m.columns[2].z = s.z;
  return m;
}

SCNVector3 worldDirection(const SCNNode& node, SCNVector3 direction) {
  return transformDirection(node.worldTransform(), direction);
}

TEST(SCNNodeTransform, ANewNodeStandsAtTheIdentity) {
  const SCNNode::Pointer node = SCNNode::node();
  EXPECT_EQ(node->transform(), SCNMatrix4{});
  EXPECT_EQ(node->worldTransform(), SCNMatrix4{});
  EXPECT_EQ(node->position(), SCNVector3Zero);
  EXPECT_EQ(node->eulerAngles(), SCNVector3Zero);
  EXPECT_EQ(node->scale(), (SCNVector3{1, 1, 1}));
  EXPECT_EQ(node->simdOrientation(), (simd_quatf{0, 0, 0, 1}));
}

TEST(SCNNodeTransform, ComponentsMakeTranslationRotationScale) {
  const SCNNode::Pointer node = SCNNode::node();
  node->setScale({2, 3, 4});
  node->setEulerAngles({0.3, -0.7, 1.1});
  node->setPosition({5, 6, 7});
  expectNear(node->transform(), translationMatrix({5, 6, 7}) * eulerMatrix({0.3, -0.7, 1.1}) * scaleMatrix({2, 3, 4}),
             1e-14);
}

TEST(SCNNodeTransform, ACameraPitchesFirstAndYawsThen) {
  const SCNNode::Pointer node = SCNNode::node();
  node->setEulerAngles({-pi / 6, pi / 2, 0});
  // Pitched down by 30 degrees, then turned a quarter to the left: it looks along negative x and down.
  expectNear(worldDirection(*node, {0, 0, -1}), {-std::cos(pi / 6), -0.5, 0}, 1e-15);
  expectNear(worldDirection(*node, {1, 0, 0}), {0, 0, -1}, 1e-15);
}

TEST(SCNNodeTransform, EulerAnglesReadAsTheyWereSet) {
  const SCNNode::Pointer node = SCNNode::node();
  for (const SCNVector3 angles : {SCNVector3{4, 5, 6}, SCNVector3{0, 3, 0}, SCNVector3{-1.0471975, 0.78539813, 0}}) {
    node->setEulerAngles(angles);
    node->setScale({2, 2, 2});
    node->setPosition({1, 0, 0});
    EXPECT_EQ(node->eulerAngles(), angles);
  }
}

TEST(SCNNodeTransform, EulerAnglesOfARotationGiveTheRotationBack) {
  std::mt19937_64 random(3);
  std::uniform_real_distribution<double> angle(-4, 4);
  for (int i = 0; i < 500; ++i) {
    const SCNMatrix4 rotation = eulerMatrix({angle(random), angle(random), angle(random)});
    const SCNNode::Pointer node = SCNNode::node();
    node->setTransform(rotation);
    const SCNVector3 read = node->eulerAngles();
    EXPECT_LE(std::abs(read.y), pi / 2 + 1e-15);
    expectNear(eulerMatrix(read), rotation, 1e-14);
  }
}

TEST(SCNNodeTransform, EulerAnglesAreStableAtAndNearThePoles) {
  for (const double distance : {0.0, 1e-16, 1e-13, 1e-12, 1e-10, 1e-8, 1e-4}) {
    for (const double pole : {pi / 2 - distance, -pi / 2 + distance}) {
      for (const double x : {0.0, 0.4, -2.5}) {
        for (const double z : {0.0, 0.9, 3.0}) {
          const SCNMatrix4 rotation = eulerMatrix({x, pole, z});
          const SCNVector3 read = eulerAnglesFromRotationMatrix(rotation);
          expectNear(eulerMatrix(read), rotation, 2e-12);
        }
      }
    }
  }
  const SCNVector3 atPole = eulerAnglesFromRotationMatrix(eulerMatrix({0.25, pi / 2, 0}));
  EXPECT_NEAR(atPole.x, 0.25, 1e-12);
  EXPECT_EQ(atPole.z, 0);
}

TEST(SCNNodeTransform, OrientationTurnsIntoEulerAngles) {
  const SCNNode::Pointer node = SCNNode::node();
  node->setEulerAngles({1, 2, 3});
  node->setSimdOrientation({0, 0.70710678F, 0, 0.70710678F});
  expectNear(node->eulerAngles(), {0, pi / 2, 0}, 1e-3);
  expectNear(worldDirection(*node, {0, 0, -1}), {-1, 0, 0}, 1e-6);
}

TEST(SCNNodeTransform, AnOrientationIsMadeUnit) {
  const SCNNode::Pointer node = SCNNode::node();
  node->setOrientation({0, 0, 3, 3});
  EXPECT_NEAR(node->orientation().w, std::sqrt(0.5), 1e-15);
  node->setOrientation({0, 0, 0, 0});
  EXPECT_EQ(node->orientation(), (simd_quatd{0, 0, 0, 1}));
}

TEST(SCNNodeTransform, AMatrixIsKeptExactlyAlsoWhereItShears) {
  SCNMatrix4 sheared = translationMatrix({1, 2, 3});
  sheared.columns[1].x = 0.3;
  sheared.columns[2].y = 1.0 / 3.0;
  const SCNNode::Pointer node = SCNNode::node();
  node->setTransform(sheared);
  EXPECT_EQ(node->position(), (SCNVector3{1, 2, 3}));
  node->scale();
  node->eulerAngles();
  node->orientation();
  EXPECT_EQ(node->transform(), sheared);
  node->setPosition({9, 8, 7});
  sheared.columns[3] = {9, 8, 7, 1};
  EXPECT_EQ(node->transform(), sheared);
  EXPECT_EQ(node->position(), (SCNVector3{9, 8, 7}));
}

TEST(SCNNodeTransform, SettingTheScaleOfAMatrixKeepsItsOtherParts) {
  const SCNNode::Pointer node = SCNNode::node();
  node->setTransform(translationMatrix({1, 2, 3}) * eulerMatrix({0.5, 0.6, 0.7}) * scaleMatrix({2, 2, 2}));
  node->setScale({1, 1, 1});
  expectNear(node->transform(), translationMatrix({1, 2, 3}) * eulerMatrix({0.5, 0.6, 0.7}), 1e-14);
}

TEST(SCNNodeTransform, DecompositionGivesTheMatrixBack) {
  std::mt19937_64 random(4);
  std::uniform_real_distribution<double> number(-3, 3);
  std::uniform_real_distribution<double> factor(0.01, 5);
  for (int i = 0; i < 300; ++i) {
    const double mirror = i % 3 == 0 ? -1 : 1;
    const SCNMatrix4 matrix = translationMatrix({number(random), number(random), number(random)}) *
                              eulerMatrix({number(random), number(random), number(random)}) *
                              scaleMatrix({mirror * factor(random), factor(random), factor(random)});
    const TransformComponents components = componentsFromMatrix(matrix);
    EXPECT_EQ(components.scale.x < 0, mirror < 0);
    EXPECT_GT(components.scale.y, 0);
    EXPECT_GT(components.scale.z, 0);
    expectNear(matrixFromComponents(components), matrix, 1e-13);
  }
}

TEST(SCNNodeTransform, MatricesWithVanishingColumnsDecomposeIntoARotation) {
  const SCNVector3 scales[] = {{0, 1, 1}, {1, 0, 1}, {1, 1, 0}, {0, 0, 1}, {0, 1, 0}, {1, 0, 0}, {0, 0, 0}};
  for (const SCNVector3 scale : scales) {
    const SCNMatrix4 matrix = eulerMatrix({0.3, 0.4, 0.5}) * scaleMatrix(scale);
    const TransformComponents components = componentsFromMatrix(matrix);
    expectNear(components.scale, scale, 1e-15);
    const SCNMatrix4 rotation = rotationMatrix(components.orientation);
    EXPECT_NEAR(determinant3(rotation), 1, 1e-14);
    expectNear(matrixFromComponents(components), matrix, 1e-14);
  }
}

TEST(SCNNodeTransform, ParallelColumnsStillGiveARotation) {
  SCNMatrix4 flat;
  flat.columns[1] = flat.columns[0];
  const TransformComponents components = componentsFromMatrix(flat);
  EXPECT_NEAR(determinant3(rotationMatrix(components.orientation)), 1, 1e-14);
}

TEST(SCNNodeTransform, WorldTransformsAreProductsFromTheTop) {
  const SCNNode::Pointer root = SCNNode::node();
  const SCNNode::Pointer middle = SCNNode::node();
  const SCNNode::Pointer leaf = SCNNode::node();
  root->addChildNode(middle);
  middle->addChildNode(leaf);
  root->setPosition({1, 0, 0});
  middle->setScale({2, 2, 2});
  leaf->setPosition({3, 0, 0});
  EXPECT_EQ(leaf->worldPosition(), (SCNVector3{7, 0, 0}));
  middle->setScale({3, 3, 3});
  EXPECT_EQ(leaf->worldPosition(), (SCNVector3{10, 0, 0}));
  middle->removeFromParentNode();
  EXPECT_EQ(leaf->worldPosition(), (SCNVector3{9, 0, 0}));
  const SCNNode::Pointer other = SCNNode::node();
  other->setPosition({0, 100, 0});
  other->addChildNode(middle);
  EXPECT_EQ(leaf->worldPosition(), (SCNVector3{9, 100, 0}));
  EXPECT_EQ(leaf->simdWorldPosition(), (simd_float3{9, 100, 0}));
}

TEST(SCNNodeTransform, WorldTransformsFollowEveryWayOfChange) {
  std::mt19937_64 random(5);
  std::uniform_real_distribution<double> number(-2, 2);
  std::vector<SCNNode::Pointer> nodes;
  for (int i = 0; i < 40; ++i) nodes.push_back(SCNNode::node());
  const auto pick = [&] { return nodes[random() % nodes.size()]; };
  const auto product = [](const SCNNode& node) {
    SCNMatrix4 matrix = node.transform();
    for (SCNNode::Pointer above = node.parentNode(); above; above = above->parentNode()) {
      matrix = above->transform() * matrix;
    }
    return matrix;
  };
  for (int step = 0; step < 2000; ++step) {
    const SCNNode::Pointer node = pick();
    switch (random() % 7) {
      case 0: {
        try {
          pick()->addChildNode(node);
        } catch (const std::logic_error&) {
        }
        break;
      }
      case 1:
        node->removeFromParentNode();
        break;
      case 2:
        node->setPosition({number(random), number(random), number(random)});
        break;
      case 3:
        node->setEulerAngles({number(random), number(random), number(random)});
        break;
      case 4:
        node->setTransform(translationMatrix({number(random), 0, 0}));
        break;
      default:
        pick()->worldTransform();
        break;
    }
    const SCNNode::Pointer seen = pick();
    const SCNMatrix4 expected = product(*seen);
    double largest = 1;
    for (std::size_t c = 0; c < 4; ++c) largest = std::max(largest, std::abs(expected.columns[3][c]));
    expectNear(seen->worldTransform(), expected, 1e-12 * largest);
  }
}

TEST(SCNNodeTransform, WorldOrientationLeavesScaleOut) {
  const SCNNode::Pointer root = SCNNode::node();
  const SCNNode::Pointer child = SCNNode::node();
  root->addChildNode(child);
  root->setScale({2, 2, 2});
  root->setEulerAngles({0, pi / 2, 0});
  const simd_quatf orientation = child->simdWorldOrientation();
  EXPECT_NEAR(orientation.y, std::sqrt(0.5), 1e-6);
  EXPECT_NEAR(orientation.w, std::sqrt(0.5), 1e-6);
}

TEST(SCNNodeTransform, PointsAndMatricesConvertBetweenSpaces) {
  const SCNNode::Pointer root = SCNNode::node();
  const SCNNode::Pointer a = SCNNode::node();
  const SCNNode::Pointer b = SCNNode::node();
  root->addChildNode(a);
  root->addChildNode(b);
  root->setPosition({100, 0, 0});
  a->setScale({2, 2, 2});
  b->setPosition({0, 5, 0});
  b->setEulerAngles({0, 0, pi / 2});
  expectNear(a->convertPositionToNode({1, 1, 0}, nullptr), {102, 2, 0}, 1e-12);
  expectNear(a->convertPositionToNode({1, 1, 0}, root.get()), {2, 2, 0}, 1e-12);
  expectNear(a->convertPositionToNode({1, 1, 0}, b.get()), {-3, -2, 0}, 1e-12);
  EXPECT_EQ(a->convertPositionToNode({0.1, 0.2, 0.3}, a.get()), (SCNVector3{0.1, 0.2, 0.3}));

  const simd_float4x4 matrix = a->simdConvertTransformToNode(simd_float4x4{}, b.get());
  EXPECT_NEAR(matrix.columns[0].y, -2, 1e-6);
  EXPECT_NEAR(matrix.columns[3].x, -5, 1e-6);
  const simd_float4x4 world = a->simdConvertTransformToNode(simd_float4x4{}, nullptr);
  EXPECT_EQ(world.columns[3].x, 100);
  EXPECT_EQ(world.columns[0].x, 2);
}

TEST(SCNNodeTransform, ConversionIntoASingularSpaceIsNotFinite) {
  const SCNNode::Pointer node = SCNNode::node();
  const SCNNode::Pointer flat = SCNNode::node();
  flat->setScale({0, 0, 0});
  EXPECT_FALSE(isFinite(node->convertPositionToNode({1, 2, 3}, flat.get())));
}

// Look-at.

TEST(SCNNodeLookAt, TurnsNegativeZToTheTargetWithYUp) {
  std::mt19937_64 random(6);
  std::uniform_real_distribution<double> number(-10, 10);
  for (int i = 0; i < 300; ++i) {
    const SCNNode::Pointer node = SCNNode::node();
    node->setPosition({number(random), number(random), number(random)});
    node->setScale({1, 2, 3});
    const SCNVector3 target{number(random), number(random), number(random)};
    node->lookAt(target);
    const SCNVector3 way = target - node->position();
    expectNear(worldDirection(*node, {0, 0, -1}) / 3.0, way / length(way), 1e-13);
    EXPECT_NEAR(worldDirection(*node, {1, 0, 0}).y, 0, 1e-13);
    EXPECT_GE(worldDirection(*node, {0, 1, 0}).y, 0);
    EXPECT_EQ(node->scale(), (SCNVector3{1, 2, 3}));
    EXPECT_NEAR(std::sin(node->eulerAngles().z), 0, 1e-12);
  }
}

TEST(SCNNodeLookAt, StraightDownAndUpStaysLevelWithX) {
  const SCNNode::Pointer node = SCNNode::node();
  node->setPosition({1, 10, 2});
  node->lookAt({1, 0, 2});
  expectNear(worldDirection(*node, {0, 0, -1}), {0, -1, 0}, 1e-15);
  expectNear(worldDirection(*node, {1, 0, 0}), {1, 0, 0}, 1e-15);
  expectNear(worldDirection(*node, {0, 1, 0}), {0, 0, -1}, 1e-15);
  node->lookAt({1, 20, 2});
  expectNear(worldDirection(*node, {0, 0, -1}), {0, 1, 0}, 1e-15);
  expectNear(worldDirection(*node, {1, 0, 0}), {1, 0, 0}, 1e-15);
}

TEST(SCNNodeLookAt, FromTheFrontIsTheIdentityAndFromBehindAHalfTurn) {
  const SCNNode::Pointer node = SCNNode::node();
  node->setPosition({0, 0, 4});
  node->lookAt({0, 0, 0});
  EXPECT_EQ(node->orientation(), (simd_quatd{0, 0, 0, 1}));
  node->setPosition({0, 0, -4});
  node->lookAt({0, 0, 0});
  expectNear(worldDirection(*node, {1, 0, 0}), {-1, 0, 0}, 1e-15);
  expectNear(worldDirection(*node, {0, 1, 0}), {0, 1, 0}, 1e-15);
}

TEST(SCNNodeLookAt, ItsOwnPlaceChangesNothing) {
  const SCNNode::Pointer node = SCNNode::node();
  node->setPosition({1, 2, 3});
  node->setEulerAngles({0.1, 0.2, 0.3});
  const SCNMatrix4 before = node->transform();
  node->lookAt({1, 2, 3});
  node->lookAt({std::nan(""), 0, 0});
  EXPECT_EQ(node->transform(), before);
}

TEST(SCNNodeLookAt, WorksUnderRotatedUnevenAndMirroredParents) {
  const SCNNode::Pointer parent = SCNNode::node();
  const SCNNode::Pointer node = SCNNode::node();
  parent->addChildNode(node);
  parent->setPosition({3, -1, 2});
  parent->setEulerAngles({0.4, 1.2, -0.3});
  for (const SCNVector3 scale : {SCNVector3{1, 1, 1}, SCNVector3{2, 0.5, 3}, SCNVector3{-1, 1, 1}}) {
    parent->setScale(scale);
    node->setPosition({1, 1, 1});
    const SCNVector3 target{-4, 2, 7};
    node->lookAt(target);
    const SCNVector3 way = target - node->worldPosition();
    const SCNVector3 front = worldDirection(*node, {0, 0, -1});
    expectNear(front / length(front), way / length(way), 1e-13);
  }
}

TEST(SCNNodeTransform, InvertedMatricesUndoTheirOriginals) {
  std::mt19937_64 random(7);
  std::uniform_real_distribution<double> number(-2, 2);
  for (int i = 0; i < 100; ++i) {
    SCNMatrix4 matrix = translationMatrix({number(random), number(random), number(random)}) *
                        eulerMatrix({number(random), number(random), number(random)}) * scaleMatrix({1, 2, -0.5});
    matrix.columns[1].x += 0.25;
    expectNear(invertedAffine(matrix) * matrix, SCNMatrix4{}, 1e-13);
  }
}

}  // namespace
}  // namespace ornolith
