#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "scenegraph/SCNScene.h"

namespace ornolith {

/// What `checkScene` found.
struct SceneCheckResult {
  /// The first promise broken, as one English sentence that names the node; nothing where all are kept.
  std::optional<std::string> brokenPromise;

  // Counts, of nodes with the root; a geometry or material that several nodes share counts once.
  std::size_t nodeCount = 0;
  std::size_t deepestLevel = 0;  ///< Levels below the root.
  std::size_t geometryCount = 0;
  std::size_t materialCount = 0;
  /// Nodes whose local matrix holds a number that is not finite: allowed, since files hold such, and not drawn.
  std::size_t nonFiniteTransformCount = 0;
  /// Vertices of geometries that have a component that is not finite: allowed too.
  std::size_t nonFinitePositionCount = 0;
};

/// Walks a scene that a loader made and checks what the loader promises the rest of the program:
///
/// - the tree is one: each child names its parent, stands in its list once, and the lists are as long as their counts;
/// - a geometry has a vertex source and at least one element, and each source has data, vectors of a known format that
/// all
///   lie inside the data, and as many vectors as the vertex source;
/// - an element holds all the indices that its primitive count asks for, and each is below the vertex count;
/// - a geometry's materials, where it has any, are not null; an image in a property is not null and holds its pixels;
///   numbers of channels are not negative.
///
/// Takes time in proportion to nodes, vertices and indices, and does not recurse.
SceneCheckResult checkScene(const SCNScene& scene);

}  // namespace ornolith
