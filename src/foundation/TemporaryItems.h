#pragma once

#include <cstdint>
#include <memory>
#include <mutex>

#include "foundation/FileSystem.h"
#include "foundation/FileURL.h"

namespace ornolith {

// What a run puts on disk for a while only, and how it disappears.
//
// Everything that must not outlive the run is created through this header, which knows each such item from the moment
// it exists. An item leaves when its owner goes, and when SIGINT, SIGTERM, SIGHUP or SIGXCPU ends the process,
// whatever the other threads are doing then.
//
// The register behind it is the one piece of process-wide state of the program, because what it answers to is
// process-wide too: a signal ends the process, all of its threads and all of its runs at once.

/// Held for the moment in which something comes to be on disk. When an interrupt's clean-up has begun, no permit is
/// given any more: the caller sleeps until the process ends, so that nothing appears behind the clean-up's back. Hold
/// it around the creating system call alone; it is not recursive.
class CreationPermit {
 public:
  CreationPermit();

 private:
  std::lock_guard<std::mutex> lock_;
};

/// Owns one file or folder that is removed, with all that is in it, when the owner goes. The item is removed only while
/// it is still the one that was created, and links are never followed. Movable.
class TemporaryItem {
 public:
  TemporaryItem() = default;
  TemporaryItem(TemporaryItem&& other) noexcept;
  TemporaryItem& operator=(TemporaryItem&& other) noexcept;
  ~TemporaryItem();

  /// Creates an empty folder where nothing stands yet; the folder above must exist. `mode` is exact, whatever the umask
  /// says. Throws `SystemError` ("created").
  static TemporaryItem directory(const FileURL& url, mode_t mode = 0777);
  /// The mode that a folder made in the ordinary way would have here.
  static TemporaryItem directoryWithDefaultMode(const FileURL& url);
  /// Creates an empty file, open for writing, where nothing stands yet. `mode` is subject to the umask. Throws
  /// `SystemError` ("written").
  static TemporaryItem file(const FileURL& url, mode_t mode, FileDescriptor& descriptor);

  const FileURL& url() const noexcept { return url_; }
  explicit operator bool() const noexcept { return token_ != 0; }

  /// Removes the item now. Failures are ignored.
  void remove() noexcept;

  enum class Existing { replace, refuse };
  /// Renames the item to `destination` in one step; it is temporary no longer. Throws `SystemError` (`action`),
  /// `EEXIST` where something stands there and is not to be replaced; the item then stays temporary.
  void moveTo(const FileURL& destination, Existing existing, const char* action = "written");

 private:
  std::uint64_t token_ = 0;
  FileURL url_;
};

/// While this object lives, SIGINT, SIGTERM, SIGHUP and SIGXCPU end the process with status 1 after all temporary items
/// have been removed. Signals that were ignored when the process started stay ignored (nohup). SIGPIPE and SIGXFSZ are
/// ignored: a closed pipe and a file at its size limit are then failed writes like any other and take the ordinary way
/// out.
///
/// `main` makes one before any other thread starts, since threads inherit the blocked signals, and keeps it to the end.
class TerminationCleanup {
 public:
  /// Throws `SystemError` where the kernel has no descriptor or thread left.
  TerminationCleanup();
  TerminationCleanup(const TerminationCleanup&) = delete;
  TerminationCleanup& operator=(const TerminationCleanup&) = delete;
  /// Stops listening. If a clean-up has begun this does not return. The signals stay blocked: what follows has nothing
  /// left to clean up and ends by itself.
  ~TerminationCleanup();

 private:
  struct Listener;
  std::unique_ptr<Listener> listener_;
};

}  // namespace ornolith
