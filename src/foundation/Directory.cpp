#include "foundation/Directory.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>

#include "foundation/FileStatus.h"
#include "foundation/TemporaryItems.h"

namespace ornolith {

namespace {

/// How many levels of a cursor keep their descriptor open.
constexpr std::size_t openLevelCount = 32;

constexpr int directoryFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK;

bool isSingleComponent(const std::string& name) noexcept {
  return !namesNothing(name) && name != "." && name != ".." && name.find('/') == std::string::npos;
}

/// 0, or the `errno` with which the entry's status cannot be read.
int readStatus(int directory, const std::string& name, struct stat& status) noexcept {
  if (!isSingleComponent(name)) return ENOENT;
  return ::fstatat(directory, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 ? 0 : errno;
}

/// Opens the folder `name`, which must be no link. On failure the result is empty and `code` says why.
FileDescriptor openSubdirectory(int directory, const std::string& name, int& code) {
  code = ENOENT;
  if (!isSingleComponent(name)) return {};
  FileDescriptor result(::openat(directory, name.c_str(), directoryFlags | O_NOFOLLOW));
  code = result ? 0 : errno;
  // The kernel says ENOTDIR for a link where a folder is asked for.
  struct stat status {};
  if (code == ENOTDIR && readStatus(directory, name, status) == 0 && S_ISLNK(status.st_mode)) code = ELOOP;
  return result;
}

FileAttributes attributesOfOpen(const FileDescriptor& file, const char* action, const std::string& path) {
  struct stat status {};
  if (::fstat(file.get(), &status) != 0) throwSystemError(action, path, errno);
  return attributesOfStatus(status);
}

FileType entryType(int directory, const dirent& entry) noexcept {
  switch (entry.d_type) {
    case DT_REG:
      return FileType::regular;
    case DT_DIR:
      return FileType::directory;
    case DT_LNK:
      return FileType::symbolicLink;
    case DT_UNKNOWN: {
      struct stat status {};
      return readStatus(directory, entry.d_name, status) == 0 ? fileTypeOfMode(status.st_mode) : FileType::other;
    }
    default:
      return FileType::other;
  }
}

}  // namespace

DirectoryCursor DirectoryCursor::open(const FileURL& url, FinalLink finalLink) {
  const std::string& path = url.path();
  if (namesNothing(path)) throwSystemError("read", path, ENOENT);
  FileDescriptor descriptor(::open(path.c_str(), directoryFlags | (finalLink == FinalLink::refuse ? O_NOFOLLOW : 0)));
  if (!descriptor) {
    int code = errno;
    if (code == ENOTDIR && finalLink == FinalLink::refuse) {
      const std::optional<FileAttributes> attributes = attributesOfItemIfReadable(url);
      if (attributes && attributes->type == FileType::symbolicLink) code = ELOOP;
    }
    throwSystemError("read", path, code);
  }
  const FileAttributes attributes = attributesOfOpen(descriptor, "read", path);
  return {std::move(descriptor), attributes, path};
}

DirectoryCursor DirectoryCursor::openAt(int parent, const std::string& name, const std::string& path) {
  int code = 0;
  FileDescriptor descriptor = openSubdirectory(parent, name, code);
  if (!descriptor) throwSystemError("read", path, code);
  const FileAttributes attributes = attributesOfOpen(descriptor, "read", path);
  return {std::move(descriptor), attributes, path};
}

std::string DirectoryCursor::pathOf(const std::string& name) const {
  return path_.ends_with('/') ? path_ + name : path_ + '/' + name;
}

std::vector<DirectoryEntry> DirectoryCursor::entries() const {
  struct Close {
    void operator()(DIR* stream) const { ::closedir(stream); }
  };
  FileDescriptor copy(::fcntl(descriptor_.get(), F_DUPFD_CLOEXEC, 0));
  if (!copy) throwSystemError("read", path_, errno);
  const std::unique_ptr<DIR, Close> stream(::fdopendir(copy.get()));
  if (!stream) throwSystemError("read", path_, errno);
  copy.release();  // the stream owns it now
  ::rewinddir(stream.get());

  std::vector<DirectoryEntry> entries;
  for (;;) {
    errno = 0;
    const dirent* const entry = ::readdir(stream.get());
    if (entry == nullptr) {
      if (errno != 0) throwSystemError("read", path_, errno);
      break;
    }
    std::string name = entry->d_name;
    if (name == "." || name == "..") continue;
    entries.push_back({std::move(name), entryType(descriptor_.get(), *entry)});
  }
  std::sort(entries.begin(), entries.end(),
            [](const DirectoryEntry& left, const DirectoryEntry& right) { return left.name < right.name; });
  return entries;
}

std::optional<FileAttributes> DirectoryCursor::attributesOfEntry(const std::string& name) const noexcept {
  struct stat status {};
  if (readStatus(descriptor_.get(), name, status) != 0) return std::nullopt;
  return attributesOfStatus(status);
}

void DirectoryCursor::enter(const std::string& name, const char* action) {
  int code = 0;
  FileDescriptor child = openSubdirectory(descriptor_.get(), name, code);
  if (!child) throwSystemError(action, pathOf(name), code);
  const FileAttributes attributes = attributesOfOpen(child, action, pathOf(name));

  above_.push_back({std::move(descriptor_), attributes_, path_.size()});
  if (above_.size() > openLevelCount) above_[above_.size() - openLevelCount - 1].descriptor.close();
  descriptor_ = std::move(child);
  attributes_ = attributes;
  if (!path_.ends_with('/')) path_ += '/';
  path_ += name;
}

void DirectoryCursor::descend(const std::string& name) {
  enter(name, "read");
}

void DirectoryCursor::descendCreating(const std::string& name, mode_t mode) {
  if (!isSingleComponent(name)) throwSystemError("created", pathOf(name), ENOENT);
  int code = 0;
  {
    const CreationPermit permit;
    if (::mkdirat(descriptor_.get(), name.c_str(), mode) != 0) code = errno;
  }
  const bool isNew = code == 0;
  if (!isNew && code != EEXIST) throwSystemError("created", pathOf(name), code);
  if (!isNew) {
    const std::optional<FileAttributes> existing = attributesOfEntry(name);
    if (existing && existing->type != FileType::directory) throwSystemError("created", pathOf(name), EEXIST);
  }
  enter(name, "created");
  // The umask has had its say on a new folder.
  if (isNew && ::fchmod(descriptor_.get(), mode) != 0) throwSystemError("created", path_, errno);
}

void DirectoryCursor::ascend() {
  Level level = std::move(above_.back());
  if (!level.descriptor) {
    level.descriptor = FileDescriptor(::openat(descriptor_.get(), "..", directoryFlags));
    if (!level.descriptor) throwSystemError("read", path_, errno);
    if (!attributesOfOpen(level.descriptor, "read", path_).isSameItem(level.attributes)) {
      throwSystemError("read", path_, ESTALE);
    }
  }
  above_.pop_back();
  descriptor_ = std::move(level.descriptor);
  attributes_ = level.attributes;
  path_.resize(level.pathLength);
}

void DirectoryCursor::ascendTo(std::size_t depth) {
  while (above_.size() > depth) ascend();
}

namespace {

/// Copies by reading and writing, from where both files stand.
void copyThroughMemory(int source, const std::string& sourcePath, int destination, const std::string& destinationPath) {
  constexpr std::size_t pieceSize = std::size_t{1} << 18;
  const auto piece = std::make_unique<std::array<char, pieceSize>>();
  for (;;) {
    const ssize_t got = ::read(source, piece->data(), piece->size());
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throwSystemError("copied", sourcePath, errno);
    if (got == 0) return;
    writeAll(destination, std::string_view(piece->data(), static_cast<std::size_t>(got)), destinationPath);
  }
}

/// True for the codes by which the kernel says that it cannot copy between these two files by itself.
bool isUnsupportedCopy(int code) noexcept {
  return code == EXDEV || code == EINVAL || code == ENOSYS || code == EOPNOTSUPP || code == EPERM || code == EBADF ||
         code == ETXTBSY;
}

void copyContents(int source, const std::string& sourcePath, int destination, const std::string& destinationPath) {
  if (::ioctl(destination, FICLONE, source) == 0) return;
  constexpr std::size_t pieceSize = std::size_t{1} << 30;
  for (;;) {
    const ssize_t copied = ::copy_file_range(source, nullptr, destination, nullptr, pieceSize, 0);
    if (copied > 0) continue;
    if (copied < 0 && errno == EINTR) continue;
    // Where the kernel copies nothing, the file may still give something when it is read (as those of procfs do).
    if (copied == 0 || isUnsupportedCopy(errno)) break;
    throwSystemError("written", destinationPath, errno);
  }
  copyThroughMemory(source, sourcePath, destination, destinationPath);
}

/// Opens a regular file of the folder, and nothing else.
FileDescriptor openRegularEntry(const DirectoryCursor& directory, const std::string& name) {
  // Looked at before it is opened, since opening a device can already do something, and again once it is open.
  struct stat status {};
  int code = readStatus(directory.descriptor(), name, status);
  if (code == 0) code = refusalOfFileType(fileTypeOfMode(status.st_mode));
  if (code != 0) throwSystemError("copied", directory.pathOf(name), code);

  FileDescriptor file(
      ::openat(directory.descriptor(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!file) throwSystemError("copied", directory.pathOf(name), errno);
  code = refusalOfFileType(attributesOfOpen(file, "copied", directory.pathOf(name)).type);
  if (code != 0) throwSystemError("copied", directory.pathOf(name), code);
  return file;
}

}  // namespace

void copyRegularFile(const DirectoryCursor& source, const std::string& sourceName, const DirectoryCursor& destination,
                     const std::string& destinationName) {
  const FileDescriptor sourceFile = openRegularEntry(source, sourceName);
  const std::string destinationPath = destination.pathOf(destinationName);
  if (!isSingleComponent(destinationName)) throwSystemError("written", destinationPath, ENOENT);

  FileDescriptor destinationFile;
  {
    const CreationPermit permit;
    destinationFile = FileDescriptor(::openat(destination.descriptor(), destinationName.c_str(),
                                              O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!destinationFile) throwSystemError("written", destinationPath, errno);
  }
  try {
    copyContents(sourceFile.get(), source.pathOf(sourceName), destinationFile.get(), destinationPath);
  } catch (...) {
    ::unlinkat(destination.descriptor(), destinationName.c_str(), 0);
    throw;
  }
}

namespace {

/// Removes everything in the folder at which `cursor` stands. Depth first, in a loop.
void removeContents(DirectoryCursor& cursor) {
  struct Level {
    std::string name;  // of the folder itself
    std::vector<std::string> subfolders;
  };
  const auto removeFilesHere = [&cursor](std::string name) {
    Level level{std::move(name), {}};
    for (DirectoryEntry& entry : cursor.entries()) {
      if (entry.type == FileType::directory) {
        level.subfolders.push_back(std::move(entry.name));
      } else if (::unlinkat(cursor.descriptor(), entry.name.c_str(), 0) != 0 && errno != ENOENT) {
        throwSystemError("removed", cursor.pathOf(entry.name), errno);
      }
    }
    return level;
  };

  std::vector<Level> levels;
  levels.push_back(removeFilesHere({}));
  for (;;) {
    if (!levels.back().subfolders.empty()) {
      std::string name = std::move(levels.back().subfolders.back());
      levels.back().subfolders.pop_back();
      cursor.descend(name);
      levels.push_back(removeFilesHere(std::move(name)));
      continue;
    }
    if (levels.size() == 1) return;
    cursor.ascend();
    const std::string name = std::move(levels.back().name);
    levels.pop_back();
    if (::unlinkat(cursor.descriptor(), name.c_str(), AT_REMOVEDIR) != 0 && errno != ENOENT) {
      throwSystemError("removed", cursor.pathOf(name), errno);
    }
  }
}

}  // namespace

void removeItemAt(int parent, const std::string& name, const std::string& pathForMessages,
                  const FileAttributes* expected) {
  struct stat status {};
  if (const int code = readStatus(parent, name, status); code != 0) {
    if (code == ENOENT || code == ENOTDIR) return;
    throwSystemError("removed", pathForMessages, code);
  }
  if (expected != nullptr && !attributesOfStatus(status).isSameItem(*expected)) return;

  if (S_ISDIR(status.st_mode)) {
    DirectoryCursor cursor = DirectoryCursor::openAt(parent, name, pathForMessages);
    if (expected != nullptr && !cursor.attributes().isSameItem(*expected)) return;
    removeContents(cursor);
  }
  const int flags = S_ISDIR(status.st_mode) ? AT_REMOVEDIR : 0;
  if (::unlinkat(parent, name.c_str(), flags) != 0 && errno != ENOENT) {
    throwSystemError("removed", pathForMessages, errno);
  }
}

}  // namespace ornolith
