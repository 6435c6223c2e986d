#include "contracts/ExplicitPoseDocument.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "foundation/SHA256.h"
#include "foundation/Text.h"

namespace ornolith {
namespace {

using namespace explicit_pose_document_error;

bool optionallyEqual(const std::optional<std::string>& left, const std::optional<std::string>& right) {
  if (!left || !right) return left.has_value() == right.has_value();
  return canonicallyEqual(*left, *right);
}

void validateModelSHA256(const std::string& expected, const std::optional<std::string>& actual) {
  if (!SHA256::isHexadecimalDigest(expected)) throw ExplicitPoseDocumentError(InvalidModelSHA256{expected});
  if (actual && *actual != expected) {
    throw ExplicitPoseDocumentError(ModelSHA256Mismatch{.expected = expected, .actual = *actual});
  }
}

void validateRotations(const ExplicitModelPose& pose) {
  if (std::ssize(pose.rotations) > ExplicitPoseDocument::maximumRotationCount) {
    throw ExplicitPoseDocumentError(
        TooManyRotations{.poseID = pose.id, .maximum = ExplicitPoseDocument::maximumRotationCount});
  }
  std::unordered_set<ModelPartSelector> seen;
  for (const ModelPartRotation& rotation : pose.rotations) {
    rotation.localDegrees.validate();
    if (!seen.insert(rotation.selector).second) {
      throw ExplicitPoseDocumentError(
          DuplicateSelector{.poseID = pose.id, .selector = rotation.selector.canonicalString()});
    }
  }
}

void validatePoses(const std::vector<ExplicitModelPose>& poses) {
  std::unordered_set<std::string> seenIDs;
  std::int64_t index = 0;
  for (const ExplicitModelPose& pose : poses) {
    if (isBlank(pose.id)) throw ExplicitPoseDocumentError(InvalidPoseID{index});
    if (!seenIDs.insert(canonicalKey(pose.id)).second) throw ExplicitPoseDocumentError(DuplicatePoseID{pose.id});
    validateRotations(pose);
    ++index;
  }
}

}  // namespace

std::string ExplicitPoseDocumentError::describe(const PayloadTooLarge& error) {
  return "Pose JSON is limited to " + std::to_string(error.maximumByteCount / 1'048'576) + " MiB.";
}

std::string ExplicitPoseDocumentError::describe(const InvalidJSON& error) {
  return "Invalid pose JSON: " + error.description;
}

std::string ExplicitPoseDocumentError::describe(const InvalidSchema&) {
  return "This file is not an Ornolith renderer pose document.";
}

std::string ExplicitPoseDocumentError::describe(const UnsupportedVersion&) {
  return "This pose document uses an unsupported version.";
}

std::string ExplicitPoseDocumentError::describe(const InvalidModelSHA256& error) {
  return "Invalid model_sha256 '" + error.found + "'. Use a lowercase 64-character SHA-256 value.";
}

std::string ExplicitPoseDocumentError::describe(const ModelSHA256Mismatch& error) {
  return "Pose document model_sha256 mismatch (expected " + error.expected + ", got " + error.actual + ").";
}

std::string ExplicitPoseDocumentError::describe(const TooManyPoses& error) {
  return "A pose document may contain at most " + std::to_string(error.maximum) + " poses.";
}

std::string ExplicitPoseDocumentError::describe(const InvalidPoseID& error) {
  return "Pose at index " + std::to_string(error.index) + " has an empty id.";
}

std::string ExplicitPoseDocumentError::describe(const DuplicatePoseID& error) {
  return "Pose id '" + error.id + "' is duplicated.";
}

std::string ExplicitPoseDocumentError::describe(const TooManyRotations& error) {
  return "Pose '" + error.poseID + "' may contain at most " + std::to_string(error.maximum) + " node rotations.";
}

std::string ExplicitPoseDocumentError::describe(const DuplicateSelector& error) {
  return "Pose '" + error.poseID + "' specifies selector '" + error.selector + "' more than once.";
}

std::string ExplicitPoseDocumentError::describe(const NoPoses&) {
  return "A pose document must contain at least one explicit pose.";
}

bool operator==(const ExplicitModelPose& left, const ExplicitModelPose& right) {
  return canonicallyEqual(left.id, right.id) && optionallyEqual(left.label, right.label) &&
         left.rotations == right.rotations;
}

ExplicitModelPose ExplicitModelPose::fromJSON(const JSONElement& element) {
  return {.id = decodeJSON<std::string>(element, "id"),
          .label = decodeOptionalJSON<std::string>(element, "label"),
          .rotations = decodeJSON<std::vector<ModelPartRotation>>(element, "rotations")};
}

JSONValue ExplicitModelPose::toJSON() const {
  JSONValue::Object object;
  addMember(object, "id", id);
  addOptionalMember(object, "label", label);
  addMember(object, "rotations", rotations);
  return {std::move(object)};
}

bool operator==(const ExplicitPoseDocument& left, const ExplicitPoseDocument& right) {
  return canonicallyEqual(left.schema, right.schema) && left.version == right.version &&
         optionallyEqual(left.modelSHA256, right.modelSHA256) && left.poses == right.poses;
}

ExplicitPoseDocument ExplicitPoseDocument::decode(std::span<const std::byte> data) {
  if (std::ssize(data) > maximumByteCount) throw ExplicitPoseDocumentError(PayloadTooLarge{maximumByteCount});
  try {
    return fromJSON(JSONDocument::parse(data).root());
  } catch (const ExplicitPoseDocumentError&) {
    throw;
  } catch (const Error& error) {
    throw ExplicitPoseDocumentError(InvalidJSON{error.errorDescription()});
  }
}

void ExplicitPoseDocument::validate(const std::optional<std::string>& actualModelSHA256) const {
  if (schema != schemaText) throw ExplicitPoseDocumentError(InvalidSchema{schema});
  if (version != currentVersion) throw ExplicitPoseDocumentError(UnsupportedVersion{version});
  if (modelSHA256) validateModelSHA256(*modelSHA256, actualModelSHA256);
  if (poses.empty()) throw ExplicitPoseDocumentError(NoPoses{});
  if (std::ssize(poses) > maximumPoseCount) throw ExplicitPoseDocumentError(TooManyPoses{maximumPoseCount});
  validatePoses(poses);
}

ExplicitPoseDocument ExplicitPoseDocument::fromJSON(const JSONElement& element) {
  ExplicitPoseDocument document{.schema = decodeJSON<std::string>(element, "schema"),
                                .version = decodeJSON<std::int64_t>(element, "version"),
                                .modelSHA256 = decodeOptionalJSON<std::string>(element, "model_sha256"),
                                .poses = decodeJSON<std::vector<ExplicitModelPose>>(element, "poses")};
  document.validate();
  return document;
}

JSONValue ExplicitPoseDocument::toJSON() const {
  validate();
  JSONValue::Object object;
  addMember(object, "schema", schema);
  addMember(object, "version", version);
  addOptionalMember(object, "model_sha256", modelSHA256);
  addMember(object, "poses", poses);
  return {std::move(object)};
}

}  // namespace ornolith
