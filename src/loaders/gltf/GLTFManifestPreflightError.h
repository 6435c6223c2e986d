#pragma once

#include <string>

#include "foundation/Error.h"

namespace ornolith {

namespace gltf_manifest_preflight_error {
struct InvalidJSON {
  bool operator==(const InvalidJSON&) const = default;
};
struct InvalidGLB {
  bool operator==(const InvalidGLB&) const = default;
};
struct MissingGLBJSON {
  bool operator==(const MissingGLBJSON&) const = default;
};
}  // namespace gltf_manifest_preflight_error

/// The faults that are found before anything but the container and the manifest has been looked at.
class GLTFManifestPreflightError final
    : public TypedError<GLTFManifestPreflightError, gltf_manifest_preflight_error::InvalidJSON,
                        gltf_manifest_preflight_error::InvalidGLB, gltf_manifest_preflight_error::MissingGLBJSON> {
 public:
  using TypedError::TypedError;
  static std::string describe(const gltf_manifest_preflight_error::InvalidJSON& error);
  static std::string describe(const gltf_manifest_preflight_error::InvalidGLB& error);
  static std::string describe(const gltf_manifest_preflight_error::MissingGLBJSON& error);
};

}  // namespace ornolith
