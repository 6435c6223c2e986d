#pragma once

#include <memory>

#include "imaging/Image.h"
#include "scenegraph/SCNScene.h"
#include "scenegraph/device/RenderDevice.h"

namespace ornolith {

enum class SCNAntialiasingMode { none };

/// Draws a scene from a point of view: flattens both into a frame description and hands it to a device. A renderer
/// keeps decoded textures and flattened geometries from frame to frame, by identity.
class SCNRenderer {
 public:
  static std::unique_ptr<SCNRenderer> rendererWithDevice(std::shared_ptr<device::RenderDevice> device);
  ~SCNRenderer();

  void setScene(std::shared_ptr<SCNScene> scene);
  /// The node whose camera is used; a node without one gives a default camera.
  void setPointOfView(SCNNode::Pointer pointOfView);
  /// Where true and the scene holds no light, a light at the camera stands in.
  void setAutoenablesDefaultLighting(bool enabled);

  /// One frame, `width` by `height` pixels, straight alpha. `time` is in seconds and chooses nothing while no native
  /// animation runs. Throws std::invalid_argument for an empty size.
  Image snapshotAtTime(double time, std::uint32_t width, std::uint32_t height, SCNAntialiasingMode antialiasingMode);

  /// The frame description that `snapshotAtTime` would draw.
  device::FrameDescription describeFrame(std::uint32_t width, std::uint32_t height);

 private:
  explicit SCNRenderer(std::shared_ptr<device::RenderDevice> device);
  struct Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace ornolith
