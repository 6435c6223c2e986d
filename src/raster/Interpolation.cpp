#include "raster/Interpolation.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace ornolith::raster {

/// Weights of the three corners per fragment, and their change from pixel to pixel.
struct PrimitiveAttributes::Weights {
  std::array<Lane, 3> at;
  std::array<Lane, 3> perX;
  std::array<Lane, 3> perY;
  std::array<double, batchSize> scale;  ///< 1 over the sum of the planes: proportional to the distance.

  void interpolate(const std::array<Lane, 3>& weights, std::size_t count, float a, float b, float c,
                   float* out) const noexcept {
    for (std::size_t i = 0; i < count; ++i) out[i] = weights[0][i] * a + weights[1][i] * b + weights[2][i] * c;
  }
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
    planeX_[k] = a.y * b.w - b.y * a.w;
    planeY_[k] = b.x * a.w - a.x * b.w;
    planeC_[k] = a.x * b.y - b.x * a.y;
  }
  const double volume = planeX_[0] * points[0].x + planeY_[0] * points[0].y + planeC_[0] * points[0].w;
  if (volume >= 0) return;
  for (std::size_t k = 0; k < 3; ++k) {
    planeX_[k] = -planeX_[k];
    planeY_[k] = -planeY_[k];
    planeC_[k] = -planeC_[k];
  }
}

void PrimitiveAttributes::setLine(const PrimitiveRecord& record, std::span<const ClipPoint> points) noexcept {
  lineIsWide_ = std::abs(record.x[1] - record.x[0]) >= std::abs(record.y[1] - record.y[0]);
  for (std::size_t end = 0; end < 2; ++end) {
    lineAt_[end] = lineIsWide_ ? points[end].x : points[end].y;
    lineW_[end] = points[end].w;
  }
}

void PrimitiveAttributes::loadNormals(const PreparedItem& item, std::size_t cornerCount) {
  bool isSmooth = item.mesh->normal.isPresent();
  if (isSmooth) {
    const auto& [mx, my, mz] = item.item->normalMatrix;
    for (std::size_t k = 0; k < cornerCount; ++k) {
      const float* n = item.mesh->normal[corners_[k]];
      normals_[k] = direction(mx * n[0] + my * n[1] + mz * n[2]);
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

void PrimitiveAttributes::computeWeights(std::span<const std::uint16_t> pixels, Weights& weights) const noexcept {
  switch (kind_) {
    case PrimitiveKind::triangle:
      return computeTriangleWeights(pixels, weights);
    case PrimitiveKind::line:
      return computeLineWeights(pixels, weights);
    case PrimitiveKind::point:
      for (std::size_t k = 0; k < 3; ++k) std::fill_n(weights.at[k].begin(), pixels.size(), k == 0 ? 1.0f : 0.0f);
      return;
  }
}

void PrimitiveAttributes::computeTriangleWeights(std::span<const std::uint16_t> pixels,
                                                 Weights& weights) const noexcept {
  const std::size_t count = pixels.size();
  for (std::size_t i = 0; i < count; ++i) {
    const auto x = static_cast<double>(pixelColumn(pixels[i]));
    const auto y = static_cast<double>(pixelRow(pixels[i]));
    // The grid moves corners by up to 1/512 of a pixel: a centre may lie that little outside.
    const double a = planeX_[0] * x + planeY_[0] * y + planeC_[0];
    const double b = planeX_[1] * x + planeY_[1] * y + planeC_[1];
    const double c = planeX_[2] * x + planeY_[2] * y + planeC_[2];
    const double w0 = a > 0 ? a : 0;
    const double w1 = b > 0 ? b : 0;
    const double w2 = c > 0 ? c : 0;
    const double scale = 1.0 / (w0 + w1 + w2);
    const bool isSound = scale < std::numeric_limits<double>::infinity();
    weights.at[0][i] = isSound ? static_cast<float>(w0 * scale) : 1.0f;
    weights.at[1][i] = isSound ? static_cast<float>(w1 * scale) : 0.0f;
    weights.at[2][i] = isSound ? static_cast<float>(w2 * scale) : 0.0f;
    weights.scale[i] = isSound ? scale : 0.0;
  }
}

void PrimitiveAttributes::computeLineWeights(std::span<const std::uint16_t> pixels, Weights& weights) const noexcept {
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    const auto along = static_cast<double>(lineIsWide_ ? pixelColumn(pixels[i]) : pixelRow(pixels[i]));
    const double from = lineAt_[0] - along * lineW_[0];
    const double to = lineAt_[1] - along * lineW_[1];
    const double t = std::clamp(from / (from - to), 0.0, 1.0);
    weights.at[1][i] = t >= 0 ? static_cast<float>(t) : 0.0f;
    weights.at[0][i] = 1.0f - weights.at[1][i];
    weights.at[2][i] = 0.0f;
  }
}

void PrimitiveAttributes::computeDerivatives(std::size_t count, Weights& weights) const noexcept {
  if (kind_ != PrimitiveKind::triangle) {
    for (std::size_t k = 0; k < 3; ++k) {
      std::fill_n(weights.perX[k].begin(), count, 0.0f);
      std::fill_n(weights.perY[k].begin(), count, 0.0f);
    }
    return;
  }
  const double sumX = planeX_[0] + planeX_[1] + planeX_[2];
  const double sumY = planeY_[0] + planeY_[1] + planeY_[2];
  for (std::size_t k = 0; k < 3; ++k) {
    for (std::size_t i = 0; i < count; ++i) {
      const auto weight = static_cast<double>(weights.at[k][i]);
      weights.perX[k][i] = static_cast<float>((planeX_[k] - weight * sumX) * weights.scale[i]);
      weights.perY[k][i] = static_cast<float>((planeY_[k] - weight * sumY) * weights.scale[i]);
    }
  }
}

void PrimitiveAttributes::append(std::span<const std::uint16_t> pixels, FragmentBatch& batch) const noexcept {
  const std::size_t count = pixels.size();
  const std::size_t base = batch.count;
  const ShadingPlan& plan = item_.plan;
  std::copy(pixels.begin(), pixels.end(), batch.pixel.begin() + static_cast<std::ptrdiff_t>(base));
  batch.count += count;

  Weights weights;
  computeWeights(pixels, weights);
  const auto blend = [&](float a, float b, float c, Lane& out) {
    weights.interpolate(weights.at, count, a, b, c, out.data() + base);
  };
  if (plan.isLit) {
    std::fill_n(batch.face.begin() + base, count, isBackFacing_ ? -1.0f : 1.0f);
    std::fill_n(batch.facet.x.begin() + base, count, facet_.x);
    std::fill_n(batch.facet.y.begin() + base, count, facet_.y);
    std::fill_n(batch.facet.z.begin() + base, count, facet_.z);
    blend(normals_[0].x, normals_[1].x, normals_[2].x, batch.normal.x);
    blend(normals_[0].y, normals_[1].y, normals_[2].y, batch.normal.y);
    blend(normals_[0].z, normals_[1].z, normals_[2].z, batch.normal.z);
  }
  if (plan.hasNormalMap) {
    blend(tangents_[0].x, tangents_[1].x, tangents_[2].x, batch.tangent.x);
    blend(tangents_[0].y, tangents_[1].y, tangents_[2].y, batch.tangent.y);
    blend(tangents_[0].z, tangents_[1].z, tangents_[2].z, batch.tangent.z);
    std::fill_n(batch.tangent.w.begin() + base, count, tangents_[0].w);
  }
  if (plan.hasVertexColor) {
    blend(colors_[0].x, colors_[1].x, colors_[2].x, batch.color.x);
    blend(colors_[0].y, colors_[1].y, colors_[2].y, batch.color.y);
    blend(colors_[0].z, colors_[1].z, colors_[2].z, batch.color.z);
    blend(colors_[0].w, colors_[1].w, colors_[2].w, batch.color.w);
  }
  if (plan.channelCount == 0) return;
  computeDerivatives(count, weights);
  for (std::size_t set = 0; set < plan.channelCount; ++set) {
    const TextureCorners& t = textures_[set];
    CoordinateLanes& out = batch.coordinates[set];
    blend(t.u[0], t.u[1], t.u[2], out.u);
    blend(t.v[0], t.v[1], t.v[2], out.v);
    weights.interpolate(weights.perX, count, t.u[0], t.u[1], t.u[2], out.dudx.data() + base);
    weights.interpolate(weights.perX, count, t.v[0], t.v[1], t.v[2], out.dvdx.data() + base);
    weights.interpolate(weights.perY, count, t.u[0], t.u[1], t.u[2], out.dudy.data() + base);
    weights.interpolate(weights.perY, count, t.v[0], t.v[1], t.v[2], out.dvdy.data() + base);
  }
}

}  // namespace ornolith::raster
