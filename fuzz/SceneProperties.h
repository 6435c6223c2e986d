#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "FuzzCheck.h"
#include "scenegraph/RenderDeviceFactory.h"
#include "scenegraph/SCNRenderer.h"
#include "scenegraph/SceneCheck.h"

namespace ornolith::fuzz {

inline constexpr std::uint32_t imageSide = 64;

/// Stands a camera before the scene so that its box, where it has a sensible one, fills the picture.
inline SCNNode::Pointer cameraBefore(const SCNScene& scene) {
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

/// What every reader's scene must stand: it keeps its promises and can be drawn, 64 by 64 pixels.
inline void checkAndDraw(const std::shared_ptr<SCNScene>& scene) {
  check(!checkScene(*scene).brokenPromise, "a scene keeps its promises");
  const SCNNode::Pointer camera = cameraBefore(*scene);
  scene->rootNode()->addChildNode(camera);
  const std::unique_ptr<SCNRenderer> renderer = SCNRenderer::rendererWithDevice(createSystemDefaultDevice());
  renderer->setScene(scene);
  renderer->setPointOfView(camera);
  renderer->setAutoenablesDefaultLighting(true);
  const Image image = renderer->snapshotAtTime(0, imageSide, imageSide, SCNAntialiasingMode::none);
  check(image.pixels.size() == std::size_t{imageSide} * imageSide * 4, "a frame has the size asked for");
}

}  // namespace ornolith::fuzz
