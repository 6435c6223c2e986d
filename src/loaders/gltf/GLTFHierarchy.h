#pragma once

#include <memory>

#include "loaders/gltf/GLTFAccessors.h"
#include "loaders/gltf/GLTFDocument.h"
#include "loaders/gltf/GLTFMeshes.h"
#include "scenegraph/SCNScene.h"

namespace ornolith {

/// The scene of a document: its top nodes with everything below them, placed, named and stamped as the file has it.
/// A mesh's geometry stands on its node, or on children without identity where it takes several; instances
/// (EXT_mesh_gpu_instancing) are such children too. Cameras and lights are set, skinned and morphing nodes have their
/// skinner and morpher, and their geometries the shape that they have at rest. The tree may be of any depth. Throws
/// `GLTFReadError`.
std::shared_ptr<SCNScene> makeGLTFScene(const GLTFDocument& document, GLTFAccessors& accessors, GLTFMeshes& meshes,
                                        GLTFMemoryBudget& budget);

}  // namespace ornolith
