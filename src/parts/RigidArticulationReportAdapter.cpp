#include "parts/RigidArticulationReportAdapter.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "foundation/JSONCoding.h"
#include "foundation/SHA256.h"
#include "foundation/Text.h"

namespace ornolith {

namespace {

namespace failure = rigid_articulation_report_error;

constexpr std::string_view reportSchema = "ornogen.local.rigid_articulation.v1";
constexpr std::string_view resultSchema = "ornogen.local.rigid_articulation.blender.v1";
constexpr std::string_view verificationSchema = "ornogen.local.rigid_articulation.verification.v1";
constexpr std::array<std::string_view, 2> supportedSourceModes{"multi_object", "part_files"};

using Names = std::vector<std::string>;
using Text = std::optional<std::string>;

template <typename Failure>
[[noreturn]] void fail(Failure reason) {
  throw RigidArticulationReportError(std::move(reason));
}

template <typename Failure>
void require(bool holds, Failure reason) {
  if (!holds) fail(std::move(reason));
}

// The report as its producer writes it. Every field is optional here; what must be there is decided later.

/// An object whose keys are names; of a repeated key the first counts.
template <typename T>
std::optional<std::map<std::string, T>> readMap(const JSONElement& object, std::string_view key) {
  const std::optional<JSONElement> element = object.optionalValue(key);
  if (!element) return std::nullopt;
  std::map<std::string, T> map;
  for (const auto& [name, value] : element->members()) {
    if (!map.contains(name)) map.emplace(name, decodeJSON<T>(value));
  }
  return map;
}

struct ProducerPlan {
  Text sourceMode;
  std::optional<Names> fixedParts;
  Text pivotPart;
  std::optional<Names> rotatingParts;
  std::optional<std::map<std::string, std::string>> exportNames;
  Text rootName;
  Text pivotNodeName;
  Text unityRotationAxis;
  std::optional<bool> requiresBlender;
  std::optional<bool> networkRequired;

  static ProducerPlan fromJSON(const JSONElement& element) {
    return {.sourceMode = decodeOptionalJSON<std::string>(element, "source_mode"),
            .fixedParts = decodeOptionalJSON<Names>(element, "fixed_parts"),
            .pivotPart = decodeOptionalJSON<std::string>(element, "pivot_part"),
            .rotatingParts = decodeOptionalJSON<Names>(element, "rotating_parts"),
            .exportNames = readMap<std::string>(element, "export_names"),
            .rootName = decodeOptionalJSON<std::string>(element, "root_name"),
            .pivotNodeName = decodeOptionalJSON<std::string>(element, "pivot_node_name"),
            .unityRotationAxis = decodeOptionalJSON<std::string>(element, "unity_rotation_axis"),
            .requiresBlender = decodeOptionalJSON<bool>(element, "requires_blender"),
            .networkRequired = decodeOptionalJSON<bool>(element, "network_required")};
  }
};

struct ProducerResult {
  Text schema;
  Text sourceMode;
  std::optional<Names> meshNames;
  std::optional<std::int64_t> meshCount;
  std::optional<std::int64_t> armatureCount;
  std::optional<std::map<std::string, Names>> hierarchy;

  static ProducerResult fromJSON(const JSONElement& element) {
    return {.schema = decodeOptionalJSON<std::string>(element, "schema"),
            .sourceMode = decodeOptionalJSON<std::string>(element, "source_mode"),
            .meshNames = decodeOptionalJSON<Names>(element, "mesh_names"),
            .meshCount = decodeOptionalJSON<std::int64_t>(element, "mesh_count"),
            .armatureCount = decodeOptionalJSON<std::int64_t>(element, "armature_count"),
            .hierarchy = readMap<Names>(element, "hierarchy")};
  }
};

struct ProducerVerification {
  Text schema;
  std::optional<bool> passed;
  std::optional<Names> missing;
  std::optional<std::int64_t> armatureCount;
  std::optional<bool> hierarchyValid;
  std::optional<bool> rootParentIsNone;
  std::optional<bool> rootTransformNeutral;
  std::optional<bool> rotatingChanged90;

  static ProducerVerification fromJSON(const JSONElement& element) {
    return {.schema = decodeOptionalJSON<std::string>(element, "schema"),
            .passed = decodeOptionalJSON<bool>(element, "passed"),
            .missing = decodeOptionalJSON<Names>(element, "missing"),
            .armatureCount = decodeOptionalJSON<std::int64_t>(element, "armature_count"),
            .hierarchyValid = decodeOptionalJSON<bool>(element, "hierarchy_valid"),
            .rootParentIsNone = decodeOptionalJSON<bool>(element, "root_parent_is_none"),
            .rootTransformNeutral = decodeOptionalJSON<bool>(element, "root_transform_neutral"),
            .rotatingChanged90 = decodeOptionalJSON<bool>(element, "rotating_changed_90")};
  }
};

struct ProducerReport {
  std::optional<ProducerPlan> plan;
  std::optional<ProducerResult> result;
  std::optional<ProducerVerification> verification;
};

/// The text without white space at its ends, or nothing where that leaves nothing.
Text nonempty(const Text& text) {
  if (!text) return std::nullopt;
  const std::string_view trimmed = trimmingWhitespace(*text);
  if (trimmed.empty()) return std::nullopt;
  return std::string(trimmed);
}

std::optional<Names> nonemptyNames(const std::optional<Names>& names) {
  if (!names || names->empty()) return std::nullopt;
  Names result;
  for (const std::string& name : *names) {
    const Text trimmed = nonempty(name);
    if (!trimmed) return std::nullopt;
    result.push_back(*trimmed);
  }
  return result;
}

bool uniqueCaseInsensitive(const Names& names) {
  std::set<std::string> folded;
  for (const std::string& name : names) {
    if (!folded.insert(caseFolded(name)).second) return false;
  }
  return true;
}

/// The names as a set of canonically equivalent texts.
std::set<std::string> nameSet(const Names& names) {
  std::set<std::string> keys;
  for (const std::string& name : names) keys.insert(canonicalKey(name));
  return keys;
}

Names concatenated(Names first, const Names& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

/// The hinge's names, trimmed: first as the plan calls the parts, then as the exported model does.
struct Assignment {
  std::string rootName;
  std::string pivotNodeName;
  std::string pivotPart;
  Names fixedParts;
  Names rotatingParts;

  Names allParts() const { return concatenated(concatenated({pivotPart}, fixedParts), rotatingParts); }
};

/// Reads the parts of the report in two steps, so that a report of a failure is known as such whatever else it holds.
ProducerReport readReport(std::span<const std::byte> data) {
  try {
    const JSONDocument document = JSONDocument::parse(data);
    const JSONElement root = document.root();
    require(decodeOptionalJSON<std::string>(root, "schema") == reportSchema, failure::UnsupportedSchema{});
    require(decodeOptionalJSON<std::string>(root, "status") == "success", failure::UnsuccessfulStatus{});
    return {.plan = decodeOptionalJSON<ProducerPlan>(root, "plan"),
            .result = decodeOptionalJSON<ProducerResult>(root, "result"),
            .verification = decodeOptionalJSON<ProducerVerification>(root, "verification")};
  } catch (const JSONError&) {
    fail(failure::InvalidPayload{});
  }
}

Assignment readAssignment(const ProducerPlan& plan) {
  const Text rootName = nonempty(plan.rootName);
  const Text pivotNodeName = nonempty(plan.pivotNodeName);
  const Text pivotPart = nonempty(plan.pivotPart);
  std::optional<Names> fixedParts = nonemptyNames(plan.fixedParts);
  std::optional<Names> rotatingParts = nonemptyNames(plan.rotatingParts);
  require(rootName && pivotNodeName && pivotPart && fixedParts && rotatingParts, failure::InvalidAssignment{});

  Assignment assignment{*rootName, *pivotNodeName, *pivotPart, std::move(*fixedParts), std::move(*rotatingParts)};
  require(uniqueCaseInsensitive(assignment.allParts()) && caseFolded(*rootName) != caseFolded(*pivotNodeName),
          failure::DuplicateName{});
  return assignment;
}

void requireSupportedOperation(const ProducerPlan& plan, const ProducerResult& result) {
  require(plan.unityRotationAxis == "Y" || plan.unityRotationAxis == "y", failure::UnsupportedAxis{});
  require(plan.requiresBlender == true && plan.networkRequired == false, failure::InvalidPayload{});
  const Text sourceMode = nonempty(plan.sourceMode);
  require(sourceMode && std::find(supportedSourceModes.begin(), supportedSourceModes.end(), *sourceMode) !=
                            supportedSourceModes.end(),
          failure::InvalidPayload{});
  require(nonempty(result.sourceMode) == sourceMode, failure::InvalidPayload{});
}

/// The assignment with each part under the name of its node in the exported model.
Assignment exportedAssignment(const Assignment& assignment, const ProducerPlan& plan) {
  require(plan.exportNames.has_value(), failure::InvalidAssignment{});
  std::map<std::string, std::string> exported;  // by the canonical key of the part's name
  for (const auto& [part, exportName] : *plan.exportNames) {
    const Text name = nonempty(exportName);
    require(name.has_value(), failure::InvalidAssignment{});
    exported.emplace(canonicalKey(part), *name);
  }
  const std::set<std::string> parts = nameSet(assignment.allParts());
  require(exported.size() == parts.size() &&
              std::all_of(parts.begin(), parts.end(), [&](const std::string& key) { return exported.contains(key); }),
          failure::InvalidAssignment{});

  const auto exportName = [&](const std::string& part) { return exported.at(canonicalKey(part)); };
  Assignment result{assignment.rootName, assignment.pivotNodeName, exportName(assignment.pivotPart), {}, {}};
  for (const std::string& part : assignment.fixedParts) result.fixedParts.push_back(exportName(part));
  for (const std::string& part : assignment.rotatingParts) result.rotatingParts.push_back(exportName(part));
  require(uniqueCaseInsensitive(concatenated(result.allParts(), {result.rootName, result.pivotNodeName})),
          failure::DuplicateName{});
  return result;
}

void requireMatchingResult(const ProducerResult& result, const Assignment& assignment) {
  const Names parts = assignment.allParts();
  const auto partCount = static_cast<std::int64_t>(parts.size());
  const bool matches = result.schema == resultSchema && result.meshCount == partCount && result.meshNames &&
                       result.meshNames->size() == parts.size() && nameSet(*result.meshNames) == nameSet(parts) &&
                       result.armatureCount == 0;
  if (matches) return;
  if (result.armatureCount > 0) fail(failure::ArmaturePresent{});
  fail(failure::InvalidPayload{});
}

void requireMatchingHierarchy(const ProducerResult& result, const Assignment& assignment) {
  require(result.hierarchy && result.hierarchy->size() == 2, failure::InvalidHierarchy{});
  const auto sameHierarchy = [&](const std::string& parent, const Names& children) {
    return std::any_of(result.hierarchy->begin(), result.hierarchy->end(), [&](const auto& entry) {
      return canonicallyEqual(entry.first, parent) && nameSet(entry.second) == nameSet(children);
    });
  };
  require(sameHierarchy(assignment.rootName, concatenated(assignment.fixedParts, {assignment.pivotNodeName})) &&
              sameHierarchy(assignment.pivotNodeName, concatenated({assignment.pivotPart}, assignment.rotatingParts)),
          failure::InvalidHierarchy{});
}

void requireVerified(const ProducerVerification& verification) {
  const bool isVerified = verification.schema == verificationSchema && verification.passed == true &&
                          verification.hierarchyValid == true && verification.rootParentIsNone == true &&
                          verification.rootTransformNeutral == true && verification.rotatingChanged90 == true &&
                          verification.armatureCount == 0 && verification.missing && verification.missing->empty();
  if (isVerified) return;
  if (verification.armatureCount > 0) fail(failure::ArmaturePresent{});
  fail(failure::VerificationFailed{});
}

}  // namespace

RigidArticulationDescriptor RigidArticulationReportAdapter::decode(std::span<const std::byte> data,
                                                                   std::string_view modelSHA256) {
  require(SHA256::isHexadecimalDigest(modelSHA256), failure::InvalidModelSHA256{});
  const ProducerReport report = readReport(data);
  require(report.plan && report.result && report.verification, failure::InvalidAssignment{});

  const Assignment planned = readAssignment(*report.plan);
  requireSupportedOperation(*report.plan, *report.result);
  const Assignment exported = exportedAssignment(planned, *report.plan);
  requireMatchingResult(*report.result, exported);
  requireMatchingHierarchy(*report.result, exported);
  requireVerified(*report.verification);

  return RigidArticulationDescriptor::make(
      std::string(modelSHA256), exported.rootName, exported.pivotNodeName, exported.fixedParts, exported.pivotPart,
      exported.rotatingParts, ViewportAxis::y,
      RigidArticulationValidation{.evidence = RigidArticulationEvidence::pipelineReport, .issues = {}});
}

std::string RigidArticulationReportError::describe(const failure::InvalidPayload&) {
  return "The articulation report is incomplete or malformed.";
}
std::string RigidArticulationReportError::describe(const failure::UnsupportedSchema&) {
  return "The articulation report uses an unsupported schema.";
}
std::string RigidArticulationReportError::describe(const failure::UnsuccessfulStatus&) {
  return "The articulation report does not describe a successful operation.";
}
std::string RigidArticulationReportError::describe(const failure::InvalidModelSHA256&) {
  return "The model SHA-256 is invalid.";
}
std::string RigidArticulationReportError::describe(const failure::InvalidAssignment&) {
  return "The articulation report contains an incomplete or conflicting part assignment.";
}
std::string RigidArticulationReportError::describe(const failure::DuplicateName&) {
  return "The articulation report contains ambiguous part names.";
}
std::string RigidArticulationReportError::describe(const failure::UnsupportedAxis&) {
  return "Only local Y-axis rigid articulation is supported.";
}
std::string RigidArticulationReportError::describe(const failure::InvalidHierarchy&) {
  return "The articulation report does not describe the expected root and pivot hierarchy.";
}
std::string RigidArticulationReportError::describe(const failure::ArmaturePresent&) {
  return "Rigid articulation reports must not contain an armature.";
}
std::string RigidArticulationReportError::describe(const failure::VerificationFailed&) {
  return "The producer did not verify the rigid articulation successfully.";
}

}  // namespace ornolith
