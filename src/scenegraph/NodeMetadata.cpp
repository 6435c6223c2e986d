#include "scenegraph/NodeMetadata.h"

#include <cstdint>
#include <variant>

namespace ornolith {
namespace {

const MetadataValue* metadataValue(std::string_view key, const SCNNode& node) {
  if (!node.ornolithMetadata) return nullptr;
  const auto found = node.ornolithMetadata->find(key);
  return found != node.ornolithMetadata->end() ? &found->second : nullptr;
}

}  // namespace

std::optional<std::string> metadataString(std::string_view key, const SCNNode& node) {
  const MetadataValue* value = metadataValue(key, node);
  if (value == nullptr || !std::holds_alternative<std::string>(*value)) return std::nullopt;
  return std::get<std::string>(*value);
}

bool metadataBool(std::string_view key, const SCNNode& node) {
  const MetadataValue* value = metadataValue(key, node);
  if (value == nullptr) return false;
  if (const bool* flag = std::get_if<bool>(value)) return *flag;
  if (const std::int64_t* number = std::get_if<std::int64_t>(value)) return *number != 0;
  if (const double* number = std::get_if<double>(value)) return *number != 0;
  return false;
}

}  // namespace ornolith
