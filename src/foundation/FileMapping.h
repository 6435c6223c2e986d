#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "foundation/FileSystem.h"

namespace ornolith {

/// The bytes of a whole regular file, read-only, for as long as the object lives. They are mapped, so that what nobody
/// looks at is never read and what is read takes no memory of the process's own; where the file cannot be mapped, they
/// are read. Meant for files of the private import root, which nobody else knows: a mapped file that somebody shortens
/// ends the program when the lost bytes are looked at.
class FileMapping {
 public:
  /// Opens the file as `openFileForReading` does. Throws `SystemError` ("read").
  explicit FileMapping(const FileURL& url, FinalLink finalLink = FinalLink::follow);
  FileMapping(FileMapping&& other) noexcept;
  FileMapping& operator=(FileMapping&& other) noexcept;
  ~FileMapping() { unmap(); }

  std::span<const std::byte> bytes() const noexcept { return bytes_; }
  /// Gives back the memory that shows a part of the bytes, which will hardly be looked at again; where it is, it shows
  /// them anew. Other threads may look at any of the bytes meanwhile.
  void forget(std::span<const std::byte> part) const noexcept;
  std::string_view text() const noexcept { return {reinterpret_cast<const char*>(bytes_.data()), bytes_.size()}; }

 private:
  void unmap() noexcept;

  std::span<const std::byte> bytes_;
  FileBytes copy_;  // What `bytes_` shows where the file could not be mapped.
  bool isMapped_ = false;
};

}  // namespace ornolith
