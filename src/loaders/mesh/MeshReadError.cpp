#include "loaders/mesh/MeshReadError.h"

#include <utility>

namespace ornolith {

std::string MeshReadError::describe(const mesh_read_error::Malformed& error) {
  return error.sentence;
}

void throwMalformedMesh(std::string sentence) {
  throw MeshReadError(mesh_read_error::Malformed{std::move(sentence)});
}

}  // namespace ornolith
