#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/SharedBytes.h"
#include "loaders/gltf/GLTFReadError.h"
#include "loaders/gltf/GLTFSceneLoader.h"
#include "scenegraph/SceneCheck.h"
#include "support/GeometryValues.h"

namespace ornolith::gltf_files {

inline constexpr int signedByte = 5120;
inline constexpr int unsignedByte = 5121;
inline constexpr int signedShort = 5122;
inline constexpr int unsignedShort = 5123;
inline constexpr int unsignedInt = 5125;
inline constexpr int floatingPoint = 5126;

/// The bytes of values, one after the other.
template <typename Value>
std::string packed(std::initializer_list<Value> values) {
  std::string bytes(values.size() * sizeof(Value), '\0');
  std::memcpy(bytes.data(), values.begin(), bytes.size());
  return bytes;
}

inline std::string base64(std::string_view bytes) {
  constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    std::uint32_t bits = 0;
    const std::size_t count = std::min<std::size_t>(3, bytes.size() - at);
    for (std::size_t i = 0; i < 3; ++i) {
      bits = bits << 8U | (i < count ? static_cast<unsigned char>(bytes[at + i]) : 0U);
    }
    for (std::size_t i = 0; i < 4; ++i) text += i <= count ? digits[bits >> (18 - 6 * i) & 63U] : '=';
  }
  return text;
}

inline std::string chunk(std::uint32_t type, const std::string& data) {
  return packed({static_cast<std::uint32_t>(data.size()), type}) + data;
}
inline constexpr std::uint32_t jsonType = 0x4E4F534A;
inline constexpr std::uint32_t binaryType = 0x004E4942;

inline std::string container(const std::string& chunks, std::uint32_t version = 2) {
  return "glTF" + packed({version, static_cast<std::uint32_t>(12 + chunks.size())}) + chunks;
}

/// A file as it grows: buffer views over one buffer, accessors, and whatever else as JSON.
class File {
 public:
  /// Appends a buffer view of `bytes` at the next multiple of 4; gives its index. `further` is JSON for the view.
  int view(const std::string& bytes, const std::string& further = "") {
    binary_.resize((binary_.size() + 3) / 4 * 4);
    views_.push_back("{\"buffer\":0,\"byteOffset\":" + std::to_string(binary_.size()) +
                     ",\"byteLength\":" + std::to_string(bytes.size()) + further + "}");
    binary_ += bytes;
    return static_cast<int>(views_.size()) - 1;
  }
  /// Appends an accessor; `view` -1 is none. `further` is JSON for the accessor.
  int accessor(int view, int componentType, std::size_t count, const std::string& type,
               const std::string& further = "") {
    accessors_.push_back("{" + (view < 0 ? std::string() : "\"bufferView\":" + std::to_string(view) + ",") +
                         "\"componentType\":" + std::to_string(componentType) + ",\"count\":" + std::to_string(count) +
                         ",\"type\":\"" + type + "\"" + further + "}");
    return static_cast<int>(accessors_.size()) - 1;
  }
  int floats(std::initializer_list<float> values, const std::string& type, std::size_t components) {
    return accessor(view(packed(values)), floatingPoint, values.size() / components, type);
  }
  int positions(std::initializer_list<float> values) { return floats(values, "VEC3", 3); }
  int shorts(std::initializer_list<std::uint16_t> values) {
    return accessor(view(packed(values)), unsignedShort, values.size(), "SCALAR");
  }
  /// Appends a member of the top object.
  File& add(const std::string& key, const std::string& json) {
    members_ += ",\"" + key + "\":" + json;
    return *this;
  }
  /// A mesh of one primitive, and a node that shows it.
  File& addMesh(const std::string& attributes, const std::string& further = "") {
    add("meshes", "[{\"name\":\"m\",\"primitives\":[{\"attributes\":{" + attributes + "}" + further + "}]}]");
    return add("nodes", "[{\"mesh\":0}]");
  }

  std::string binary() const { return binary_; }
  std::string json(const std::string& uri = "") const {
    std::string buffers;
    if (!binary_.empty()) {
      buffers = ",\"buffers\":[{\"byteLength\":" + std::to_string(binary_.size()) +
                (uri.empty() ? "" : ",\"uri\":\"" + uri + "\"") + "}],\"bufferViews\":[" + joined(views_) + "]";
    }
    if (!accessors_.empty()) buffers += ",\"accessors\":[" + joined(accessors_) + "]";
    return "{\"asset\":{\"version\":\"2.0\"}" + buffers + members_ + "}";
  }
  std::string gltf() const { return json("data:application/octet-stream;base64," + base64(binary_)); }
  std::string glb() const {
    std::string text = json();
    text.resize((text.size() + 3) / 4 * 4, ' ');
    std::string data = binary_;
    data.resize((data.size() + 3) / 4 * 4);
    return container(chunk(jsonType, text) + chunk(binaryType, data));
  }

 private:
  static std::string joined(const std::vector<std::string>& items) {
    std::string text;
    for (const std::string& item : items) text += (text.empty() ? "" : ",") + item;
    return text;
  }

  std::string binary_;
  std::vector<std::string> views_;
  std::vector<std::string> accessors_;
  std::string members_;
};

/// A file with one triangle of three positions.
inline File triangleFile() {
  File file;
  file.positions({0, 0, 0, 2, 0, 0, 0, 3, 0});
  file.addMesh("\"POSITION\":0");
  return file;
}

/// Reads bytes as if they stood at /nowhere/model.glb or .gltf; the scene must keep its promises.
inline GLTFSceneLoader::Result load(const std::string& bytes, ModelFormat format = ModelFormat::glb,
                                    const std::vector<FileURL>& folders = {}) {
  const FileURL url(format == ModelFormat::glb ? "/nowhere/model.glb" : "/nowhere/model.gltf");
  auto result = GLTFSceneLoader::loadSceneFromContents(SharedBytes::takingOver(bytes), url, folders, format);
  EXPECT_EQ(checkScene(*result.scene).brokenPromise, std::nullopt);
  return result;
}
inline SCNNode::Pointer rootOf(const File& file) {
  return load(file.glb()).scene->rootNode();
}

/// The sentence of the failure behind a load that fails; empty where it does not.
inline std::string refusalOf(const std::string& bytes, ModelFormat format = ModelFormat::glb) {
  try {
    load(bytes, format);
    return {};
  } catch (const GLTFSceneLoaderError& error) {
    const auto* failed = error.getIf<gltf_scene_loader_error::LoadFailed>();
    if (failed == nullptr) return error.errorDescription();
    try {
      std::rethrow_exception(failed->underlying);
    } catch (const Error& underlying) {
      EXPECT_FALSE(underlying.errorDescription().empty());
      return underlying.errorDescription();
    }
  }
}
inline std::string refusalOf(const File& file) {
  return refusalOf(file.glb());
}

/// The vectors of a geometry's first source of a kind, flat.
inline std::vector<double> valuesOf(const SCNGeometry& geometry, SCNGeometrySourceSemantic semantic,
                                    std::size_t channel = 0) {
  const auto sources = geometry.geometrySourcesForSemantic(semantic);
  return channel < sources.size() ? testsupport::componentsOf(*sources[channel]) : std::vector<double>();
}
inline std::vector<double> positionsOf(const SCNGeometry& geometry) {
  return valuesOf(geometry, SCNGeometrySourceSemantic::vertex);
}

using testsupport::indicesOf;

/// The first node of a scene with a geometry.
inline SCNNode::Pointer drawnNode(const SCNNode::Pointer& root) {
  const auto found = root->childNodesPassingTest([](const SCNNode& node) { return node.geometry != nullptr; });
  return found.empty() ? nullptr : found.front();
}
inline SCNGeometry& drawnGeometry(const SCNNode::Pointer& root) {
  return *drawnNode(root)->geometry;
}

}  // namespace ornolith::gltf_files
