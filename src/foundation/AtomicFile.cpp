#include "foundation/AtomicFile.h"

#include <sys/stat.h>

#include <cerrno>
#include <string>

#include "foundation/FileStatus.h"
#include "foundation/FileSystem.h"
#include "foundation/TemporaryItems.h"
#include "foundation/UUID.h"

namespace ornolith {

namespace {

/// The permissions of the regular file at `url`, a link not followed; nothing where there is none.
std::optional<mode_t> permissionsOfFile(const FileURL& url) {
  struct stat status {};
  if (::lstat(url.path().c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  return status.st_mode & 0777;
}

/// Throws what `body` throws, but naming the target in place of the temporary file, of which the user knows nothing.
template <typename Body>
auto namingTarget(const FileURL& target, Body body) {
  try {
    return body();
  } catch (const SystemError& error) {
    throw SystemError("written", target.path(), error.code());
  }
}

}  // namespace

void writeFileAtomically(const FileURL& url, std::span<const std::byte> bytes) {
  writeFileAtomically(url, std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}

void writeFileAtomically(const FileURL& url, std::string_view bytes) {
  if (namesNothing(url.path())) throw SystemError("written", url.path(), ENOENT);
  const FileURL temporaryURL =
      url.deletingLastPathComponent().appendingPathComponent(".ornolith-" + UUID::random().uuidString() + ".tmp");
  FileDescriptor descriptor;
  TemporaryItem item = namingTarget(url, [&] { return TemporaryItem::file(temporaryURL, 0666, descriptor); });
  namingTarget(url, [&] {
    writeAll(descriptor.get(), bytes, url.path());
    if (const std::optional<mode_t> permissions = permissionsOfFile(url)) {
      if (::fchmod(descriptor.get(), *permissions) != 0) throw SystemError("written", url.path(), errno);
    }
    item.moveTo(url, TemporaryItem::Existing::replace);
  });
}

}  // namespace ornolith
