#pragma once

#include <sys/stat.h>

#include <cerrno>

#include "foundation/FileSystem.h"

namespace ornolith {

// What the kernel's status of an item means to this tool. Shared by the sources of this room alone.

/// True for a path that names nothing: an empty one, or one with a zero byte inside, at which the kernel would stop.
inline bool namesNothing(const std::string& path) noexcept {
  return path.empty() || path.find('\0') != std::string::npos;
}

inline FileType fileTypeOfMode(mode_t mode) noexcept {
  if (S_ISREG(mode)) return FileType::regular;
  if (S_ISDIR(mode)) return FileType::directory;
  if (S_ISLNK(mode)) return FileType::symbolicLink;
  return FileType::other;
}

inline FileAttributes attributesOfStatus(const struct stat& status) noexcept {
  return {.type = fileTypeOfMode(status.st_mode),
          .size = status.st_size > 0 ? static_cast<std::uint64_t>(status.st_size) : 0,
          .device = status.st_dev,
          .inode = status.st_ino};
}

/// The code with which an item is refused where a regular file is needed; 0 for a regular file.
inline int refusalOfFileType(FileType type) noexcept {
  switch (type) {
    case FileType::regular:
      return 0;
    case FileType::directory:
      return EISDIR;
    case FileType::symbolicLink:
      return ELOOP;
    case FileType::other:
      break;
  }
  return SystemError::notARegularFile;
}

}  // namespace ornolith
