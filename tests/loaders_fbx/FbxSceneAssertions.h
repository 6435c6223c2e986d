#pragma once

#include <gtest/gtest.h>

#include <optional>

#include "scenegraph/SCNScene.h"
#include "scenegraph/SceneCheck.h"

namespace ornolith::test {

/// Expects what every scene holds, and what this loader promises besides: metadata on each node, triangles alone, and a
/// material for each element.
inline void expectSoundScene(const SCNScene& scene) {
  const SceneCheckResult check = checkScene(scene);
  EXPECT_EQ(check.brokenPromise, std::nullopt);
  EXPECT_GT(check.geometryCount, 0u);
  scene.rootNode()->enumerateChildNodes([](SCNNode& node) {
    EXPECT_TRUE(node.ornolithMetadata.has_value());
    if (!node.geometry) return;
    EXPECT_EQ(node.geometry->materials().size(), node.geometry->geometryElements().size());
    for (const auto& element : node.geometry->geometryElements()) {
      EXPECT_EQ(element->primitiveType(), SCNGeometryPrimitiveType::triangles);
      EXPECT_GT(element->primitiveCount(), 0u);
      EXPECT_EQ(element->indexCount(), element->primitiveCount() * 3);
    }
    for (const auto& material : node.geometry->materials()) {
      EXPECT_GE(material->transparency, 0);
      EXPECT_LE(material->transparency, 1);
    }
  });
}

}  // namespace ornolith::test
