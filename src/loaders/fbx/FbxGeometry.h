#pragma once

#include <ufbx.h>

#include <memory>
#include <string>
#include <vector>

#include "loaders/fbx/FbxConversion.h"
#include "scenegraph/SCNGeometry.h"

namespace ornolith {

/// The geometry of `node`'s mesh: vertex streams with one vertex for each triangle corner, one element for each
/// material that some triangle has, and these materials in the same order. Null where the node has no mesh, or the mesh
/// no triangle. With `usesAuthoredHierarchy` vertices are in the node's space, otherwise in world space, deformed by
/// the mesh's skin. Instances of one mesh may share their streams, but no geometry, element or material.
///
/// Findings go to `diagnostics`, `*usedFallback` is set (never cleared) where a surface shows the neutral colour, and
/// `*materials` gets the materials; each may be null. Throws `FbxLoadError` where the file would take more memory than
/// its size warrants.
std::shared_ptr<SCNGeometry> GeometryForMeshNode(const ufbx_node& node, FbxConversion& conversion,
                                                 std::vector<std::string>* diagnostics, bool usesAuthoredHierarchy,
                                                 bool* usedFallback = nullptr,
                                                 SCNGeometry::Materials* materials = nullptr);

/// Decodes the embedded images that the materials of `scene`'s meshes show, several at a time.
void decodeEmbeddedImages(const ufbx_scene& scene, FbxConversion& conversion);

}  // namespace ornolith
