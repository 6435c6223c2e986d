#include "scene/ExplicitPoses.h"

#include <algorithm>

#include "foundation/SHA256.h"
#include "parts/ExplicitPoseRuntimeError.h"

namespace ornolith {

namespace {

using namespace explicit_pose_runtime_error;

/// Of the glTF family only the binary form keeps a hierarchy that may be posed.
void requirePosableFormat(ModelFormat format) {
  if (format != ModelFormat::fbx && format != ModelFormat::glb) {
    throw ExplicitPoseRuntimeError(UnsupportedFormat{.format = format});
  }
}

bool isDeforming(const SceneModelEntry& entry) {
  const ModelInfo& info = entry.modelInfo;
  return info.skeletonCount > 0 || info.boneCount > 0 || info.animationCount > 0 ||
         nodeTreeHasDeformationOrAnimation(*entry.rootNode);
}

std::string selectorText(const AddressableLogicalPart& part) {
  return part.canonicalSelector().canonicalString();
}

/// Why no part of the model may be turned: an authored hierarchy that is missing anywhere comes before an unsafe
/// transform anywhere.
std::optional<std::string> rotationBlockReason(const SceneModelEntry& entry,
                                               std::span<const AddressableLogicalPart> parts) {
  if (isDeforming(entry)) return "model-has-animation-or-deformation";
  const auto firstWith = [&](PartRotationObstacle obstacle) {
    return std::ranges::find_if(parts, [&](const auto& part) { return rotationObstacle(part) == obstacle; });
  };
  const auto flat = firstWith(PartRotationObstacle::authoredHierarchyUnavailable);
  if (flat != parts.end()) return "authored-hierarchy-unavailable:" + selectorText(*flat);
  const auto unsafe = firstWith(PartRotationObstacle::unsafeLocalTransform);
  if (unsafe != parts.end()) return "unsafe-local-transform:" + selectorText(*unsafe);
  return std::nullopt;
}

ListedModelVector3 listed(simd_float3 v) {
  return {.x = v.x, .y = v.y, .z = v.z};
}

}  // namespace

const SceneModelEntry& soleModelEntryForExplicitPoses(const SceneController& controller) {
  const auto& entries = controller.modelEntries();
  if (entries.empty()) throw ExplicitPoseRuntimeError(MissingModel{});
  if (entries.size() > 1) throw ExplicitPoseRuntimeError(MultipleModels{});
  return entries.begin()->second;
}

ListedModelLocalTransform listedLocalTransform(const simd_float4x4& matrix,
                                               const std::optional<RigidLocalTRS>& decomposition) {
  ListedModelLocalTransform result;
  if (RigidLocalTransformAnalyzer::matrixIsFinite(matrix)) {
    auto& numbers = result.columnMajorMatrix.emplace();
    for (std::size_t i = 0; i < numbers.size(); ++i) numbers[i] = matrix.columns[i / 4][i % 4];
  }
  if (decomposition) {
    const simd_quatf q = decomposition->orientation;
    result.translation = listed(decomposition->translation);
    result.rotation = ListedModelQuaternion{.x = q.x, .y = q.y, .z = q.z, .w = q.w};
    result.scale = listed(decomposition->scale);
  }
  return result;
}

ListedModelPartsDocument listedModelParts(const SceneController& controller, const std::string& modelSHA256,
                                          ModelFormat format) {
  requirePosableFormat(format);
  if (!SHA256::isHexadecimalDigest(modelSHA256)) throw ExplicitPoseRuntimeError(InvalidModelSHA256{});
  const SceneModelEntry& entry = soleModelEntryForExplicitPoses(controller);
  const std::vector<AddressableLogicalPart> parts = addressableLogicalParts(entry.parts);
  requireListablePaths(parts);
  const std::optional<std::string> blockReason = rotationBlockReason(entry, parts);

  ListedModelPartsDocument document{.modelSHA256 = modelSHA256, .format = format, .parts = {}};
  document.parts.reserve(parts.size());
  for (const AddressableLogicalPart& part : parts) {
    const simd_float4x4 matrix = part.node()->simdTransform();
    document.parts.push_back(
        {.originalName = part.name(),
         .sourceID = part.sourceID().rawValue,
         .selector = part.canonicalSelector(),
         .parent = part.parentSelector(),
         .hasGeometry = part.hasGeometry(),
         .hasChildren = part.hasChildren(),
         .localTransform = listedLocalTransform(matrix, RigidLocalTransformAnalyzer::decompose(matrix)),
         .isRotatable = !blockReason,
         .rotationBlockReason = blockReason});
  }
  return document;
}

ExplicitPoseRuntime makeExplicitPoseRuntime(const SceneController& controller, std::span<const ExplicitModelPose> poses,
                                            ModelFormat format) {
  requirePosableFormat(format);
  ExplicitPoseDocument document;
  document.poses.assign(poses.begin(), poses.end());
  document.validate();
  const SceneModelEntry& entry = soleModelEntryForExplicitPoses(controller);
  if (isDeforming(entry)) throw ExplicitPoseRuntimeError(ModelHasAnimationOrDeformation{});
  return {poses, addressableLogicalParts(entry.parts)};
}

}  // namespace ornolith
