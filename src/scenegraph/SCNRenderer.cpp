#include "scenegraph/SCNRenderer.h"

#include <stdexcept>
#include <utility>

#include "scenegraph/FrameBuilder.h"
#include "scenegraph/GeometryCache.h"
#include "scenegraph/TextureCache.h"

namespace ornolith {

struct SCNRenderer::Implementation {
  std::shared_ptr<device::RenderDevice> device;
  std::shared_ptr<SCNScene> scene;
  SCNNode::Pointer pointOfView;
  bool autoenablesDefaultLighting = false;
  GeometryCache geometries;
  TextureCache textures;
};

SCNRenderer::SCNRenderer(std::shared_ptr<device::RenderDevice> device)
    : implementation_(std::make_unique<Implementation>()) {
  implementation_->device = std::move(device);
}

SCNRenderer::~SCNRenderer() = default;

std::unique_ptr<SCNRenderer> SCNRenderer::rendererWithDevice(std::shared_ptr<device::RenderDevice> device) {
  if (!device) throw std::invalid_argument("A renderer needs a device.");
  return std::unique_ptr<SCNRenderer>(new SCNRenderer(std::move(device)));
}

void SCNRenderer::setScene(std::shared_ptr<SCNScene> scene) {
  implementation_->scene = std::move(scene);
}

void SCNRenderer::setPointOfView(SCNNode::Pointer pointOfView) {
  implementation_->pointOfView = std::move(pointOfView);
}

void SCNRenderer::setAutoenablesDefaultLighting(bool enabled) {
  implementation_->autoenablesDefaultLighting = enabled;
}

Image SCNRenderer::snapshotAtTime([[maybe_unused]] double time, std::uint32_t width, std::uint32_t height,
                                  [[maybe_unused]] SCNAntialiasingMode antialiasingMode) {
  return implementation_->device->render(describeFrame(width, height));
}

device::FrameDescription SCNRenderer::describeFrame(std::uint32_t width, std::uint32_t height) {
  if (width == 0 || height == 0) throw std::invalid_argument("A frame needs a width and a height above 0.");
  const std::shared_ptr<SCNScene> scene =
      implementation_->scene ? implementation_->scene : std::make_shared<SCNScene>();
  const FrameRequest request{*scene, implementation_->pointOfView.get(), width, height,
                             implementation_->autoenablesDefaultLighting};
  return buildFrame(request, implementation_->geometries, implementation_->textures);
}

}  // namespace ornolith
