#pragma once

#include <string>

#include "foundation/Error.h"

namespace ornolith {

namespace system_error {
/// A call of the operating system failed.
struct Failed {
  std::string action;  ///< What could not be done, as it stands in the sentence: "read", "written", "created", ...
  std::string path;    ///< The item it was tried on.
  int code = 0;        ///< `errno`, or `SystemError::notARegularFile`.
  bool operator==(const Failed&) const = default;
};
}  // namespace system_error

/// A failure of the operating system, as one English sentence that names the path and the reason:
/// "The item '/tmp/a.png' could not be written: No space left on device."
class SystemError final : public TypedError<SystemError, system_error::Failed> {
 public:
  using TypedError::TypedError;
  /// Takes `code` from an `errno` value.
  SystemError(std::string action, std::string path, int code);

  /// A code of our own, beside those of `errno`: a FIFO, a socket or a device stands where a regular file is needed.
  /// "The item '/tmp/pipe' could not be read: It is not a regular file."
  static constexpr int notARegularFile = -1;

  int code() const noexcept;

  static std::string describe(const system_error::Failed& failed);
};

}  // namespace ornolith
