#include "parts/RigidArticulationSession.h"

namespace ornolith {

RigidArticulationSession RigidArticulationSession::fromJSON(const JSONElement& element) {
  RigidArticulationSession session;
  session.id = decodeJSON<UUID>(element, "id");
  session.modelInstanceID = decodeJSON<UUID>(element, "modelInstanceID");
  session.pivotPath = decodeJSON<ModelNodePath>(element, "pivotPath");
  session.startingAngleDegrees = decodeJSON<float>(element, "startingAngleDegrees");
  session.source = decodeJSON<Source>(element, "source");
  return session;
}

JSONValue RigidArticulationSession::toJSON() const {
  JSONValue::Object object;
  addMember(object, "id", id);
  addMember(object, "modelInstanceID", modelInstanceID);
  addMember(object, "pivotPath", pivotPath);
  addMember(object, "startingAngleDegrees", startingAngleDegrees);
  addMember(object, "source", source);
  return {std::move(object)};
}

}  // namespace ornolith
