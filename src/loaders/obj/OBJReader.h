#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "foundation/FileURL.h"
#include "loaders/mesh/BytesRead.h"
#include "loaders/obj/OBJMaterials.h"
#include "scenegraph/SCNScene.h"

namespace ornolith {

/// Reads the bytes of an OBJ file into a scene: a node for each object (`o`) that holds something, below it one for
/// each of its groups (`g`), each with one geometry, whose elements are those of its materials in the order of their
/// first use. A material that `materials` has not got is the default one under the name that the file gives. A file
/// with vertices alone is a cloud of points; one without them gives an empty scene. Coordinates are taken as they
/// stand. Throws `MeshReadError`.
std::shared_ptr<SCNScene> readOBJ(std::span<const std::byte> bytes, const OBJMaterials& materials = {},
                                  const BytesRead& whenRead = {});

/// Reads an OBJ file with its material libraries and textures, which are searched in the file's folder and in
/// `assetDirectories`, once these are vetted (SceneKitOBJMaterialNormalization.h). Throws `SceneKitOBJMaterialError`,
/// `MeshReadError`, also for a file without vertices, and `SystemError` ("read").
std::shared_ptr<SCNScene> loadOBJScene(const FileURL& url, const std::vector<FileURL>& assetDirectories);

}  // namespace ornolith
