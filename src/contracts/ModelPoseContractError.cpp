#include "contracts/ModelPoseContractError.h"

namespace ornolith {

using namespace model_pose_contract_error;

std::string ModelPoseContractError::describe(const InvalidSelector& error) {
  return "Invalid part selector '" + error.text +
         "'. Use name:<name>, id:<source-id>, path:<source-id/...>, or an unambiguous bare name.";
}

std::string ModelPoseContractError::describe(const InvalidSourceID& error) {
  return "Invalid source node ID '" + error.text + "'. Use fbx:<number> or gltf:<number>.";
}

std::string ModelPoseContractError::describe(const InvalidAxisSpec& error) {
  return "Invalid axis specification '" + error.text +
         "'. Use comma-separated x=<degrees>, y=<degrees>, and/or z=<degrees>.";
}

std::string ModelPoseContractError::describe(const DuplicateAxis& error) {
  return "Axis '" + error.axis + "' may only be specified once.";
}

std::string ModelPoseContractError::describe(const InvalidAngle& error) {
  return "Invalid angle '" + error.value + "' for axis '" + error.axis + "'. Use a finite number of degrees.";
}

std::string ModelPoseContractError::describe(const NonFiniteAngle& error) {
  return "The angle for axis '" + error.axis + "' must be finite.";
}

std::string ModelPoseContractError::describe(const NoRotationAxes&) {
  return "A node rotation must specify at least one local x, y, or z axis.";
}

}  // namespace ornolith
