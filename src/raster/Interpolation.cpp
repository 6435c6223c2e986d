#include "raster/Interpolation.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "raster/InterpolationKernels.h"

namespace ornolith::raster {

/// The attributes that a plan asks for, and where they go.
struct PrimitiveAttributes::Outputs {
  std::array<CornerValues, 10> values;
  std::size_t valueCount = 0;
  std::array<CornerGradients, 2 * maximumCoordinateSets> gradients;
  std::size_t gradientCount = 0;

  void add(float a, float b, float c, float* out) { values[valueCount++] = {{a, b, c}, out}; }
};

namespace {

std::size_t cornersOf(device::Topology topology) {
  return topology == device::Topology::triangles ? 3 : topology == device::Topology::lines ? 2 : 1;
}

/// The unit vector along `v`; zero where that has no direction or is not finite.
template <typename T>
simd_float3 direction(Vector3<T> v) noexcept {
  const T size = length(v);
  if (!(size > 0 && size < std::numeric_limits<T>::infinity())) return {};
  return vectorCast<float>(v / size);
}

bool isZero(simd_float3 v) noexcept {
  return v.x == 0 && v.y == 0 && v.z == 0;
}

simd_double3 worldPosition(const PreparedItem& item, std::uint32_t vertex) noexcept {
  const float* p = item.mesh->position[vertex];
  return transformPoint(item.item->worldMatrix, simd_double3{p[0], p[1], p[2]});
}

}  // namespace

PrimitiveAttributes::PrimitiveAttributes(const PreparedFrame& frame, const PrimitiveRecord& record,
                                         const TileBounds& tile)
    : item_(frame.items[record.item]),
      kind_(record.kind),
      isBackFacing_(record.isBackFacing),
      originX_(tile.x + 0.5 - static_cast<double>(frame.description->width) * 0.5),
      originY_(tile.y + 0.5 - static_cast<double>(frame.description->height) * 0.5) {
  const std::size_t cornerCount = cornersOf(item_.item->topology);
  std::array<ClipPoint, 3> points;
  for (std::size_t k = 0; k < cornerCount; ++k) {
    corners_[k] = item_.item->indices[std::size_t{record.primitive} * cornerCount + k];
    points[k] = item_.transform.apply(item_.mesh->position[corners_[k]]);
    points[k].x -= points[k].w * originX_;
    points[k].y -= points[k].w * originY_;
  }
  if (record.isTriangleEdge) {
    // From here on the triangle is the line between the edge's two corners.
    const std::size_t from = record.edge, to = from == 2 ? 0 : from + 1, other = to == 2 ? 0 : to + 1;
    points = {points[from], points[to], points[other]};
    corners_ = {corners_[from], corners_[to], corners_[other]};
  }
  if (kind_ == PrimitiveKind::triangle) setTrianglePlanes(points);
  if (kind_ == PrimitiveKind::line) setLine(record, points);

  const ShadingPlan& plan = item_.plan;
  if (plan.isLit) {
    loadNormals(item_, cornerCount);
    if (plan.hasNormalMap) loadTangents(item_, cornerCount);
  }
  if (plan.hasVertexColor) {
    const device::VertexStream& stream = item_.mesh->color;
    for (std::size_t k = 0; k < cornerCount; ++k) {
      const float* c = stream[corners_[k]];
      colors_[k] = {c[0], c[1], c[2], stream.components > 3 ? c[3] : 1.0f};
    }
  }
  for (std::size_t set = 0; set < plan.channelCount; ++set) {
    const std::uint32_t channel = plan.channels[set];
    textures_[set] = {};
    if (channel >= item_.mesh->texcoords.size() || !item_.mesh->texcoords[channel].isPresent()) continue;
    for (std::size_t k = 0; k < cornerCount; ++k) {
      const float* uv = item_.mesh->texcoords[channel][corners_[k]];
      textures_[set].u[k] = uv[0];
      textures_[set].v[k] = uv[1];
    }
  }
}

void PrimitiveAttributes::setTrianglePlanes(std::span<const ClipPoint> points) noexcept {
  for (std::size_t k = 0; k < 3; ++k) {
    const ClipPoint& a = points[(k + 1) % 3];
    const ClipPoint& b = points[(k + 2) % 3];
    planes_.x[k] = a.y * b.w - b.y * a.w;
    planes_.y[k] = b.x * a.w - a.x * b.w;
    planes_.c[k] = a.x * b.y - b.x * a.y;
  }
  const double volume = planes_.x[0] * points[0].x + planes_.y[0] * points[0].y + planes_.c[0] * points[0].w;
  if (volume >= 0) return;
  for (std::size_t k = 0; k < 3; ++k) {
    planes_.x[k] = -planes_.x[k];
    planes_.y[k] = -planes_.y[k];
    planes_.c[k] = -planes_.c[k];
  }
}

void PrimitiveAttributes::setLine(const PrimitiveRecord& record, std::span<const ClipPoint> points) noexcept {
  lineIsWide_ =
      std::abs(record.outline.x[1] - record.outline.x[0]) >= std::abs(record.outline.y[1] - record.outline.y[0]);
  for (std::size_t end = 0; end < 2; ++end) {
    lineAt_[end] = lineIsWide_ ? points[end].x : points[end].y;
    lineW_[end] = points[end].w;
  }
}

void PrimitiveAttributes::loadNormals(const PreparedItem& item, std::size_t cornerCount) {
  bool isSmooth = item.mesh->normal.isPresent();
  if (isSmooth) {
    CornerNormals normals;
    for (std::size_t k = 0; k < cornerCount; ++k) {
      const float* n = item.mesh->normal[corners_[k]];
      normals.x[k] = n[0];
      normals.y[k] = n[1];
      normals.z[k] = n[2];
    }
    transformNormals(item.item->normalMatrix, normals);
    for (std::size_t k = 0; k < cornerCount; ++k) {
      normals_[k] = {normals.x[k], normals.y[k], normals.z[k]};
      isSmooth = isSmooth && !isZero(normals_[k]) && (k == 0 || dot(normals_[k], normals_[0]) > 0);
    }
  }
  // Normals that agree can only add up to something sensible; otherwise a pixel may have to fall back.
  if (!isSmooth) loadFacet(item);
}

void PrimitiveAttributes::loadFacet(const PreparedItem& item) {
  if (item.item->topology != device::Topology::triangles) return;
  const simd_double3 a = worldPosition(item, corners_[0]);
  const simd_double3 normal = cross(worldPosition(item, corners_[1]) - a, worldPosition(item, corners_[2]) - a);
  facet_ = direction(normal) * (item.item->isMirrored ? -1.0f : 1.0f);
}

void PrimitiveAttributes::loadTangents(const PreparedItem& item, std::size_t cornerCount) {
  if (item.plan.derivesTangents) return deriveTangent(item);
  const device::VertexStream& stream = item.mesh->tangent;
  const simd_float4x4 world = matrixCast<float>(item.item->worldMatrix);
  for (std::size_t k = 0; k < cornerCount; ++k) {
    const float* t = stream[corners_[k]];
    const simd_float3 tangent = direction(transformDirection(world, simd_float3{t[0], t[1], t[2]}));
    const float hand = (stream.components > 3 && t[3] < 0 ? -1.0f : 1.0f) * (item.item->isMirrored ? -1.0f : 1.0f);
    tangents_[k] = {tangent.x, tangent.y, tangent.z, hand};
  }
}

void PrimitiveAttributes::deriveTangent(const PreparedItem& item) {
  if (item.item->topology != device::Topology::triangles) return;
  const std::uint32_t channel = item.plan.channels[item.plan.normalChannel];
  if (channel >= item.mesh->texcoords.size() || !item.mesh->texcoords[channel].isPresent()) return;
  const device::VertexStream& stream = item.mesh->texcoords[channel];
  const float* uv0 = stream[corners_[0]];
  const float* uv1 = stream[corners_[1]];
  const float* uv2 = stream[corners_[2]];
  const double u1 = double{uv1[0]} - uv0[0], v1 = double{uv1[1]} - uv0[1];
  const double u2 = double{uv2[0]} - uv0[0], v2 = double{uv2[1]} - uv0[1];
  const simd_double3 origin = worldPosition(item, corners_[0]);
  const simd_double3 e1 = worldPosition(item, corners_[1]) - origin;
  const simd_double3 e2 = worldPosition(item, corners_[2]) - origin;
  const double area = u1 * v2 - u2 * v1;
  const double sign = area < 0 ? -1.0 : 1.0;
  const simd_float3 tangent = direction((e1 * v2 - e2 * v1) * sign);
  // Normal maps take their green axis upwards in the image, against the direction in which v grows.
  const simd_float3 upwards = direction((e1 * u2 - e2 * u1) * sign);
  const simd_float3 front = direction(cross(e1, e2)) * (item.item->isMirrored ? -1.0f : 1.0f);
  const float hand = dot(cross(front, tangent), upwards) < 0 ? -1.0f : 1.0f;
  if (area == 0) return;
  tangents_.fill({tangent.x, tangent.y, tangent.z, hand});
}

void PrimitiveAttributes::append(std::span<const std::uint16_t> pixels, FragmentBatch& batch) const noexcept {
  const std::size_t count = pixels.size();
  const std::size_t base = batch.count;
  // In blocks of a fixed size: most primitives have few pixels.
  for (std::size_t i = 0; i < count; i += laneReserve) {
    std::memcpy(batch.pixel.data() + base + i, pixels.data() + i, laneReserve * sizeof(std::uint16_t));
  }
  batch.count += count;
  if (item_.plan.isLit) appendSides(base, count, batch);
  if (item_.plan.hasNormalMap) std::fill_n(batch.tangent.w.begin() + base, count, tangents_[0].w);

  Outputs outputs;
  listOutputs(base, batch, outputs);
  const std::span<const CornerValues> values{outputs.values.data(), outputs.valueCount};
  const std::span<const CornerGradients> gradients{outputs.gradients.data(), outputs.gradientCount};
  if (values.empty() && gradients.empty()) return;
  if (kind_ == PrimitiveKind::triangle) {
    interpolateTriangle(planes_, batch.pixel.data() + base, count, values, gradients);
  } else {
    interpolateAlong(pixels, values, gradients);
  }
}

void PrimitiveAttributes::appendSides(std::size_t base, std::size_t count, FragmentBatch& batch) const noexcept {
  if (base == 0) batch.hasBackFaces = batch.hasFacets = false;
  if (isBackFacing_ && !batch.hasBackFaces) {
    std::fill_n(batch.face.begin(), base, 1.0f);
    batch.hasBackFaces = true;
  }
  if (batch.hasBackFaces) std::fill_n(batch.face.begin() + base, count, isBackFacing_ ? -1.0f : 1.0f);
  if (!isZero(facet_) && !batch.hasFacets) {
    std::fill_n(batch.facet.x.begin(), base, 0.0f);
    std::fill_n(batch.facet.y.begin(), base, 0.0f);
    std::fill_n(batch.facet.z.begin(), base, 0.0f);
    batch.hasFacets = true;
  }
  if (!batch.hasFacets) return;
  std::fill_n(batch.facet.x.begin() + base, count, facet_.x);
  std::fill_n(batch.facet.y.begin() + base, count, facet_.y);
  std::fill_n(batch.facet.z.begin() + base, count, facet_.z);
}

void PrimitiveAttributes::listOutputs(std::size_t base, FragmentBatch& batch, Outputs& outputs) const noexcept {
  const ShadingPlan& plan = item_.plan;
  const auto add = [&](const auto& corners, auto member, Lane& lane) {
    outputs.add(corners[0].*member, corners[1].*member, corners[2].*member, lane.data() + base);
  };
  if (plan.isLit) {
    add(normals_, &simd_float3::x, batch.normal.x);
    add(normals_, &simd_float3::y, batch.normal.y);
    add(normals_, &simd_float3::z, batch.normal.z);
  }
  if (plan.hasNormalMap) {
    add(tangents_, &simd_float4::x, batch.tangent.x);
    add(tangents_, &simd_float4::y, batch.tangent.y);
    add(tangents_, &simd_float4::z, batch.tangent.z);
  }
  if (plan.hasVertexColor) {
    add(colors_, &simd_float4::x, batch.color.x);
    add(colors_, &simd_float4::y, batch.color.y);
    add(colors_, &simd_float4::z, batch.color.z);
    add(colors_, &simd_float4::w, batch.color.w);
  }
  for (std::size_t set = 0; set < plan.channelCount; ++set) {
    CoordinateLanes& out = batch.coordinates[set];
    outputs.gradients[outputs.gradientCount++] = {textures_[set].u, out.u.data() + base, out.dudx.data() + base,
                                                  out.dudy.data() + base};
    outputs.gradients[outputs.gradientCount++] = {textures_[set].v, out.v.data() + base, out.dvdx.data() + base,
                                                  out.dvdy.data() + base};
  }
}

void PrimitiveAttributes::interpolateAlong(std::span<const std::uint16_t> pixels, std::span<const CornerValues> values,
                                           std::span<const CornerGradients> gradients) const noexcept {
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    const float share = kind_ == PrimitiveKind::line ? shareOfSecondEnd(pixels[i]) : 0.0f;
    const auto between = [share](const std::array<float, 3>& corners) {
      return (1.0f - share) * corners[0] + share * corners[1];
    };
    for (const CornerValues& value : values) value.out[i] = between(value.corners);
    for (const CornerGradients& gradient : gradients) {
      gradient.out[i] = between(gradient.corners);
      gradient.perX[i] = 0.0f;
      gradient.perY[i] = 0.0f;
    }
  }
}

float PrimitiveAttributes::shareOfSecondEnd(std::uint16_t pixel) const noexcept {
  const auto along = static_cast<double>(lineIsWide_ ? pixelColumn(pixel) : pixelRow(pixel));
  const double from = lineAt_[0] - along * lineW_[0];
  const double to = lineAt_[1] - along * lineW_[1];
  const double t = std::clamp(from / (from - to), 0.0, 1.0);
  return t >= 0 ? static_cast<float>(t) : 0.0f;
}

}  // namespace ornolith::raster
