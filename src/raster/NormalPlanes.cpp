#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "raster/NormalPlanes.cpp"
#include "raster/NormalPlanes.h"

#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <cstddef>
#include <limits>

HWY_BEFORE_NAMESPACE();
namespace ornolith::raster::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

// Planes are set up for as many triangles at a time as there are doubles in a vector.
using Doubles = hn::ScalableTag<double>;
using Floats = hn::Rebind<float, Doubles>;
using Integers = hn::Rebind<std::int32_t, Doubles>;
using DoubleVector = hn::Vec<Doubles>;
using FloatVector = hn::Vec<Floats>;
using IntegerVector = hn::Vec<Integers>;

constexpr std::size_t maximumLanes = hn::MaxLanes(Doubles());

HWY_INLINE FloatVector all(float value) {
  return hn::Set(Floats(), value);
}

struct FloatVector3 {
  FloatVector x, y, z;
};

HWY_INLINE FloatVector dot(const FloatVector3& a, const FloatVector3& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

HWY_INLINE FloatVector3 combine(FloatVector a, const FloatVector3& x, FloatVector b, const FloatVector3& y,
                                FloatVector c, const FloatVector3& z) {
  return {a * x.x + b * y.x + c * z.x, a * x.y + b * y.y + c * z.y, a * x.z + b * y.z + c * z.z};
}

/// What the corners of some triangles have, one after the other.
struct CornerLanes {
  HWY_ALIGN std::int32_t x[3][maximumLanes];
  HWY_ALIGN std::int32_t y[3][maximumLanes];
  HWY_ALIGN float depth[3][maximumLanes];
  HWY_ALIGN float normal[3][3][maximumLanes];  ///< By corner and component.
  HWY_ALIGN float face[maximumLanes];
  std::uint32_t isRegular[maximumLanes];
};

HWY_INLINE void loadCorners(const PlaneSource& source, const PrimitiveRecord& record, std::size_t lane,
                            CornerLanes& lanes) {
  const PreparedItem& item = source.item;
  const ScreenVertex* const vertices = source.frame.vertices.data() + item.vertexBase;
  const std::uint32_t* const indices = item.item->indices + std::size_t{record.primitive} * 3;
  std::uint32_t isRegular = 1;
  for (std::size_t k = 0; k < 3; ++k) {
    const ScreenVertex& vertex = vertices[indices[k] - item.firstVertex];
    lanes.x[k][lane] = vertex.x;
    lanes.y[k][lane] = vertex.y;
    lanes.depth[k][lane] = vertex.depth;
    isRegular &= vertex.isRegular;
    const float* const normal = item.mesh->normal[indices[k]];
    for (std::size_t axis = 0; axis < 3; ++axis) lanes.normal[k][axis][lane] = normal[axis];
  }
  lanes.isRegular[lane] = isRegular;
  lanes.face[lane] = record.isBackFacing ? -1.0f : 1.0f;
}

/// The unit normal of a corner in world space; zero where that has no direction.
HWY_INLINE FloatVector3 worldNormal(const std::array<simd_float3, 3>& m, const CornerLanes& lanes, std::size_t corner) {
  const auto component = [&](std::size_t axis) { return hn::Load(Floats(), lanes.normal[corner][axis]); };
  const auto column = [&](std::size_t c) { return FloatVector3{all(m[c].x), all(m[c].y), all(m[c].z)}; };
  const FloatVector3 n = combine(component(0), column(0), component(1), column(1), component(2), column(2));
  const FloatVector size = hn::Sqrt(dot(n, n));
  const auto isUsable = hn::And(hn::Gt(size, all(0.0f)), hn::Lt(size, all(std::numeric_limits<float>::infinity())));
  return {hn::IfThenElseZero(isUsable, n.x / size), hn::IfThenElseZero(isUsable, n.y / size),
          hn::IfThenElseZero(isUsable, n.z / size)};
}

/// The cross product of a side and the way from its beginning to a point; exact.
HWY_INLINE DoubleVector sideValue(IntegerVector dx, IntegerVector dy, IntegerVector toX, IntegerVector toY) {
  const auto wide = [](IntegerVector v) { return hn::PromoteTo(Doubles(), v); };
  return wide(dx) * wide(toY) - wide(dy) * wide(toX);
}

/// The planes of some triangles, before they are dealt out.
struct PlaneLanes {
  HWY_ALIGN float origin[4 * maximumLanes];
  HWY_ALIGN float perX[4 * maximumLanes];
  HWY_ALIGN float perY[4 * maximumLanes];
  HWY_ALIGN std::int32_t column[maximumLanes];
  HWY_ALIGN std::int32_t row[maximumLanes];
  HWY_ALIGN float isSound[maximumLanes];
};

HWY_INLINE IntegerVector within(IntegerVector value, std::int32_t size) {
  return hn::Min(hn::Max(value, hn::Zero(Integers())), hn::Set(Integers(), size - 1));
}

HWY_INLINE void storePlane(const FloatVector3& v, float* out) {
  hn::StoreInterleaved4(v.x, v.y, v.z, hn::Zero(Floats()), Floats(), out);
}

void makePlanes(const PlaneSource& source, const CornerLanes& lanes, PlaneLanes& planes) {
  constexpr Integers integers;
  IntegerVector x[3], y[3];
  FloatVector depth[3];
  for (std::size_t k = 0; k < 3; ++k) {
    x[k] = hn::Load(integers, lanes.x[k]);
    y[k] = hn::Load(integers, lanes.y[k]);
    depth[k] = source.item.transform.isOrthographic ? all(1.0f) : hn::Load(Floats(), lanes.depth[k]);
  }
  const TileBounds& tile = source.tile;
  const IntegerVector tileX = hn::Set(integers, tile.x), tileY = hn::Set(integers, tile.y);
  const IntegerVector column = within(hn::ShiftRight<subpixelBits>(x[0]) - tileX, tile.width);
  const IntegerVector row = within(hn::ShiftRight<subpixelBits>(y[0]) - tileY, tile.height);
  const IntegerVector half = hn::Set(integers, subpixelHalf);
  const IntegerVector centerX = hn::ShiftLeft<subpixelBits>(column + tileX) + half;
  const IntegerVector centerY = hn::ShiftLeft<subpixelBits>(row + tileY) + half;

  // The weight of a corner is the value of the side opposite to it, over the doubled area, times its depth.
  FloatVector weight[3], perX[3], perY[3];
  DoubleVector area = hn::Zero(Doubles());
  for (std::size_t k = 0; k < 3; ++k) {
    const std::size_t from = (k + 1) % 3, to = (k + 2) % 3;
    const IntegerVector dx = x[to] - x[from], dy = y[to] - y[from];
    const DoubleVector value = sideValue(dx, dy, centerX - x[from], centerY - y[from]);
    area = area + value;
    weight[k] = hn::DemoteTo(Floats(), value);
    const FloatVector pixel = all(static_cast<float>(subpixelOne));
    perX[k] = hn::Neg(hn::ConvertTo(Floats(), dy) * pixel);
    perY[k] = hn::ConvertTo(Floats(), dx) * pixel;
  }
  const FloatVector nearest = hn::Max(depth[0], hn::Max(depth[1], depth[2]));
  const FloatVector farthest = hn::Min(depth[0], hn::Min(depth[1], depth[2]));
  const FloatVector scale = all(1.0f) / (hn::DemoteTo(Floats(), area) * nearest);
  for (std::size_t k = 0; k < 3; ++k) {
    const FloatVector factor = depth[k] * scale;
    weight[k] = weight[k] * factor;
    perX[k] = perX[k] * factor;
    perY[k] = perY[k] * factor;
  }

  FloatVector3 normal[3];
  for (std::size_t k = 0; k < 3; ++k) normal[k] = worldNormal(source.item.item->normalMatrix, lanes, k);
  const auto blend = [&](const FloatVector(&w)[3]) {
    return combine(w[0], normal[0], w[1], normal[1], w[2], normal[2]);
  };
  storePlane(blend(weight), planes.origin);
  storePlane(blend(perX), planes.perX);
  storePlane(blend(perY), planes.perY);
  hn::Store(column, integers, planes.column);
  hn::Store(row, integers, planes.row);
  // Normals that agree can only add up to something sensible, and where distances differ by less than that much, to
  // something that can be made unit.
  constexpr float leastRatio = 0x1p-20f;
  const FloatVector zero = hn::Zero(Floats());
  const auto agree = hn::And(hn::Gt(dot(normal[0], normal[1]), zero), hn::Gt(dot(normal[0], normal[2]), zero));
  const auto isSound = hn::And(agree, hn::Gt(farthest, nearest * all(leastRatio)));
  hn::Store(hn::IfThenElseZero(isSound, all(1.0f)), Floats(), planes.isSound);
}

HWY_INLINE void copyFour(const float* from, std::array<float, 4>& to) {
  constexpr hn::CappedTag<float, 4> block;
  for (std::size_t i = 0; i < 4; i += hn::MaxLanes(block)) hn::StoreU(hn::LoadU(block, from + i), block, to.data() + i);
}

void setUpPlanes(const PlaneSource& source, NormalPlane* out) {
  const std::size_t laneCount = hn::Lanes(Doubles());
  CornerLanes lanes;
  PlaneLanes planes;
  for (std::size_t first = 0; first < source.numbers.size(); first += laneCount) {
    const std::size_t count = HWY_MIN(laneCount, source.numbers.size() - first);
    for (std::size_t i = 0; i < laneCount; ++i) {
      loadCorners(source, *source.records[source.numbers[first + HWY_MIN(i, count - 1)]], i, lanes);
    }
    makePlanes(source, lanes, planes);
    for (std::size_t i = 0; i < count; ++i) {
      NormalPlane& plane = out[source.numbers[first + i]];
      copyFour(planes.origin + 4 * i, plane.origin);
      copyFour(planes.perX + 4 * i, plane.perX);
      copyFour(planes.perY + 4 * i, plane.perY);
      plane.column = static_cast<float>(planes.column[i]);
      plane.row = static_cast<float>(planes.row[i]);
      plane.face = lanes.face[i];
      plane.isSound = lanes.isRegular[i] != 0 && planes.isSound[i] != 0;
    }
  }
}

using WideFloats = hn::ScalableTag<float>;
using PixelNumbers = hn::Rebind<std::uint16_t, WideFloats>;

static_assert(laneReserve >= hn::MaxLanes(WideFloats()));

/// The normal `down` rows below the plane's pixel.
HWY_INLINE void startRow(const NormalPlane& plane, float down, std::array<float, 4>& start) {
  constexpr hn::CappedTag<float, 4> part;
  for (std::size_t k = 0; k < start.size(); k += hn::MaxLanes(part)) {
    const auto perRow = hn::LoadU(part, plane.perY.data() + k) * hn::Set(part, down);
    hn::Store(hn::LoadU(part, plane.origin.data() + k) + perRow, part, start.data() + k);
  }
}

template <bool hasNormals>
HWY_INLINE void appendPixels(const RunSource& source, const PixelRun& run, std::size_t base, std::size_t count,
                             FragmentBatch& batch) {
  constexpr WideFloats floats;
  constexpr PixelNumbers numbers;
  const std::size_t lanes = hn::Lanes(floats);
  const auto iota = hn::Iota(numbers, 0);
  for (std::size_t i = 0; i < count; i += lanes) {
    hn::StoreU(iota + hn::Set(numbers, static_cast<std::uint16_t>(run.first + i)), numbers,
               batch.pixel.data() + base + i);
  }
  if constexpr (hasNormals) {
    const NormalPlane& plane = source.planes[run.primitive];
    const float right = static_cast<float>(pixelColumn(run.first)) - plane.column;
    const float down = static_cast<float>(pixelRow(run.first)) - plane.row;
    HWY_ALIGN std::array<float, 4> start;
    startRow(plane, down, start);
    const auto column = hn::Iota(floats, 0.0f);
    for (std::size_t i = 0; i < count; i += lanes) {
      const auto x = column + hn::Set(floats, right + static_cast<float>(i));
      const auto interpolate = [&](std::size_t axis, Lane& lane) {
        hn::StoreU(hn::Set(floats, start[axis]) + hn::Set(floats, plane.perX[axis]) * x, floats,
                   lane.data() + base + i);
      };
      interpolate(0, batch.normal.x);
      interpolate(1, batch.normal.y);
      interpolate(2, batch.normal.z);
    }
    if (source.fillsFaces) {
      for (std::size_t i = 0; i < count; i += lanes) {
        hn::StoreU(hn::Set(floats, plane.face), floats, batch.face.data() + base + i);
      }
    }
  }
}

template <bool hasNormals>
std::size_t appendAll(const RunSource& source, std::span<PixelRun> runs, FragmentBatch& batch) {
  std::size_t base = batch.count, done = 0;
  for (; done < runs.size() && base < batchSize; ++done) {
    PixelRun& run = runs[done];
    const std::size_t count = HWY_MIN(std::size_t{run.count}, batchSize - base);
    appendPixels<hasNormals>(source, run, base, count, batch);
    base += count;
    if (count < run.count) {
      run.first = static_cast<std::uint16_t>(run.first + count);
      run.count = static_cast<std::uint16_t>(run.count - count);
      break;
    }
  }
  batch.count = base;
  return done;
}

std::size_t appendSome(const RunSource& source, std::span<PixelRun> runs, FragmentBatch& batch) {
  return source.planes != nullptr ? appendAll<true>(source, runs, batch) : appendAll<false>(source, runs, batch);
}

}  // namespace
}  // namespace ornolith::raster::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace ornolith::raster {

HWY_EXPORT(setUpPlanes);
HWY_EXPORT(appendSome);

bool takesNormalPlanes(const PreparedItem& item) noexcept {
  const ShadingPlan& plan = item.plan;
  if (plan.hasNormalMap || plan.hasVertexColor || plan.channelCount > 0) return false;
  if (item.item->topology != device::Topology::triangles || item.material->fillsLines) return false;
  return !plan.isLit || (item.vertexCount > 0 && item.mesh->normal.isPresent());
}

void setUpNormalPlanes(const PlaneSource& source, NormalPlane* planes) noexcept {
  HWY_DYNAMIC_DISPATCH(setUpPlanes)(source, planes);
}

std::size_t appendRuns(const RunSource& source, std::span<PixelRun> runs, FragmentBatch& batch) noexcept {
  if (batch.count == 0) {
    batch.hasBackFaces = source.fillsFaces;
    batch.hasFacets = false;
  }
  return HWY_DYNAMIC_DISPATCH(appendSome)(source, runs, batch);
}

}  // namespace ornolith::raster

#endif
