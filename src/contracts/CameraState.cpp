#include "contracts/CameraState.h"

#include <utility>

namespace ornolith {

CodableVector3 CodableVector3::fromJSON(const JSONElement& element) {
  return {
      .x = decodeJSON<float>(element, "x"), .y = decodeJSON<float>(element, "y"), .z = decodeJSON<float>(element, "z")};
}

JSONValue CodableVector3::toJSON() const {
  JSONValue::Object object;
  addMember(object, "x", x);
  addMember(object, "y", y);
  addMember(object, "z", z);
  return {std::move(object)};
}

CameraState CameraState::fromJSON(const JSONElement& element) {
  return {.position = decodeJSON<CodableVector3>(element, "position"),
          .eulerAngles = decodeJSON<CodableVector3>(element, "eulerAngles"),
          .target = decodeJSON<CodableVector3>(element, "target"),
          .fieldOfView = decodeJSON<double>(element, "fieldOfView")};
}

JSONValue CameraState::toJSON() const {
  JSONValue::Object object;
  addMember(object, "position", position);
  addMember(object, "eulerAngles", eulerAngles);
  addMember(object, "target", target);
  addMember(object, "fieldOfView", fieldOfView);
  return {std::move(object)};
}

}  // namespace ornolith
