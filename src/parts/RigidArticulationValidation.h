#pragma once

#include <array>
#include <string>
#include <vector>

#include "foundation/JSONCoding.h"

namespace ornolith {

/// How a hinge was found: verified by its producer's report, or inferred from the scene alone.
enum class RigidArticulationEvidence { pipelineReport, structuralInference };

template <>
inline constexpr auto rawValueTable<RigidArticulationEvidence> =
    std::to_array<RawValueEntry<RigidArticulationEvidence>>(
        {{RigidArticulationEvidence::pipelineReport, "pipelineReport"},
         {RigidArticulationEvidence::structuralInference, "structuralInference"}});

/// What can be wrong with a hinge.
enum class RigidArticulationValidationIssueCode {
  unsupportedSchema,
  unsuccessfulReport,
  unsupportedAxis,
  invalidAssignment,
  duplicateName,
  hierarchyMismatch,
  verificationFailed,
  armaturePresent,
  staleDescriptor,
  ambiguousHierarchy,
};

template <>
inline constexpr auto rawValueTable<RigidArticulationValidationIssueCode> =
    std::to_array<RawValueEntry<RigidArticulationValidationIssueCode>>({
        {RigidArticulationValidationIssueCode::unsupportedSchema, "unsupportedSchema"},
        {RigidArticulationValidationIssueCode::unsuccessfulReport, "unsuccessfulReport"},
        {RigidArticulationValidationIssueCode::unsupportedAxis, "unsupportedAxis"},
        {RigidArticulationValidationIssueCode::invalidAssignment, "invalidAssignment"},
        {RigidArticulationValidationIssueCode::duplicateName, "duplicateName"},
        {RigidArticulationValidationIssueCode::hierarchyMismatch, "hierarchyMismatch"},
        {RigidArticulationValidationIssueCode::verificationFailed, "verificationFailed"},
        {RigidArticulationValidationIssueCode::armaturePresent, "armaturePresent"},
        {RigidArticulationValidationIssueCode::staleDescriptor, "staleDescriptor"},
        {RigidArticulationValidationIssueCode::ambiguousHierarchy, "ambiguousHierarchy"},
    });

/// One thing that is wrong, and the names of the nodes concerned.
struct RigidArticulationValidationIssue {
  RigidArticulationValidationIssueCode code = RigidArticulationValidationIssueCode::unsupportedSchema;
  std::vector<std::string> relatedNames;

  /// Keys "code" and "relatedNames", both required.
  static RigidArticulationValidationIssue fromJSON(const JSONElement& element);
  JSONValue toJSON() const;

  bool operator==(const RigidArticulationValidationIssue&) const = default;
};

/// How a hinge was found, and what is wrong with it.
struct RigidArticulationValidation {
  RigidArticulationEvidence evidence = RigidArticulationEvidence::pipelineReport;
  std::vector<RigidArticulationValidationIssue> issues;

  /// Keys "evidence" and "issues", both required.
  static RigidArticulationValidation fromJSON(const JSONElement& element);
  JSONValue toJSON() const;

  bool operator==(const RigidArticulationValidation&) const = default;
};

}  // namespace ornolith
