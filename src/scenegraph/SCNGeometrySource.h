#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "foundation/SharedBytes.h"
#include "scenegraph/SCNTypes.h"

namespace ornolith {

enum class SCNGeometrySourceSemantic {
  vertex,    // SCNGeometrySourceSemanticVertex
  normal,    // SCNGeometrySourceSemanticNormal
  texcoord,  // SCNGeometrySourceSemanticTexcoord
  color,     // SCNGeometrySourceSemanticColor
  tangent,   // SCNGeometrySourceSemanticTangent
};

/// One immutable vertex stream: `vectorCount` vectors in a byte buffer, vector i at `dataOffset + i * dataStride`.
class SCNGeometrySource {
 public:
  using Data = SharedBytes;

  /// Components are floats of 4 or 8 bytes, or unsigned normalised integers of 1 or 2 bytes where `floatComponents` is
  /// false; any other format has no vectors. A stride of 0 means tightly packed. Vectors that do not lie wholly inside
  /// `data` are not counted: `vectorCount` is lowered to those that do.
  static std::shared_ptr<const SCNGeometrySource> geometrySourceWithData(
      Data data, SCNGeometrySourceSemantic semantic, std::size_t vectorCount, bool floatComponents,
      std::size_t componentsPerVector, std::size_t bytesPerComponent, std::size_t dataOffset, std::size_t dataStride);
  /// A vertex source of 32-bit floats.
  static std::shared_ptr<const SCNGeometrySource> geometrySourceWithVertices(std::span<const SCNVector3> vertices);

  const Data& data() const noexcept { return data_; }
  SCNGeometrySourceSemantic semantic() const noexcept { return semantic_; }
  std::size_t vectorCount() const noexcept { return vectorCount_; }
  bool floatComponents() const noexcept { return floatComponents_; }
  std::size_t componentsPerVector() const noexcept { return componentsPerVector_; }
  std::size_t bytesPerComponent() const noexcept { return bytesPerComponent_; }
  std::size_t dataOffset() const noexcept { return dataOffset_; }
  std::size_t dataStride() const noexcept { return dataStride_; }

  /// Component `component` of vector `index`, widened; 0 for a component that the source has not got. `index` is in
  /// range.
  double component(std::size_t index, std::size_t component) const noexcept;

 private:
  SCNGeometrySource() = default;
  Data data_;
  SCNGeometrySourceSemantic semantic_ = SCNGeometrySourceSemantic::vertex;
  std::size_t vectorCount_ = 0;
  bool floatComponents_ = true;
  std::size_t componentsPerVector_ = 0;
  std::size_t bytesPerComponent_ = 0;
  std::size_t dataOffset_ = 0;
  std::size_t dataStride_ = 0;
};

}  // namespace ornolith
