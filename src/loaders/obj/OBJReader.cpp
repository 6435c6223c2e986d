#include "loaders/obj/OBJReader.h"

#include "loaders/mesh/MeshReadError.h"

namespace ornolith {

std::shared_ptr<SCNScene> readOBJ(std::span<const std::byte> /*bytes*/) {
  throwMalformedMesh("This build cannot read OBJ files.");
}

}  // namespace ornolith
