#include "parts/RigidArticulationBinding.h"

namespace ornolith {

RigidArticulationBinding RigidArticulationBinding::fromJSON(const JSONElement& element) {
  RigidArticulationBinding binding;
  binding.modelInstanceID = decodeJSON<UUID>(element, "modelInstanceID");
  binding.descriptorFingerprint = decodeJSON<std::string>(element, "descriptorFingerprint");
  binding.rootPath = decodeJSON<ModelNodePath>(element, "rootPath");
  binding.pivotPath = decodeJSON<ModelNodePath>(element, "pivotPath");
  binding.fixedPartPaths = decodeJSON<std::vector<ModelNodePath>>(element, "fixedPartPaths");
  binding.pivotPartPath = decodeOptionalJSON<ModelNodePath>(element, "pivotPartPath");
  binding.movingPartPaths = decodeJSON<std::vector<ModelNodePath>>(element, "movingPartPaths");
  binding.axis = decodeJSON<ViewportAxis>(element, "axis");
  binding.validation = decodeJSON<RigidArticulationValidation>(element, "validation");
  return binding;
}

JSONValue RigidArticulationBinding::toJSON() const {
  JSONValue::Object object;
  addMember(object, "modelInstanceID", modelInstanceID);
  addMember(object, "descriptorFingerprint", descriptorFingerprint);
  addMember(object, "rootPath", rootPath);
  addMember(object, "pivotPath", pivotPath);
  addMember(object, "fixedPartPaths", fixedPartPaths);
  addOptionalMember(object, "pivotPartPath", pivotPartPath);
  addMember(object, "movingPartPaths", movingPartPaths);
  addMember(object, "axis", axis);
  addMember(object, "validation", validation);
  return {std::move(object)};
}

}  // namespace ornolith
