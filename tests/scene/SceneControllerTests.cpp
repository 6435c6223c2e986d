#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <limits>
#include <thread>

#include "SceneFixtures.h"
#include "foundation/Math.h"
#include "scene/SceneController.h"
#include "support/FailureOf.h"

namespace ornolith {
namespace {

using scene_fixtures::addNode;
using scene_fixtures::boxGeometry;
using scene_fixtures::cubeScene;
using scene_fixtures::loadResult;
using scene_fixtures::stamp;
using scene_fixtures::unitCube;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

ViewportModelInstance instanceOf(ModelFormat format, const std::string& path) {
  ViewportModelInstance instance;
  instance.id = UUID::random();
  instance.format = format;
  instance.modelPath = path;
  return instance;
}

/// Direction of a node's negative z in world space.
simd_double3 viewDirection(const SCNNode& node) {
  return -transformDirection(node.worldTransform(), {0, 0, 1});
}

void expectNear(simd_double3 actual, simd_double3 expected) {
  for (std::size_t axis = 0; axis < 3; ++axis) EXPECT_NEAR(actual[axis], expected[axis], 1e-12) << "axis " << axis;
}

void expectDefaultTree(const SceneController& controller) {
  EXPECT_THAT(controller.scene()->rootNode()->childNodes(),
              ElementsAre(controller.ambientLightNode(), controller.keyLightNode(), controller.cameraNode(),
                          controller.sceneTransformNode()));
  EXPECT_THAT(controller.sceneTransformNode()->childNodes(), ElementsAre(controller.sceneContentNode()));
  EXPECT_EQ(controller.sceneTransformNode()->name(), "__OrnolithSceneTransform");
  EXPECT_EQ(controller.sceneContentNode()->name(), "__OrnolithSceneContent");
  EXPECT_EQ(controller.ambientLightNode()->name(), std::nullopt);
  EXPECT_EQ(controller.cameraNode()->name(), std::nullopt);
}

class SceneControllerTest : public ::testing::Test {
 protected:
  void loadCube(SCNVector3 position = {}) {
    controller.loadFbxFallback(loadResult(cubeScene(position)), FileURL("/tmp/cube.fbx"), {});
  }
  /// Loads a model that no reader takes: the scene is empty afterwards.
  void failToLoad() { EXPECT_THROW(controller.load(FileURL("/tmp/none.obj"), {}, ModelFormat::obj), Error); }

  SceneController controller;
};

// Construction.

TEST_F(SceneControllerTest, StartsWithTheDefaultTreeLightsAndCamera) {
  expectDefaultTree(controller);
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

TEST_F(SceneControllerTest, TheCameraStandsInFrontAndLooksAtTheOrigin) {
  const SCNCamera& camera = *controller.cameraNode()->camera;
  EXPECT_EQ(camera.fieldOfView, 45);
  EXPECT_EQ(camera.zNear, 0.001);
  EXPECT_EQ(camera.zFar, 10000);
  EXPECT_FALSE(camera.usesOrthographicProjection);
  EXPECT_EQ(controller.cameraNode()->position(), (SCNVector3{0, 0.4, 4}));
  const double distance = std::sqrt(0.4 * 0.4 + 16);
  expectNear(viewDirection(*controller.cameraNode()), {0, -0.4 / distance, -4 / distance});
}

// Loading.

TEST_F(SceneControllerTest, ALoadedModelHangsBelowTheContentNodeUnderItsOwnRoot) {
  loadCube();
  expectDefaultTree(controller);
  ASSERT_THAT(controller.modelRootNodes(), SizeIs(1));
  const SCNNode::Pointer root = controller.modelRootNodes()[0];
  ASSERT_THAT(controller.modelEntries(), SizeIs(1));
  const auto& [id, entry] = *controller.modelEntries().begin();
  EXPECT_EQ(root->name(), "__OrnoscopeModelInstance_" + id.uuidString());
  EXPECT_EQ(root->parentNode(), controller.sceneContentNode());
  EXPECT_EQ(entry.id, id);
  EXPECT_EQ(entry.rootNode, root);
  EXPECT_EQ(controller.selectedModelInstanceID.value(), id);
  EXPECT_EQ(controller.transformTarget.value(), ViewportTransformTarget(transform_target::Model{id}));
  EXPECT_EQ(entry.parts.descriptors().at(0).name, "Cube");
}

TEST_F(SceneControllerTest, TheLoadedScenesRootIsDroppedAndItsChildrenKeepTheirOrder) {
  const auto loaded = SCNScene::scene();
  loaded->rootNode()->setPosition({5, 0, 0});
  const SCNNode::Pointer first = addNode(loaded->rootNode(), unitCube());
  const SCNNode::Pointer second = addNode(loaded->rootNode(), unitCube());
  ViewportModelInstance instance = instanceOf(ModelFormat::fbx, "/tmp/a.fbx");
  instance.transform = {{1, 2, 3}, {0, 0.5F, 0}, {2, 2, 2}};
  controller.addModelInstance(instance, loadResult(loaded), false);
  const SCNNode::Pointer root = controller.modelRootNodes()[0];
  EXPECT_THAT(root->childNodes(), ElementsAre(first, second));
  EXPECT_EQ(loaded->rootNode()->childCount(), 0U);
  EXPECT_EQ(root->position(), (SCNVector3{1, 2, 3}));
  EXPECT_EQ(root->scale(), (SCNVector3{2, 2, 2}));
  EXPECT_NEAR(root->eulerAngles().y, 0.5, 1e-15);
}

TEST_F(SceneControllerTest, CamerasAndLightsOfAModelStayAsPlainNodesThatAreNoParts) {
  const auto loaded = cubeScene();
  const SCNNode::Pointer camera = addNode(loaded->rootNode());
  camera->camera = SCNCamera::camera();
  stamp(*camera, "fbx:7", "Camera");
  camera->addAnimationPlayer(std::make_shared<SCNAnimationPlayer>(SCNAnimation{1}), "fly");
  const SCNNode::Pointer lamp = addNode(addNode(loaded->rootNode()));
  lamp->light = SCNLight::light();
  const SCNNode::Pointer plain = addNode(loaded->rootNode());
  controller.loadFbxFallback(loadResult(loaded), FileURL("/tmp/a.fbx"), {});
  EXPECT_EQ(camera->camera, nullptr);
  EXPECT_EQ(lamp->light, nullptr);
  EXPECT_EQ(camera->parentNode(), controller.modelRootNodes()[0]);
  EXPECT_TRUE(metadataBool(ornolithIsNonAddressableNodeKey, *camera));
  EXPECT_TRUE(metadataBool(ornolithIsNonAddressableNodeKey, *lamp));
  EXPECT_EQ(metadataString(ornolithSourceNodeNameKey, *camera), "Camera");
  EXPECT_EQ(plain->ornolithMetadata, std::nullopt);
}

TEST_F(SceneControllerTest, ALoadReplacesWhatWasThere) {
  loadCube();
  const UUID first = controller.modelEntries().begin()->first;
  const SCNNode::Pointer firstRoot = controller.modelRootNodes()[0];
  loadCube();
  EXPECT_THAT(controller.modelRootNodes(), SizeIs(1));
  EXPECT_THAT(controller.modelEntries(), SizeIs(1));
  EXPECT_FALSE(controller.modelEntries().contains(first));
  EXPECT_NE(controller.modelRootNodes()[0], firstRoot);
  EXPECT_FALSE(firstRoot->hasParent());
  EXPECT_EQ(controller.modelInfo().meshCount, 1);
  expectDefaultTree(controller);
}

TEST_F(SceneControllerTest, AFailedLoadLeavesTheSceneEmptyAndTheCameraTargetAsItWas) {
  loadCube({7, 0, 0});
  const SCNNode::Pointer oldCamera = controller.cameraNode();
  controller.scene()->background.contents = NSColor::systemRedColor();
  addNode(controller.scene()->rootNode())->setName("stray");
  EXPECT_EQ(failureOf([&] { controller.load(FileURL("/tmp/none.dae"), {}, ModelFormat::dae); }),
            "This build cannot read DAE files.");
  expectDefaultTree(controller);
  EXPECT_NE(controller.cameraNode(), oldCamera);
  EXPECT_EQ(controller.cameraNode()->position(), (SCNVector3{0, 0.4, 4}));
  EXPECT_EQ(controller.cameraTarget(), (SCNVector3{7, 0, 0}));
  EXPECT_THAT(controller.modelRootNodes(), IsEmpty());
  EXPECT_THAT(controller.modelEntries(), IsEmpty());
  EXPECT_THAT(controller.diagnostics.value(), IsEmpty());
  EXPECT_EQ(controller.selectedModelInstanceID.value(), std::nullopt);
  EXPECT_EQ(controller.transformTarget.value(), std::nullopt);
  EXPECT_EQ(controller.sceneGroupTransform(), SceneGroupTransform::identity());
  EXPECT_EQ(controller.sceneContentNode()->position(), SCNVector3Zero);
  EXPECT_EQ(controller.modelInfo(), ModelInfo::empty());
  EXPECT_FALSE(controller.hasRigging());
  EXPECT_THAT(controller.fallbackAnimationTargets(), IsEmpty());
  EXPECT_EQ(std::get<NSColor>(controller.scene()->background.contents), NSColor::windowBackgroundColor());
}

TEST_F(SceneControllerTest, ClearingPublishesDiagnosticsThenSelectionThenTargetEachBeforeTheChange) {
  loadCube();
  std::vector<std::string> events;
  controller.diagnostics.addObserver([&](const auto&) {
    events.push_back("diagnostics");
    EXPECT_THAT(controller.modelEntries(), IsEmpty());
  });
  controller.selectedModelInstanceID.addObserver([&](const std::optional<UUID>& next) {
    events.push_back("selection");
    EXPECT_EQ(next, std::nullopt);
    EXPECT_NE(controller.selectedModelInstanceID.value(), std::nullopt);
  });
  controller.transformTarget.addObserver([&](const auto& next) {
    events.push_back("target");
    EXPECT_EQ(next, std::nullopt);
    EXPECT_NE(controller.transformTarget.value(), std::nullopt);
    EXPECT_EQ(controller.selectedModelInstanceID.value(), std::nullopt);
  });
  controller.cameraRevision.addObserver([&](const auto&) { events.push_back("camera"); });
  failToLoad();
  EXPECT_THAT(events, ElementsAre("diagnostics", "selection", "target"));
}

TEST_F(SceneControllerTest, ALoadPublishesInOrder) {
  std::vector<std::string> events;
  controller.diagnostics.addObserver([&](const auto&) { events.push_back("diagnostics"); });
  controller.selectedModelInstanceID.addObserver([&](const auto&) { events.push_back("selection"); });
  controller.transformTarget.addObserver([&](const auto&) { events.push_back("target"); });
  controller.cameraRevision.addObserver([&](const auto&) { events.push_back("camera"); });
  loadCube();
  EXPECT_THAT(events,
              ElementsAre("diagnostics", "selection", "target", "diagnostics", "selection", "target", "camera"));
}

TEST_F(SceneControllerTest, AFurtherInstanceLeavesTheSelectionAndJoinsTheTotals) {
  const ViewportModelInstance first = instanceOf(ModelFormat::fbx, "/tmp/a.fbx");
  const ViewportModelInstance second = instanceOf(ModelFormat::fbx, "/tmp/b.fbx");
  FbxFallbackLoadResult warned = loadResult(cubeScene({4, 0, 0}));
  warned.diagnostics = {"text one", "text two"};
  warned.usedMaterialFallback = true;
  controller.addModelInstance(first, loadResult(cubeScene()), true);
  const LoadedModelSummary summary = controller.addModelInstance(second, warned, true);
  EXPECT_EQ(controller.selectedModelInstanceID.value(), first.id);
  EXPECT_EQ(summary.modelInfo.meshCount, 1);
  EXPECT_EQ(controller.modelInfo().meshCount, 2);
  EXPECT_EQ(controller.modelInfo().vertexCount, 16);
  EXPECT_EQ(controller.modelInfo().dimensions, (ModelDimensions{5, 1, 1}));
  EXPECT_EQ(controller.diagnostics.value(), summary.diagnostics);
  ASSERT_THAT(summary.diagnostics, SizeIs(3));
  EXPECT_EQ(summary.diagnostics[0].code, "fbx.material-resource");
  EXPECT_EQ(summary.diagnostics[1].message, "text two");
  EXPECT_EQ(summary.diagnostics[2].id(),
            "warning|fbx.material-fallback|fbx||Some FBX geometry has no usable material or color data. Ornolith uses "
            "opaque white for vertex-colored geometry and opaque neutral gray otherwise.");
}

TEST_F(SceneControllerTest, ASecondLoadOfOneIdTakesTheEntryOverAndLeavesTheEarlierRoot) {
  const ViewportModelInstance instance = instanceOf(ModelFormat::fbx, "/tmp/a.fbx");
  controller.addModelInstance(instance, loadResult(cubeScene()), true);
  controller.addModelInstance(instance, loadResult(cubeScene()), true);
  EXPECT_THAT(controller.modelEntries(), SizeIs(1));
  EXPECT_THAT(controller.sceneContentNode()->childNodes(), SizeIs(2));
  EXPECT_EQ(controller.modelEntries().at(instance.id).rootNode, controller.modelRootNodes()[1]);
  EXPECT_EQ(controller.modelInfo().meshCount, 1);
}

TEST_F(SceneControllerTest, AnUnreadableFurtherInstanceChangesNothing) {
  loadCube();
  const ModelInfo info = controller.modelInfo();
  for (const auto& [format, text] : {std::pair{ModelFormat::dae, "This build cannot read DAE files."},
                                     std::pair{ModelFormat::glb, "none.glb could not be loaded as glTF."}}) {
    const ViewportModelInstance instance = instanceOf(format, "/tmp/none." + std::string(rawValue(format)));
    EXPECT_EQ(failureOf([&] { controller.addModelInstance(instance, true); }), text);
  }
  EXPECT_EQ(controller.modelInfo(), info);
  EXPECT_THAT(controller.modelRootNodes(), SizeIs(1));
}

TEST_F(SceneControllerTest, AnFbxFileThatItsReaderRefusesFailsWithTheGeneralReadersError) {
  const ViewportModelInstance instance = instanceOf(ModelFormat::fbx, "/nowhere/at/all.fbx");
  EXPECT_EQ(failureOf([&] { controller.addModelInstance(instance, true); }), "This build cannot read FBX files.");
}

TEST_F(SceneControllerTest, AModelWithoutGeometryHasDimensionsOfOneInTheTotals) {
  controller.loadFbxFallback(loadResult(SCNScene::scene()), FileURL("/tmp/empty.fbx"), {});
  EXPECT_EQ(controller.modelInfo().dimensions, (ModelDimensions{1, 1, 1}));
  EXPECT_EQ(controller.modelInfo().meshCount, 0);
}

TEST_F(SceneControllerTest, LostPartSelectionsAreReportedAfterTheInstancesAndTheLoadersFindings) {
  ViewportModelInstance instance = instanceOf(ModelFormat::fbx, "/tmp/a.fbx");
  instance.diagnostics = {{ModelDiagnosticSeverity::warning, "resource.missing", ModelFormat::gltf, "m", "u"}};
  instance.partPresentationState.selectedPartPath = ModelNodePath{{{ModelNodeSourceID{"fbx:99"}, "Gone"}}};
  FbxFallbackLoadResult result = loadResult(cubeScene());
  result.diagnostics = {"text"};
  const LoadedModelSummary summary = controller.addModelInstance(instance, result, true);
  ASSERT_THAT(summary.diagnostics, SizeIs(3));
  EXPECT_EQ(summary.diagnostics[0].code, "resource.missing");
  EXPECT_EQ(summary.diagnostics[1].code, "fbx.material-resource");
  EXPECT_EQ(summary.diagnostics[2].id(),
            "info|parts.state-stale|fbx||Some saved part selections could no longer be matched and were discarded.");
  EXPECT_EQ(summary.partPresentationState.selectedPartPath, std::nullopt);
}

TEST_F(SceneControllerTest, TheRestoredStateHidesPartsAndColoursThemUnlessACaptureRuns) {
  const auto loaded = cubeScene();
  const SCNNode::Pointer cube = loaded->rootNode()->childNodes()[0];
  const SCNNode::Pointer other = addNode(loaded->rootNode(), unitCube());
  stamp(*other, "fbx:2", "Other");
  ViewportModelInstance instance = instanceOf(ModelFormat::fbx, "/tmp/a.fbx");
  instance.partPresentationState.hiddenPartPaths = {ModelNodePath{{{ModelNodeSourceID{"fbx:2"}, "Other"}}}};
  instance.partPresentationState.showsDiagnosticColors = true;
  controller.addModelInstance(instance, loadResult(loaded), true);
  EXPECT_TRUE(other->isHidden);
  EXPECT_FALSE(cube->isHidden);
  const auto isColoured = [&] { return cube->geometry->materials()[0]->lightingModelName == SCNLightingModelConstant; };
  EXPECT_TRUE(isColoured());
  controller.isSelectionOverlaySuppressedForCapture = true;
  controller.applySurfaceMode(SurfaceMode::textured);
  EXPECT_FALSE(isColoured());
  controller.isSelectionOverlaySuppressedForCapture = false;
  controller.applySurfaceMode(SurfaceMode::textured);
  EXPECT_TRUE(isColoured());
}

// Facts.

TEST_F(SceneControllerTest, WithoutASkinnerAHierarchyIsNoSkeletonUnlessTheFbxLoaderSaysSo) {
  loadCube();
  EXPECT_EQ(controller.modelInfo().skeletonCount, 0);
  EXPECT_EQ(controller.modelInfo().boneCount, 0);
  FbxFallbackLoadResult result = loadResult(cubeScene());
  result.skeletonCount = 2;
  result.boneCount = 40;
  result.animations = {{"0-Take", "Take", 0.25, 1.25, 1.0, 24.0}, {"1-Empty", "Empty", 3, 2, 0, std::nullopt}};
  controller.loadFbxFallback(result, FileURL("/tmp/a.fbx"), {});
  const ModelInfo& info = controller.modelInfo();
  EXPECT_EQ(info.skeletonCount, 2);
  EXPECT_EQ(info.boneCount, 40);
  EXPECT_EQ(info.animationCount, 2);
  ASSERT_THAT(info.animations, SizeIs(2));
  const std::string prefix = controller.modelEntries().begin()->first.uuidString() + "|";
  EXPECT_EQ(info.animations[0].id, prefix + "0-Take");
  EXPECT_EQ(info.animations[0].framesPerSecond, 24.0);
  EXPECT_EQ(info.animations[1].framesPerSecond, 0.0);
  EXPECT_EQ(info.animations[1].duration, 0);
  EXPECT_EQ(info.animations[1].startTime, 3);
  const FallbackAnimationTarget& target = controller.fallbackAnimationTargets().at(prefix + "0-Take");
  EXPECT_EQ(target.originalID, "0-Take");
  EXPECT_EQ(target.info, info.animations[0]);
}

TEST_F(SceneControllerTest, ASkeletonOfOneJointIsNoRigging) {
  const auto loaded = cubeScene();
  const SCNNode::Pointer joint = addNode(loaded->rootNode());
  loaded->rootNode()->childNodes()[0]->skinner = std::make_shared<SCNSkinner>(SCNSkinner{joint});
  controller.loadFbxFallback(loadResult(loaded), FileURL("/tmp/a.fbx"), {});
  EXPECT_FALSE(controller.hasRigging());
  loadCube();
  const auto rigged = cubeScene();
  const SCNNode::Pointer hip = addNode(rigged->rootNode());
  addNode(hip);
  rigged->rootNode()->childNodes()[0]->skinner = std::make_shared<SCNSkinner>(SCNSkinner{hip});
  controller.loadFbxFallback(loadResult(rigged), FileURL("/tmp/a.fbx"), {});
  EXPECT_TRUE(controller.hasRigging());
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

// Camera.

TEST_F(SceneControllerTest, TheCameraFramesALoadedModelByItsLargestSide) {
  const auto loaded = SCNScene::scene();
  addNode(loaded->rootNode(), boxGeometry({0, 0, 0}, {2, 6, 4}));
  controller.loadFbxFallback(loadResult(loaded), FileURL("/tmp/a.fbx"), {});
  EXPECT_EQ(controller.cameraTarget(), (SCNVector3{1, 3, 2}));
  EXPECT_EQ(controller.cameraNode()->position(), (SCNVector3{1, 3 + 0.35 * 6, 2 + 2.4 * 6}));
  const double distance = std::sqrt(0.35 * 0.35 + 2.4 * 2.4);
  expectNear(viewDirection(*controller.cameraNode()), {0, -0.35 / distance, -2.4 / distance});
  EXPECT_EQ(controller.cameraRevision, 1);
}

TEST_F(SceneControllerTest, ASmallModelIsFramedAsIfItsLargestSideWereOne) {
  const auto loaded = SCNScene::scene();
  addNode(loaded->rootNode(), boxGeometry({0, 0, 0}, {0.5, 0.5, 0.5}));
  controller.loadFbxFallback(loadResult(loaded), FileURL("/tmp/a.fbx"), {});
  EXPECT_EQ(controller.cameraNode()->position(), (SCNVector3{0.25, 0.25 + 0.35, 0.25 + 2.4}));
}

TEST_F(SceneControllerTest, AModelThatIsAllHiddenIsFramedAsNothing) {
  const auto loaded = cubeScene({50, 50, 50});
  loaded->rootNode()->childNodes()[0]->isHidden = true;
  controller.loadFbxFallback(loadResult(loaded), FileURL("/tmp/a.fbx"), {});
  EXPECT_EQ(controller.cameraNode()->position(), (SCNVector3{0, 0.35, 2.4}));
  EXPECT_EQ(controller.cameraTarget(), SCNVector3Zero);
  EXPECT_EQ(controller.currentModelRenderBounds(), (ModelRenderBounds{{-0.5F, -0.5F, -0.5F}, {0.5F, 0.5F, 0.5F}}));
  EXPECT_EQ(controller.modelInfo().dimensions, (ModelDimensions{1, 1, 1}));
  EXPECT_EQ(controller.sceneGroupTransform().pivot, (simd_float3{50, 50, 50}));
}

TEST_F(SceneControllerTest, PositioningKeepsTheSettingsOfAnExistingCameraAndMakesAMissingOne) {
  controller.cameraNode()->camera->fieldOfView = 20;
  controller.positionCamera({});
  EXPECT_EQ(controller.cameraNode()->camera->fieldOfView, 20);
  controller.cameraNode()->camera.reset();
  controller.cameraNode()->removeFromParentNode();
  EXPECT_EQ(controller.currentCameraState().fieldOfView, 45);
  controller.positionCamera({});
  EXPECT_EQ(controller.cameraNode()->camera->fieldOfView, 45);
  EXPECT_EQ(controller.cameraNode()->camera->zNear, 0.001);
  EXPECT_EQ(controller.cameraNode()->parentNode(), controller.scene()->rootNode());
  EXPECT_EQ(controller.cameraRevision, 2);
}

TEST_F(SceneControllerTest, ACameraStateIsTakenAndGivenBack) {
  CameraState state;
  state.position = {1, 2, 3};
  state.eulerAngles = {0.25F, -0.5F, 0.125F};
  state.target = {4, 5, 6};
  state.fieldOfView = 33.5;
  controller.cameraNode()->camera.reset();
  controller.cameraNode()->removeFromParentNode();
  controller.applyCameraState(state);
  EXPECT_EQ(controller.cameraNode()->parentNode(), controller.scene()->rootNode());
  EXPECT_EQ(controller.cameraNode()->camera->zFar, 10000);
  EXPECT_EQ(controller.cameraRevision, 1);
  const CameraState current = controller.currentCameraState();
  EXPECT_EQ(current.position, state.position);
  EXPECT_EQ(current.target, state.target);
  EXPECT_EQ(current.fieldOfView, 33.5);
  EXPECT_FLOAT_EQ(current.eulerAngles.x, 0.25F);
  EXPECT_FLOAT_EQ(current.eulerAngles.y, -0.5F);
  EXPECT_FLOAT_EQ(current.eulerAngles.z, 0.125F);
}

TEST_F(SceneControllerTest, TheCameraFollowsAViewThatShowsTheScene) {
  const auto view = std::make_shared<SCNView>();
  view->pointOfView = SCNNode::node();
  view->pointOfView->setPosition({9, 8, 7});
  view->defaultCameraController.target = {1, 1, 1};
  controller.renderedView = view;
  EXPECT_EQ(controller.currentCameraState().position, (CodableVector3{9, 8, 7}));
  EXPECT_EQ(controller.currentCameraState().target, (CodableVector3{1, 1, 1}));
  CameraState state;
  state.target = {2, 3, 4};
  controller.applyCameraState(state);
  EXPECT_EQ(view->pointOfView, controller.cameraNode());
  EXPECT_EQ(view->defaultCameraController.target, (SCNVector3{2, 3, 4}));
}

TEST_F(SceneControllerTest, RenderBoundsLeaveHiddenNodesOut) {
  const auto loaded = cubeScene();
  addNode(loaded->rootNode(), unitCube(), {9, 0, 0})->isHidden = true;
  controller.loadFbxFallback(loadResult(loaded), FileURL("/tmp/a.fbx"), {});
  EXPECT_EQ(controller.currentModelRenderBounds(), (ModelRenderBounds{{-0.5F, -0.5F, -0.5F}, {0.5F, 0.5F, 0.5F}}));
}

TEST_F(SceneControllerTest, RenderBoundsThatNoFloatHoldsAreThoseOfAUnitBox) {
  const auto loaded = SCNScene::scene();
  addNode(loaded->rootNode(), boxGeometry({0, 0, 0}, {1, 1, 1}))->setScale({1e300, 1, 1});
  controller.loadFbxFallback(loadResult(loaded), FileURL("/tmp/a.fbx"), {});
  EXPECT_EQ(controller.currentModelRenderBounds(), (ModelRenderBounds{{-0.5F, -0.5F, -0.5F}, {0.5F, 0.5F, 0.5F}}));
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
