#include "contracts/ModelPartRotation.h"

#include <utility>

namespace ornolith {

ModelPartRotation ModelPartRotation::fromJSON(const JSONElement& element) {
  return {.selector = decodeJSON<ModelPartSelector>(element, "selector"),
          .localDegrees = decodeJSON<LocalRotationDegrees>(element, "local_degrees")};
}

JSONValue ModelPartRotation::toJSON() const {
  JSONValue::Object object;
  addMember(object, "selector", selector);
  addMember(object, "local_degrees", localDegrees);
  return {std::move(object)};
}

}  // namespace ornolith
