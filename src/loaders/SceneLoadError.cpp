#include "loaders/SceneLoadError.h"

namespace ornolith {

std::string SceneLoadError::describe(const scene_load_error::UnsupportedModelIOFormat& error) {
  return uppercasedRawValue(error.format) + " kann auf diesem System nicht über ModelIO importiert werden.";
}

std::string SceneLoadError::describe(const scene_load_error::EmptyModelIOScene& error) {
  return error.url.lastPathComponent() + " wurde gelesen, enthält aber keine darstellbare 3D-Geometrie.";
}

std::string SceneLoadError::describe(const scene_load_error::NoReader& error) {
  return "This build cannot read " + uppercasedRawValue(error.format) + " files.";
}

}  // namespace ornolith
