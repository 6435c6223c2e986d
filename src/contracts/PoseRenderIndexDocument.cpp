#include "contracts/PoseRenderIndexDocument.h"

#include <algorithm>

namespace ornolith {

PoseRenderIndexRotation PoseRenderIndexRotation::fromJSON(const JSONElement& element) {
  return {.selector = decodeJSON<ModelPartSelector>(element, "selector"),
          .requestedLocalDegrees = decodeJSON<LocalRotationDegrees>(element, "requested_local_degrees"),
          .normalizedLocalDegrees = decodeJSON<LocalRotationDegrees>(element, "normalized_local_degrees")};
}

JSONValue PoseRenderIndexRotation::toJSON() const {
  JSONValue::Object object;
  addMember(object, "selector", selector);
  addMember(object, "requested_local_degrees", requestedLocalDegrees);
  addMember(object, "normalized_local_degrees", normalizedLocalDegrees);
  return {std::move(object)};
}

PoseRenderIndexPose PoseRenderIndexPose::fromJSON(const JSONElement& element) {
  return {.index = decodeJSON<std::int64_t>(element, "index"),
          .id = decodeJSON<std::string>(element, "id"),
          .label = decodeOptionalJSON<std::string>(element, "label"),
          .rotations = decodeJSON<std::vector<PoseRenderIndexRotation>>(element, "rotations")};
}

JSONValue PoseRenderIndexPose::toJSON() const {
  JSONValue::Object object;
  addMember(object, "index", index);
  addMember(object, "id", id);
  addOptionalMember(object, "label", label);
  addMember(object, "rotations", rotations);
  return {std::move(object)};
}

PoseRenderIndexCell PoseRenderIndexCell::fromJSON(const JSONElement& element) {
  return {.poseIndex = decodeJSON<std::int64_t>(element, "pose_index"),
          .poseID = decodeJSON<std::string>(element, "pose_id"),
          .viewIndex = decodeJSON<std::int64_t>(element, "view_index"),
          .view = decodeJSON<std::string>(element, "view"),
          .frame = decodeJSON<RenderPixelRect>(element, "frame")};
}

JSONValue PoseRenderIndexCell::toJSON() const {
  JSONValue::Object object;
  addMember(object, "pose_index", poseIndex);
  addMember(object, "pose_id", poseID);
  addMember(object, "view_index", viewIndex);
  addMember(object, "view", view);
  addMember(object, "frame", frame);
  return {std::move(object)};
}

PoseRenderIndexPage PoseRenderIndexPage::fromJSON(const JSONElement& element) {
  return {.number = decodeJSON<std::int64_t>(element, "number"),
          .file = decodeJSON<std::string>(element, "file"),
          .width = decodeJSON<std::int64_t>(element, "width"),
          .height = decodeJSON<std::int64_t>(element, "height"),
          .cells = decodeJSON<std::vector<PoseRenderIndexCell>>(element, "cells")};
}

JSONValue PoseRenderIndexPage::toJSON() const {
  JSONValue::Object object;
  addMember(object, "number", number);
  addMember(object, "file", file);
  addMember(object, "width", width);
  addMember(object, "height", height);
  addMember(object, "cells", cells);
  return {std::move(object)};
}

PoseRenderIndexDocument PoseRenderIndexDocument::fromJSON(const JSONElement& element) {
  return {.schema = decodeJSON<std::string>(element, "schema"),
          .version = decodeJSON<std::int64_t>(element, "version"),
          .modelFilename = decodeJSON<std::string>(element, "model_filename"),
          .modelSHA256 = decodeJSON<std::string>(element, "model_sha256"),
          .layout = decodeJSON<ModelRenderLayout>(element, "layout"),
          .arrangement = decodeJSON<ContactSheetArrangement>(element, "arrangement"),
          .tileWidth = decodeJSON<std::int64_t>(element, "tile_width"),
          .tileHeight = decodeJSON<std::int64_t>(element, "tile_height"),
          .poses = decodeJSON<std::vector<PoseRenderIndexPose>>(element, "poses"),
          .pages = decodeJSON<std::vector<PoseRenderIndexPage>>(element, "pages")};
}

namespace {

JSONValue encoded(const PoseRenderIndexDocument& document, JSONValue poses, JSONValue pages) {
  JSONValue::Object object;
  addMember(object, "schema", document.schema);
  addMember(object, "version", document.version);
  addMember(object, "model_filename", document.modelFilename);
  addMember(object, "model_sha256", document.modelSHA256);
  addMember(object, "layout", document.layout);
  addMember(object, "arrangement", document.arrangement);
  addMember(object, "tile_width", document.tileWidth);
  addMember(object, "tile_height", document.tileHeight);
  object.emplace_back("poses", std::move(poses));
  object.emplace_back("pages", std::move(pages));
  return {std::move(object)};
}

}  // namespace

JSONValue PoseRenderIndexDocument::toJSON() const {
  return encoded(*this, encodeJSON(poses), encodeJSON(pages));
}

std::string PoseRenderIndexDocument::canonicalJSONData() const {
  return canonicalJSON(encoded(*this, encodeLazyJSON(poses), encodeLazyJSON(pages)));
}

std::string poseRenderPageFileName(std::int64_t number) {
  std::string digits = std::to_string(number);
  digits.insert(0, 4 - std::min<std::size_t>(digits.size(), 4), '0');
  return "page-" + digits + ".png";
}

}  // namespace ornolith
