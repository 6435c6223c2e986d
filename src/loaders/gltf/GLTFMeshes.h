#pragma once

#include <map>
#include <memory>
#include <vector>

#include "loaders/gltf/GLTFAccessors.h"
#include "loaders/gltf/GLTFDeformation.h"
#include "loaders/gltf/GLTFDocument.h"
#include "loaders/gltf/GLTFMaterials.h"
#include "scenegraph/SCNGeometry.h"

namespace ornolith {

/// The meshes of a document as geometries: primitives that share their vertex streams become elements of one geometry,
/// others geometries of their own. Triangle strips and fans become triangles, line loops and strips single lines.
/// Normals that are missing stay so, which shows flat facets; tangents that a normal map needs are generated.
class GLTFMeshes {
 public:
  using Geometries = std::vector<std::shared_ptr<SCNGeometry>>;

  /// What is passed must outlive this object.
  GLTFMeshes(const GLTFDocument& document, GLTFAccessors& accessors, GLTFMaterials& materials, GLTFMemoryBudget& budget)
      : document_(document), accessors_(accessors), materials_(materials), budget_(budget) {}

  /// The geometries of a mesh without a skin and with its own weights, shared by all who ask. Empty where nothing of it
  /// can be drawn. Throws `GLTFReadError`.
  const Geometries& geometriesAtRest(GLTFIndex mesh);

  /// The geometries of a mesh with another deformation, made anew.
  Geometries geometries(GLTFIndex mesh, const GLTFDeformation& deformation);

 private:
  const GLTFDocument& document_;
  GLTFAccessors& accessors_;
  GLTFMaterials& materials_;
  GLTFMemoryBudget& budget_;
  std::map<GLTFIndex, Geometries> atRest_;
};

}  // namespace ornolith
