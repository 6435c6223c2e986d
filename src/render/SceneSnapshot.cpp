#include "render/SceneSnapshot.h"

#include <algorithm>
#include <cmath>

#include "imaging/Compositing.h"
#include "imaging/PNGEncoder.h"
#include "render/ModelRenderError.h"
#include "render/RenderCamera.h"
#include "render/SceneCopies.h"
#include "scenegraph/RenderDeviceFactory.h"
#include "scenegraph/SCNRenderer.h"
#include "scenegraph/SCNTransaction.h"

namespace ornolith {

namespace {

void requireWithinPixelBudget(std::int64_t width, std::int64_t height) {
  if (!isOutputImageSize(width, height)) {
    throw ImageSizeError(image_size_error::OverPixelBudget{.width = width, .height = height});
  }
}

NSColor colorOf(const RenderBackground& background) {
  if (!background.color) return NSColor::clearColor();
  const RenderRGBAColor& color = *background.color;
  return {.red = color.red, .green = color.green, .blue = color.blue, .alpha = color.alpha};
}

std::uint8_t byteOf(double component) {
  if (!(component > 0)) return 0;
  return static_cast<std::uint8_t>(std::lround(std::min(component, 1.0) * 255.0));
}

}  // namespace

void applyBackground(const RenderBackground& background, SCNScene& scene) {
  scene.background.contents = colorOf(background);
}

Image snapshot(const SCNScene& scene, const CameraState& cameraState, std::int64_t width, std::int64_t height) {
  requireWithinPixelBudget(width, height);
  const auto device = createSystemDefaultDevice();
  if (!device) throw ModelRenderError(model_render_error::MetalDeviceUnavailable{});

  const auto copy = copyOfSceneWithoutCaptureOverlays(scene);
  copy->background.contents = scene.background.contents;
  const auto pointOfView = makeRenderCameraNode();
  placeRenderCamera(*pointOfView, cameraState);
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
  return filledImage(width, height, byteOf(color.red), byteOf(color.green), byteOf(color.blue), byteOf(color.alpha));
}

std::vector<std::byte> pngData(const Image& image, const RenderBackground& background) {
  if (background.isTransparent() || !hasTransparency(image)) return encodePNG(image);
  Image canvas = fill(image.width, image.height, background);
  drawOver(image, canvas);
  return encodePNG(canvas);
}

}  // namespace ornolith
