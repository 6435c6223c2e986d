// links: ornolith_loaders_obj ornolith_scenegraph
//
// The road of an OBJ file: any bytes are read into a sound scene that can be drawn, or refused with a message.

#include <cstddef>
#include <cstdint>

#include "SceneProperties.h"
#include "loaders/mesh/MeshReadError.h"
#include "loaders/obj/OBJReader.h"

using namespace ornolith;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    fuzz::checkAndDraw(readOBJ(fuzz::bytes(data, size)));
  } catch (const MeshReadError& error) {
    fuzz::check(!error.errorDescription().empty(), "a refusal has a message");
  }
  return 0;
}
