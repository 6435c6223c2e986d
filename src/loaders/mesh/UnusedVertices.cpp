#include "loaders/mesh/UnusedVertices.h"

#include <algorithm>

namespace ornolith {

LargeVector<std::uint32_t> dropVertices(std::span<const std::uint32_t> unused, std::size_t vertexCount,
                                        std::span<std::uint32_t> triangles, LargeVector<float>& normals) {
  LargeVector<std::uint32_t> left;
  LargeVector<std::uint32_t> newNumbers(vertexCount);
  left.reserve(vertexCount - unused.size());
  auto dropped = unused.begin();
  for (std::uint32_t vertex = 0; vertex < vertexCount; ++vertex) {
    newNumbers[vertex] = static_cast<std::uint32_t>(left.size());
    if (dropped != unused.end() && *dropped == vertex) {
      ++dropped;
    } else {
      left.push_back(vertex);
    }
  }
  for (std::uint32_t& vertex : triangles) {
    vertex = vertex < vertexCount ? newNumbers[vertex] : vertex - static_cast<std::uint32_t>(unused.size());
  }
  for (std::size_t i = 0; i < left.size(); ++i) {
    std::copy_n(normals.data() + std::size_t{left[i]} * 3, 3, normals.data() + i * 3);
  }
  normals.resize(left.size() * 3);
  return left;
}

}  // namespace ornolith
