#include "loaders/obj/SceneKitOBJMaterialError.h"

namespace ornolith {

std::string SceneKitOBJMaterialError::describe(const scene_kit_obj_material_error::UnsafeResourcePath& error) {
  return "OBJ/MTL resource path is unsafe: " + error.path;
}

std::string SceneKitOBJMaterialError::describe(const scene_kit_obj_material_error::ResourceEscapesAllowedRoots& error) {
  return "OBJ/MTL resource escapes the allowed asset roots: " + error.path;
}

std::string SceneKitOBJMaterialError::describe(const scene_kit_obj_material_error::SymbolicLinkNotAllowed& error) {
  return "OBJ/MTL resource path contains a symbolic link: " + error.path;
}

std::string SceneKitOBJMaterialError::describe(const scene_kit_obj_material_error::AmbiguousResourcePath& error) {
  return "OBJ/MTL resource resolves to more than one file: " + error.path;
}

std::string SceneKitOBJMaterialError::describe(const scene_kit_obj_material_error::UnsupportedMapOption& error) {
  return "OBJ/MTL map option is unsupported: " + error.option;
}

std::string SceneKitOBJMaterialError::describe(const scene_kit_obj_material_error::MalformedDirective& error) {
  return "OBJ/MTL directive is malformed: " + error.line;
}

std::string SceneKitOBJMaterialError::describe(const scene_kit_obj_material_error::MaterialLibraryTooLarge& error) {
  return "OBJ material library exceeds the supported size: " + error.file;
}

std::string SceneKitOBJMaterialError::describe(const scene_kit_obj_material_error::LineTooLong& error) {
  return "OBJ/MTL line exceeds the supported size: " + error.file;
}

std::string SceneKitOBJMaterialError::describe(
    const scene_kit_obj_material_error::TooManyMaterialLibraries& /*error*/) {
  return "OBJ references too many material libraries.";
}

}  // namespace ornolith
