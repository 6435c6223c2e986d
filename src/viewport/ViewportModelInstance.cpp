#include "viewport/ViewportModelInstance.h"

#include <utility>

namespace ornolith {

std::vector<FileURL> ViewportModelInstance::resolvedAssetDirectories(const FileURL& base) const {
  std::vector<FileURL> directories;
  directories.reserve(assetDirectoryPaths.size());
  for (const std::string& path : assetDirectoryPaths) {
    const bool isAbsolute = path.starts_with('/');
    directories.push_back(isAbsolute ? FileURL(path, true) : base.appendingPathComponent(path, true));
  }
  return directories;
}

ViewportModelInstance ViewportModelInstance::fromJSON(const JSONElement& element) {
  ViewportModelInstance instance;
  instance.id = decodeJSON<UUID>(element, "id");
  instance.libraryItemID = decodeOptionalJSON<UUID>(element, "libraryItemID");
  instance.displayName = decodeJSON<std::string>(element, "displayName");
  instance.format = decodeJSON<ModelFormat>(element, "format");
  instance.modelPath = decodeJSON<std::string>(element, "modelPath");
  instance.assetDirectoryPaths = decodeJSON<std::vector<std::string>>(element, "assetDirectoryPaths");
  instance.transform = decodeJSON<ModelTransform>(element, "transform");
  instance.modelInfo = decodeJSON<ModelInfo>(element, "modelInfo");
  instance.selectedAnimationID = decodeOptionalJSON<std::string>(element, "selectedAnimationID");
  instance.diagnostics =
      decodeOptionalJSON<std::vector<ModelLoadDiagnostic>>(element, "diagnostics").value_or(instance.diagnostics);
  instance.rigidArticulationDescriptor =
      decodeOptionalJSON<RigidArticulationDescriptor>(element, "rigidArticulationDescriptor");
  instance.blocksRigidArticulationInference =
      decodeOptionalJSON<bool>(element, "blocksRigidArticulationInference").value_or(false);
  instance.partPresentationState =
      decodeOptionalJSON<PartPresentationState>(element, "partPresentationState").value_or(PartPresentationState{});
  return instance;
}

JSONValue ViewportModelInstance::toJSON() const {
  JSONValue::Object object;
  addMember(object, "id", id);
  addOptionalMember(object, "libraryItemID", libraryItemID);
  addMember(object, "displayName", displayName);
  addMember(object, "format", format);
  addMember(object, "modelPath", modelPath);
  addMember(object, "assetDirectoryPaths", assetDirectoryPaths);
  addMember(object, "transform", transform);
  addMember(object, "modelInfo", modelInfo);
  addOptionalMember(object, "selectedAnimationID", selectedAnimationID);
  addMember(object, "diagnostics", diagnostics);
  addOptionalMember(object, "rigidArticulationDescriptor", rigidArticulationDescriptor);
  addMember(object, "blocksRigidArticulationInference", blocksRigidArticulationInference);
  addMember(object, "partPresentationState", partPresentationState);
  return {std::move(object)};
}

}  // namespace ornolith
