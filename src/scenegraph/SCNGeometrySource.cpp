#include "scenegraph/SCNGeometrySource.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

namespace ornolith {
namespace {

template <typename T>
T read(const std::byte* place) {
  T value;
  std::memcpy(&value, place, sizeof(T));
  return value;
}

// How many vectors of `vectorBytes` lie wholly inside `size` bytes.
std::size_t vectorsInside(std::size_t size, std::size_t vectorBytes, std::size_t offset, std::size_t stride) {
  if (vectorBytes == 0 || offset > size || size - offset < vectorBytes) return 0;
  return (size - offset - vectorBytes) / stride + 1;
}

}  // namespace

std::shared_ptr<const SCNGeometrySource> SCNGeometrySource::geometrySourceWithData(
    Data data, SCNGeometrySourceSemantic semantic, std::size_t vectorCount, bool floatComponents,
    std::size_t componentsPerVector, std::size_t bytesPerComponent, std::size_t dataOffset, std::size_t dataStride) {
  std::shared_ptr<SCNGeometrySource> source(new SCNGeometrySource);
  source->semantic_ = semantic;
  source->floatComponents_ = floatComponents;
  source->componentsPerVector_ = componentsPerVector;
  source->bytesPerComponent_ = bytesPerComponent;
  source->dataOffset_ = dataOffset;

  constexpr std::size_t mostComponents = 16;
  const bool isKnownFormat = floatComponents ? bytesPerComponent == 4 || bytesPerComponent == 8
                                             : bytesPerComponent == 1 || bytesPerComponent == 2;
  const bool isUsable = data && isKnownFormat && componentsPerVector <= mostComponents;
  const std::size_t vectorBytes = isUsable ? componentsPerVector * bytesPerComponent : 0;
  source->dataStride_ = dataStride != 0 ? dataStride : vectorBytes;
  if (isUsable) {
    source->vectorCount_ =
        std::min(vectorCount, vectorsInside(data->size(), vectorBytes, dataOffset, source->dataStride_));
  }
  source->data_ = std::move(data);
  return source;
}

std::shared_ptr<const SCNGeometrySource> SCNGeometrySource::geometrySourceWithVertices(
    std::span<const SCNVector3> vertices) {
  constexpr std::size_t vectorBytes = 3 * sizeof(float);
  auto data = std::make_shared<std::vector<std::byte>>(vertices.size() * vectorBytes);
  for (std::size_t i = 0; i < vertices.size(); ++i) {
    const float components[3] = {static_cast<float>(vertices[i].x), static_cast<float>(vertices[i].y),
                                 static_cast<float>(vertices[i].z)};
    std::memcpy(data->data() + i * vectorBytes, components, vectorBytes);
  }
  return geometrySourceWithData(std::move(data), SCNGeometrySourceSemantic::vertex, vertices.size(), true, 3,
                                sizeof(float), 0, vectorBytes);
}

double SCNGeometrySource::component(std::size_t index, std::size_t component) const noexcept {
  if (component >= componentsPerVector_) return 0;
  const std::byte* place = data_->data() + dataOffset_ + index * dataStride_ + component * bytesPerComponent_;
  if (floatComponents_) return bytesPerComponent_ == 4 ? double{read<float>(place)} : read<double>(place);
  if (bytesPerComponent_ == 1) return static_cast<double>(read<std::uint8_t>(place)) / 255.0;
  return static_cast<double>(read<std::uint16_t>(place)) / 65535.0;
}

}  // namespace ornolith
