#include "scenegraph/SCNGeometry.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <optional>
#include <utility>

#include "scenegraph/Transforms.h"

namespace ornolith {
namespace {

std::optional<SCNBoundingBox> boxOfPackedFloats(const SCNGeometrySource& vertices) {
  const std::byte* place = vertices.data()->data() + vertices.dataOffset();
  simd_float3 minimum{};
  simd_float3 maximum{};
  bool isEmpty = true;
  for (std::size_t i = 0; i < vertices.vectorCount(); ++i, place += vertices.dataStride()) {
    float components[3];
    std::memcpy(components, place, sizeof components);
    const simd_float3 position{components[0], components[1], components[2]};
    if (!isFinite(position)) continue;
    if (isEmpty) {
      minimum = maximum = position;
      isEmpty = false;
      continue;
    }
    minimum = {std::min(minimum.x, position.x), std::min(minimum.y, position.y), std::min(minimum.z, position.z)};
    maximum = {std::max(maximum.x, position.x), std::max(maximum.y, position.y), std::max(maximum.z, position.z)};
  }
  if (isEmpty) return std::nullopt;
  return SCNBoundingBox{vectorCast<double>(minimum), vectorCast<double>(maximum)};
}

std::optional<SCNBoundingBox> boxOfPositions(const SCNGeometrySource& vertices) {
  if (vertices.floatComponents() && vertices.bytesPerComponent() == 4 && vertices.componentsPerVector() >= 3) {
    return boxOfPackedFloats(vertices);
  }
  std::optional<SCNBoundingBox> box;
  for (std::size_t i = 0; i < vertices.vectorCount(); ++i) {
    const SCNVector3 position{vertices.component(i, 0), vertices.component(i, 1), vertices.component(i, 2)};
    if (isFinite(position)) widenByPoint(box, position);
  }
  return box;
}

}  // namespace

std::shared_ptr<SCNGeometry> SCNGeometry::geometryWithSources(Sources sources, Elements elements) {
  std::shared_ptr<SCNGeometry> geometry(new SCNGeometry);
  geometry->setSourcesAndElements(std::move(sources), std::move(elements));
  return geometry;
}

void SCNGeometry::setSourcesAndElements(Sources sources, Elements elements) {
  sources_ = std::move(sources);
  elements_ = std::move(elements);
  std::erase(sources_, nullptr);
  std::erase(elements_, nullptr);
  boundingBoxIsKnown_ = false;
}

SCNGeometry::Sources SCNGeometry::geometrySourcesForSemantic(SCNGeometrySourceSemantic semantic) const {
  Sources found;
  for (const auto& source : sources_) {
    if (source->semantic() == semantic) found.push_back(source);
  }
  return found;
}

const SCNGeometrySource* SCNGeometry::firstSourceForSemantic(SCNGeometrySourceSemantic semantic) const noexcept {
  for (const auto& source : sources_) {
    if (source->semantic() == semantic) return source.get();
  }
  return nullptr;
}

std::shared_ptr<SCNMaterial> SCNGeometry::firstMaterial() const {
  return materials_.empty() ? nullptr : materials_.front();
}

void SCNGeometry::setFirstMaterial(std::shared_ptr<SCNMaterial> material) {
  if (materials_.empty()) materials_.emplace_back();
  materials_.front() = std::move(material);
}

std::shared_ptr<SCNMaterial> SCNGeometry::materialForElement(std::size_t element) const {
  return materials_.empty() ? nullptr : materials_[element % materials_.size()];
}

const SCNBoundingBox& SCNGeometry::boundingBox() const {
  if (boundingBoxIsKnown_) return boundingBox_;
  const SCNGeometrySource* vertices = firstSourceForSemantic(SCNGeometrySourceSemantic::vertex);
  const std::optional<SCNBoundingBox> box = vertices != nullptr ? boxOfPositions(*vertices) : std::nullopt;
  hasExtent_ = box.has_value();
  boundingBox_ = box.value_or(SCNBoundingBox{});
  boundingBoxIsKnown_ = true;
  return boundingBox_;
}

bool SCNGeometry::hasExtent() const {
  boundingBox();
  return hasExtent_;
}

}  // namespace ornolith
