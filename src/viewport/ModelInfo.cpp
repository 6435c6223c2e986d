#include "viewport/ModelInfo.h"

namespace ornolith {

ModelDimensions ModelDimensions::fromJSON(const JSONElement& element) {
  ModelDimensions dimensions;
  dimensions.width = decodeJSON<float>(element, "width");
  dimensions.height = decodeJSON<float>(element, "height");
  dimensions.depth = decodeJSON<float>(element, "depth");
  return dimensions;
}

JSONValue ModelDimensions::toJSON() const {
  JSONValue::Object object;
  addMember(object, "width", width);
  addMember(object, "height", height);
  addMember(object, "depth", depth);
  return {std::move(object)};
}

ModelAnimationInfo ModelAnimationInfo::fromJSON(const JSONElement& element) {
  ModelAnimationInfo info;
  info.id = decodeJSON<std::string>(element, "id");
  info.name = decodeJSON<std::string>(element, "name");
  info.startTime = decodeJSON<double>(element, "startTime");
  info.endTime = decodeJSON<double>(element, "endTime");
  info.duration = decodeJSON<double>(element, "duration");
  info.framesPerSecond = decodeOptionalJSON<double>(element, "framesPerSecond");
  return info;
}

JSONValue ModelAnimationInfo::toJSON() const {
  JSONValue::Object object;
  addMember(object, "id", id);
  addMember(object, "name", name);
  addMember(object, "startTime", startTime);
  addMember(object, "endTime", endTime);
  addMember(object, "duration", duration);
  addOptionalMember(object, "framesPerSecond", framesPerSecond);
  return {std::move(object)};
}

ModelInfo ModelInfo::fromJSON(const JSONElement& element) {
  ModelInfo info;
  info.meshCount = decodeJSON<std::int64_t>(element, "meshCount");
  info.vertexCount = decodeJSON<std::int64_t>(element, "vertexCount");
  info.faceCount = decodeJSON<std::int64_t>(element, "faceCount");
  info.triangleCount = decodeJSON<std::int64_t>(element, "triangleCount");
  info.materialCount = decodeJSON<std::int64_t>(element, "materialCount");
  info.textureCount = decodeJSON<std::int64_t>(element, "textureCount");
  info.skeletonCount = decodeJSON<std::int64_t>(element, "skeletonCount");
  info.boneCount = decodeJSON<std::int64_t>(element, "boneCount");
  info.animationCount = decodeJSON<std::int64_t>(element, "animationCount");
  info.animations = decodeJSON<std::vector<ModelAnimationInfo>>(element, "animations");
  info.dimensions = decodeJSON<ModelDimensions>(element, "dimensions");
  return info;
}

JSONValue ModelInfo::toJSON() const {
  JSONValue::Object object;
  addMember(object, "meshCount", meshCount);
  addMember(object, "vertexCount", vertexCount);
  addMember(object, "faceCount", faceCount);
  addMember(object, "triangleCount", triangleCount);
  addMember(object, "materialCount", materialCount);
  addMember(object, "textureCount", textureCount);
  addMember(object, "skeletonCount", skeletonCount);
  addMember(object, "boneCount", boneCount);
  addMember(object, "animationCount", animationCount);
  addMember(object, "animations", animations);
  addMember(object, "dimensions", dimensions);
  return {std::move(object)};
}

}  // namespace ornolith
