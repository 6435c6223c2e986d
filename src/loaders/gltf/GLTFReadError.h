#pragma once

#include <string>

#include "foundation/Error.h"

namespace ornolith {

namespace gltf_read_error {
/// The document, or what it refers to, breaks a rule of the format.
struct Malformed {
  std::string sentence;  ///< One English sentence that says what is wrong and where.
  bool operator==(const Malformed&) const = default;
};
/// What the document asks for would take more memory than its size warrants.
struct MemoryLimitExceeded {
  bool operator==(const MemoryLimitExceeded&) const = default;
};
}  // namespace gltf_read_error

/// The failure of the glTF reader behind the manifest.
class GLTFReadError final
    : public TypedError<GLTFReadError, gltf_read_error::Malformed, gltf_read_error::MemoryLimitExceeded> {
 public:
  using TypedError::TypedError;
  static std::string describe(const gltf_read_error::Malformed& error);
  static std::string describe(const gltf_read_error::MemoryLimitExceeded& error);
};

/// Throws a `GLTFReadError` with that sentence.
[[noreturn]] void throwMalformedGLTF(std::string sentence);

}  // namespace ornolith
