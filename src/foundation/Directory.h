#pragma once

#include <optional>
#include <string>
#include <vector>

#include "foundation/FileSystem.h"

namespace ornolith {

/// One name in a folder and what stands behind it, a link not followed.
struct DirectoryEntry {
  std::string name;
  FileType type = FileType::other;

  /// Names that begin with a dot are hidden.
  bool isHidden() const noexcept { return name.starts_with('.'); }
};

/// A position in a folder tree, held by open descriptors: what is listed, read or created here is in this very folder,
/// whatever happens to the paths meanwhile. Going down never follows a link. The depth of the tree costs neither stack
/// nor descriptors: beyond a few levels the way up is "..", taken only where it leads back to the folder that the way
/// down came from.
///
/// Names given are single path components.
class DirectoryCursor {
 public:
  /// Opens a folder; links further up in the path are followed. Throws `SystemError` ("read"): `ELOOP` for a final link
  /// that is refused, `ENOTDIR` for what is no folder.
  static DirectoryCursor open(const FileURL& url, FinalLink finalLink);

  /// Opens the subfolder `name`, which must be no link, of an open folder. `path` is for messages.
  static DirectoryCursor openAt(int parent, const std::string& name, const std::string& path);

  int descriptor() const noexcept { return descriptor_.get(); }
  /// The path by which this folder was reached, for messages.
  const std::string& path() const noexcept { return path_; }
  std::string pathOf(const std::string& name) const;
  /// How many levels below the folder that was opened.
  std::size_t depth() const noexcept { return above_.size(); }
  /// This folder's own attributes.
  const FileAttributes& attributes() const noexcept { return attributes_; }

  /// What is in this folder, in byte order of the names, without "." and "..". Throws `SystemError` ("read").
  std::vector<DirectoryEntry> entries() const;
  /// The attributes of an entry, a link not followed; nothing where there is none.
  std::optional<FileAttributes> attributesOfEntry(const std::string& name) const noexcept;

  /// Goes into the subfolder `name`. Throws `SystemError` ("read"), `ELOOP` for a link; the position is then unchanged.
  void descend(const std::string& name);
  /// The same, and creates the subfolder with the exact `mode` where nothing stands. Throws ("created").
  void descendCreating(const std::string& name, mode_t mode);
  /// Goes back up. Throws `SystemError` ("read", `ESTALE`) where the tree was moved meanwhile.
  void ascend();
  /// Goes back up to the level `depth`.
  void ascendTo(std::size_t depth);

 private:
  struct Level {
    FileDescriptor descriptor;  // closed where the level is far up
    FileAttributes attributes;
    std::size_t pathLength = 0;
  };

  DirectoryCursor(FileDescriptor descriptor, FileAttributes attributes, std::string path)
      : descriptor_(std::move(descriptor)), attributes_(attributes), path_(std::move(path)) {}

  void enter(const std::string& name, const char* action);

  FileDescriptor descriptor_;
  FileAttributes attributes_;
  std::string path_;
  std::vector<Level> above_;
};

/// Copies the contents of the regular file `sourceName` in the folder `source` into a new file `destinationName` of
/// mode 0600 in the folder `destination`, where nothing may stand. The kernel copies where it can, sharing blocks where
/// the file system can. A link is refused with `ELOOP`, a folder with `EISDIR`, anything else that is no regular file
/// with `SystemError::notARegularFile`. Throws `SystemError` ("copied" for the source, "written" for the destination),
/// and leaves no destination file behind then.
void copyRegularFile(const DirectoryCursor& source, const std::string& sourceName, const DirectoryCursor& destination,
                     const std::string& destinationName);

/// Removes the item `name` of the open folder `parent` with all that is in it; see `removeItem`. Where `expected` is
/// given, only that very item is removed. The caller answers for `CreationPermit`.
void removeItemAt(int parent, const std::string& name, const std::string& pathForMessages,
                  const FileAttributes* expected = nullptr);

/// `SystemError` for `errno` values with the path as a whole.
[[noreturn]] void throwSystemError(const char* action, const std::string& path, int code);

}  // namespace ornolith
