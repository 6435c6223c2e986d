#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "scenegraph/SCNGeometryElement.h"
#include "scenegraph/SCNGeometrySource.h"

namespace ornolith::testsupport {

inline std::vector<std::uint32_t> indicesOf(const SCNGeometryElement& element) {
  std::vector<std::uint32_t> indices;
  for (std::size_t i = 0; i < element.indexCount(); ++i) indices.push_back(element.index(i));
  return indices;
}

/// The components of all vectors, one after the other.
inline std::vector<double> componentsOf(const SCNGeometrySource& source) {
  std::vector<double> values;
  for (std::size_t i = 0; i < source.vectorCount(); ++i) {
    for (std::size_t c = 0; c < source.componentsPerVector(); ++c) values.push_back(source.component(i, c));
  }
  return values;
}

}  // namespace ornolith::testsupport
