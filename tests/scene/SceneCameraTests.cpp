#include <cmath>
#include <memory>

#include "SceneControllerFixture.h"
#include "scenegraph/Transforms.h"

namespace ornolith {
namespace {

using scene_fixtures::addNode;
using scene_fixtures::boxGeometry;
using scene_fixtures::cubeScene;
using scene_fixtures::loadResult;
using scene_fixtures::SceneControllerFixture;
using scene_fixtures::unitCube;

/// Direction of a node's negative z in world space.
simd_double3 viewDirection(const SCNNode& node) {
  return -transformDirection(node.worldTransform(), {0, 0, 1});
}

void expectNear(simd_double3 actual, simd_double3 expected) {
  for (std::size_t axis = 0; axis < 3; ++axis) EXPECT_NEAR(actual[axis], expected[axis], 1e-12) << "axis " << axis;
}

class SceneCamera : public SceneControllerFixture {};

TEST_F(SceneCamera, TheCameraStandsInFrontAndLooksAtTheOrigin) {
  const SCNCamera& camera = *controller.cameraNode()->camera;
  EXPECT_EQ(camera.fieldOfView, 45);
  EXPECT_EQ(camera.zNear, 0.001);
  EXPECT_EQ(camera.zFar, 10000);
  EXPECT_FALSE(camera.usesOrthographicProjection);
  EXPECT_EQ(controller.cameraNode()->position(), (SCNVector3{0, 0.4, 4}));
  const double distance = std::sqrt(0.4 * 0.4 + 16);
  expectNear(viewDirection(*controller.cameraNode()), {0, -0.4 / distance, -4 / distance});
}

TEST_F(SceneCamera, TheCameraFramesALoadedModelByItsLargestSide) {
  const auto loaded = SCNScene::scene();
  addNode(loaded->rootNode(), boxGeometry({0, 0, 0}, {2, 6, 4}));
  controller.loadFbxFallback(loadResult(loaded), FileURL("/tmp/a.fbx"), {});
  EXPECT_EQ(controller.cameraTarget(), (SCNVector3{1, 3, 2}));
  EXPECT_EQ(controller.cameraNode()->position(), (SCNVector3{1, 3 + 0.35 * 6, 2 + 2.4 * 6}));
  const double distance = std::sqrt(0.35 * 0.35 + 2.4 * 2.4);
  expectNear(viewDirection(*controller.cameraNode()), {0, -0.35 / distance, -2.4 / distance});
  EXPECT_EQ(controller.cameraRevision, 1);
}

TEST_F(SceneCamera, ASmallModelIsFramedAsIfItsLargestSideWereOne) {
  const auto loaded = SCNScene::scene();
  addNode(loaded->rootNode(), boxGeometry({0, 0, 0}, {0.5, 0.5, 0.5}));
  controller.loadFbxFallback(loadResult(loaded), FileURL("/tmp/a.fbx"), {});
  EXPECT_EQ(controller.cameraNode()->position(), (SCNVector3{0.25, 0.25 + 0.35, 0.25 + 2.4}));
}

TEST_F(SceneCamera, AModelThatIsAllHiddenIsFramedAsNothing) {
  const auto loaded = cubeScene({50, 50, 50});
  loaded->rootNode()->childNodes()[0]->isHidden = true;
  controller.loadFbxFallback(loadResult(loaded), FileURL("/tmp/a.fbx"), {});
  EXPECT_EQ(controller.cameraNode()->position(), (SCNVector3{0, 0.35, 2.4}));
  EXPECT_EQ(controller.cameraTarget(), SCNVector3Zero);
  EXPECT_EQ(controller.currentModelRenderBounds(), (ModelRenderBounds{{-0.5F, -0.5F, -0.5F}, {0.5F, 0.5F, 0.5F}}));
  EXPECT_EQ(controller.modelInfo().dimensions, (ModelDimensions{1, 1, 1}));
  EXPECT_EQ(controller.sceneGroupTransform().pivot, (simd_float3{50, 50, 50}));
}

TEST_F(SceneCamera, PositioningKeepsTheSettingsOfAnExistingCameraAndMakesAMissingOne) {
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

TEST_F(SceneCamera, ACameraStateIsTakenAndGivenBack) {
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

TEST_F(SceneCamera, TheCameraFollowsAViewThatShowsTheScene) {
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

TEST_F(SceneCamera, RenderBoundsLeaveHiddenNodesOut) {
  const auto loaded = cubeScene();
  addNode(loaded->rootNode(), unitCube(), {9, 0, 0})->isHidden = true;
  controller.loadFbxFallback(loadResult(loaded), FileURL("/tmp/a.fbx"), {});
  EXPECT_EQ(controller.currentModelRenderBounds(), (ModelRenderBounds{{-0.5F, -0.5F, -0.5F}, {0.5F, 0.5F, 0.5F}}));
}

TEST_F(SceneCamera, RenderBoundsThatNoFloatHoldsAreThoseOfAUnitBox) {
  const auto loaded = SCNScene::scene();
  addNode(loaded->rootNode(), boxGeometry({0, 0, 0}, {1, 1, 1}))->setScale({1e300, 1, 1});
  controller.loadFbxFallback(loadResult(loaded), FileURL("/tmp/a.fbx"), {});
  EXPECT_EQ(controller.currentModelRenderBounds(), (ModelRenderBounds{{-0.5F, -0.5F, -0.5F}, {0.5F, 0.5F, 0.5F}}));
}

}  // namespace
}  // namespace ornolith
