#include "contracts/CameraPresetDocument.h"

#include <cmath>
#include <optional>
#include <utility>

#include "foundation/Text.h"

namespace ornolith {
namespace {

using namespace camera_preset_document_error;

bool isPresetName(std::string_view name) noexcept {
  const std::size_t length = characterCount(name);
  return length >= 1 && length <= CameraPresetDocument::maximumNameLength && trimmingWhitespace(name) == name;
}

void validateSchemaAndVersion(const std::string& schema, std::int64_t version) {
  if (schema != CameraPresetDocument::schemaText) throw CameraPresetDocumentError(InvalidSchema{schema});
  if (version != CameraPresetDocument::currentVersion) throw CameraPresetDocumentError(UnsupportedVersion{version});
}

}  // namespace

std::string CameraPresetDocumentError::describe(const PayloadTooLarge& error) {
  return "Camera presets must be smaller than " + std::to_string(error.maximumByteCount / 1024) + " KiB.";
}

std::string CameraPresetDocumentError::describe(const InvalidSchema&) {
  return "This file is not an Ornolith 3D camera preset.";
}

std::string CameraPresetDocumentError::describe(const UnsupportedVersion&) {
  return "This camera preset was created with a newer, unsupported version.";
}

std::string CameraPresetDocumentError::describe(const UnsupportedCoordinateSpace&) {
  return "This camera preset uses an unsupported coordinate space.";
}

std::string CameraPresetDocumentError::describe(const InvalidName&) {
  return "Enter a camera preset name between 1 and 80 characters.";
}

std::string CameraPresetDocumentError::describe(const NonFiniteCameraValue&) {
  return "The camera preset contains an invalid position or angle.";
}

std::string CameraPresetDocumentError::describe(const InvalidFieldOfView&) {
  return "The camera field of view must be between 0 and 180 degrees.";
}

std::string CameraPresetDocumentError::describe(const CoincidentPositionAndTarget&) {
  return "The camera position and target must be different.";
}

bool operator==(const CameraPresetDocument& left, const CameraPresetDocument& right) {
  return canonicallyEqual(left.schema, right.schema) && left.version == right.version &&
         canonicallyEqual(left.name, right.name) && left.coordinateSpace == right.coordinateSpace &&
         left.camera == right.camera;
}

CameraPresetDocument CameraPresetDocument::decode(std::span<const std::byte> data) {
  if (std::ssize(data) > maximumByteCount) throw CameraPresetDocumentError(PayloadTooLarge{maximumByteCount});
  return fromJSON(JSONDocument::parse(data).root());
}

void CameraPresetDocument::validate() const {
  validateSchemaAndVersion(schema, version);
  if (!isPresetName(name)) throw CameraPresetDocumentError(InvalidName{});
  for (const CodableVector3& vector : {camera.position, camera.target, camera.eulerAngles}) {
    if (!isFinite(vector.simd())) throw CameraPresetDocumentError(NonFiniteCameraValue{});
  }
  if (!(camera.fieldOfView > 0 && camera.fieldOfView < 180)) throw CameraPresetDocumentError(InvalidFieldOfView{});
  if (camera.position == camera.target) throw CameraPresetDocumentError(CoincidentPositionAndTarget{});
}

CameraPresetDocument CameraPresetDocument::fromJSON(const JSONElement& element) {
  const auto schema = decodeJSON<std::string>(element, "schema");
  const auto version = decodeJSON<std::int64_t>(element, "version");
  const auto name = decodeJSON<std::string>(element, "name");
  // Read as plain text first, so that an unknown space has its own error, behind those of schema and version.
  const auto spaceText = decodeJSON<std::string>(element, "coordinateSpace");
  const auto camera = decodeJSON<CameraState>(element, "camera");

  validateSchemaAndVersion(schema, version);
  const auto space = fromRawValue<CameraPresetCoordinateSpace>(spaceText);
  if (!space) throw CameraPresetDocumentError(UnsupportedCoordinateSpace{spaceText});
  CameraPresetDocument document{.schema = schema,
                                .version = version,
                                .name = std::string(trimmingWhitespace(name)),
                                .coordinateSpace = *space,
                                .camera = camera};
  document.validate();
  return document;
}

JSONValue CameraPresetDocument::toJSON() const {
  validate();
  JSONValue::Object object;
  addMember(object, "schema", schema);
  addMember(object, "version", version);
  addMember(object, "name", name);
  addMember(object, "coordinateSpace", coordinateSpace);
  addMember(object, "camera", camera);
  return {std::move(object)};
}

}  // namespace ornolith
