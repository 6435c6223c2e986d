#pragma once

#include <functional>
#include <optional>
#include <string>

#include "foundation/JSONCoding.h"
#include "import/formats/ModelFormat.h"

namespace ornolith {

/// How grave a finding is. No finding of this program is an `error`; the case is in the format for its readers.
enum class ModelDiagnosticSeverity { info, warning, error };

template <>
inline constexpr auto rawValueTable<ModelDiagnosticSeverity> =
    std::to_array<RawValueEntry<ModelDiagnosticSeverity>>({{ModelDiagnosticSeverity::info, "info"},
                                                           {ModelDiagnosticSeverity::warning, "warning"},
                                                           {ModelDiagnosticSeverity::error, "error"}});

/// A finding that does not stop a load. What stops a load is an error of the step's own error type.
struct ModelLoadDiagnostic {
  ModelDiagnosticSeverity severity = ModelDiagnosticSeverity::warning;
  std::string code;                         ///< Stable dotted identifier, "resource.missing".
  ModelFormat format = ModelFormat::fbx;    ///< The format of the model concerned.
  std::string message;                      ///< For people.
  std::optional<std::string> resourcePath;  ///< The file concerned; its form depends on the code.

  /// A stable key: the severity, the code, the format, the resource path or nothing, and the message, joined with "|".
  /// Equal findings have equal keys.
  std::string id() const;

  /// Keys "severity", "code", "format", "message" and, optional, "resourcePath".
  static ModelLoadDiagnostic fromJSON(const JSONElement& element);
  JSONValue toJSON() const;

  bool operator==(const ModelLoadDiagnostic&) const = default;
};

}  // namespace ornolith

template <>
struct std::hash<ornolith::ModelLoadDiagnostic> {
  std::size_t operator()(const ornolith::ModelLoadDiagnostic& diagnostic) const {
    return std::hash<std::string>{}(diagnostic.id());
  }
};
