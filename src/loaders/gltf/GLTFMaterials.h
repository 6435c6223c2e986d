#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "foundation/JSON.h"
#include "loaders/gltf/GLTFImages.h"
#include "loaders/gltf/GLTFSpecularGlossiness.h"
#include "loaders/gltf/GLTFTextures.h"
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

/// The materials of a glTF 2.0 document (section 3.9): metallic and rough ones with their textures, and what the
/// scene graph can show of the extensions KHR_materials_unlit, emissive_strength, pbrSpecularGlossiness, specular, ior
/// and clearcoat. Each is made once for each kind of need, and shared. A value that has not the type it should have
/// counts as absent, a texture or image that is not there as no texture; nothing here fails the load.
class GLTFMaterials {
 public:
  /// `root` is the document's top object; its document and `images` must outlive this object.
  GLTFMaterials(const JSONElement& root, GLTFImages& images);

  /// The material. Without an index, or with one of no material, the default material of glTF: white, metallic and
  /// rough throughout, single-sided.
  std::shared_ptr<SCNMaterial> material(std::optional<std::uint32_t> index, GLTFMaterialNeeds needs = {});

  /// Gives the materials made so far their own lighting models: constant where they are unlit, else physically based.
  void restoreLightingModels() const;

  /// How the material's normal map lies, which tangents follow from; nothing where drawing the material takes none.
  std::optional<GLTFTextureMapping> normalMapping(std::optional<std::uint32_t> index);

 private:
  using Key = std::pair<std::optional<std::uint32_t>, GLTFMaterialNeeds>;
  struct Made {
    std::shared_ptr<SCNMaterial> material;
    SCNLightingModel lightingModel = SCNLightingModelPhysicallyBased;
  };
  std::optional<JSONElement> find(std::optional<std::uint32_t> index) const;

  std::vector<JSONElement> materials_;
  GLTFTextures textures_;
  SpecularGlossinessConverter converter_;
  std::map<Key, Made> made_;
};

}  // namespace ornolith
