#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <span>
#include <string>
#include <string_view>

#include "cli/CLIError.h"
#include "cli/RenderCLIOptions.h"

namespace ornolith {

/// Reads the argument list. The grammar is closed: long options, each matched by exact equality, with their values as
/// arguments of their own; everything else that does not begin with "--" is the model's path. A stateless set of
/// operations that touches no file (relative paths resolve against the current directory).
struct RenderCLIParser {
  /// The options in `arguments`, which do not hold the program's name. Throws `CLIError` for the first fault from the
  /// left, the errors of `ModelPartSelector` and `LocalRotationDegrees`, then the fault of the first combination that
  /// is not allowed.
  static RenderCLIOptions parse(std::span<const std::string> arguments);

  /// Decimal digits with an optional sign, greater than 0. `name` stands in the message.
  static std::int64_t positiveInteger(std::string_view text, std::string_view name);

  /// "transparent", or "#" and six characters that read as one unsigned hexadecimal number; a sign counts as a
  /// character.
  static RenderBackground background(std::string_view text);

  /// Three finite single-precision numbers with commas between them, widened. `name` stands in the message.
  static simd_double3 vector(std::string_view text, std::string_view name);

  /// Degrees between 0 and 180, both excluded.
  static double fieldOfView(std::string_view text);

  /// The two arguments behind `option`, which stands at `index`; moves `index` on to the second.
  static std::span<const std::string> twoValues(std::string_view option, std::span<const std::string> arguments,
                                                std::size_t& index);

  /// Throws for the first combination that makes no sense. `renderOnlyOptions` are the options met that mean nothing
  /// for an inventory.
  static void validateCombinations(const RenderCLIOptions& options,
                                   const std::set<std::string, std::less<>>& renderOnlyOptions);
};

}  // namespace ornolith
