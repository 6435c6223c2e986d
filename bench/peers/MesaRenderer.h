#pragma once

#include <string>

#include "imaging/Image.h"
#include "scenegraph/device/FrameDescription.h"

namespace ornolith::peers {

/// Draws frame descriptions of one opaque item through EGL and OpenGL ES 3 on Mesa's software driver, with shaders that
/// compute what the CPU device does for Blinn and physically based materials: per pixel, in linear light, with
/// trilinear textures of up to eight anisotropic samples, encoded to sRGB by the frame buffer. Vertices, indices and
/// textures are uploaded by `upload`, once; a frame is what a program without a screen does after that: draw, wait,
/// read the pixels.
class MesaRenderer {
 public:
  MesaRenderer();
  MesaRenderer(const MesaRenderer&) = delete;
  MesaRenderer& operator=(const MesaRenderer&) = delete;
  ~MesaRenderer();

  /// The driver's own name for itself.
  std::string description() const;

  void upload(const device::FrameDescription& frame);
  /// The frame uploaded last; `frame` gives its camera, lights and material values.
  Image render(const device::FrameDescription& frame);

 private:
  unsigned compileProgram(const device::Material& material);
  unsigned uploadTexture(const device::Texture& texture);
  void resizeTarget(std::uint32_t width, std::uint32_t height);
  void setUniforms(const device::FrameDescription& frame);
  void release();

  void* display_ = nullptr;
  void* context_ = nullptr;
  unsigned program_ = 0;
  unsigned vertexArray_ = 0;
  unsigned vertices_ = 0;
  unsigned indices_ = 0;
  unsigned textures_[2] = {0, 0};
  unsigned frameBuffer_ = 0;
  unsigned color_ = 0;
  unsigned depth_ = 0;
};

}  // namespace ornolith::peers
