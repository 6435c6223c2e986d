#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "loaders/gltf/GLTFAccessors.h"
#include "loaders/gltf/GLTFCorners.h"
#include "loaders/gltf/GLTFDeformation.h"
#include "loaders/gltf/GLTFTextures.h"
#include "scenegraph/SCNGeometry.h"

namespace ornolith {

/// The vertex streams of a primitive: positions first, then normals, tangents (where there are normals), colours, and
/// texture coordinates by channel. Those that a deformation does not change stay where they stand in the file. Empty
/// where the primitive has no vertices. Throws `GLTFReadError` for an attribute of a wrong shape.
SCNGeometry::Sources vertexStreams(const GLTFPrimitive& primitive, const GLTFDeformation& deformation,
                                   GLTFAccessors& accessors, GLTFMemoryBudget& budget);

/// Streams with generated tangents, and the corners over them.
struct GLTFTangentStreams {
  SCNGeometry::Sources sources;
  GLTFCorners corners;
};

/// Adds tangents for a texture that lies as `mapping` says to `sources`, which have normals and its set of texture
/// coordinates. They follow from the coordinates as the texture's transform leaves them. Vertices may be split, which
/// changes all streams.
GLTFTangentStreams addingTangents(const SCNGeometry::Sources& sources, const GLTFTextureMapping& mapping,
                                  const GLTFCorners& triangles, GLTFMemoryBudget& budget);

/// The first source of a kind, or the one of a channel; null where there is none.
std::shared_ptr<const SCNGeometrySource> sourceIn(const SCNGeometry::Sources& sources,
                                                  SCNGeometrySourceSemantic semantic, std::size_t channel = 0);

/// Whether some vertex colour has an alpha below 1. Looking for it counts towards the budget.
bool hasTransparentColor(const SCNGeometry::Sources& sources, GLTFMemoryBudget& budget);

}  // namespace ornolith
