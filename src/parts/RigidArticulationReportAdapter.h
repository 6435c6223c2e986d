#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "foundation/Error.h"
#include "parts/RigidArticulationDescriptor.h"

namespace ornolith {

namespace rigid_articulation_report_error {
struct InvalidPayload {
  bool operator==(const InvalidPayload&) const = default;
};
struct UnsupportedSchema {
  bool operator==(const UnsupportedSchema&) const = default;
};
struct UnsuccessfulStatus {
  bool operator==(const UnsuccessfulStatus&) const = default;
};
struct InvalidModelSHA256 {
  bool operator==(const InvalidModelSHA256&) const = default;
};
struct InvalidAssignment {
  bool operator==(const InvalidAssignment&) const = default;
};
struct DuplicateName {
  bool operator==(const DuplicateName&) const = default;
};
struct UnsupportedAxis {
  bool operator==(const UnsupportedAxis&) const = default;
};
struct InvalidHierarchy {
  bool operator==(const InvalidHierarchy&) const = default;
};
struct ArmaturePresent {
  bool operator==(const ArmaturePresent&) const = default;
};
struct VerificationFailed {
  bool operator==(const VerificationFailed&) const = default;
};
}  // namespace rigid_articulation_report_error

/// Why a producer's articulation report is not believed.
class RigidArticulationReportError final
    : public TypedError<
          RigidArticulationReportError, rigid_articulation_report_error::InvalidPayload,
          rigid_articulation_report_error::UnsupportedSchema, rigid_articulation_report_error::UnsuccessfulStatus,
          rigid_articulation_report_error::InvalidModelSHA256, rigid_articulation_report_error::InvalidAssignment,
          rigid_articulation_report_error::DuplicateName, rigid_articulation_report_error::UnsupportedAxis,
          rigid_articulation_report_error::InvalidHierarchy, rigid_articulation_report_error::ArmaturePresent,
          rigid_articulation_report_error::VerificationFailed> {
 public:
  using TypedError::TypedError;
  static std::string describe(const rigid_articulation_report_error::InvalidPayload&);
  static std::string describe(const rigid_articulation_report_error::UnsupportedSchema&);
  static std::string describe(const rigid_articulation_report_error::UnsuccessfulStatus&);
  static std::string describe(const rigid_articulation_report_error::InvalidModelSHA256&);
  static std::string describe(const rigid_articulation_report_error::InvalidAssignment&);
  static std::string describe(const rigid_articulation_report_error::DuplicateName&);
  static std::string describe(const rigid_articulation_report_error::UnsupportedAxis&);
  static std::string describe(const rigid_articulation_report_error::InvalidHierarchy&);
  static std::string describe(const rigid_articulation_report_error::ArmaturePresent&);
  static std::string describe(const rigid_articulation_report_error::VerificationFailed&);
};

/// Turns the report that an asset pipeline wrote about a model it cut into root, pivot and moving parts into a
/// descriptor. Reports are outside input: the plan is checked against the result, the result against the names, and the
/// producer's verification against all of them.
struct RigidArticulationReportAdapter {
  /// `data` is the report's JSON; `modelSHA256` the hash of the model, 64 lower-case hexadecimal digits. Throws
  /// `RigidArticulationReportError` and nothing else.
  static RigidArticulationDescriptor decode(std::span<const std::byte> data, std::string_view modelSHA256);
};

}  // namespace ornolith
