#include "parts/RigidArticulationValidation.h"

namespace ornolith {

RigidArticulationValidationIssue RigidArticulationValidationIssue::fromJSON(const JSONElement& element) {
  RigidArticulationValidationIssue issue;
  issue.code = decodeJSON<RigidArticulationValidationIssueCode>(element, "code");
  issue.relatedNames = decodeJSON<std::vector<std::string>>(element, "relatedNames");
  return issue;
}

JSONValue RigidArticulationValidationIssue::toJSON() const {
  JSONValue::Object object;
  addMember(object, "code", code);
  addMember(object, "relatedNames", relatedNames);
  return {std::move(object)};
}

RigidArticulationValidation RigidArticulationValidation::fromJSON(const JSONElement& element) {
  RigidArticulationValidation validation;
  validation.evidence = decodeJSON<RigidArticulationEvidence>(element, "evidence");
  validation.issues = decodeJSON<std::vector<RigidArticulationValidationIssue>>(element, "issues");
  return validation;
}

JSONValue RigidArticulationValidation::toJSON() const {
  JSONValue::Object object;
  addMember(object, "evidence", evidence);
  addMember(object, "issues", issues);
  return {std::move(object)};
}

}  // namespace ornolith
