#include "foundation/FileMapping.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "foundation/Directory.h"

namespace ornolith {

FileMapping::FileMapping(const FileURL& url, FinalLink finalLink) {
  const FileDescriptor file = openFileForReading(url, finalLink);
  struct stat status {};
  if (::fstat(file.get(), &status) != 0) throwSystemError("read", url.path(), errno);
  // A size of zero is also that of files whose contents the kernel makes up as they are read.
  if (status.st_size > 0) {
    const auto size = static_cast<std::size_t>(status.st_size);
    void* start = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.get(), 0);
    if (start != MAP_FAILED) {
      ::madvise(start, size, MADV_SEQUENTIAL);
      bytes_ = {static_cast<const std::byte*>(start), size};
      isMapped_ = true;
      return;
    }
  }
  copy_ = readFile(file, url.path());
  bytes_ = copy_;
}

FileMapping::FileMapping(FileMapping&& other) noexcept
    : bytes_(std::exchange(other.bytes_, {})),
      copy_(std::move(other.copy_)),
      isMapped_(std::exchange(other.isMapped_, false)) {}

FileMapping& FileMapping::operator=(FileMapping&& other) noexcept {
  if (this != &other) {
    unmap();
    bytes_ = std::exchange(other.bytes_, {});
    copy_ = std::move(other.copy_);
    isMapped_ = std::exchange(other.isMapped_, false);
  }
  return *this;
}

void FileMapping::forget(std::span<const std::byte> part) const noexcept {
  if (!isMapped_) return;
  const auto pageSize = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  const auto begin = static_cast<std::size_t>(part.data() - bytes_.data()) / pageSize * pageSize;
  const auto end = static_cast<std::size_t>(part.data() + part.size() - bytes_.data());
  ::madvise(const_cast<std::byte*>(bytes_.data() + begin), end - begin, MADV_DONTNEED);
}

void FileMapping::unmap() noexcept {
  if (isMapped_) ::munmap(const_cast<std::byte*>(bytes_.data()), bytes_.size());
  isMapped_ = false;
  bytes_ = {};
}

}  // namespace ornolith
