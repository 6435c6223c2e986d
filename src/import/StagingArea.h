#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "foundation/Directory.h"
#include "foundation/FileURL.h"

namespace ornolith {

/// A place below the import root: the names of the folders on the way, outermost first. Empty for the root itself.
using StagedPath = std::vector<std::string>;

/// The import root, held open, and everything that puts files into it. All work goes by descriptors, so that nothing
/// lands anywhere else, whatever happens to paths meanwhile.
class StagingArea {
 public:
  /// Creates the import root (mode 0700) with its parents where it is missing. Throws `SystemError` ("created").
  explicit StagingArea(const FileURL& importRoot);

  const FileURL& url() const noexcept { return url_; }
  /// True for the import root itself. A walk through source folders must not enter it: it would copy its own copies.
  bool isRoot(const FileAttributes& attributes) const noexcept { return attributes.isSameItem(root_); }

  /// Creates the folder with its parents. A folder that is there already is fine. Throws `SystemError` ("created"),
  /// also where the path would be longer than the system can name.
  void createFolder(const StagedPath& path);

  /// Copies the regular file `name` of `source` into the folder `path`, which is created where it is missing, under the
  /// name `stagedName`. What stands there is replaced, but for the source itself. A link is refused with
  /// `SymbolicLinkNotAllowed`. Throws `ModelImportError`, `SystemError`.
  void copyItemIfNeeded(const DirectoryCursor& source, const std::string& name, const StagedPath& path,
                        const std::string& stagedName);

  /// Writes a file at the top of the import root in one step. Throws `SystemError` ("written").
  FileURL write(const std::string& name, std::span<const std::byte> bytes);

  /// Every folder below the import root, depth first, parents before children, in the order of a file browser; hidden
  /// ones and links left out. Throws `SystemError` ("read").
  std::vector<FileURL> collectAssetDirectories();

 private:
  /// The cursor, moved to a folder that is created where it is missing.
  DirectoryCursor& at(const StagedPath& path);

  FileURL url_;
  DirectoryCursor cursor_;
  FileAttributes root_;
  std::size_t rootDepth_ = 0;
  StagedPath position_;  ///< Where the cursor stands.
};

}  // namespace ornolith
