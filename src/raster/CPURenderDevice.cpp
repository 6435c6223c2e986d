#include "raster/CPURenderDevice.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "foundation/LargeVector.h"
#include "foundation/Parallel.h"
#include "raster/PixelMath.h"
#include "raster/PixelOutput.h"
#include "raster/PrimitiveChunk.h"
#include "raster/TextureCache.h"
#include "raster/TileRenderer.h"

namespace ornolith {
namespace {

using namespace raster;

/// More chunks than that help no machine, and every tile looks at each of them.
constexpr std::uint64_t maximumChunks = 64;
constexpr std::uint64_t smallestChunk = 2048;

class CPURenderDevice final : public device::RenderDevice {
 public:
  Image render(const device::FrameDescription& frame) override {
    if (frame.width > maximumSide || frame.height > maximumSide) {
      throw std::length_error("A frame of " + std::to_string(frame.width) + " by " + std::to_string(frame.height) +
                              " pixels is larger than the render device draws.");
    }
    Image image{frame.width, frame.height, {}};
    if (frame.width == 0 || frame.height == 0) return image;

    const Projection projection(frame);
    const TileGrid grid(frame.width, frame.height);
    prepareItems(frame, projection, pyramidsOf(frame), prepared_);
    transformVertices(projection, prepared_);
    splitIntoChunks();
    parallelFor(chunkCount_, 1, [&](std::size_t i) { chunks_[i].build(prepared_, projection, grid); });

    makeRoom(image);
    const LightRig lights = LightRig::make(frame);
    const std::array<float, 4> background = premultiplied(frame.background);
    const TileInputs inputs{prepared_, projection, grid,       {chunks_.data(), chunkCount_},
                            lights,    output(),   background, encoded(background)};
    parallelFor(grid.tileCount(), 1, [&](std::size_t tile) {
      std::unique_ptr<TileRenderer> renderer = takeRenderer();
      renderer->render(inputs, tile, image);
      giveBack(std::move(renderer));
    });
    prepared_.description = nullptr;
    return image;
  }

  void releaseResources() override {
    textures_.clear();
    chunks_.clear();
    chunkCount_ = 0;
    prepared_ = {};
    idleRenderers_.clear();
  }

 private:
  const TexelTables& tables() {
    if (!tables_) tables_.emplace();
    return *tables_;
  }

  /// For pixels that the tiles write, all of them.
  static void makeRoom(Image& image) {
    const std::size_t size = image.rowBytes() * image.height;
    image.pixels.reserve(size);
    preferLargePages(image.pixels.data(), size);
    image.pixels.resize(size);
  }

  static std::array<float, 4> premultiplied(simd_float4 color) {
    const float alpha = saturate(color.w);
    return {color.x * alpha, color.y * alpha, color.z * alpha, alpha};
  }

  std::uint32_t encoded(const std::array<float, 4>& color) {
    std::array<float, rowValues> colors;
    for (std::size_t i = 0; i < colors.size(); ++i) colors[i] = color[i % 4];
    EncodedRow row;
    encodePixels(output(), colors, row);
    std::uint32_t code = 0;
    std::memcpy(&code, row.data(), sizeof(code));
    return code;
  }

  const OutputTable& output() {
    if (!output_) output_.emplace();
    return *output_;
  }

  std::vector<const TexturePyramid*> pyramidsOf(const device::FrameDescription& frame) {
    if (!frame.textures.empty()) return textures_.pyramidsFor(frame.textures, tables());
    textures_.clear();
    return {};
  }

  /// Deals the primitives out in drawing order. The two sides of a blended double-sided item are drawn one after the
  /// other, the far side first, so that the near one of a closed shape lies over it.
  void splitIntoChunks() {
    std::vector<PrimitiveSegment> segments;
    std::uint64_t total = 0;
    const auto add = [&](std::size_t item, FaceFilter faces) {
      const std::uint32_t count = prepared_.items[item].primitiveCount;
      segments.push_back({static_cast<std::uint32_t>(item), 0, count, faces});
      total += count;
    };
    for (std::size_t i = 0; i < prepared_.items.size(); ++i) {
      const PreparedItem& item = prepared_.items[i];
      if (item.isBlended && item.material->isDoubleSided && item.item->topology == device::Topology::triangles) {
        add(i, FaceFilter::backOnly);
        add(i, FaceFilter::frontOnly);
      } else {
        add(i, FaceFilter::all);
      }
    }

    const std::uint64_t chunkSize = std::max(smallestChunk, (total + maximumChunks - 1) / maximumChunks);
    chunkCount_ = 0;
    std::uint64_t room = 0;
    for (const PrimitiveSegment& segment : segments) {
      for (std::uint32_t first = segment.first; first < segment.end;) {
        if (room == 0) {
          startChunk();
          room = chunkSize;
        }
        const auto size = static_cast<std::uint32_t>(std::min<std::uint64_t>(room, segment.end - first));
        chunks_[chunkCount_ - 1].addSegment({segment.item, first, first + size, segment.faces});
        first += size;
        room -= size;
      }
    }
  }

  void startChunk() {
    if (chunkCount_ == chunks_.size()) chunks_.emplace_back();
    chunks_[chunkCount_++].clear();
  }

  std::unique_ptr<TileRenderer> takeRenderer() {
    {
      const std::lock_guard lock(idleMutex_);
      if (!idleRenderers_.empty()) {
        std::unique_ptr<TileRenderer> renderer = std::move(idleRenderers_.back());
        idleRenderers_.pop_back();
        return renderer;
      }
    }
    return std::make_unique<TileRenderer>();
  }

  void giveBack(std::unique_ptr<TileRenderer> renderer) {
    const std::lock_guard lock(idleMutex_);
    idleRenderers_.push_back(std::move(renderer));
  }

  std::optional<TexelTables> tables_;
  std::optional<OutputTable> output_;
  TextureCache textures_;
  PreparedFrame prepared_;
  std::vector<PrimitiveChunk> chunks_;
  std::size_t chunkCount_ = 0;
  std::mutex idleMutex_;
  std::vector<std::unique_ptr<TileRenderer>> idleRenderers_;
};

}  // namespace

std::shared_ptr<device::RenderDevice> makeCPURenderDevice() {
  return std::make_shared<CPURenderDevice>();
}

}  // namespace ornolith
