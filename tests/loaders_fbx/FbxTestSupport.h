#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "imaging/PNGEncoder.h"
#include "loaders/fbx/FbxFallbackSceneLoader.h"
#include "loaders_fbx/FbxScript.h"
#include "scenegraph/NodeMetadata.h"

namespace ornolith::test {

/// A fresh folder under /tmp, removed with the object.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = "/tmp/ornolith-fbx-XXXXXX";
    if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = name;
  }
  ~TemporaryFolder() { std::filesystem::remove_all(path_); }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::string& path() const { return path_; }
  FileURL url() const { return FileURL(path_, true); }
  std::string write(std::string_view name, std::string_view contents) const {
    const std::string path = path_ + "/" + std::string(name);
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << contents;
    return path;
  }

 private:
  std::string path_;
};

inline std::span<const std::byte> bytesOf(std::string_view text) {
  return std::as_bytes(std::span(text.data(), text.size()));
}

inline std::string contentsOf(const std::filesystem::path& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

/// Loads `script` as the file "model.fbx" of `folder`.
inline FbxFallbackLoadResult load(const FbxScript& script, const TemporaryFolder& folder,
                                  const std::vector<FileURL>& assetDirectories = {}) {
  return FbxFallbackSceneLoader::loadSceneAtURL(FileURL(folder.write("model.fbx", script.text())), assetDirectories);
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

inline std::vector<double> componentsOf(const SCNGeometrySource& source) {
  std::vector<double> values;
  for (std::size_t vector = 0; vector < source.vectorCount(); ++vector) {
    for (std::size_t component = 0; component < source.componentsPerVector(); ++component) {
      values.push_back(source.component(vector, component));
    }
  }
  return values;
}

inline std::vector<std::uint32_t> indicesOf(const SCNGeometryElement& element) {
  std::vector<std::uint32_t> values;
  for (std::size_t position = 0; position < element.indexCount(); ++position) values.push_back(element.index(position));
  return values;
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
