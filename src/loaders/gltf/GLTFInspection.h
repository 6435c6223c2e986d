#pragma once

#include <set>
#include <string>

namespace ornolith {

/// What a glTF manifest says of the extensions that it builds on.
struct GLTFInspection {
  std::set<std::string> extensionsRequired;
  std::set<std::string> extensionsUsed;
  bool operator==(const GLTFInspection&) const = default;
};

}  // namespace ornolith
