#include "foundation/FileSystem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "foundation/Directory.h"
#include "foundation/FileStatus.h"
#include "foundation/TemporaryItems.h"

namespace ornolith {

namespace {

/// 0, or the `errno` with which the item's status cannot be read.
int readStatus(const std::string& path, int flags, struct stat& status) noexcept {
  if (namesNothing(path)) return ENOENT;
  return ::fstatat(AT_FDCWD, path.c_str(), &status, flags) == 0 ? 0 : errno;
}

}  // namespace

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
  if (this != &other) {
    close();
    descriptor_ = std::exchange(other.descriptor_, -1);
  }
  return *this;
}

void FileDescriptor::close() noexcept {
  if (descriptor_ >= 0) ::close(std::exchange(descriptor_, -1));
}

void throwSystemError(const char* action, const std::string& path, int code) {
  throw SystemError(action, path, code);
}

bool fileExists(const FileURL& url) noexcept {
  struct stat status {};
  return readStatus(url.path(), 0, status) == 0;
}

bool directoryExists(const FileURL& url) noexcept {
  struct stat status {};
  return readStatus(url.path(), 0, status) == 0 && S_ISDIR(status.st_mode);
}

FileAttributes attributesOfItem(const FileURL& url) {
  struct stat status {};
  if (const int code = readStatus(url.path(), AT_SYMLINK_NOFOLLOW, status); code != 0) {
    throwSystemError("read", url.path(), code);
  }
  return attributesOfStatus(status);
}

std::optional<FileAttributes> attributesOfItemIfReadable(const FileURL& url) noexcept {
  struct stat status {};
  if (readStatus(url.path(), AT_SYMLINK_NOFOLLOW, status) != 0) return std::nullopt;
  return attributesOfStatus(status);
}

FileDescriptor openFileForReading(const FileURL& url, FinalLink finalLink) {
  // The kind is looked at before the file is opened, because opening a device can already do something, and again on
  // the open file, because the item may have been exchanged in between.
  const bool refusesLink = finalLink == FinalLink::refuse;
  struct stat status {};
  int code = readStatus(url.path(), refusesLink ? AT_SYMLINK_NOFOLLOW : 0, status);
  if (code == 0) code = refusalOfFileType(fileTypeOfMode(status.st_mode));
  if (code != 0) throwSystemError("read", url.path(), code);

  FileDescriptor file(
      ::open(url.path().c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | (refusesLink ? O_NOFOLLOW : 0)));
  if (!file || ::fstat(file.get(), &status) != 0) throwSystemError("read", url.path(), errno);
  if (const int kind = refusalOfFileType(fileTypeOfMode(status.st_mode)); kind != 0)
    throwSystemError("read", url.path(), kind);
  return file;
}

FileBytes readFile(const FileURL& url, std::size_t maximumByteCount, FinalLink finalLink) {
  return readFile(openFileForReading(url, finalLink), url.path(), maximumByteCount);
}

FileBytes readFile(const FileDescriptor& file, const std::string& pathForMessages, std::size_t maximumByteCount) {
  constexpr std::size_t firstPiece = std::size_t{16} << 20;
  struct stat status {};
  if (::fstat(file.get(), &status) != 0) throwSystemError("read", pathForMessages, errno);

  // The size is a hint: memory grows with what is really read. One byte more than expected lets the end show itself.
  const std::size_t expected = static_cast<std::size_t>(std::max<off_t>(status.st_size, 0));
  FileBytes bytes(std::min({expected + 1, firstPiece, maximumByteCount}));
  std::size_t count = 0;
  while (count < maximumByteCount) {
    if (count == bytes.size()) {
      bytes.resize(std::min(maximumByteCount, count + std::max<std::size_t>(count, 4096)));
    }
    const ssize_t got = ::read(file.get(), bytes.data() + count, bytes.size() - count);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throwSystemError("read", pathForMessages, errno);
    if (got == 0) break;
    count += static_cast<std::size_t>(got);
  }
  bytes.resize(count);
  return bytes;
}

void createDirectory(const FileURL& url) {
  // Up to the first folder that is there, then down again.
  std::vector<FileURL> missing;
  FileURL folder = url;
  struct stat status {};
  for (;;) {
    const int code = readStatus(folder.path(), 0, status);
    if (code == 0) break;
    // A dangling link is neither there nor can a folder be made in its place.
    if (code != ENOENT || namesNothing(folder.path())) throwSystemError("created", url.path(), code);
    missing.push_back(folder);
    folder = folder.deletingLastPathComponent();
  }
  if (!S_ISDIR(status.st_mode)) throwSystemError("created", url.path(), missing.empty() ? EEXIST : ENOTDIR);

  for (auto it = missing.rbegin(); it != missing.rend(); ++it) {
    int code = 0;
    {
      const CreationPermit permit;
      if (::mkdir(it->path().c_str(), 0777) != 0) code = errno;
    }
    if (code != 0 && !(code == EEXIST && directoryExists(*it))) throwSystemError("created", it->path(), code);
  }
}

void removeItem(const FileURL& url) {
  const FileURL parentURL = url.deletingLastPathComponent();
  if (namesNothing(url.path())) return;
  const FileDescriptor parent(::open(parentURL.path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!parent) {
    if (errno == ENOENT || errno == ENOTDIR) return;
    throwSystemError("removed", url.path(), errno);
  }
  removeItemAt(parent.get(), url.lastPathComponent(), url.path());
}

void writeAll(int descriptor, std::string_view bytes, const std::string& pathForMessages) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) throwSystemError("written", pathForMessages, errno);
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
}

}  // namespace ornolith
