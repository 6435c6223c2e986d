#pragma once

#include <exception>
#include <string>
#include <vector>

#include "foundation/Error.h"
#include "foundation/FileURL.h"

namespace ornolith {

namespace gltf_scene_loader_error {
/// The file could not be read. The cause is kept for a log; it is no part of the text and plays no part in equality.
struct LoadFailed {
  FileURL url;
  std::exception_ptr underlying{};
  bool operator==(const LoadFailed& other) const { return url == other.url; }
};
/// The file was read, but there is nothing to draw in it.
struct EmptyScene {
  FileURL url;
  bool operator==(const EmptyScene&) const = default;
};
/// The file cannot be shown without extensions that are not there.
struct UnsupportedRequiredExtensions {
  std::vector<std::string> names;
  bool operator==(const UnsupportedRequiredExtensions&) const = default;
};
}  // namespace gltf_scene_loader_error

/// The failures of the glTF loader.
class GLTFSceneLoaderError final
    : public TypedError<GLTFSceneLoaderError, gltf_scene_loader_error::LoadFailed, gltf_scene_loader_error::EmptyScene,
                        gltf_scene_loader_error::UnsupportedRequiredExtensions> {
 public:
  using TypedError::TypedError;
  static std::string describe(const gltf_scene_loader_error::LoadFailed& error);
  static std::string describe(const gltf_scene_loader_error::EmptyScene& error);
  static std::string describe(const gltf_scene_loader_error::UnsupportedRequiredExtensions& error);
};

}  // namespace ornolith
