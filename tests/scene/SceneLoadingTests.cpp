#include <string>
#include <vector>

#include "SceneControllerFixture.h"
#include "support/FailureOf.h"

namespace ornolith {
namespace {

using scene_fixtures::addNode;
using scene_fixtures::boxGeometry;
using scene_fixtures::cubeScene;
using scene_fixtures::instanceOf;
using scene_fixtures::loadResult;
using scene_fixtures::SceneControllerFixture;
using scene_fixtures::stamp;
using scene_fixtures::unitCube;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class SceneLoading : public SceneControllerFixture {};

TEST_F(SceneLoading, ALoadedModelHangsBelowTheContentNodeUnderItsOwnRoot) {
  loadCube();
  expectDefaultTree();
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

TEST_F(SceneLoading, TheLoadedScenesRootIsDroppedAndItsChildrenKeepTheirOrder) {
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

TEST_F(SceneLoading, CamerasAndLightsOfAModelStayAsPlainNodesThatAreNoParts) {
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

TEST_F(SceneLoading, ALoadReplacesWhatWasThere) {
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
  expectDefaultTree();
}

TEST_F(SceneLoading, AFailedLoadLeavesTheSceneEmptyAndTheCameraTargetAsItWas) {
  loadCube({7, 0, 0});
  const SCNNode::Pointer oldCamera = controller.cameraNode();
  controller.scene()->background.contents = NSColor::systemRedColor();
  addNode(controller.scene()->rootNode())->setName("stray");
  EXPECT_EQ(failureOf([&] { controller.load(FileURL("/tmp/none.dae"), {}, ModelFormat::dae); }),
            "This build cannot read DAE files.");
  expectDefaultTree();
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

TEST_F(SceneLoading, ClearingPublishesDiagnosticsThenSelectionThenTargetEachBeforeTheChange) {
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

TEST_F(SceneLoading, ALoadPublishesInOrder) {
  std::vector<std::string> events;
  controller.diagnostics.addObserver([&](const auto&) { events.push_back("diagnostics"); });
  controller.selectedModelInstanceID.addObserver([&](const auto&) { events.push_back("selection"); });
  controller.transformTarget.addObserver([&](const auto&) { events.push_back("target"); });
  controller.cameraRevision.addObserver([&](const auto&) { events.push_back("camera"); });
  loadCube();
  EXPECT_THAT(events,
              ElementsAre("diagnostics", "selection", "target", "diagnostics", "selection", "target", "camera"));
}

TEST_F(SceneLoading, AFurtherInstanceLeavesTheSelectionAndJoinsTheTotals) {
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

TEST_F(SceneLoading, TheTotalsAreTheSumsOfAllModels) {
  const auto result = [](const std::string& name) {
    const auto loaded = cubeScene();
    loaded->rootNode()->childNodes()[0]->geometry->materials()[0]->diffuse.contents = std::string("a.png");
    FbxFallbackLoadResult made = loadResult(loaded);
    made.skeletonCount = 2;
    made.boneCount = 3;
    made.animations = {{"0-" + name, name, 0, 1, 1, 24.0}};
    made.diagnostics = {name};
    return made;
  };
  const ViewportModelInstance first = instanceOf(ModelFormat::fbx, "/tmp/a.fbx");
  const ViewportModelInstance second = instanceOf(ModelFormat::fbx, "/tmp/b.fbx");
  controller.addModelInstance(first, result("Walk"), true);
  const ModelInfo alone = controller.modelInfo();
  controller.addModelInstance(second, result("Run"), true);
  const ModelInfo& both = controller.modelInfo();
  for (std::int64_t ModelInfo::*count :
       {&ModelInfo::meshCount, &ModelInfo::vertexCount, &ModelInfo::faceCount, &ModelInfo::triangleCount,
        &ModelInfo::materialCount, &ModelInfo::textureCount, &ModelInfo::skeletonCount, &ModelInfo::boneCount,
        &ModelInfo::animationCount}) {
    EXPECT_GT(alone.*count, 0);
    EXPECT_EQ(both.*count, 2 * alone.*count);
  }
  ASSERT_THAT(both.animations, SizeIs(2));
  EXPECT_EQ(both.animations[0].id, first.id.uuidString() + "|0-Walk");
  EXPECT_EQ(both.animations[1].id, second.id.uuidString() + "|0-Run");
  ASSERT_THAT(controller.diagnostics.value(), SizeIs(2));
  EXPECT_EQ(controller.diagnostics.value()[0].message, "Walk");
  EXPECT_EQ(controller.diagnostics.value()[1].message, "Run");
}

TEST_F(SceneLoading, TheTotalsMeasureHiddenNodesToo) {
  const auto loaded = SCNScene::scene();
  addNode(loaded->rootNode(), boxGeometry({0, 0, 0}, {2, 3, 4}))->isHidden = true;
  controller.loadFbxFallback(loadResult(loaded), FileURL("/tmp/a.fbx"), {});
  EXPECT_EQ(controller.modelInfo().dimensions, (ModelDimensions{2, 3, 4}));
  EXPECT_EQ(controller.modelEntries().begin()->second.modelInfo.dimensions, (ModelDimensions{2, 3, 4}));
}

TEST_F(SceneLoading, AFurtherInstanceMovesTheCameraOnlyWhereItIsAskedTo) {
  loadCube();
  const SCNVector3 position = controller.cameraNode()->position();
  controller.includesSelectionOverlayForCurrentOptions = false;
  controller.addModelInstance(instanceOf(ModelFormat::fbx, "/tmp/b.fbx"), loadResult(cubeScene({9, 0, 0})), false);
  EXPECT_EQ(controller.cameraNode()->position(), position);
  EXPECT_EQ(controller.cameraRevision, 1);
  EXPECT_TRUE(controller.includesSelectionOverlayForCurrentOptions);
}

TEST_F(SceneLoading, AFailedLoadForgetsAllThatTheEarlierModelBrought) {
  const auto loaded = cubeScene();
  const SCNNode::Pointer cube = loaded->rootNode()->childNodes()[0];
  const SCNNode::Pointer hip = addNode(loaded->rootNode());
  addNode(hip);
  cube->skinner = std::make_shared<SCNSkinner>(SCNSkinner{hip});
  cube->addAnimationPlayer(std::make_shared<SCNAnimationPlayer>(SCNAnimation{1}), "spin");
  FbxFallbackLoadResult result = loadResult(loaded);
  result.animations = {{"0-Take", "Take", 0, 1, 1, 24.0}};
  controller.loadFbxFallback(result, FileURL("/tmp/a.fbx"), {});
  ASSERT_TRUE(controller.hasRigging());
  ASSERT_THAT(controller.fallbackAnimationTargets(), SizeIs(1));
  ASSERT_THAT(controller.nativeAnimationTargets(), SizeIs(1));
  failToLoad();
  EXPECT_FALSE(controller.hasRigging());
  EXPECT_THAT(controller.fallbackAnimationTargets(), IsEmpty());
  EXPECT_THAT(controller.nativeAnimationTargets(), IsEmpty());
  // The materials of its geometries are no longer known.
  addNode(controller.sceneContentNode(), cube->geometry);
  controller.applySurfaceMode(SurfaceMode::mesh);
  controller.applySurfaceMode(SurfaceMode::textured);
  EXPECT_EQ(cube->geometry->materials()[0]->fillMode, SCNFillMode::lines);
}

TEST_F(SceneLoading, WhetherAHingeMayBeInferredIsTakenFromTheInstance) {
  ViewportModelInstance instance = instanceOf(ModelFormat::fbx, "/tmp/a.fbx");
  EXPECT_FALSE(controller.addModelInstance(instance, loadResult(cubeScene()), true).blocksRigidArticulationInference);
  instance.blocksRigidArticulationInference = true;
  EXPECT_TRUE(controller.addModelInstance(instance, loadResult(cubeScene()), true).blocksRigidArticulationInference);
  EXPECT_TRUE(controller.modelEntries().at(instance.id).parts.blocksRigidArticulationInference);
}

TEST_F(SceneLoading, ASecondLoadOfOneIdTakesTheEntryOverAndLeavesTheEarlierRoot) {
  const ViewportModelInstance instance = instanceOf(ModelFormat::fbx, "/tmp/a.fbx");
  controller.addModelInstance(instance, loadResult(cubeScene()), true);
  controller.addModelInstance(instance, loadResult(cubeScene()), true);
  EXPECT_THAT(controller.modelEntries(), SizeIs(1));
  EXPECT_THAT(controller.sceneContentNode()->childNodes(), SizeIs(2));
  EXPECT_EQ(controller.modelEntries().at(instance.id).rootNode, controller.modelRootNodes()[1]);
  EXPECT_EQ(controller.modelInfo().meshCount, 1);
}

TEST_F(SceneLoading, AnUnreadableFurtherInstanceChangesNothing) {
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

TEST_F(SceneLoading, AnFbxFileThatItsReaderRefusesFailsWithTheGeneralReadersError) {
  const ViewportModelInstance instance = instanceOf(ModelFormat::fbx, "/nowhere/at/all.fbx");
  EXPECT_EQ(failureOf([&] { controller.addModelInstance(instance, true); }), "This build cannot read FBX files.");
}

TEST_F(SceneLoading, AModelWithoutGeometryHasDimensionsOfOneInTheTotals) {
  controller.loadFbxFallback(loadResult(SCNScene::scene()), FileURL("/tmp/empty.fbx"), {});
  EXPECT_EQ(controller.modelInfo().dimensions, (ModelDimensions{1, 1, 1}));
  EXPECT_EQ(controller.modelInfo().meshCount, 0);
}

TEST_F(SceneLoading, LostPartSelectionsAreReportedAfterTheInstancesAndTheLoadersFindings) {
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

TEST_F(SceneLoading, TheRestoredStateHidesPartsAndColoursThemUnlessACaptureRuns) {
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

TEST_F(SceneLoading, WithoutASkinnerAHierarchyIsNoSkeletonUnlessTheFbxLoaderSaysSo) {
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

TEST_F(SceneLoading, ASkeletonOfOneJointIsNoRigging) {
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

}  // namespace
}  // namespace ornolith
