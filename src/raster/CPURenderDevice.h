#pragma once

#include <memory>

#include "scenegraph/device/RenderDevice.h"

namespace ornolith {

/// A render device that draws on the processor: no driver, no display. Tiles of 64 by 64 pixels are independent tasks;
/// the picture is the same bytes on every machine and with any number of threads. The device keeps the mip pyramids of
/// the textures of the last frame and its buffers from one frame to the next. One frame is rendered at a time.
std::shared_ptr<device::RenderDevice> makeCPURenderDevice();

}  // namespace ornolith
