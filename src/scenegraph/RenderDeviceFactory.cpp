#include "scenegraph/RenderDeviceFactory.h"

#include "raster/CPURenderDevice.h"

namespace ornolith {

std::shared_ptr<device::RenderDevice> createSystemDefaultDevice() {
  return makeCPURenderDevice();
}

}  // namespace ornolith
