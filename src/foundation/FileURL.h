#pragma once

#include <compare>
#include <string>
#include <string_view>

namespace ornolith {

/// The location of a file: an absolute path, textually standardised ("." and ".." segments and doubled slashes removed,
/// no link looked at), with a mark that says whether it was given as a directory. Paths are bytes; a path that is not
/// UTF-8 is kept as it is.
class FileURL {
 public:
  FileURL() = default;

  /// A relative path resolves against the current directory at this moment. The mark is `isDirectory`, or true where
  /// the path ends in "/".
  explicit FileURL(std::string_view path, bool isDirectory = false);

  /// The absolute path without a trailing slash (but "/" itself). Empty for a default-made value.
  const std::string& path() const noexcept { return path_; }
  bool hasDirectoryPath() const noexcept { return isDirectory_; }

  /// What stands behind the last "/", or "/" for the root.
  std::string lastPathComponent() const;
  /// What stands behind the last "." of the last component, with its case as given; empty where there is no ".", where
  /// it is the first character, or where nothing follows it.
  std::string pathExtension() const;
  /// `pathExtension` in lower case (Unicode simple lower-casing).
  std::string lowercasedPathExtension() const;
  /// The last component without "." and the extension.
  std::string lastPathComponentWithoutExtension() const;

  FileURL deletingLastPathComponent() const;
  /// `component` may hold "/"; the result is standardised.
  FileURL appendingPathComponent(std::string_view component, bool isDirectory = false) const;

  /// Equal paths are equal locations; the directory mark plays no part.
  friend bool operator==(const FileURL& left, const FileURL& right) noexcept { return left.path_ == right.path_; }
  friend std::strong_ordering operator<=>(const FileURL& left, const FileURL& right) noexcept {
    return left.path_ <=> right.path_;
  }

 private:
  std::string path_;
  bool isDirectory_ = false;
};

/// Removes "." segments, doubled slashes and a trailing slash, and resolves ".." against the segments before it, by
/// text alone. ".." at the front of a relative path stays; at the root it is dropped. An empty or fully consumed
/// relative path gives "".
std::string standardizingPath(std::string_view path);

}  // namespace ornolith
