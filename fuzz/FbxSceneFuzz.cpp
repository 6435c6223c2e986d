// links: ornolith_loaders_fbx ornolith_scenegraph
//
// The road of an FBX file: any bytes are read into a sound scene, or refused with a message; the scene is drawn.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "FuzzCheck.h"
#include "loaders/fbx/FbxFallbackSceneLoader.h"
#include "scenegraph/RenderDeviceFactory.h"
#include "scenegraph/SCNRenderer.h"
#include "scenegraph/SceneCheck.h"

namespace {

using namespace ornolith;

constexpr std::uint32_t imageSide = 64;

/// Stands a camera before the scene so that its box, where it has a sensible one, fills the picture.
SCNNode::Pointer cameraBefore(const SCNScene& scene) {
  SCNVector3 center;
  double extent = 1;
  if (const auto box = scene.rootNode()->boundingBox(); box && isFinite(box->minimum) && isFinite(box->maximum)) {
    center = (box->minimum + box->maximum) * 0.5;
    extent = std::clamp(length(box->maximum - box->minimum), 1e-3, 1e6);
  }
  const SCNNode::Pointer node = SCNNode::node();
  node->camera = std::make_shared<SCNCamera>();
  node->setPosition(center + SCNVector3{0.2 * extent, 0.3 * extent, extent});
  node->lookAt(center);
  return node;
}

void draw(const std::shared_ptr<SCNScene>& scene) {
  const SCNNode::Pointer camera = cameraBefore(*scene);
  scene->rootNode()->addChildNode(camera);
  const std::unique_ptr<SCNRenderer> renderer = SCNRenderer::rendererWithDevice(createSystemDefaultDevice());
  renderer->setScene(scene);
  renderer->setPointOfView(camera);
  renderer->setAutoenablesDefaultLighting(true);
  const Image image = renderer->snapshotAtTime(0, imageSide, imageSide, SCNAntialiasingMode::none);
  fuzz::check(image.pixels.size() == std::size_t{imageSide} * imageSide * 4, "a frame has the size asked for");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    const FbxFallbackLoadResult result =
        FbxFallbackSceneLoader::loadSceneFromContents(fuzz::bytes(data, size), FileURL("/nonexistent/model.fbx"), {});
    fuzz::check(!checkScene(*result.scene).brokenPromise, "a scene keeps its promises");
    draw(result.scene);
  } catch (const FbxLoadError& error) {
    fuzz::check(!error.errorDescription().empty(), "a refusal has a message");
  }
  return 0;
}
