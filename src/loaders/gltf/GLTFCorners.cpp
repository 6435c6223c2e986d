#include "loaders/gltf/GLTFCorners.h"

#include <utility>

#include "foundation/LargeVector.h"
#include "loaders/gltf/GLTFReadError.h"
#include "loaders/mesh/MeshGeometry.h"

namespace ornolith {

namespace {

using Indices = std::span<const std::uint32_t>;

/// One primitive in a run of them: the corners of each are a function of the given indices and its number.
template <std::size_t cornerCount, typename Corner>
SharedBytes takeApart(std::size_t primitiveCount, GLTFMemoryBudget& budget, const Corner& corner) {
  budget.take(primitiveCount, cornerCount * sizeof(std::uint32_t));
  LargeVector<std::uint32_t> corners(primitiveCount * cornerCount);
  std::uint32_t* out = corners.data();
  for (std::size_t primitive = 0; primitive < primitiveCount; ++primitive) {
    for (std::size_t c = 0; c < cornerCount; ++c) *out++ = corner(primitive, c);
  }
  return SharedBytes::takingOver(std::move(corners));
}

GLTFCorners lines(std::size_t count, GLTFMemoryBudget& budget, Indices indices) {
  const auto corner = [&](std::size_t line, std::size_t c) { return indices[(line + c) % indices.size()]; };
  return {SCNGeometryPrimitiveType::line, takeApart<2>(count, budget, corner), count * 2};
}

GLTFCorners trianglesOfStrip(GLTFMemoryBudget& budget, Indices indices) {
  const std::size_t count = indices.size() < 3 ? 0 : indices.size() - 2;
  const auto corner = [&](std::size_t triangle, std::size_t c) {
    const std::size_t turned = triangle % 2;
    const std::size_t steps[] = {0, 1 + turned, 2 - turned};
    return indices[triangle + steps[c]];
  };
  return {SCNGeometryPrimitiveType::triangles, takeApart<3>(count, budget, corner), count * 3};
}

GLTFCorners trianglesOfFan(GLTFMemoryBudget& budget, Indices indices) {
  const std::size_t count = indices.size() < 3 ? 0 : indices.size() - 2;
  const auto corner = [&](std::size_t triangle, std::size_t c) {
    return c == 2 ? indices[0] : indices[triangle + 1 + c];
  };
  return {SCNGeometryPrimitiveType::triangles, takeApart<3>(count, budget, corner), count * 3};
}

}  // namespace

std::shared_ptr<SCNGeometryElement> GLTFCorners::element() const {
  return elementOfCorners(data, type, count);
}

GLTFCorners cornersOfPrimitive(const GLTFPrimitive& primitive, std::size_t vertexCount, GLTFAccessors& accessors,
                               GLTFMemoryBudget& budget) {
  const GLTFAccessors::Indices given =
      primitive.indices ? accessors.indices(*primitive.indices) : accessors.sequence(vertexCount);
  if (given.count > 0 && given.largest >= vertexCount) {
    throwMalformedGLTF("The accessor " + std::to_string(primitive.indices.value_or(0)) + " holds the index " +
                       std::to_string(given.largest) + " into " + std::to_string(vertexCount) + " vertices.");
  }
  const Indices indices{reinterpret_cast<const std::uint32_t*>(given.data->data()), given.count};
  switch (primitive.mode) {
    case GLTFPrimitiveMode::points:
      return {SCNGeometryPrimitiveType::point, given.data, given.count};
    case GLTFPrimitiveMode::lines:
      return {SCNGeometryPrimitiveType::line, given.data, given.count / 2 * 2};
    case GLTFPrimitiveMode::lineLoop:
      return lines(indices.size() < 2 ? 0 : indices.size(), budget, indices);
    case GLTFPrimitiveMode::lineStrip:
      return lines(indices.size() < 2 ? 0 : indices.size() - 1, budget, indices);
    case GLTFPrimitiveMode::triangles:
      return {SCNGeometryPrimitiveType::triangles, given.data, given.count / 3 * 3};
    case GLTFPrimitiveMode::triangleStrip:
      return trianglesOfStrip(budget, indices);
    case GLTFPrimitiveMode::triangleFan:
      return trianglesOfFan(budget, indices);
  }
  return {};
}

}  // namespace ornolith
