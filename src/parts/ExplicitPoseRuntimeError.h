#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "foundation/Error.h"
#include "import/formats/ModelFormat.h"

namespace ornolith {

namespace explicit_pose_runtime_error {
struct UnsupportedFormat {
  ModelFormat format = ModelFormat::fbx;
  bool operator==(const UnsupportedFormat&) const = default;
};
struct PartNotFound {
  std::string selector;  ///< Canonical.
  bool operator==(const PartNotFound&) const = default;
};
struct AmbiguousName {
  std::string name;
  std::vector<std::string> paths;  ///< Canonical paths of all candidates, sorted.
  bool operator==(const AmbiguousName&) const = default;
};
struct AmbiguousSourceID {
  std::string id;  ///< The identity, or the canonical string of a path selector.
  std::vector<std::string> paths;
  bool operator==(const AmbiguousSourceID&) const = default;
};
struct AuthoredHierarchyUnavailable {
  std::string path;
  bool operator==(const AuthoredHierarchyUnavailable&) const = default;
};
struct UnsafeLocalTransform {
  std::string path;
  bool operator==(const UnsafeLocalTransform&) const = default;
};
struct DuplicateResolvedNode {
  std::string poseID;
  std::string path;
  bool operator==(const DuplicateResolvedNode&) const = default;
};
struct InvalidPoseIndex {
  std::int64_t index = 0;
  bool operator==(const InvalidPoseIndex&) const = default;
};
struct MissingModel {
  bool operator==(const MissingModel&) const = default;
};
struct MultipleModels {
  bool operator==(const MultipleModels&) const = default;
};
struct InvalidModelSHA256 {
  bool operator==(const InvalidModelSHA256&) const = default;
};
struct ModelHasAnimationOrDeformation {
  bool operator==(const ModelHasAnimationOrDeformation&) const = default;
};
}  // namespace explicit_pose_runtime_error

/// A model that cannot be listed or posed, or a pose that does not fit its model.
class ExplicitPoseRuntimeError final
    : public TypedError<
          ExplicitPoseRuntimeError, explicit_pose_runtime_error::UnsupportedFormat,
          explicit_pose_runtime_error::PartNotFound, explicit_pose_runtime_error::AmbiguousName,
          explicit_pose_runtime_error::AmbiguousSourceID, explicit_pose_runtime_error::AuthoredHierarchyUnavailable,
          explicit_pose_runtime_error::UnsafeLocalTransform, explicit_pose_runtime_error::DuplicateResolvedNode,
          explicit_pose_runtime_error::InvalidPoseIndex, explicit_pose_runtime_error::MissingModel,
          explicit_pose_runtime_error::MultipleModels, explicit_pose_runtime_error::InvalidModelSHA256,
          explicit_pose_runtime_error::ModelHasAnimationOrDeformation> {
 public:
  using TypedError::TypedError;
  static std::string describe(const explicit_pose_runtime_error::UnsupportedFormat& error);
  static std::string describe(const explicit_pose_runtime_error::PartNotFound& error);
  static std::string describe(const explicit_pose_runtime_error::AmbiguousName& error);
  static std::string describe(const explicit_pose_runtime_error::AmbiguousSourceID& error);
  static std::string describe(const explicit_pose_runtime_error::AuthoredHierarchyUnavailable& error);
  static std::string describe(const explicit_pose_runtime_error::UnsafeLocalTransform& error);
  static std::string describe(const explicit_pose_runtime_error::DuplicateResolvedNode& error);
  static std::string describe(const explicit_pose_runtime_error::InvalidPoseIndex& error);
  static std::string describe(const explicit_pose_runtime_error::MissingModel& error);
  static std::string describe(const explicit_pose_runtime_error::MultipleModels& error);
  static std::string describe(const explicit_pose_runtime_error::InvalidModelSHA256& error);
  static std::string describe(const explicit_pose_runtime_error::ModelHasAnimationOrDeformation& error);
};

}  // namespace ornolith
