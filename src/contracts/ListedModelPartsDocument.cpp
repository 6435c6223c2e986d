#include "contracts/ListedModelPartsDocument.h"

#include <algorithm>

namespace ornolith {

ListedModelVector3 ListedModelVector3::fromJSON(const JSONElement& element) {
  return {.x = decodeJSON<double>(element, "x"),
          .y = decodeJSON<double>(element, "y"),
          .z = decodeJSON<double>(element, "z")};
}

JSONValue ListedModelVector3::toJSON() const {
  JSONValue::Object object;
  addMember(object, "x", x);
  addMember(object, "y", y);
  addMember(object, "z", z);
  return {std::move(object)};
}

ListedModelQuaternion ListedModelQuaternion::fromJSON(const JSONElement& element) {
  return {.x = decodeJSON<double>(element, "x"),
          .y = decodeJSON<double>(element, "y"),
          .z = decodeJSON<double>(element, "z"),
          .w = decodeJSON<double>(element, "w")};
}

JSONValue ListedModelQuaternion::toJSON() const {
  JSONValue::Object object;
  addMember(object, "x", x);
  addMember(object, "y", y);
  addMember(object, "z", z);
  addMember(object, "w", w);
  return {std::move(object)};
}

ListedModelLocalTransform ListedModelLocalTransform::fromJSON(const JSONElement& element) {
  ListedModelLocalTransform transform;
  if (const auto matrix = decodeOptionalJSON<std::vector<double>>(element, "column_major_matrix")) {
    if (matrix->size() != 16) throw element.fault("A matrix has 16 numbers.");
    std::copy(matrix->begin(), matrix->end(), transform.columnMajorMatrix.emplace().begin());
  }
  transform.translation = decodeOptionalJSON<ListedModelVector3>(element, "translation");
  transform.rotation = decodeOptionalJSON<ListedModelQuaternion>(element, "rotation");
  transform.scale = decodeOptionalJSON<ListedModelVector3>(element, "scale");
  return transform;
}

JSONValue ListedModelLocalTransform::toJSON() const {
  JSONValue::Object object;
  if (columnMajorMatrix) {
    addMember(object, "column_major_matrix", std::vector<double>(columnMajorMatrix->begin(), columnMajorMatrix->end()));
  } else {
    object.emplace_back("column_major_matrix", nullptr);
  }
  addOptionalMember(object, "translation", translation);
  addOptionalMember(object, "rotation", rotation);
  addOptionalMember(object, "scale", scale);
  return {std::move(object)};
}

ListedModelPart ListedModelPart::fromJSON(const JSONElement& element) {
  return {.originalName = decodeJSON<std::string>(element, "original_name"),
          .sourceID = decodeJSON<std::string>(element, "source_id"),
          .selector = decodeJSON<ModelPartSelector>(element, "selector"),
          .parent = decodeOptionalJSON<ModelPartSelector>(element, "parent"),
          .hasGeometry = decodeJSON<bool>(element, "has_geometry"),
          .hasChildren = decodeJSON<bool>(element, "has_children"),
          .localTransform = decodeJSON<ListedModelLocalTransform>(element, "local_transform"),
          .isRotatable = decodeJSON<bool>(element, "rotatable"),
          .rotationBlockReason = decodeOptionalJSON<std::string>(element, "rotation_block_reason")};
}

JSONValue ListedModelPart::toJSON() const {
  JSONValue::Object object;
  addMember(object, "original_name", originalName);
  addMember(object, "source_id", sourceID);
  addMember(object, "selector", selector);
  addOptionalMember(object, "parent", parent);
  addMember(object, "has_geometry", hasGeometry);
  addMember(object, "has_children", hasChildren);
  addMember(object, "local_transform", localTransform);
  addMember(object, "rotatable", isRotatable);
  addOptionalMember(object, "rotation_block_reason", rotationBlockReason);
  return {std::move(object)};
}

ListedModelPartsDocument ListedModelPartsDocument::fromJSON(const JSONElement& element) {
  return {.schema = decodeJSON<std::string>(element, "schema"),
          .version = decodeJSON<std::int64_t>(element, "version"),
          .modelSHA256 = decodeJSON<std::string>(element, "model_sha256"),
          .format = decodeJSON<ModelFormat>(element, "format"),
          .parts = decodeJSON<std::vector<ListedModelPart>>(element, "parts")};
}

namespace {

JSONValue encoded(const ListedModelPartsDocument& document, JSONValue parts) {
  JSONValue::Object object;
  addMember(object, "schema", document.schema);
  addMember(object, "version", document.version);
  addMember(object, "model_sha256", document.modelSHA256);
  addMember(object, "format", document.format);
  object.emplace_back("parts", std::move(parts));
  return {std::move(object)};
}

}  // namespace

JSONValue ListedModelPartsDocument::toJSON() const {
  return encoded(*this, encodeJSON(parts));
}

std::string ListedModelPartsDocument::canonicalJSONData() const {
  return canonicalJSON(encoded(*this, encodeLazyJSON(parts)));
}

}  // namespace ornolith
