#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <random>
#include <span>
#include <vector>

#include "scenegraph/SCNNode.h"

namespace ornolith::testing {

template <typename T>
std::shared_ptr<const std::vector<std::byte>> bytesOf(const std::vector<T>& values) {
  const auto bytes = std::as_bytes(std::span(values));
  return std::make_shared<const std::vector<std::byte>>(bytes.begin(), bytes.end());
}

inline std::shared_ptr<SCNGeometryElement> elementOf(SCNGeometryPrimitiveType type, std::size_t primitiveCount,
                                                     const std::vector<std::uint32_t>& indices) {
  return SCNGeometryElement::geometryElementWithData(bytesOf(indices), type, primitiveCount, 4);
}

/// One triangle over three given points, with a material.
inline std::shared_ptr<SCNGeometry> triangleGeometry(const std::vector<SCNVector3>& points) {
  auto geometry = SCNGeometry::geometryWithSources({SCNGeometrySource::geometrySourceWithVertices(points)},
                                                   {elementOf(SCNGeometryPrimitiveType::triangles, 1, {0, 1, 2})});
  geometry->setMaterials({SCNMaterial::material()});
  return geometry;
}

inline std::shared_ptr<SCNGeometry> triangleGeometry() {
  return triangleGeometry({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
}

/// Points at the corners of a box, which are its extent.
inline std::shared_ptr<SCNGeometry> cornersGeometry(SCNVector3 minimum, SCNVector3 maximum) {
  return triangleGeometry({minimum, maximum, minimum});
}

inline void expectNear(SCNVector3 actual, SCNVector3 expected, double tolerance) {
  EXPECT_NEAR(actual.x, expected.x, tolerance);
  EXPECT_NEAR(actual.y, expected.y, tolerance);
  EXPECT_NEAR(actual.z, expected.z, tolerance);
}

inline void expectNear(const SCNMatrix4& actual, const SCNMatrix4& expected, double tolerance) {
  for (std::size_t c = 0; c < 4; ++c) {
    for (std::size_t r = 0; r < 4; ++r) {
      EXPECT_NEAR(actual.columns[c][r], expected.columns[c][r], tolerance) << "column " << c << ", row " << r;
    }
  }
}

/// A chain of `levels` nodes below `top`; returns the lowest.
inline SCNNode::Pointer addChain(const SCNNode::Pointer& top, std::size_t levels) {
  SCNNode::Pointer lowest = top;
  for (std::size_t i = 0; i < levels; ++i) {
    const SCNNode::Pointer child = SCNNode::node();
    lowest->addChildNode(child);
    lowest = child;
  }
  return lowest;
}

}  // namespace ornolith::testing
