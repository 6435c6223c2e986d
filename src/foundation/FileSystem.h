#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/FileURL.h"
#include "foundation/SystemError.h"

namespace ornolith {

// Files and folders as the tool sees them. Tests for existence follow links, as opening by name does; attributes are
// those of the item itself. A path with a zero byte inside names nothing: it is never handed to the kernel cut short,
// and operations on it fail with ENOENT.

/// Owns one open file descriptor.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int descriptor) noexcept : descriptor_(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept;
  ~FileDescriptor() { close(); }

  int get() const noexcept { return descriptor_; }
  explicit operator bool() const noexcept { return descriptor_ >= 0; }
  /// Gives the descriptor away without closing it.
  int release() noexcept { return std::exchange(descriptor_, -1); }
  /// Closes; a failure to close is ignored.
  void close() noexcept;

 private:
  int descriptor_ = -1;
};

enum class FileType { regular, directory, symbolicLink, other };

/// What an item is, a link not followed.
struct FileAttributes {
  FileType type = FileType::other;
  std::uint64_t size = 0;  ///< Bytes; meaningful for regular files.
  dev_t device = 0;
  ino_t inode = 0;

  /// The same item of the file system, and still of the same kind: numbers of removed items are used again.
  bool isSameItem(const FileAttributes& other) const noexcept {
    return device == other.device && inode == other.inode && type == other.type;
  }
};

/// True where something stands at `url`, links followed: a dangling link does not exist.
bool fileExists(const FileURL& url) noexcept;
/// True where a folder stands at `url`, links followed.
bool directoryExists(const FileURL& url) noexcept;

/// The attributes of the item itself; a final link is not followed. Throws `SystemError` ("read").
FileAttributes attributesOfItem(const FileURL& url);
/// The same, or nothing where they cannot be read.
std::optional<FileAttributes> attributesOfItemIfReadable(const FileURL& url) noexcept;

/// Whether a final link is followed. Links further up always are.
enum class FinalLink { follow, refuse };

/// Opens a regular file for reading. Anything else is refused (`EISDIR`, `SystemError::notARegularFile`), and a FIFO
/// never blocks. A refused link fails with `ELOOP`. Throws `SystemError` ("read").
FileDescriptor openFileForReading(const FileURL& url, FinalLink finalLink = FinalLink::follow);

using FileBytes = std::vector<std::byte>;

/// The whole contents of a regular file, but no more than `maximumByteCount` bytes of it. Throws `SystemError`
/// ("read").
FileBytes readFile(const FileURL& url, std::size_t maximumByteCount = std::numeric_limits<std::size_t>::max(),
                   FinalLink finalLink = FinalLink::follow);
/// The same of an open file, from where it stands.
FileBytes readFile(const FileDescriptor& file, const std::string& pathForMessages,
                   std::size_t maximumByteCount = std::numeric_limits<std::size_t>::max());

/// Creates the folder and the missing ones above it, with the modes of ordinary new folders. A folder that is there
/// already is fine. Throws `SystemError` ("created").
void createDirectory(const FileURL& url);

/// Removes the item and, where it is a folder, all that is in it. Links are removed, never followed, and the depth of
/// the tree costs neither stack nor descriptors. An item that is not there is fine. Throws `SystemError` ("removed").
void removeItem(const FileURL& url);

/// Writes all bytes; throws `SystemError` ("written") with `pathForMessages`.
void writeAll(int descriptor, std::string_view bytes, const std::string& pathForMessages);

}  // namespace ornolith
