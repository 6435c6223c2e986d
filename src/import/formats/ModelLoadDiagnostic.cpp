#include "import/formats/ModelLoadDiagnostic.h"

namespace ornolith {

std::string ModelLoadDiagnostic::id() const {
  std::string key(rawValue(severity));
  key += '|';
  key += code;
  key += '|';
  key += rawValue(format);
  key += '|';
  key += resourcePath.value_or("");
  key += '|';
  key += message;
  return key;
}

ModelLoadDiagnostic ModelLoadDiagnostic::fromJSON(const JSONElement& element) {
  ModelLoadDiagnostic diagnostic;
  diagnostic.severity = decodeJSON<ModelDiagnosticSeverity>(element, "severity");
  diagnostic.code = decodeJSON<std::string>(element, "code");
  diagnostic.format = decodeJSON<ModelFormat>(element, "format");
  diagnostic.message = decodeJSON<std::string>(element, "message");
  diagnostic.resourcePath = decodeOptionalJSON<std::string>(element, "resourcePath");
  return diagnostic;
}

JSONValue ModelLoadDiagnostic::toJSON() const {
  JSONValue::Object object;
  addMember(object, "severity", severity);
  addMember(object, "code", code);
  addMember(object, "format", format);
  addMember(object, "message", message);
  addOptionalMember(object, "resourcePath", resourcePath);
  return {std::move(object)};
}

}  // namespace ornolith
