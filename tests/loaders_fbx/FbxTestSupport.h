#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "imaging/PNGEncoder.h"
#include "loaders/fbx/FbxFallbackSceneLoader.h"
#include "loaders_fbx/FbxScript.h"
#include "scenegraph/NodeMetadata.h"
#include "support/GeometryValues.h"
#include "support/TemporaryFolder.h"

namespace ornolith::test {

using testsupport::componentsOf;
using testsupport::contentsOf;
using testsupport::indicesOf;
using testsupport::TemporaryFolder;

inline std::span<const std::byte> bytesOf(std::string_view text) {
  return std::as_bytes(std::span(text.data(), text.size()));
}

/// Loads `script` as the file "model.fbx" of `folder`.
inline FbxFallbackLoadResult load(const FbxScript& script, const TemporaryFolder& folder,
                                  const std::vector<FileURL>& assetDirectories = {}) {
  return FbxFallbackSceneLoader::loadSceneAtURL(FileURL(folder.makeFile("model.fbx", script.text())), assetDirectories);
}
inline FbxFallbackLoadResult load(const FbxScript& script) {
  const TemporaryFolder folder;
  return load(script, folder);
}

/// The nodes of `result` that have a geometry, parents before children.
inline std::vector<SCNNode::Pointer> meshNodes(const FbxFallbackLoadResult& result) {
  return result.scene->rootNode()->childNodesPassingTest([](const SCNNode& node) { return node.geometry != nullptr; });
}

inline SCNNode::Pointer childNamed(const SCNNode::Pointer& parent, std::string_view name) {
  for (const SCNNode::Pointer& child : parent->childNodes()) {
    if (child->hasName(name)) return child;
  }
  return nullptr;
}

/// A PNG of one colour, 2 by 2 pixels.
inline std::vector<std::byte> smallPNG(std::uint8_t red = 200) {
  Image image{.width = 2, .height = 2, .pixels = {}};
  for (int pixel = 0; pixel < 4; ++pixel) image.pixels.insert(image.pixels.end(), {red, 10, 20, 255});
  return encodePNG(image);
}

/// One mesh with one material, whose properties and textures the caller adds.
struct OneMaterial {
  FbxScript script;
  FbxScript::Identifier node = script.model("Part", "Mesh");
  FbxScript::Identifier material;

  explicit OneMaterial(std::string_view materialProperties, const FbxMesh& mesh = FbxMesh::triangle(),
                       std::string_view materialName = "Paint")
      : material(script.material(materialName, materialProperties)) {
    script.connect(node, FbxScript::root);
    script.connect(script.geometry(mesh), node);
    script.connect(material, node);
  }
  /// Adds a texture under a property of the material.
  FbxScript::Identifier addTexture(std::string_view property, std::string_view body, std::string_view properties = "",
                                   std::string_view name = "Skin") {
    const auto texture = script.texture(name, body, properties);
    script.connect(texture, material, property);
    return texture;
  }
};

inline const SCNMaterial& firstMaterialOf(const FbxFallbackLoadResult& result) {
  return *meshNodes(result).at(0)->geometry->materials().at(0);
}

}  // namespace ornolith::test
