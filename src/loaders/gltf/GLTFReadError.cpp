#include "loaders/gltf/GLTFReadError.h"

#include <utility>

namespace ornolith {

std::string GLTFReadError::describe(const gltf_read_error::Malformed& error) {
  return error.sentence;
}

std::string GLTFReadError::describe(const gltf_read_error::MemoryLimitExceeded& /*error*/) {
  return "The glTF file asks for more memory than its size warrants.";
}

void throwMalformedGLTF(std::string sentence) {
  throw GLTFReadError(gltf_read_error::Malformed{std::move(sentence)});
}

}  // namespace ornolith
