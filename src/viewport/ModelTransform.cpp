#include "viewport/ModelTransform.h"

#include <utility>

namespace ornolith {

ModelTransform ModelTransform::fromJSON(const JSONElement& element) {
  ModelTransform transform;
  transform.position = decodeJSON<CodableVector3>(element, "position");
  transform.eulerAngles = decodeJSON<CodableVector3>(element, "eulerAngles");
  transform.scale = decodeJSON<CodableVector3>(element, "scale");
  return transform;
}

JSONValue ModelTransform::toJSON() const {
  JSONValue::Object object;
  addMember(object, "position", position);
  addMember(object, "eulerAngles", eulerAngles);
  addMember(object, "scale", scale);
  return {std::move(object)};
}

}  // namespace ornolith
