#include "raster/PreparedFrame.h"

#include <algorithm>
#include <cmath>

#include "foundation/Parallel.h"
#include "raster/VertexTransform.h"

namespace ornolith::raster {
namespace {

constexpr std::uint32_t verticesPerTask = 4096;

/// The nearest whole number, ties to even, of a magnitude below 2^31: adding 1.5 * 2^52 leaves no bits for a fraction.
std::int32_t roundToInteger(double value) noexcept {
  constexpr double shift = 6755399441055744.0;
  return static_cast<std::int32_t>((value + shift) - shift);
}

std::uint32_t indicesPerPrimitive(device::Topology topology) {
  switch (topology) {
    case device::Topology::triangles:
      return 3;
    case device::Topology::lines:
      return 2;
    case device::Topology::points:
      return 1;
  }
  return 1;
}

/// The vertices that are worth transforming ahead: the span that the indices use, unless most of it would be unused.
void chooseVertexRun(PreparedItem& prepared) {
  const device::DrawItem& item = *prepared.item;
  const std::uint32_t available = prepared.mesh->position.count;
  if (available <= item.indexCount) {
    prepared.firstVertex = 0;
    prepared.vertexCount = available;
    return;
  }
  const auto [low, high] = std::minmax_element(item.indices, item.indices + item.indexCount);
  const std::uint32_t used = *high - *low + 1;
  prepared.firstVertex = used <= item.indexCount ? *low : 0;
  prepared.vertexCount = used <= item.indexCount ? used : 0;
}

void appendItem(const device::FrameDescription& frame, const device::DrawItem& item, const Projection& projection,
                const std::vector<const TexturePyramid*>& pyramids, bool isBlended, PreparedFrame& prepared) {
  const std::uint32_t primitiveCount = item.indexCount / indicesPerPrimitive(item.topology);
  if (primitiveCount == 0) return;
  PreparedItem result;
  result.item = &item;
  result.mesh = &frame.meshes[item.mesh];
  result.material = &frame.materials[item.material];
  result.transform = ItemTransform::make(projection, item.worldMatrix);
  result.plan = ShadingPlan::make(*result.material, *result.mesh, isBlended, pyramids);
  result.primitiveCount = primitiveCount;
  result.isBlended = isBlended;
  chooseVertexRun(result);
  result.vertexBase = prepared.vertexTotal;
  prepared.vertexTotal += result.vertexCount;
  prepared.items.push_back(result);
}

}  // namespace

void prepareItems(const device::FrameDescription& frame, const Projection& projection,
                  const std::vector<const TexturePyramid*>& pyramids, PreparedFrame& prepared) {
  prepared.description = &frame;
  prepared.items.clear();
  prepared.items.reserve(frame.opaqueItems.size() + frame.blendedItems.size());
  prepared.vertexTotal = 0;
  const auto adds = [&](const device::DrawItem& item) {
    return frame.materials[item.material].blendMode == device::BlendMode::add;
  };
  for (const device::DrawItem& item : frame.opaqueItems) {
    if (!adds(item)) appendItem(frame, item, projection, pyramids, false, prepared);
  }
  // What adds to the picture needs the picture: such items come first among the blended ones.
  for (const device::DrawItem& item : frame.opaqueItems) {
    if (adds(item)) appendItem(frame, item, projection, pyramids, true, prepared);
  }
  for (const device::DrawItem& item : frame.blendedItems) appendItem(frame, item, projection, pyramids, true, prepared);
  prepared.vertices.resize(prepared.vertexTotal);
}

ScreenVertex screenVertex(const ClipPoint& point, const Projection& projection, std::uint32_t width,
                          std::uint32_t height) noexcept {
  const double limit = guardBand * point.w;
  // Every comparison fails for NaN; the first keeps w positive.
  const bool isRegular = point.distance >= projection.zNear() && point.distance < 1e90 && std::abs(point.x) <= limit &&
                         std::abs(point.y) <= limit;
  if (!isRegular) return {0, 0, 0, 0};
  const double scale = static_cast<double>(subpixelOne) / point.w;
  ScreenVertex vertex{};
  vertex.x = roundToInteger(point.x * scale) + static_cast<std::int32_t>(width) * subpixelHalf;
  vertex.y = roundToInteger(point.y * scale) + static_cast<std::int32_t>(height) * subpixelHalf;
  vertex.depth = static_cast<float>(projection.depth(point));
  vertex.isRegular = 1;
  return vertex;
}

void transformVertices(const Projection& projection, PreparedFrame& prepared) {
  struct Task {
    const PreparedItem* item;
    std::uint32_t first;
    std::uint32_t end;
  };
  std::vector<Task> tasks;
  for (const PreparedItem& item : prepared.items) {
    for (std::uint32_t first = 0; first < item.vertexCount;
         first += std::min(verticesPerTask, item.vertexCount - first)) {
      tasks.push_back({&item, first, first + std::min(verticesPerTask, item.vertexCount - first)});
    }
  }
  const std::uint32_t width = prepared.description->width;
  const std::uint32_t height = prepared.description->height;
  ScreenVertex* const out = prepared.vertices.data();
  parallelFor(tasks.size(), 1, [&](std::size_t t) {
    const Task& task = tasks[t];
    const PreparedItem& item = *task.item;
    transformRun({item.transform, projection, item.mesh->position, item.firstVertex + task.first, task.end - task.first,
                  width, height},
                 out + item.vertexBase + task.first);
  });
}

}  // namespace ornolith::raster
