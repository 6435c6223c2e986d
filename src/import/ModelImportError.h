#pragma once

#include <cstdint>
#include <string>

#include "foundation/Error.h"
#include "foundation/FileURL.h"

namespace ornolith {

namespace model_import_error {
struct UnsupportedFile {
  FileURL url;
  bool operator==(const UnsupportedFile&) const = default;
};
struct ImportFolderUnreadable {
  FileURL url;
  bool operator==(const ImportFolderUnreadable&) const = default;
};
struct UnsafeResourcePath {
  std::string path;  ///< As written in the file.
  bool operator==(const UnsafeResourcePath&) const = default;
};
struct SymbolicLinkNotAllowed {
  std::string path;  ///< The full path.
  bool operator==(const SymbolicLinkNotAllowed&) const = default;
};
struct InvalidGLTFManifest {
  FileURL url;
  bool operator==(const InvalidGLTFManifest&) const = default;
};
struct InvalidArticulationReport {
  FileURL url;
  bool operator==(const InvalidArticulationReport&) const = default;
};
struct ArticulationReportTooLarge {
  FileURL url;
  std::int64_t maximumByteCount = 0;
  bool operator==(const ArticulationReportTooLarge&) const = default;
};
struct MissingModelFile {
  bool operator==(const MissingModelFile&) const = default;
};
struct ImportDirectoryUnavailable {
  bool operator==(const ImportDirectoryUnavailable&) const = default;
};
}  // namespace model_import_error

/// A failure of the import itself; those of the operating system and of the JSON reader keep their own types.
class ModelImportError final
    : public TypedError<ModelImportError, model_import_error::UnsupportedFile,
                        model_import_error::ImportFolderUnreadable, model_import_error::UnsafeResourcePath,
                        model_import_error::SymbolicLinkNotAllowed, model_import_error::InvalidGLTFManifest,
                        model_import_error::InvalidArticulationReport, model_import_error::ArticulationReportTooLarge,
                        model_import_error::MissingModelFile, model_import_error::ImportDirectoryUnavailable> {
 public:
  using TypedError::TypedError;
  static std::string describe(const model_import_error::UnsupportedFile& error);
  static std::string describe(const model_import_error::ImportFolderUnreadable& error);
  static std::string describe(const model_import_error::UnsafeResourcePath& error);
  static std::string describe(const model_import_error::SymbolicLinkNotAllowed& error);
  static std::string describe(const model_import_error::InvalidGLTFManifest& error);
  static std::string describe(const model_import_error::InvalidArticulationReport& error);
  static std::string describe(const model_import_error::ArticulationReportTooLarge& error);
  static std::string describe(const model_import_error::MissingModelFile&);
  static std::string describe(const model_import_error::ImportDirectoryUnavailable&);
};

}  // namespace ornolith
