#include "scenegraph/GeometryCache.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <numeric>
#include <utility>

#include "foundation/Parallel.h"
#include "scenegraph/PolygonTriangulation.h"
#include "scenegraph/Transforms.h"

namespace ornolith {
namespace {

using device::Topology;
using device::VertexStream;
using Indices = std::vector<std::uint32_t>;

// Counts of a frame description have 32 bits; a run ends at a whole number of primitives of any kind.
constexpr std::size_t mostElements = std::numeric_limits<std::uint32_t>::max();
constexpr std::size_t mostIndices = mostElements / 6 * 6;

// Streams.

bool isAlignedForFloats(const SCNGeometrySource& source) {
  const auto address = reinterpret_cast<std::uintptr_t>(source.data()->data() + source.dataOffset());
  return address % alignof(float) == 0 && source.dataStride() % sizeof(float) == 0 &&
         source.dataStride() / sizeof(float) <= mostElements;
}

// A stream of `components` floats per vector, or one that is absent where the source has no vectors.
VertexStream makeStream(const SCNGeometrySource& source, std::uint32_t components,
                        std::vector<std::vector<float>>& converted) {
  VertexStream stream;
  stream.count = static_cast<std::uint32_t>(std::min(source.vectorCount(), mostElements));
  stream.components = components;
  if (stream.count == 0) return {};
  if (source.floatComponents() && source.bytesPerComponent() == sizeof(float) &&
      source.componentsPerVector() >= components && isAlignedForFloats(source)) {
    stream.data = reinterpret_cast<const float*>(source.data()->data() + source.dataOffset());
    stream.stride = static_cast<std::uint32_t>(source.dataStride() / sizeof(float));
    return stream;
  }
  std::vector<float>& copy = converted.emplace_back();
  copy.reserve(std::size_t{stream.count} * components);
  for (std::size_t i = 0; i < stream.count; ++i) {
    for (std::uint32_t c = 0; c < components; ++c) copy.push_back(static_cast<float>(source.component(i, c)));
  }
  stream.data = copy.data();
  stream.stride = components;
  return stream;
}

void addStreams(FlatGeometry& flat) {
  flat.converted.reserve(flat.sources.size());  // Streams point into its elements.
  device::Mesh& mesh = flat.mesh;
  for (const auto& source : flat.sources) {
    if (source->semantic() == SCNGeometrySourceSemantic::vertex && !mesh.position.isPresent()) {
      mesh.position = makeStream(*source, 3, flat.converted);
    }
  }
  const auto isUsable = [&](const SCNGeometrySource& source, std::size_t fewestComponents) {
    return source.vectorCount() >= mesh.position.count && source.componentsPerVector() >= fewestComponents;
  };
  for (const auto& source : flat.sources) {
    const std::uint32_t threeOrFour = source->componentsPerVector() > 3 ? 4 : 3;
    switch (source->semantic()) {
      case SCNGeometrySourceSemantic::vertex:
        break;
      case SCNGeometrySourceSemantic::normal:
        if (!mesh.normal.isPresent() && isUsable(*source, 3)) mesh.normal = makeStream(*source, 3, flat.converted);
        break;
      case SCNGeometrySourceSemantic::tangent:
        if (!mesh.tangent.isPresent() && isUsable(*source, 3)) {
          mesh.tangent = makeStream(*source, threeOrFour, flat.converted);
        }
        break;
      case SCNGeometrySourceSemantic::color:
        if (!mesh.color.isPresent() && isUsable(*source, 3)) {
          mesh.color = makeStream(*source, threeOrFour, flat.converted);
        }
        break;
      case SCNGeometrySourceSemantic::texcoord:
        // Channels keep their numbers: one that cannot be used stands there as absent.
        mesh.texcoords.push_back(isUsable(*source, 1) ? makeStream(*source, 2, flat.converted) : VertexStream{});
        break;
    }
  }
}

// Indices.

std::uint32_t cornersPerPrimitive(Topology topology) {
  return topology == Topology::triangles ? 3 : topology == Topology::lines ? 2 : 1;
}

// The element's indices, read once for whatever width they have. Without data, the vertices in order.
Indices readIndices(const SCNGeometryElement& element, std::size_t firstIndex, std::size_t vertexCount) {
  Indices indices;
  if (element.data()) {
    const std::size_t end = std::min(element.indexCount(), firstIndex + mostIndices);
    indices.reserve(end - std::min(firstIndex, end));
    for (std::size_t i = firstIndex; i < end; ++i) indices.push_back(element.index(i));
    return indices;
  }
  const std::size_t primitives = std::min(element.primitiveCount(), vertexCount);
  std::size_t wanted = 0;
  switch (element.primitiveType()) {
    case SCNGeometryPrimitiveType::triangles:
      wanted = primitives * 3;
      break;
    case SCNGeometryPrimitiveType::triangleStrip:
      wanted = primitives == 0 ? 0 : primitives + 2;
      break;
    case SCNGeometryPrimitiveType::line:
      wanted = primitives * 2;
      break;
    case SCNGeometryPrimitiveType::point:
      wanted = primitives;
      break;
    case SCNGeometryPrimitiveType::polygon:
      break;
  }
  indices.resize(std::min({wanted, vertexCount, mostIndices}));
  std::iota(indices.begin(), indices.end(), 0U);
  return indices;
}

// Drops what is left over behind the last whole primitive, and each primitive with an index out of range.
void keepWholePrimitives(Indices& indices, std::uint32_t corners, std::uint32_t vertexCount) {
  std::size_t kept = 0;
  for (std::size_t first = 0; first + corners <= indices.size(); first += corners) {
    const auto begin = indices.begin() + static_cast<std::ptrdiff_t>(first);
    const bool isInRange = std::all_of(begin, begin + corners, [&](std::uint32_t i) { return i < vertexCount; });
    if (!isInRange) continue;
    for (std::uint32_t c = 0; c < corners; ++c) indices[kept++] = indices[first + c];
  }
  indices.resize(kept);
}

// Every second triangle of a strip is turned, so that all wind alike. The largest number of the index's width cuts the
// strip; a triangle with an index out of range is left out.
Indices trianglesOfStrip(const Indices& strip, std::uint32_t cut, std::uint32_t vertexCount) {
  Indices triangles;
  if (strip.size() > 2) triangles.reserve(std::min(strip.size() - 2, mostIndices / 3) * 3);
  std::size_t start = 0;
  for (std::size_t i = 0; i < strip.size() && triangles.size() < mostIndices; ++i) {
    if (strip[i] == cut) {
      start = i + 1;
      continue;
    }
    if (i < start + 2) continue;
    std::uint32_t a = strip[i - 2];
    std::uint32_t b = strip[i - 1];
    if ((i - start) % 2 != 0) std::swap(a, b);
    if (a < vertexCount && b < vertexCount && strip[i] < vertexCount)
      triangles.insert(triangles.end(), {a, b, strip[i]});
  }
  return triangles;
}

simd_double3 positionOf(const VertexStream& positions, std::uint32_t index) {
  const float* p = positions[index];
  return {double{p[0]}, double{p[1]}, double{p[2]}};
}

Indices trianglesOfPolygons(const SCNGeometryElement& element, const VertexStream& positions) {
  Indices triangles;
  const std::size_t polygonCount = std::min(element.primitiveCount(), element.indexCount());
  const Indices corners = readIndices(element, polygonCount, positions.count);
  PolygonTriangulator triangulator;
  std::vector<simd_double3> points;
  Indices local;
  std::size_t first = 0;
  for (std::size_t polygon = 0; polygon < polygonCount; ++polygon) {
    const std::size_t cornerCount = element.index(polygon);
    if (cornerCount > corners.size() - first) break;
    const std::span<const std::uint32_t> polygonCorners(corners.data() + first, cornerCount);
    first += cornerCount;
    points.clear();
    for (const std::uint32_t corner : polygonCorners) {
      if (corner < positions.count) points.push_back(positionOf(positions, corner));
    }
    if (points.size() != cornerCount) continue;
    local.clear();
    triangulator.triangulate(points, local);
    if (local.size() > mostIndices - triangles.size()) break;
    for (const std::uint32_t corner : local) triangles.push_back(polygonCorners[corner]);
  }
  return triangles;
}

// The element's own data as indices, where they can be taken as they are.
std::optional<std::span<const std::uint32_t>> indicesInPlace(const SCNGeometryElement& element, std::uint32_t corners,
                                                             std::uint32_t vertexCount) {
  if (!element.data() || element.bytesPerIndex() != sizeof(std::uint32_t)) return std::nullopt;
  const std::byte* data = element.data()->data();
  if (reinterpret_cast<std::uintptr_t>(data) % alignof(std::uint32_t) != 0) return std::nullopt;
  const std::size_t count = std::min(element.indexCount(), mostIndices) / corners * corners;
  const std::span<const std::uint32_t> indices(reinterpret_cast<const std::uint32_t*>(data), count);
  std::uint32_t largest = 0;
  for (const std::uint32_t index : indices) largest = std::max(largest, index);
  if (count > 0 && largest >= vertexCount) return std::nullopt;
  return indices;
}

std::uint32_t largestIndex(const SCNGeometryElement& element) {
  return element.bytesPerIndex() == 1 ? 0xff : element.bytesPerIndex() == 2 ? 0xffff : 0xffffffff;
}

void addIndices(const SCNGeometryElement& element, const VertexStream& positions, FlatElement& run) {
  switch (element.primitiveType()) {
    case SCNGeometryPrimitiveType::triangleStrip:
      run.converted =
          trianglesOfStrip(readIndices(element, 0, positions.count), largestIndex(element), positions.count);
      break;
    case SCNGeometryPrimitiveType::polygon:
      run.converted = trianglesOfPolygons(element, positions);
      break;
    case SCNGeometryPrimitiveType::line:
      run.topology = Topology::lines;
      break;
    case SCNGeometryPrimitiveType::point:
      run.topology = Topology::points;
      break;
    case SCNGeometryPrimitiveType::triangles:
      break;
  }
  const bool isList = element.primitiveType() != SCNGeometryPrimitiveType::triangleStrip &&
                      element.primitiveType() != SCNGeometryPrimitiveType::polygon;
  if (isList) {
    const std::uint32_t corners = cornersPerPrimitive(run.topology);
    if (const auto inPlace = indicesInPlace(element, corners, positions.count)) {
      run.indices = *inPlace;
      return;
    }
    run.converted = readIndices(element, 0, positions.count);
    keepWholePrimitives(run.converted, corners, positions.count);
  }
  run.indices = run.converted;
}

}  // namespace

SCNVector3 FlatGeometry::centreOf(const FlatElement& run) const {
  if (run.centre) return *run.centre;
  std::optional<SCNBoundingBox> box;
  for (const std::uint32_t index : run.indices) {
    const SCNVector3 position = positionOf(mesh.position, index);
    if (isFinite(position)) widenByPoint(box, position);
  }
  run.centre = box ? (box->minimum + box->maximum) * 0.5 : SCNVector3{};
  return *run.centre;
}

std::shared_ptr<const FlatGeometry> flattenGeometry(const SCNGeometry& geometry) {
  auto flat = std::make_shared<FlatGeometry>();
  flat->sources = geometry.geometrySources();
  flat->elements = geometry.geometryElements();
  addStreams(*flat);
  if (!flat->mesh.position.isPresent()) return flat;
  for (std::size_t slot = 0; slot < flat->elements.size(); ++slot) {
    FlatElement run;
    run.element = flat->elements[slot];
    run.slot = slot;
    addIndices(*run.element, flat->mesh.position, run);
    if (!run.indices.empty()) flat->runs.push_back(std::move(run));
  }
  return flat;
}

void GeometryCache::prepare(std::span<const std::shared_ptr<SCNGeometry>> geometries) {
  std::unordered_map<const SCNGeometry*, Entry> kept;
  kept.reserve(geometries.size());
  std::vector<Entry*> missing;
  for (const std::shared_ptr<SCNGeometry>& geometry : geometries) {
    Entry& entry = kept[geometry.get()];
    entry.owner = geometry;
    const auto found = entries_.find(geometry.get());
    if (found != entries_.end() && found->second.flat->sources == geometry->geometrySources() &&
        found->second.flat->elements == geometry->geometryElements()) {
      entry.flat = found->second.flat;
    } else {
      missing.push_back(&entry);
    }
  }
  parallelFor(missing.size(), 1, [&](std::size_t i) { missing[i]->flat = flattenGeometry(*missing[i]->owner); });
  entries_ = std::move(kept);
}

const std::shared_ptr<const FlatGeometry>& GeometryCache::flat(const SCNGeometry& geometry) const {
  return entries_.at(&geometry).flat;
}

}  // namespace ornolith
