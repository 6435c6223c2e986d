#include "parts/RigidArticulationDescriptor.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <string_view>
#include <utility>

#include "foundation/SHA256.h"
#include "foundation/Text.h"

namespace ornolith {

namespace {

/// The names in text order, each once. Texts are equal where they are canonically equivalent.
std::vector<std::string> sortedUniqueNames(std::vector<std::string> names) {
  std::vector<std::pair<std::string, std::string>> keyed;
  keyed.reserve(names.size());
  for (std::string& name : names) {
    std::string key = canonicalKey(name);
    keyed.emplace_back(std::move(key), std::move(name));
  }
  std::sort(keyed.begin(), keyed.end());
  std::vector<std::string> result;
  result.reserve(keyed.size());
  for (std::size_t i = 0; i < keyed.size(); ++i) {
    if (i == 0 || keyed[i].first != keyed[i - 1].first) result.push_back(std::move(keyed[i].second));
  }
  return result;
}

void normalize(RigidArticulationDescriptor& descriptor) {
  descriptor.modelSHA256 = lowercased(descriptor.modelSHA256);
  descriptor.fixedPartNodeNames = sortedUniqueNames(std::move(descriptor.fixedPartNodeNames));
  if (descriptor.pivotPartNodeName) descriptor.movingPartNodeNames.push_back(*descriptor.pivotPartNodeName);
  descriptor.movingPartNodeNames = sortedUniqueNames(std::move(descriptor.movingPartNodeNames));
  descriptor.fingerprint = descriptor.computedFingerprint();
}

std::string joinedSorted(const std::vector<std::string>& names) {
  constexpr char unitSeparator = '\x1F';
  std::string joined;
  for (const std::string& name : sortedUniqueNames(names)) {
    if (!joined.empty()) joined += unitSeparator;
    joined += name;
  }
  return joined;
}

/// Feeds the text with its length in front, so that no two lists of texts give the same bytes.
void updateFramed(SHA256& hash, std::string_view text) {
  std::array<std::byte, 8> length{};
  std::uint64_t rest = text.size();
  for (auto byte = length.rbegin(); byte != length.rend(); ++byte) {
    *byte = static_cast<std::byte>(rest & 0xFF);
    rest >>= 8;
  }
  hash.update(length);
  hash.update(text);
}

}  // namespace

RigidArticulationDescriptor RigidArticulationDescriptor::make(std::string modelSHA256, std::string rootNodeName,
                                                              std::string pivotNodeName,
                                                              std::vector<std::string> fixedPartNodeNames,
                                                              std::optional<std::string> pivotPartNodeName,
                                                              std::vector<std::string> movingPartNodeNames,
                                                              ViewportAxis axis, RigidArticulationValidation validation,
                                                              std::int64_t schemaVersion) {
  RigidArticulationDescriptor descriptor;
  descriptor.schemaVersion = schemaVersion;
  descriptor.modelSHA256 = std::move(modelSHA256);
  descriptor.rootNodeName = std::move(rootNodeName);
  descriptor.pivotNodeName = std::move(pivotNodeName);
  descriptor.fixedPartNodeNames = std::move(fixedPartNodeNames);
  descriptor.pivotPartNodeName = std::move(pivotPartNodeName);
  descriptor.movingPartNodeNames = std::move(movingPartNodeNames);
  descriptor.axis = axis;
  descriptor.validation = std::move(validation);
  normalize(descriptor);
  return descriptor;
}

std::string RigidArticulationDescriptor::computedFingerprint() const {
  SHA256 hash;
  updateFramed(hash, "ornolith.rigid-articulation.v" + std::to_string(schemaVersion));
  updateFramed(hash, lowercased(modelSHA256));
  updateFramed(hash, rootNodeName);
  updateFramed(hash, pivotNodeName);
  updateFramed(hash, joinedSorted(fixedPartNodeNames));
  updateFramed(hash, pivotPartNodeName.value_or(""));
  updateFramed(hash, joinedSorted(movingPartNodeNames));
  updateFramed(hash, rawValue(axis));
  updateFramed(hash, rawValue(validation.evidence));
  return SHA256::hexadecimal(hash.finalize());
}

RigidArticulationDescriptor RigidArticulationDescriptor::fromJSON(const JSONElement& element) {
  RigidArticulationDescriptor descriptor;
  descriptor.schemaVersion = decodeJSON<std::int64_t>(element, "schemaVersion");
  descriptor.modelSHA256 = decodeJSON<std::string>(element, "modelSHA256");
  descriptor.rootNodeName = decodeJSON<std::string>(element, "rootNodeName");
  descriptor.pivotNodeName = decodeJSON<std::string>(element, "pivotNodeName");
  descriptor.fixedPartNodeNames = decodeJSON<std::vector<std::string>>(element, "fixedPartNodeNames");
  descriptor.pivotPartNodeName = decodeOptionalJSON<std::string>(element, "pivotPartNodeName");
  descriptor.movingPartNodeNames = decodeJSON<std::vector<std::string>>(element, "movingPartNodeNames");
  descriptor.axis = decodeJSON<ViewportAxis>(element, "axis");
  descriptor.validation = decodeJSON<RigidArticulationValidation>(element, "validation");
  normalize(descriptor);

  std::vector<RigidArticulationValidationIssue>& issues = descriptor.validation.issues;
  const auto saysUnsupported = [](const RigidArticulationValidationIssue& issue) {
    return issue.code == RigidArticulationValidationIssueCode::unsupportedSchema;
  };
  if (descriptor.schemaVersion != currentSchemaVersion && std::none_of(issues.begin(), issues.end(), saysUnsupported)) {
    issues.push_back({RigidArticulationValidationIssueCode::unsupportedSchema, {}});
  }
  return descriptor;
}

JSONValue RigidArticulationDescriptor::toJSON() const {
  JSONValue::Object object;
  addMember(object, "schemaVersion", schemaVersion);
  addMember(object, "modelSHA256", modelSHA256);
  addMember(object, "rootNodeName", rootNodeName);
  addMember(object, "pivotNodeName", pivotNodeName);
  addMember(object, "fixedPartNodeNames", fixedPartNodeNames);
  addOptionalMember(object, "pivotPartNodeName", pivotPartNodeName);
  addMember(object, "movingPartNodeNames", movingPartNodeNames);
  addMember(object, "axis", axis);
  addMember(object, "validation", validation);
  addMember(object, "fingerprint", fingerprint);
  return {std::move(object)};
}

}  // namespace ornolith
