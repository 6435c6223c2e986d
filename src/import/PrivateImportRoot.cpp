#include "import/PrivateImportRoot.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "foundation/FileSystem.h"
#include "foundation/UUID.h"

namespace ornolith {

namespace {

constexpr mode_t sharedMode = 01777;
constexpr mode_t privateMode = 0700;

/// Makes sure that nobody but the owner of an entry, the folder's owner and root can move the entry away.
void requireProtection(const FileDescriptor& folder, const std::string& path) {
  struct stat status {};
  if (::fstat(folder.get(), &status) != 0) throw SystemError("read", path, errno);
  const uid_t user = ::geteuid();
  if (user == 0 && status.st_uid != 0 && ::fchown(folder.get(), 0, 0) == 0) status.st_uid = 0;
  if (status.st_uid == user) {
    if ((status.st_mode & 07777) != sharedMode && ::fchmod(folder.get(), sharedMode) != 0) {
      throw SystemError("created", path, errno);
    }
    return;
  }
  const bool othersMayWrite = (status.st_mode & (S_IWGRP | S_IWOTH)) != 0;
  const bool isProtected = (status.st_mode & S_ISVTX) != 0 || (status.st_uid == 0 && !othersMayWrite);
  if (!isProtected) throw ImportFolderError(import_folder_error::Unprotected{path});
}

/// True where the shared folder is there and good; throws where something else is.
bool isUsable(const FileURL& url) {
  const std::string& path = url.path();
  const FileDescriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (folder) {
    requireProtection(folder, path);
    return true;
  }
  const int code = errno;
  if (code == ENOENT) return false;
  const std::optional<FileAttributes> attributes = attributesOfItemIfReadable(url);
  if (attributes && attributes->type == FileType::symbolicLink) {
    throw ImportFolderError(import_folder_error::SymbolicLink{path});
  }
  if (attributes && attributes->type != FileType::directory) {
    throw ImportFolderError(import_folder_error::NotAFolder{path});
  }
  throw SystemError("read", path, code);
}

/// The shared folder, made where it is missing. It is made aside and then renamed, so that other users' runs never see
/// it half made.
FileURL sharedFolder(const FileURL& temporaryDirectory) {
  FileURL url = temporaryDirectory.appendingPathComponent("Ornolith3DRender", true);
  while (!isUsable(url)) {
    TemporaryItem folder = TemporaryItem::directory(
        temporaryDirectory.appendingPathComponent(".Ornolith3DRender-" + UUID::random().uuidString(), true),
        sharedMode);
    try {
      folder.moveTo(url, TemporaryItem::Existing::refuse, "created");
    } catch (const SystemError& error) {
      // Another run was faster: look at what it has made.
      if (error.code() != EEXIST) throw;
    }
  }
  return url;
}

}  // namespace

PrivateImportRoot::PrivateImportRoot(const FileURL& temporaryDirectory)
    : item_(TemporaryItem::directory(
          sharedFolder(temporaryDirectory).appendingPathComponent(UUID::random().uuidString(), true), privateMode)) {}

std::string ImportFolderError::describe(const import_folder_error::SymbolicLink& error) {
  return "The import folder '" + error.path + "' cannot be used: It is a symbolic link.";
}

std::string ImportFolderError::describe(const import_folder_error::NotAFolder& error) {
  return "The import folder '" + error.path + "' cannot be used: It is not a folder.";
}

std::string ImportFolderError::describe(const import_folder_error::Unprotected& error) {
  return "The import folder '" + error.path +
         "' cannot be used: It belongs to another user and does not have the sticky bit.";
}

}  // namespace ornolith
