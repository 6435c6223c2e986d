#include "scenegraph/SCNGeometryElement.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace ornolith {
namespace {

std::uint32_t readIndex(const std::byte* place, std::size_t bytesPerIndex) {
  if (bytesPerIndex == 1) return static_cast<std::uint32_t>(*place);
  if (bytesPerIndex == 2) {
    std::uint16_t index = 0;
    std::memcpy(&index, place, sizeof index);
    return index;
  }
  std::uint32_t index = 0;
  std::memcpy(&index, place, sizeof index);
  return index;
}

}  // namespace

std::shared_ptr<SCNGeometryElement> SCNGeometryElement::geometryElementWithData(Data data,
                                                                                SCNGeometryPrimitiveType primitiveType,
                                                                                std::size_t primitiveCount,
                                                                                std::size_t bytesPerIndex) {
  std::shared_ptr<SCNGeometryElement> element(new SCNGeometryElement);
  element->data_ = std::move(data);
  element->primitiveType_ = primitiveType;
  element->primitiveCount_ = primitiveCount;
  element->bytesPerIndex_ = bytesPerIndex;
  element->indexCount_ = element->countIndices();
  return element;
}

std::size_t SCNGeometryElement::countIndices() const noexcept {
  if (!data_ || (bytesPerIndex_ != 1 && bytesPerIndex_ != 2 && bytesPerIndex_ != 4)) return 0;
  const std::size_t held = data_->size() / bytesPerIndex_;
  const std::size_t primitives = std::min(primitiveCount_, held);  // Each primitive takes an index at least.
  switch (primitiveType_) {
    case SCNGeometryPrimitiveType::triangles:
      return std::min(held, primitives * 3);
    case SCNGeometryPrimitiveType::triangleStrip:
      return primitives == 0 ? 0 : std::min(held, primitives + 2);
    case SCNGeometryPrimitiveType::line:
      return std::min(held, primitives * 2);
    case SCNGeometryPrimitiveType::point:
      return primitives;
    case SCNGeometryPrimitiveType::polygon: {
      std::size_t count = primitives;
      for (std::size_t polygon = 0; polygon < primitives && count < held; ++polygon) {
        count += readIndex(data_->data() + polygon * bytesPerIndex_, bytesPerIndex_);
      }
      return std::min(held, count);
    }
  }
  return 0;
}

std::uint32_t SCNGeometryElement::index(std::size_t position) const noexcept {
  return readIndex(data_->data() + position * bytesPerIndex_, bytesPerIndex_);
}

}  // namespace ornolith
