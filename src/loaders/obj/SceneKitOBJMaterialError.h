#pragma once

#include <string>

#include "foundation/Error.h"

namespace ornolith {

namespace scene_kit_obj_material_error {
/// A reference that is no relative path of a file below a root. All texts are as the file writes them.
struct UnsafeResourcePath {
  std::string path;
  bool operator==(const UnsafeResourcePath&) const = default;
};
/// A reference that leads out of the folders that may be read.
struct ResourceEscapesAllowedRoots {
  std::string path;
  bool operator==(const ResourceEscapesAllowedRoots&) const = default;
};
/// A reference with a symbolic link on its way.
struct SymbolicLinkNotAllowed {
  std::string path;
  bool operator==(const SymbolicLinkNotAllowed&) const = default;
};
/// A reference that means different files below different roots.
struct AmbiguousResourcePath {
  std::string path;
  bool operator==(const AmbiguousResourcePath&) const = default;
};
struct UnsupportedMapOption {
  std::string option;
  bool operator==(const UnsupportedMapOption&) const = default;
};
struct MalformedDirective {
  std::string line;  ///< The line, or its beginning where it is long.
  bool operator==(const MalformedDirective&) const = default;
};
struct MaterialLibraryTooLarge {
  std::string file;  ///< The library's file name.
  bool operator==(const MaterialLibraryTooLarge&) const = default;
};
struct LineTooLong {
  std::string file;  ///< The name of the file that holds the line.
  bool operator==(const LineTooLong&) const = default;
};
struct TooManyMaterialLibraries {
  bool operator==(const TooManyMaterialLibraries&) const = default;
};
}  // namespace scene_kit_obj_material_error

/// What is wrong with the references from an OBJ file to its material libraries and textures.
class SceneKitOBJMaterialError final
    : public TypedError<
          SceneKitOBJMaterialError, scene_kit_obj_material_error::UnsafeResourcePath,
          scene_kit_obj_material_error::ResourceEscapesAllowedRoots,
          scene_kit_obj_material_error::SymbolicLinkNotAllowed, scene_kit_obj_material_error::AmbiguousResourcePath,
          scene_kit_obj_material_error::UnsupportedMapOption, scene_kit_obj_material_error::MalformedDirective,
          scene_kit_obj_material_error::MaterialLibraryTooLarge, scene_kit_obj_material_error::LineTooLong,
          scene_kit_obj_material_error::TooManyMaterialLibraries> {
 public:
  using TypedError::TypedError;
  static std::string describe(const scene_kit_obj_material_error::UnsafeResourcePath& error);
  static std::string describe(const scene_kit_obj_material_error::ResourceEscapesAllowedRoots& error);
  static std::string describe(const scene_kit_obj_material_error::SymbolicLinkNotAllowed& error);
  static std::string describe(const scene_kit_obj_material_error::AmbiguousResourcePath& error);
  static std::string describe(const scene_kit_obj_material_error::UnsupportedMapOption& error);
  static std::string describe(const scene_kit_obj_material_error::MalformedDirective& error);
  static std::string describe(const scene_kit_obj_material_error::MaterialLibraryTooLarge& error);
  static std::string describe(const scene_kit_obj_material_error::LineTooLong& error);
  static std::string describe(const scene_kit_obj_material_error::TooManyMaterialLibraries& error);
};

}  // namespace ornolith
