#pragma once

#include <string>

#include "foundation/Error.h"
#include "foundation/FileURL.h"
#include "import/formats/ModelFormat.h"

namespace ornolith {

namespace scene_load_error {
/// The reader of mesh files does not know the format.
struct UnsupportedModelIOFormat {
  ModelFormat format = ModelFormat::stl;
  bool operator==(const UnsupportedModelIOFormat&) const = default;
};
/// A mesh file was read, but nothing came out of it.
struct EmptyModelIOScene {
  FileURL url;
  bool operator==(const EmptyModelIOScene&) const = default;
};
/// There is no reader for the format in this build.
struct NoReader {
  ModelFormat format = ModelFormat::obj;
  bool operator==(const NoReader&) const = default;
};
}  // namespace scene_load_error

/// The failures of choosing and running a reader.
class SceneLoadError final : public TypedError<SceneLoadError, scene_load_error::UnsupportedModelIOFormat,
                                               scene_load_error::EmptyModelIOScene, scene_load_error::NoReader> {
 public:
  using TypedError::TypedError;
  static std::string describe(const scene_load_error::UnsupportedModelIOFormat& error);
  static std::string describe(const scene_load_error::EmptyModelIOScene& error);
  static std::string describe(const scene_load_error::NoReader& error);
};

}  // namespace ornolith
