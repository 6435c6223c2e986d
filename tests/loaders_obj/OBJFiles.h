#pragma once

#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "loaders/obj/OBJReader.h"
#include "scenegraph/SCNSubtreeWalk.h"
#include "support/GeometryValues.h"

namespace ornolith::testsupport {

inline std::shared_ptr<SCNScene> sceneOf(std::string_view text, const OBJMaterials& materials = {}) {
  return readOBJ(std::as_bytes(std::span(text)), materials);
}

/// The geometry of the scene's first node that has one.
inline std::shared_ptr<SCNGeometry> geometryIn(const SCNScene& scene) {
  for (SCNSubtreeWalk walk(*scene.rootNode()); !walk.isAtEnd(); walk.next()) {
    if (walk.node().geometry) return walk.node().geometry;
  }
  return nullptr;
}

inline std::shared_ptr<SCNGeometry> geometryOf(std::string_view text) {
  return geometryIn(*sceneOf(text));
}

/// What a source says of the vertices in the order that an element draws them, or nothing where there is no source.
inline std::vector<std::vector<double>> drawn(const SCNGeometry& geometry, SCNGeometrySourceSemantic semantic,
                                              std::size_t element = 0) {
  const SCNGeometrySource* source = geometry.firstSourceForSemantic(semantic);
  std::vector<std::vector<double>> vectors;
  if (source == nullptr) return vectors;
  for (const std::uint32_t index : indicesOf(*geometry.geometryElements().at(element))) {
    std::vector<double> vector;
    for (std::size_t i = 0; i < source->componentsPerVector(); ++i) vector.push_back(source->component(index, i));
    vectors.push_back(vector);
  }
  return vectors;
}

/// The names of all nodes below the root with their depths, parents first.
inline std::vector<std::string> treeOf(const SCNScene& scene) {
  std::vector<std::string> names;
  for (SCNSubtreeWalk walk(*scene.rootNode()); !walk.isAtEnd(); walk.next()) {
    if (walk.depth() > 0) names.push_back(std::string(walk.depth() - 1, ' ') + walk.node().name().value_or("-"));
  }
  return names;
}

}  // namespace ornolith::testsupport
