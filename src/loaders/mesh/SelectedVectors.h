#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

#include "foundation/LargeVector.h"
#include "foundation/Parallel.h"

namespace ornolith {

/// Copies the vectors of `values`, `components` to each, that the vertices stand for, to `place`.
template <typename Value>
void copySelectedVectors(std::span<const Value> values, std::size_t components, std::span<const std::uint32_t> vertices,
                         Value* place) {
  constexpr std::size_t verticesOfABlock = 1 << 14;
  parallelFor((vertices.size() + verticesOfABlock - 1) / verticesOfABlock, 1, [&](std::size_t block) {
    const std::size_t end = std::min((block + 1) * verticesOfABlock, vertices.size());
    Value* next = place + block * verticesOfABlock * components;
    for (std::size_t i = block * verticesOfABlock; i < end; ++i) {
      const Value* vector = values.data() + std::size_t{vertices[i]} * components;
      for (std::size_t component = 0; component < components; ++component) *next++ = vector[component];
    }
  });
}

/// The vectors of `values`, `components` to each, that the vertices stand for. Empty where `values` is.
template <typename Value>
LargeVector<Value> selectedVectors(const LargeVector<Value>& values, std::size_t components,
                                   std::span<const std::uint32_t> vertices) {
  LargeVector<Value> result;
  if (values.empty()) return result;
  result.resize(vertices.size() * components);
  copySelectedVectors<Value>(values, components, vertices, result.data());
  return result;
}

}  // namespace ornolith
