#include "raster/CPURenderDevice.h"

#include <algorithm>
#include <array>

#include "imaging/Color.h"

namespace ornolith {
namespace {

class CPURenderDevice final : public device::RenderDevice {
 public:
  Image render(const device::FrameDescription& frame) override {
    Image image{frame.width, frame.height, {}};
    image.pixels.resize(std::size_t{frame.width} * frame.height * 4);
    const simd_float4 color = frame.background;
    const std::array<std::uint8_t, 4> texel{sRGB8FromLinear(color.x), sRGB8FromLinear(color.y), sRGB8FromLinear(color.z),
                                            static_cast<std::uint8_t>(std::clamp(color.w, 0.0f, 1.0f) * 255.0f + 0.5f)};
    for (std::size_t i = 0; i < image.pixels.size(); ++i) image.pixels[i] = texel[i % 4];
    return image;
  }

  void releaseResources() override {}
};

}  // namespace

std::shared_ptr<device::RenderDevice> makeCPURenderDevice() { return std::make_shared<CPURenderDevice>(); }

}  // namespace ornolith
