#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "foundation/FileURL.h"

namespace ornolith {

/// The folders that stand, symbolic links resolved, each once, in the order given.
std::vector<FileURL> canonicalRoots(const std::vector<FileURL>& folders);

/// True where an item on the way from `root` (not itself looked at) along `relativePath` is a symbolic link.
bool pathContainsSymbolicLink(const FileURL& root, const std::string& relativePath);

/// Finds the files that a material library or an OBJ file names, below the roots and nowhere else.
class OBJResourceFinder {
 public:
  /// `roots` are canonical.
  explicit OBJResourceFinder(std::vector<FileURL> roots) : roots_(std::move(roots)) {}

  /// The regular file that `reference` means; nothing where it stands below no root. One that means several files with
  /// different contents is ambiguous; of equal ones the first root's counts. Throws `SceneKitOBJMaterialError`.
  std::optional<FileURL> resolveResource(const std::string& reference);

 private:
  std::optional<FileURL> find(const std::string& reference) const;

  std::vector<FileURL> roots_;
  std::map<std::string, std::optional<FileURL>, std::less<>> found_;
};

}  // namespace ornolith
