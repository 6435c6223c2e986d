#pragma once

#include <string>

#include "foundation/Error.h"

namespace ornolith {

namespace mesh_read_error {
/// The bytes are no sound file of their format.
struct Malformed {
  std::string sentence;  ///< One English sentence that says what is wrong and where.
  bool operator==(const Malformed&) const = default;
};
}  // namespace mesh_read_error

/// The failure of a reader of plain mesh files.
class MeshReadError final : public TypedError<MeshReadError, mesh_read_error::Malformed> {
 public:
  using TypedError::TypedError;
  static std::string describe(const mesh_read_error::Malformed& error);
};

/// Throws a `MeshReadError` with that sentence.
[[noreturn]] void throwMalformedMesh(std::string sentence);

}  // namespace ornolith
