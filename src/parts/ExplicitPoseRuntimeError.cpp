#include "parts/ExplicitPoseRuntimeError.h"

namespace ornolith {

namespace {

using namespace explicit_pose_runtime_error;

std::string joined(const std::vector<std::string>& texts) {
  std::string result;
  for (const std::string& text : texts) {
    if (!result.empty()) result += ", ";
    result += text;
  }
  return result;
}

}  // namespace

std::string ExplicitPoseRuntimeError::describe(const UnsupportedFormat& error) {
  return "Explicit part poses require a hierarchy-preserving FBX or GLB model; got " +
         uppercasedRawValue(error.format) + ".";
}
std::string ExplicitPoseRuntimeError::describe(const PartNotFound& error) {
  return "Part selector '" + error.selector +
         "' did not match an addressable logical node. Run --list-parts and use a listed selector.";
}
std::string ExplicitPoseRuntimeError::describe(const AmbiguousName& error) {
  return "Part name '" + error.name + "' is ambiguous. Use one of these canonical paths: " + joined(error.paths) + ".";
}
std::string ExplicitPoseRuntimeError::describe(const AmbiguousSourceID& error) {
  return "Source node ID '" + error.id + "' is ambiguous. Use one of these canonical paths: " + joined(error.paths) +
         ".";
}
std::string ExplicitPoseRuntimeError::describe(const AuthoredHierarchyUnavailable& error) {
  return "Part '" + error.path + "' does not belong to a hierarchy-preserving FBX or GLB import.";
}
std::string ExplicitPoseRuntimeError::describe(const UnsafeLocalTransform& error) {
  return "Part '" + error.path + "' has a non-finite, non-affine, sheared, or otherwise unsafe local transform.";
}
std::string ExplicitPoseRuntimeError::describe(const DuplicateResolvedNode& error) {
  return "Pose '" + error.poseID + "' resolves more than one rotation to '" + error.path +
         "'. Specify each node only once per pose.";
}
std::string ExplicitPoseRuntimeError::describe(const InvalidPoseIndex& error) {
  return "Pose index " + std::to_string(error.index) + " is out of range.";
}
std::string ExplicitPoseRuntimeError::describe(const MissingModel&) {
  return "No model is loaded.";
}
std::string ExplicitPoseRuntimeError::describe(const MultipleModels&) {
  return "Explicit part poses require exactly one loaded model.";
}
std::string ExplicitPoseRuntimeError::describe(const InvalidModelSHA256&) {
  return "The model SHA-256 must contain exactly 64 lowercase hexadecimal characters.";
}
std::string ExplicitPoseRuntimeError::describe(const ModelHasAnimationOrDeformation&) {
  return "Explicit part poses are unavailable because the model contains animation, skinning, morphing, or "
         "deformation.";
}

}  // namespace ornolith
