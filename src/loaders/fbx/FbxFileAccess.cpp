#include "loaders/fbx/FbxFileAccess.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <utility>

#include "foundation/FileSystem.h"

namespace ornolith {

namespace {

/// `path` with every link followed, or empty where it does not exist.
std::string realPath(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(path.c_str(), nullptr), &std::free);
  return resolved ? std::string(resolved.get()) : std::string();
}

// The stream's user value is the descriptor.
int descriptorOf(void* user) {
  return static_cast<int>(reinterpret_cast<std::intptr_t>(user));
}

size_t readStream(void* user, void* data, size_t size) {
  size_t total = 0;
  while (total < size) {
    const ssize_t count = ::read(descriptorOf(user), static_cast<char*>(data) + total, size - total);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return SIZE_MAX;
    if (count == 0) break;
    total += static_cast<size_t>(count);
  }
  return total;
}

std::uint64_t streamSize(void* user) {
  struct stat status {};
  return ::fstat(descriptorOf(user), &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : UINT64_MAX;
}

void closeStream(void* user) {
  ::close(descriptorOf(user));
}

}  // namespace

FbxFileAccess::FbxFileAccess(std::string modelPath)
    : modelPath_(std::move(modelPath)), realFolder_(realPath(FileURL(modelPath_).deletingLastPathComponent().path())) {}

ufbx_open_file_cb FbxFileAccess::callback() noexcept {
  ufbx_open_file_cb callback{};
  callback.fn = &FbxFileAccess::open;
  callback.user = this;
  return callback;
}

std::string FbxFileAccess::realPathInFolder(const std::string& path) const {
  if (realFolder_.empty() || path.find('\0') != std::string::npos) return {};
  std::string real = realPath(path);
  const std::string inside = realFolder_ == "/" ? realFolder_ : realFolder_ + "/";
  const bool isInside = real.size() > inside.size() && real.compare(0, inside.size(), inside) == 0;
  return isInside ? real : std::string();
}

bool FbxFileAccess::open(void* user, ufbx_stream* stream, const char* path, size_t length,
                         const ufbx_open_file_info* info) {
  const auto& access = *static_cast<const FbxFileAccess*>(user);
  std::string wanted(path, length);
  if (info->type != UFBX_OPEN_FILE_MAIN_MODEL) {
    // What was looked at is what is opened.
    wanted = access.realPathInFolder(wanted);
    if (wanted.empty()) return false;
  }
  int descriptor = -1;
  try {
    descriptor = openFileForReading(FileURL(wanted)).release();
  } catch (const SystemError&) {
    return false;
  }
  stream->read_fn = &readStream;
  stream->size_fn = &streamSize;
  stream->close_fn = &closeStream;
  // NOLINTNEXTLINE(performance-no-int-to-ptr): a number, behind which nothing is looked for.
  stream->user = reinterpret_cast<void*>(static_cast<std::intptr_t>(descriptor));
  return true;
}

}  // namespace ornolith
