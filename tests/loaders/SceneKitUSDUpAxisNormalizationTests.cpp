#include <gtest/gtest.h>

#include <bit>
#include <limits>
#include <string>

#include "loaders/SceneKitUSDUpAxisNormalization.h"

namespace ornolith {
namespace {

/// A scene with the nodes "a" and "b" at its root and that up axis.
std::shared_ptr<SCNScene> sceneWithUpAxis(std::optional<SCNSceneAttribute> axis) {
  std::shared_ptr<SCNScene> scene = SCNScene::scene();
  for (const char* name : {"a", "b"}) {
    const SCNNode::Pointer node = SCNNode::node();
    node->setName(name);
    scene->rootNode()->addChildNode(node);
  }
  if (axis) scene->setAttribute(*axis, SCNSceneUpAxisAttributeKey);
  return scene;
}

bool isTurned(std::optional<SCNSceneAttribute> axis, ModelFormat format = ModelFormat::usda) {
  const std::shared_ptr<SCNScene> scene = sceneWithUpAxis(std::move(axis));
  const bool changed = SceneKitUSDUpAxisNormalization::applyIfNeeded(*scene, format);
  EXPECT_EQ(scene->rootNode()->childCount(), changed ? 1U : 2U);
  return changed;
}

TEST(SceneKitUSDUpAxisNormalization, MovesTheContentsBelowOneNodeTurnedAboutX) {
  const std::shared_ptr<SCNScene> scene = sceneWithUpAxis(SCNVector3{0, 0, 1});
  ASSERT_TRUE(SceneKitUSDUpAxisNormalization::applyIfNeeded(*scene, ModelFormat::usd));

  ASSERT_EQ(scene->rootNode()->childCount(), 1U);
  const SCNNode::Pointer turned = scene->rootNode()->childNodes().front();
  EXPECT_TRUE(turned->hasName("__OrnolithAxisNormalization"));
  const simd_quatf orientation = turned->simdOrientation();
  EXPECT_EQ(std::bit_cast<std::uint32_t>(orientation.x), 0xBF3504F3U);
  EXPECT_EQ(orientation.y, 0);
  EXPECT_EQ(orientation.z, 0);
  EXPECT_EQ(std::bit_cast<std::uint32_t>(orientation.w), 0x3F3504F4U);

  ASSERT_EQ(turned->childCount(), 2U);
  EXPECT_TRUE(turned->childNodes()[0]->hasName("a"));
  EXPECT_TRUE(turned->childNodes()[1]->hasName("b"));
}

TEST(SceneKitUSDUpAxisNormalization, TurnsAStageOnce) {
  const std::shared_ptr<SCNScene> scene = sceneWithUpAxis(SCNVector3{0, 0, 1});
  EXPECT_TRUE(SceneKitUSDUpAxisNormalization::applyIfNeeded(*scene, ModelFormat::usdc));
  EXPECT_EQ(scene->attributeForKey(SCNSceneUpAxisAttributeKey), SCNSceneAttribute(SCNVector3{0, 1, 0}));
  EXPECT_FALSE(SceneKitUSDUpAxisNormalization::applyIfNeeded(*scene, ModelFormat::usdc));
  EXPECT_EQ(scene->rootNode()->childCount(), 1U);
}

TEST(SceneKitUSDUpAxisNormalization, TurnsOnlyZUp) {
  EXPECT_TRUE(isTurned(SCNVector3{0, 0, 100}));
  EXPECT_TRUE(isTurned(SCNVector3{0.01, 0, 1}));
  EXPECT_FALSE(isTurned(SCNVector3{0.02, 0, 1}));
  EXPECT_FALSE(isTurned(SCNVector3{0, 0, -1}));
  EXPECT_FALSE(isTurned(SCNVector3{0, 1, 0}));
  EXPECT_FALSE(isTurned(std::nullopt));
  EXPECT_FALSE(isTurned(SCNSceneAttribute(std::string("Z"))));
  EXPECT_FALSE(isTurned(SCNSceneAttribute(1.0)));
}

TEST(SceneKitUSDUpAxisNormalization, IgnoresAnAxisWithoutADirection) {
  EXPECT_FALSE(isTurned(SCNVector3{0, 0, 0}));
  EXPECT_FALSE(isTurned(SCNVector3{0, 0, 0.000001}));
  EXPECT_TRUE(isTurned(SCNVector3{0, 0, 0.0000011}));
  EXPECT_FALSE(isTurned(SCNVector3{0, 0, 1e30}));  // Its length is not finite in single precision.
  EXPECT_FALSE(isTurned(SCNVector3{0, 0, std::numeric_limits<double>::quiet_NaN()}));
}

TEST(SceneKitUSDUpAxisNormalization, IsForTheFormatsOfUSDAlone) {
  for (const ModelFormat format : allModelFormats) {
    const bool isUSD = fileExtension(format).starts_with("usd");
    EXPECT_EQ(isTurned(SCNVector3{0, 0, 1}, format), isUSD) << fileExtension(format);
  }
}

}  // namespace
}  // namespace ornolith
