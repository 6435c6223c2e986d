#include <bit>
#include <cmath>
#include <thread>

#include "SceneControllerFixture.h"
#include "foundation/Math.h"

namespace ornolith {
namespace {

using scene_fixtures::addNode;
using scene_fixtures::cubeScene;
using scene_fixtures::instanceOf;
using scene_fixtures::loadResult;
using scene_fixtures::SceneControllerFixture;
using scene_fixtures::stamp;
using scene_fixtures::unitCube;

class SceneControllerTest : public SceneControllerFixture {};

// Construction.

TEST_F(SceneControllerTest, StartsWithTheDefaultTreeLightsAndCamera) {
  expectDefaultTree();
  EXPECT_EQ(std::get<NSColor>(controller.scene()->background.contents), NSColor::windowBackgroundColor());
  EXPECT_EQ(controller.sceneContentNode()->childCount(), 0U);
  EXPECT_EQ(controller.modelInfo(), ModelInfo::empty());
  EXPECT_EQ(controller.cameraRevision, 0);
  EXPECT_EQ(controller.cameraTarget(), SCNVector3Zero);
  EXPECT_EQ(controller.sceneGroupTransform(), SceneGroupTransform::identity());
}

TEST_F(SceneControllerTest, LightsAreAWhiteAmbientAndAKeyFromAboveTheSide) {
  const SCNLight& ambient = *controller.ambientLightNode()->light;
  EXPECT_EQ(ambient.type, SCNLightTypeAmbient);
  EXPECT_EQ(ambient.color, NSColor::whiteColor());
  EXPECT_EQ(ambient.intensity, 420);
  const SCNLight& key = *controller.keyLightNode()->light;
  EXPECT_EQ(key.type, SCNLightTypeDirectional);
  EXPECT_EQ(key.color, SCNLight().color);
  EXPECT_EQ(key.intensity, 900);
  const SCNVector3 angles = controller.keyLightNode()->eulerAngles();
  EXPECT_NEAR(angles.x, static_cast<double>(std::bit_cast<float>(0xBF860A91U)), 1e-15);
  EXPECT_NEAR(angles.y, static_cast<double>(std::bit_cast<float>(0x3F490FDAU)), 1e-15);
  EXPECT_NEAR(angles.z, 0, 1e-15);
  EXPECT_EQ(controller.keyLightNode()->position(), SCNVector3Zero);
}

TEST_F(SceneControllerTest, ThePhotoModesLightStrengthIsHeldBetweenItsBounds) {
  controller.currentPhotoOptions.lightIntensity = 1.5;
  failToLoad();
  EXPECT_EQ(controller.ambientLightNode()->light->intensity, 420);
  controller.isPhotoModeActive = true;
  const auto intensityAt = [&](double strength) {
    controller.currentPhotoOptions.lightIntensity = strength;
    failToLoad();
    return controller.keyLightNode()->light->intensity;
  };
  EXPECT_EQ(intensityAt(1.5), 1350);
  EXPECT_EQ(intensityAt(0.1), 900 * 0.2);
  EXPECT_EQ(intensityAt(-3), 900 * 0.2);
  EXPECT_EQ(intensityAt(9), 1800);
}

// The group.

TEST_F(SceneControllerTest, TheGroupTurnsAboutTheModelsCentreWithoutMovingAnything) {
  loadCube({10, 20, 30});
  EXPECT_EQ(controller.sceneGroupTransform().pivot, (simd_float3{10, 20, 30}));
  EXPECT_TRUE(controller.sceneGroupTransform().isIdentity());
  EXPECT_EQ(controller.sceneTransformNode()->position(), (SCNVector3{10, 20, 30}));
  EXPECT_EQ(controller.sceneContentNode()->position(), (SCNVector3{-10, -20, -30}));
  EXPECT_EQ(controller.modelRootNodes()[0]->worldPosition(), SCNVector3Zero);
  controller.addModelInstance(instanceOf(ModelFormat::fbx, "/tmp/b.fbx"), loadResult(cubeScene({14, 20, 30})), true);
  EXPECT_EQ(controller.sceneGroupTransform().pivot, (simd_float3{12, 20, 30}));
}

// Selection.

TEST_F(SceneControllerTest, AnUnknownIdSelectsNothing) {
  loadCube();
  controller.selectModelInstance(UUID::random());
  EXPECT_EQ(controller.selectedModelInstanceID.value(), std::nullopt);
  EXPECT_EQ(controller.transformTarget.value(), std::nullopt);
}

TEST_F(SceneControllerTest, SelectingWhatIsSelectedDoesNothingAtAll) {
  loadCube();
  const UUID id = *controller.selectedModelInstanceID.value();
  bool published = false;
  controller.selectedModelInstanceID.addObserver([&](const auto&) { published = true; });
  controller.includesSelectionOverlayForCurrentOptions = false;
  const auto geometry = controller.modelRootNodes()[0]->childNodes()[0]->geometry;
  const SCNGeometry::Materials foreign{SCNMaterial::material()};
  geometry->setMaterials(foreign);
  controller.selectModelInstance(id);
  EXPECT_FALSE(published);
  EXPECT_FALSE(controller.includesSelectionOverlayForCurrentOptions);
  EXPECT_EQ(geometry->materials(), foreign);
  controller.selectModelInstance(std::nullopt);
  EXPECT_TRUE(published);
  EXPECT_TRUE(controller.includesSelectionOverlayForCurrentOptions);
  EXPECT_NE(geometry->materials(), foreign);
}

TEST_F(SceneControllerTest, ThePivotIsThatOfTheTarget) {
  EXPECT_EQ(controller.targetWorldPivot(), std::nullopt);
  ViewportModelInstance instance = instanceOf(ModelFormat::fbx, "/tmp/a.fbx");
  instance.transform.position = {1, 2, 3};
  instance.transform.eulerAngles = {0, 0, static_cast<float>(math::pi / 2)};
  controller.addModelInstance(instance, loadResult(cubeScene()), true);
  EXPECT_EQ(controller.targetWorldPivot(), (simd_float3{1, 2, 3}));
  const simd_quatf turned = controller.targetWorldOrientation(transform_target::Model{instance.id});
  EXPECT_NEAR(turned.z, std::sqrt(0.5F), 1e-6F);
  EXPECT_NEAR(turned.w, std::sqrt(0.5F), 1e-6F);
  EXPECT_EQ(controller.targetWorldOrientation(transform_target::Scene{}), simd_quatf{});
  controller.sceneTransformNode()->setEulerAngles({math::pi / 2, 0, 0});
  EXPECT_NEAR(controller.targetWorldOrientation(transform_target::Scene{}).x, std::sqrt(0.5F), 1e-6F);
  EXPECT_EQ(controller.targetWorldOrientation(transform_target::Model{UUID::random()}), simd_quatf{});
  EXPECT_EQ(controller.targetWorldOrientation(transform_target::Articulation{instance.id}), simd_quatf{});
}

TEST_F(SceneControllerTest, AnAbandonedDragPutsTheModelBack) {
  loadCube();
  const UUID id = *controller.selectedModelInstanceID.value();
  ActiveTransformDragState drag;
  drag.session.target = transform_target::Model{id};
  drag.startingModelTransform = ModelTransform{{4, 5, 6}, {0, 0, 0}, {3, 3, 3}};
  controller.activeTransformDrag = drag;
  controller.selectModelInstance(std::nullopt);
  EXPECT_FALSE(controller.activeTransformDrag.has_value());
  EXPECT_EQ(controller.modelRootNodes()[0]->position(), (SCNVector3{4, 5, 6}));
  EXPECT_EQ(controller.modelRootNodes()[0]->scale(), (SCNVector3{3, 3, 3}));

  drag.session.target = transform_target::Scene{};
  drag.startingSceneTransform = SceneGroupTransform{{1, 0, 0}, {}, {2, 2, 2}, {0, 0, 0}};
  controller.activeTransformDrag = drag;
  controller.cancelTransformDrag();
  EXPECT_EQ(controller.sceneTransformNode()->position(), (SCNVector3{1, 0, 0}));
  EXPECT_EQ(controller.sceneTransformNode()->scale(), (SCNVector3{2, 2, 2}));
}

// Overlays and captures.

TEST_F(SceneControllerTest, RebuildingTakesAnOldOverlayAway) {
  const SCNNode::Pointer overlay = addNode(controller.scene()->rootNode());
  overlay->setName("__OrnoviewOverlay");
  const SCNNode::Pointer deep = addNode(controller.sceneContentNode());
  deep->setName("__OrnoviewOverlay");
  controller.rebuildViewportOverlays();
  EXPECT_FALSE(overlay->hasParent());
  EXPECT_TRUE(deep->hasParent());
}

TEST_F(SceneControllerTest, ACaptureLeavesTheSelectionFrameAndTheGizmoOut) {
  const SCNNode::Pointer node = SCNNode::node();
  EXPECT_FALSE(SceneController::isTransientCaptureOverlay(*node));
  node->setName("__OrnolithSelectionOverlay");
  EXPECT_TRUE(SceneController::isTransientCaptureOverlay(*node));
  EXPECT_TRUE(SceneController::isTransientCaptureOverlay(*controller.transformGizmo().rootNode()));
  node->setName("__OrnolithPivotOverlay");
  EXPECT_FALSE(SceneController::isTransientCaptureOverlay(*node));
}

// Size and threads.

TEST_F(SceneControllerTest, VeryWideAndVeryDeepModelsLoad) {
  const auto wide = SCNScene::scene();
  const auto cube = unitCube();
  for (int index = 0; index < 100'000; ++index) {
    stamp(*addNode(wide->rootNode(), cube), "fbx:" + std::to_string(index), "Part");
  }
  controller.loadFbxFallback(loadResult(wide), FileURL("/tmp/wide.fbx"), {});
  EXPECT_EQ(controller.modelInfo().meshCount, 100'000);

  const auto deep = SCNScene::scene();
  SCNNode::Pointer node = deep->rootNode();
  for (int level = 0; level < 100'000; ++level) {
    node = addNode(node, cube, {0, 0, 1});
    stamp(*node, "fbx:" + std::to_string(level), "Level");
  }
  controller.loadFbxFallback(loadResult(deep), FileURL("/tmp/deep.fbx"), {});
  EXPECT_EQ(controller.modelInfo().dimensions, (ModelDimensions{1, 1, 100'000}));
  controller.applySurfaceMode(SurfaceMode::mesh);
  EXPECT_EQ(node->geometry->materials()[0]->fillMode, SCNFillMode::lines);
}

TEST(SceneControllerDeathTest, UseFromAnotherThreadEndsTheProcess) {
  SceneController controller;
  EXPECT_DEATH(std::thread([&] { controller.applySurfaceMode(SurfaceMode::mesh); }).join(),
               "a scene is used on the thread that made it");
}

}  // namespace
}  // namespace ornolith
