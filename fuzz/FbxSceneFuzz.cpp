// links: ornolith_loaders_fbx ornolith_scenegraph
//
// The road of an FBX file: any bytes are read into a sound scene, or refused with a message; the scene is drawn.

#include <cstddef>
#include <cstdint>

#include "SceneProperties.h"
#include "loaders/fbx/FbxFallbackSceneLoader.h"

using namespace ornolith;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    const FbxFallbackLoadResult result =
        FbxFallbackSceneLoader::loadSceneFromContents(fuzz::bytes(data, size), FileURL("/nonexistent/model.fbx"), {});
    fuzz::checkAndDraw(result.scene);
  } catch (const FbxLoadError& error) {
    fuzz::check(!error.errorDescription().empty(), "a refusal has a message");
  }
  return 0;
}
