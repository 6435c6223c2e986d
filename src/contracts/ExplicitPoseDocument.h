#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "contracts/ModelPartRotation.h"
#include "foundation/Error.h"

namespace ornolith {

namespace explicit_pose_document_error {
struct PayloadTooLarge {
  std::int64_t maximumByteCount = 0;
  bool operator==(const PayloadTooLarge&) const = default;
};
struct InvalidJSON {
  std::string description;
  bool operator==(const InvalidJSON&) const = default;
};
struct InvalidSchema {
  std::string found;
  bool operator==(const InvalidSchema&) const = default;
};
struct UnsupportedVersion {
  std::int64_t found = 0;
  bool operator==(const UnsupportedVersion&) const = default;
};
struct InvalidModelSHA256 {
  std::string found;
  bool operator==(const InvalidModelSHA256&) const = default;
};
struct ModelSHA256Mismatch {
  std::string expected;  ///< The document's value.
  std::string actual;    ///< The hash of the model at hand.
  bool operator==(const ModelSHA256Mismatch&) const = default;
};
struct TooManyPoses {
  std::int64_t maximum = 0;
  bool operator==(const TooManyPoses&) const = default;
};
struct InvalidPoseID {
  std::int64_t index = 0;  ///< From 0.
  bool operator==(const InvalidPoseID&) const = default;
};
struct DuplicatePoseID {
  std::string id;
  bool operator==(const DuplicatePoseID&) const = default;
};
struct TooManyRotations {
  std::string poseID;
  std::int64_t maximum = 0;
  bool operator==(const TooManyRotations&) const = default;
};
struct DuplicateSelector {
  std::string poseID;
  std::string selector;  ///< Canonical.
  bool operator==(const DuplicateSelector&) const = default;
};
struct NoPoses {
  bool operator==(const NoPoses&) const = default;
};
}  // namespace explicit_pose_document_error

/// A pose document that cannot be read or breaks one of its rules.
class ExplicitPoseDocumentError final
    : public TypedError<ExplicitPoseDocumentError, explicit_pose_document_error::PayloadTooLarge,
                        explicit_pose_document_error::InvalidJSON, explicit_pose_document_error::InvalidSchema,
                        explicit_pose_document_error::UnsupportedVersion,
                        explicit_pose_document_error::InvalidModelSHA256,
                        explicit_pose_document_error::ModelSHA256Mismatch, explicit_pose_document_error::TooManyPoses,
                        explicit_pose_document_error::InvalidPoseID, explicit_pose_document_error::DuplicatePoseID,
                        explicit_pose_document_error::TooManyRotations, explicit_pose_document_error::DuplicateSelector,
                        explicit_pose_document_error::NoPoses> {
 public:
  using TypedError::TypedError;
  static std::string describe(const explicit_pose_document_error::PayloadTooLarge& error);
  static std::string describe(const explicit_pose_document_error::InvalidJSON& error);
  static std::string describe(const explicit_pose_document_error::InvalidSchema& error);
  static std::string describe(const explicit_pose_document_error::UnsupportedVersion& error);
  static std::string describe(const explicit_pose_document_error::InvalidModelSHA256& error);
  static std::string describe(const explicit_pose_document_error::ModelSHA256Mismatch& error);
  static std::string describe(const explicit_pose_document_error::TooManyPoses& error);
  static std::string describe(const explicit_pose_document_error::InvalidPoseID& error);
  static std::string describe(const explicit_pose_document_error::DuplicatePoseID& error);
  static std::string describe(const explicit_pose_document_error::TooManyRotations& error);
  static std::string describe(const explicit_pose_document_error::DuplicateSelector& error);
  static std::string describe(const explicit_pose_document_error::NoPoses& error);
};

/// One named pose. Equality of texts is canonical equivalence.
struct ExplicitModelPose {
  std::string id;                            ///< Not blank; unique in its document, as written.
  std::optional<std::string> label;          ///< Carried to the index as it stands.
  std::vector<ModelPartRotation> rotations;  ///< No selector twice. None at all shows the model as loaded.

  static ExplicitModelPose fromJSON(const JSONElement& element);
  JSONValue toJSON() const;

  friend bool operator==(const ExplicitModelPose& left, const ExplicitModelPose& right);
};

/// The file given to `--pose-file`: an ordered list of poses, in the order of rendering.
struct ExplicitPoseDocument {
  static constexpr std::string_view schemaText = "ornolabs.ornolith-render.poses";
  static constexpr std::int64_t currentVersion = 1;
  static constexpr std::int64_t maximumByteCount = 16'777'216;
  static constexpr std::int64_t maximumPoseCount = 4096;
  static constexpr std::int64_t maximumRotationCount = 256;  ///< In one pose.

  std::string schema{schemaText};
  std::int64_t version = currentVersion;
  std::optional<std::string> modelSHA256;  ///< Of the only model it fits; 64 lower-case hexadecimal digits.
  std::vector<ExplicitModelPose> poses;

  /// A document that passes `validate` without a hash. Throws `ExplicitPoseDocumentError` alone; whatever else is wrong
  /// with the text comes out as its `InvalidJSON`.
  static ExplicitPoseDocument decode(std::span<const std::byte> data);

  /// Checks every rule in order and throws at the first that is broken: `ExplicitPoseDocumentError`, or
  /// `ModelPoseContractError` for a rotation. With `modelSHA256`, the lower-case hash of the model at hand, the
  /// document's hash must equal it where there is one.
  void validate(const std::optional<std::string>& modelSHA256 = std::nullopt) const;

  /// Reads the keys and then runs `validate`. Throws `JSONError` and what `validate` throws.
  static ExplicitPoseDocument fromJSON(const JSONElement& element);
  /// Runs `validate` first and throws what it throws.
  JSONValue toJSON() const;

  friend bool operator==(const ExplicitPoseDocument& left, const ExplicitPoseDocument& right);
};

}  // namespace ornolith
