#include "loaders/gltf/GLTFManifestPreflightError.h"

namespace ornolith {

std::string GLTFManifestPreflightError::describe(const gltf_manifest_preflight_error::InvalidJSON& /*error*/) {
  return "The glTF manifest is not a valid JSON object.";
}

std::string GLTFManifestPreflightError::describe(const gltf_manifest_preflight_error::InvalidGLB& /*error*/) {
  return "The GLB container header or chunk table is invalid.";
}

std::string GLTFManifestPreflightError::describe(const gltf_manifest_preflight_error::MissingGLBJSON& /*error*/) {
  return "The GLB container has no JSON manifest chunk.";
}

}  // namespace ornolith
