#include "render/SceneSnapshot.h"

#include <algorithm>
#include <cmath>

#include "imaging/PNGEncoder.h"
#include "render/ModelRenderError.h"
#include "scene/SceneController.h"
#include "scenegraph/RenderDeviceFactory.h"
#include "scenegraph/SCNRenderer.h"
#include "scenegraph/SCNTransaction.h"

namespace ornolith {

namespace {

constexpr double nearPlane = 0.001;  // units of the scene
constexpr double farPlane = 10000.0;

void requireWithinPixelBudget(std::int64_t width, std::int64_t height) {
  const bool sidesFit = width >= 1 && height >= 1 && width <= maximumImageSide && height <= maximumImageSide;
  if (!sidesFit || width * height > maximumImagePixels) {
    throw ImageSizeError(image_size_error::OverPixelBudget{.width = width, .height = height});
  }
}

NSColor colorOf(const RenderBackground& background) {
  if (!background.color) return NSColor::clearColor();
  const RenderRGBAColor& color = *background.color;
  return {.red = color.red, .green = color.green, .blue = color.blue, .alpha = color.alpha};
}

SCNNode::Pointer cloneWithoutCaptureOverlays(const SCNNode& node) {
  const SCNNode::Pointer clone = node.clone();
  for (const SCNNode::Pointer& overlay : clone->childNodesPassingTest(SceneController::isTransientCaptureOverlay)) {
    overlay->removeFromParentNode();
  }
  return clone;
}

std::shared_ptr<SCNScene> throwawayCopy(const SCNScene& scene) {
  auto copy = SCNScene::scene();
  copy->background.contents = scene.background.contents;
  for (const SCNNode::Pointer& child : scene.rootNode()->childNodes()) {
    if (child->camera || SceneController::isTransientCaptureOverlay(*child)) continue;
    copy->rootNode()->addChildNode(cloneWithoutCaptureOverlays(*child));
  }
  return copy;
}

SCNNode::Pointer cameraNode(const CameraState& state) {
  auto camera = SCNCamera::camera();
  camera->fieldOfView = state.fieldOfView;
  camera->zNear = nearPlane;
  camera->zFar = farPlane;
  auto node = SCNNode::node();
  node->camera = camera;
  node->setSimdPosition(state.position.simd());
  node->setSimdEulerAngles(state.eulerAngles.simd());
  return node;
}

std::uint8_t byteOf(double component) {
  if (!(component > 0)) return 0;
  return static_cast<std::uint8_t>(std::lround(std::min(component, 1.0) * 255.0));
}

/// Draws `source` over `canvas`, pixel on pixel, both with straight alpha: the source-over operator of Porter and Duff
/// ("Compositing Digital Images", 1984), rounded once.
void drawOver(const Image& source, Image& canvas) {
  for (std::size_t offset = 0; offset + 4 <= canvas.pixels.size(); offset += 4) {
    const std::uint8_t* const over = source.pixels.data() + offset;
    std::uint8_t* const under = canvas.pixels.data() + offset;
    const std::uint32_t overWeight = over[3] * 255U;
    const std::uint32_t underWeight = under[3] * (255U - over[3]);
    const std::uint32_t weight = overWeight + underWeight;
    if (weight == 0) continue;
    for (std::size_t channel = 0; channel < 3; ++channel) {
      under[channel] =
          static_cast<std::uint8_t>((over[channel] * overWeight + under[channel] * underWeight + weight / 2) / weight);
    }
    under[3] = static_cast<std::uint8_t>((weight + 127U) / 255U);
  }
}

}  // namespace

void applyBackground(const RenderBackground& background, SCNScene& scene) {
  scene.background.contents = colorOf(background);
}

Image snapshot(const SCNScene& scene, const CameraState& cameraState, std::int64_t width, std::int64_t height) {
  requireWithinPixelBudget(width, height);
  const auto device = createSystemDefaultDevice();
  if (!device) throw ModelRenderError(model_render_error::MetalDeviceUnavailable{});

  const auto copy = throwawayCopy(scene);
  const auto pointOfView = cameraNode(cameraState);
  copy->rootNode()->addChildNode(pointOfView);

  const auto renderer = SCNRenderer::rendererWithDevice(device);
  renderer->setScene(copy);
  renderer->setPointOfView(pointOfView);
  renderer->setAutoenablesDefaultLighting(false);
  SCNTransaction::flush();
  return renderer->snapshotAtTime(0, static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height),
                                  SCNAntialiasingMode::none);
}

Image fill(std::uint32_t width, std::uint32_t height, const RenderBackground& background) {
  const NSColor color = colorOf(background);
  const std::uint8_t pixel[4] = {byteOf(color.red), byteOf(color.green), byteOf(color.blue), byteOf(color.alpha)};
  Image image{.width = width, .height = height, .pixels = {}};
  image.pixels.resize(image.rowBytes() * height);
  for (std::size_t offset = 0; offset < image.pixels.size(); offset += 4) {
    std::copy_n(pixel, 4, image.pixels.data() + offset);
  }
  return image;
}

std::vector<std::byte> pngData(const Image& image, const RenderBackground& background) {
  if (background.isTransparent() || !hasTransparency(image)) return encodePNG(image);
  Image canvas = fill(image.width, image.height, background);
  drawOver(image, canvas);
  return encodePNG(canvas);
}

}  // namespace ornolith
