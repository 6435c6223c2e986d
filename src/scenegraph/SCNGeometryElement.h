#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "foundation/SharedBytes.h"

namespace ornolith {

/// The platform's numbers.
enum class SCNGeometryPrimitiveType : int { triangles = 0, triangleStrip = 1, line = 2, point = 3, polygon = 4 };

/// A run of primitives as vertex indices. A polygon element's data holds first the corner count of each polygon, then
/// all corners' indices. Without data the vertices are taken in order
/// (a polygon element has no polygons then).
class SCNGeometryElement {
 public:
  using Data = SharedBytes;

  /// Indices are unsigned integers of 1, 2 or 4 bytes in the machine's order. `primitiveCount` is kept as given;
  /// readers go through `indexCount`, which never exceeds what `data` holds.
  static std::shared_ptr<SCNGeometryElement> geometryElementWithData(Data data, SCNGeometryPrimitiveType primitiveType,
                                                                     std::size_t primitiveCount,
                                                                     std::size_t bytesPerIndex);

  const Data& data() const noexcept { return data_; }
  SCNGeometryPrimitiveType primitiveType() const noexcept { return primitiveType_; }
  std::size_t primitiveCount() const noexcept { return primitiveCount_; }
  std::size_t bytesPerIndex() const noexcept { return bytesPerIndex_; }
  /// How many indices stand in `data`, for a polygon element the corner counts included.
  std::size_t indexCount() const noexcept { return indexCount_; }
  /// Index number `position`, below `indexCount`.
  std::uint32_t index(std::size_t position) const noexcept;

  // Point elements.
  double pointSize = 1;                      ///< Units of the scene.
  double minimumPointScreenSpaceRadius = 1;  ///< Pixels.
  double maximumPointScreenSpaceRadius = 1;  ///< Pixels.

 private:
  SCNGeometryElement() = default;
  std::size_t countIndices() const noexcept;

  Data data_;
  SCNGeometryPrimitiveType primitiveType_ = SCNGeometryPrimitiveType::triangles;
  std::size_t primitiveCount_ = 0;
  std::size_t bytesPerIndex_ = 4;
  std::size_t indexCount_ = 0;
};

}  // namespace ornolith
