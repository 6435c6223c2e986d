#pragma once

#include <memory>

#include "scenegraph/device/RenderDevice.h"

namespace ornolith {

/// The machine's render device (MTLCreateSystemDefaultDevice): the CPU device, which every machine has. Null where none
/// could be made.
std::shared_ptr<device::RenderDevice> createSystemDefaultDevice();

}  // namespace ornolith
