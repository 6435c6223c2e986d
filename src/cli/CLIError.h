#pragma once

#include <string>
#include <utility>

#include "foundation/Error.h"

namespace ornolith {

namespace cli_error {
struct Message {
  std::string text;  ///< The whole text for the user.
  bool operator==(const Message&) const = default;
};
}  // namespace cli_error

/// A fault of the command line or of a file that it names. Arguments stand in the text byte for byte as they were
/// typed, also where they are not UTF-8.
class CLIError final : public TypedError<CLIError, cli_error::Message> {
 public:
  explicit CLIError(std::string text) : TypedError(cli_error::Message{std::move(text)}) {}
  static std::string describe(const cli_error::Message& message) { return message.text; }
};

}  // namespace ornolith
