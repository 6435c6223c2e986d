#pragma once

#include <compare>
#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "foundation/JSON.h"
#include "loaders/gltf/GLTFImages.h"
#include "scenegraph/SCNMaterial.h"

namespace ornolith {

/// What a primitive asks of its material.
struct GLTFMaterialNeeds {
  /// Points or lines without normals: glTF 2.0, section 3.7.2.1 has them drawn without light.
  bool isUnlit = false;
  /// The mesh has vertex colours with an alpha below 1 somewhere.
  bool hasTransparentVertices = false;
  auto operator<=>(const GLTFMaterialNeeds&) const = default;
};

/// The materials of a glTF 2.0 document (section 3.9 and the material extensions of Khronos). Each is made once for
/// each kind of need, and shared. A value that has not the type it should have counts as absent, a texture or image
/// that is not there as no texture; nothing here fails the load.
class GLTFMaterials {
 public:
  /// `root` is the document's top object; it and `images` must outlive this one.
  GLTFMaterials(const JSONElement& root, GLTFImages& images);

  std::size_t count() const noexcept { return materials_.size(); }

  /// The material, physically based or, where it is unlit, constant. Without an index, or with one of no material, the
  /// default material of glTF: white, metallic and rough throughout, single-sided.
  std::shared_ptr<SCNMaterial> material(std::optional<std::size_t> index, GLTFMaterialNeeds needs = {});

  /// Whether drawing the material takes tangents, since it has a normal map.
  bool needsTangents(std::optional<std::size_t> index) const;

  /// The set of texture coordinates that the normal map uses and that tangents follow from; 0 where there is none.
  std::size_t normalTexcoordSet(std::optional<std::size_t> index) const;

 private:
  GLTFImages& images_;
  std::vector<JSONElement> materials_;
  std::vector<JSONElement> textures_;
  std::vector<JSONElement> samplers_;
  std::map<std::pair<std::optional<std::size_t>, GLTFMaterialNeeds>, std::shared_ptr<SCNMaterial>> made_;
};

}  // namespace ornolith
