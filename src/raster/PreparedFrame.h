#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "raster/PrimitiveRecord.h"
#include "raster/Projection.h"
#include "raster/ShadingPlan.h"
#include "scenegraph/device/FrameDescription.h"

namespace ornolith::raster {

/// An array that grows without clearing its elements and keeps its memory.
template <typename T>
class ScratchArray {
 public:
  T* resize(std::size_t size) {
    if (size > capacity_) {
      storage_ = std::make_unique_for_overwrite<T[]>(size);
      capacity_ = size;
    }
    return storage_.get();
  }
  T* data() noexcept { return storage_.get(); }
  const T* data() const noexcept { return storage_.get(); }
  void release() noexcept {
    storage_.reset();
    capacity_ = 0;
  }

 private:
  std::unique_ptr<T[]> storage_;
  std::size_t capacity_ = 0;
};

/// A vertex on the sub-pixel grid.
struct ScreenVertex {
  std::int32_t x;
  std::int32_t y;
  float depth;
  std::uint32_t
      isRegular;  ///< 0: before the near plane, outside of the guard band or not finite; x and y mean nothing.
};

/// A draw item with what the device derived from it for this frame.
struct PreparedItem {
  const device::DrawItem* item = nullptr;
  const device::Mesh* mesh = nullptr;
  const device::Material* material = nullptr;
  ItemTransform transform;
  ShadingPlan plan;
  std::uint32_t primitiveCount = 0;
  std::uint32_t firstVertex = 0;  ///< The run of the mesh's vertices that are transformed ahead.
  std::uint32_t vertexCount =
      0;                       ///< 0 where corners are transformed one by one, since few vertices of the run are used.
  std::size_t vertexBase = 0;  ///< Where the run stands among the frame's screen vertices.
  bool isBlended = false;      ///< Drawn over the opaque result, in order.
};

/// Everything of a frame that the stages share.
struct PreparedFrame {
  const device::FrameDescription* description = nullptr;
  std::vector<PreparedItem> items;  ///< In drawing order, opaque ones first.
  ScratchArray<ScreenVertex> vertices;
  std::size_t vertexTotal = 0;

  std::span<const ScreenVertex> verticesOf(const PreparedItem& item) const noexcept {
    return {vertices.data() + item.vertexBase, item.vertexCount};
  }
};

/// Lists the items in drawing order and lays out their screen vertices; `pyramids` are those of the frame's textures.
/// Memory is bounded by the number of indices.
void prepareItems(const device::FrameDescription& frame, const Projection& projection,
                  const std::vector<const TexturePyramid*>& pyramids, PreparedFrame& prepared);

/// Fills the screen vertices of all items, in parallel.
void transformVertices(const Projection& projection, PreparedFrame& prepared);

/// The screen vertex of one model-space position.
ScreenVertex screenVertex(const ClipPoint& point, const Projection& projection, std::uint32_t width,
                          std::uint32_t height) noexcept;

}  // namespace ornolith::raster
