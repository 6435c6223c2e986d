#pragma once

#include <string>

#include "foundation/Error.h"
#include "foundation/FileURL.h"
#include "foundation/TemporaryItems.h"

namespace ornolith {

namespace import_folder_error {
struct SymbolicLink {
  std::string path;
  bool operator==(const SymbolicLink&) const = default;
};
struct NotAFolder {
  std::string path;
  bool operator==(const NotAFolder&) const = default;
};
struct Unprotected {
  std::string path;
  bool operator==(const Unprotected&) const = default;
};
}  // namespace import_folder_error

/// What stands where the shared import folder belongs cannot be trusted with it.
class ImportFolderError final : public TypedError<ImportFolderError, import_folder_error::SymbolicLink,
                                                  import_folder_error::NotAFolder, import_folder_error::Unprotected> {
 public:
  using TypedError::TypedError;
  static std::string describe(const import_folder_error::SymbolicLink& error);
  static std::string describe(const import_folder_error::NotAFolder& error);
  static std::string describe(const import_folder_error::Unprotected& error);
};

/// The import root of one run: a fresh folder of mode 0700, "<temporary directory>/Ornolith3DRender/<UUID>", which is
/// removed when this object goes and when a signal ends the process.
///
/// "Ornolith3DRender" is shared by all users of the machine: it is made sticky and writable for everybody, and stays.
/// One that another user has made is used where it is sticky, so that only its owner and root could touch what others
/// put there; root takes it over. A link or a file in its place, or another user's folder without the sticky mark, is
/// refused.
class PrivateImportRoot {
 public:
  /// Throws `ImportFolderError`, and `SystemError` ("created", "read").
  explicit PrivateImportRoot(const FileURL& temporaryDirectory = FileURL("/tmp", true));

  const FileURL& url() const noexcept { return item_.url(); }

 private:
  TemporaryItem item_;
};

}  // namespace ornolith
