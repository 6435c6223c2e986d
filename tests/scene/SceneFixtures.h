#pragma once

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "loaders/fbx/FbxFallbackSceneLoader.h"
#include "scenegraph/NodeMetadata.h"
#include "scenegraph/SCNScene.h"

namespace ornolith::scene_fixtures {

inline std::shared_ptr<SCNGeometryElement> elementOf(SCNGeometryPrimitiveType type, std::size_t primitiveCount) {
  auto data = std::make_shared<std::vector<std::byte>>(primitiveCount * 3 * sizeof(std::uint32_t));
  return SCNGeometryElement::geometryElementWithData(std::move(data), type, primitiveCount, sizeof(std::uint32_t));
}

/// A geometry whose vertices are the corners of a box, with one triangle and `materialCount` materials.
inline std::shared_ptr<SCNGeometry> boxGeometry(SCNVector3 minimum, SCNVector3 maximum, std::size_t materialCount = 1) {
  std::vector<SCNVector3> corners;
  for (const double x : {minimum.x, maximum.x}) {
    for (const double y : {minimum.y, maximum.y}) {
      for (const double z : {minimum.z, maximum.z}) corners.push_back({x, y, z});
    }
  }
  auto geometry = SCNGeometry::geometryWithSources({SCNGeometrySource::geometrySourceWithVertices(corners)},
                                                   {elementOf(SCNGeometryPrimitiveType::triangles, 1)});
  SCNGeometry::Materials materials;
  for (std::size_t index = 0; index < materialCount; ++index) materials.push_back(SCNMaterial::material());
  geometry->setMaterials(std::move(materials));
  return geometry;
}

inline std::shared_ptr<SCNGeometry> unitCube() {
  return boxGeometry({-0.5, -0.5, -0.5}, {0.5, 0.5, 0.5});
}

inline SCNNode::Pointer addNode(const SCNNode::Pointer& parent, std::shared_ptr<SCNGeometry> geometry = nullptr,
                                SCNVector3 position = {}) {
  SCNNode::Pointer node = SCNNode::node();
  node->geometry = std::move(geometry);
  node->setPosition(position);
  parent->addChildNode(node);
  return node;
}

inline void stamp(SCNNode& node, const std::string& id, const std::string& name) {
  node.ornolithMetadata =
      MetadataDictionary{{std::string(ornolithSourceNodeIDKey), id}, {std::string(ornolithSourceNodeNameKey), name}};
}

/// A result as the FBX loader gives it, around a scene of the test's own.
inline FbxFallbackLoadResult loadResult(std::shared_ptr<SCNScene> scene) {
  FbxFallbackLoadResult result;
  result.scene = std::move(scene);
  return result;
}

/// A scene of one unit cube at `position`, identified as "fbx:1", "Cube".
inline std::shared_ptr<SCNScene> cubeScene(SCNVector3 position = {}) {
  auto scene = SCNScene::scene();
  stamp(*addNode(scene->rootNode(), unitCube(), position), "fbx:1", "Cube");
  return scene;
}

}  // namespace ornolith::scene_fixtures
