#pragma once

#include "imaging/Image.h"
#include "scenegraph/device/FrameDescription.h"

namespace ornolith::device {

/// Something that turns a frame description into pixels. A device may keep what it derived from textures and meshes (by
/// their identity) from one frame to the next, and it reuses its buffers; `releaseResources` drops all of that.
class RenderDevice {
 public:
  virtual ~RenderDevice() = default;

  /// The frame as 8-bit sRGB RGBA with straight alpha, `width` by `height`. The same description gives the same bytes
  /// on every machine and with any number of threads. `frame` must satisfy `checkFrame`.
  virtual Image render(const FrameDescription& frame) = 0;

  virtual void releaseResources() = 0;
};

}  // namespace ornolith::device
