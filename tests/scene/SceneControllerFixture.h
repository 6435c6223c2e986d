#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "SceneFixtures.h"
#include "scene/SceneController.h"

namespace ornolith::scene_fixtures {

inline ViewportModelInstance instanceOf(ModelFormat format, const std::string& path) {
  ViewportModelInstance instance;
  instance.id = UUID::random();
  instance.format = format;
  instance.modelPath = path;
  return instance;
}

/// A controller and what tests do with it.
class SceneControllerFixture : public testing::Test {
 protected:
  void loadCube(SCNVector3 position = {}) {
    controller.loadFbxFallback(loadResult(cubeScene(position)), FileURL("/tmp/cube.fbx"), {});
  }
  /// Loads a model that no reader takes: the scene is empty afterwards.
  void failToLoad() { EXPECT_THROW(controller.load(FileURL("/tmp/none.obj"), {}, ModelFormat::obj), Error); }

  /// The fixed tree stands, with the lights and the camera of the controller.
  void expectDefaultTree() const {
    using testing::ElementsAre;
    EXPECT_THAT(controller.scene()->rootNode()->childNodes(),
                ElementsAre(controller.ambientLightNode(), controller.keyLightNode(), controller.cameraNode(),
                            controller.sceneTransformNode()));
    EXPECT_THAT(controller.sceneTransformNode()->childNodes(), ElementsAre(controller.sceneContentNode()));
    EXPECT_EQ(controller.sceneTransformNode()->name(), "__OrnolithSceneTransform");
    EXPECT_EQ(controller.sceneContentNode()->name(), "__OrnolithSceneContent");
    EXPECT_EQ(controller.ambientLightNode()->name(), std::nullopt);
    EXPECT_EQ(controller.cameraNode()->name(), std::nullopt);
  }

  SceneController controller;
};

}  // namespace ornolith::scene_fixtures
