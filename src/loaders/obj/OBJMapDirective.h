#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace ornolith {

/// What a texture directive of a material library says.
struct OBJMapDirective {
  std::string path;            ///< The file as the library names it.
  std::vector<double> offset;  ///< Of "-o": one to three numbers, or none.
  std::vector<double> scale;   ///< Of "-s".
  std::optional<double> bumpMultiplier;
  bool isClamped = false;
};

/// Reads the words of a texture directive. Options may stand before and behind the path, whose words are joined with
/// blanks, so that a name with blanks needs no quotes. Throws `SceneKitOBJMaterialError` for an option that is not
/// known, one without its arguments, and a directive without a path.
OBJMapDirective readMapDirective(const std::vector<std::string>& tokens);

std::string joiningWithBlanks(std::span<const std::string> words);

/// Throws `MalformedDirective` with what can be shown of the line.
[[noreturn]] void throwMalformedDirective(std::string_view line);

}  // namespace ornolith
