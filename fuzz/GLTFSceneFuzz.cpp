// links: ornolith_loaders_gltf ornolith_scenegraph
//
// The road of a glTF or GLB file: any bytes are read into a sound scene that can be drawn, or refused with a message.
// What begins as a GLB container is read as one, everything else as a manifest.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <memory>
#include <vector>

#include "SceneProperties.h"
#include "loaders/gltf/GLTFSceneLoader.h"

using namespace ornolith;

namespace {

void checkUnderlying(const GLTFSceneLoaderError& error) {
  const auto* failed = error.getIf<gltf_scene_loader_error::LoadFailed>();
  if (failed == nullptr) return;
  try {
    std::rethrow_exception(failed->underlying);
  } catch (const Error& underlying) {
    fuzz::check(!underlying.errorDescription().empty(), "a refusal says why");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const bool isContainer = size >= 4 && std::memcmp(data, "glTF", 4) == 0;
  const ModelFormat format = isContainer ? ModelFormat::glb : ModelFormat::gltf;
  const auto contents = SharedBytes(std::make_shared<const std::vector<std::uint8_t>>(data, data + size));
  // No folder of that name is there, so no input reaches a file.
  const FileURL url("/nowhere/at/all/model.gltf");
  try {
    fuzz::checkAndDraw(GLTFSceneLoader::loadSceneFromContents(contents, url, {}, format).scene);
  } catch (const GLTFSceneLoaderError& error) {
    fuzz::check(!error.errorDescription().empty(), "a refusal has a message");
    checkUnderlying(error);
  }
  return 0;
}
