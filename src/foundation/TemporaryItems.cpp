#include "foundation/TemporaryItems.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <exception>
#include <map>
#include <optional>
#include <string>
#include <system_error>
#include <thread>

#include "foundation/Directory.h"
#include "foundation/FileStatus.h"

namespace ornolith {

namespace {

/// One item that has to go. It is reached through its folder's descriptor, so that it is found even where a folder
/// further up has been renamed.
struct RegisteredItem {
  FileDescriptor parent;
  std::string name;
  std::string path;
  std::optional<FileAttributes> identity;  ///< None until the item exists.
};

/// Everything that has to go, oldest first. `mutex` is also what a creation holds.
struct ItemRegister {
  std::mutex mutex;
  std::map<std::uint64_t, RegisteredItem> items;
  std::uint64_t lastToken = 0;
};

/// The one register of the process. It is never destroyed, so that a signal finds it until the very end.
ItemRegister& itemRegister() {
  static auto* const theRegister = new ItemRegister();
  return *theRegister;
}

void removeQuietly(const RegisteredItem& item) noexcept {
  if (!item.identity) return;
  try {
    removeItemAt(item.parent.get(), item.name, item.path, &*item.identity);
  } catch (const std::exception&) {
    // What cannot be removed stays; there is nobody left to tell.
  }
}

/// Registers an item, creates it with `create`, which gives 0 or an `errno` value, and notes what it is; all in one
/// step as far as a clean-up can see.
template <typename Create>
std::uint64_t createRegistered(const FileURL& url, const char* action, Create create) {
  const std::string& path = url.path();
  if (namesNothing(path)) throwSystemError(action, path, ENOENT);
  RegisteredItem item;
  item.parent =
      FileDescriptor(::open(url.deletingLastPathComponent().path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!item.parent) throwSystemError(action, path, errno);
  item.name = url.lastPathComponent();
  item.path = path;

  ItemRegister& all = itemRegister();
  const CreationPermit permit;
  const std::uint64_t token = ++all.lastToken;
  RegisteredItem& registered = all.items.emplace(token, std::move(item)).first->second;
  int code = create(registered.parent.get(), registered.name.c_str());
  struct stat status {};
  if (code == 0 && ::fstatat(registered.parent.get(), registered.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
    code = errno;
  }
  if (code != 0) {
    all.items.erase(token);
    throwSystemError(action, path, code);
  }
  registered.identity = attributesOfStatus(status);
  return token;
}

/// 0, or an `errno` value. Where the file system has no rename that refuses, the existence test stands in for it.
int renameWithoutReplacing(int parent, const char* name, const char* destination) {
  if (::renameat2(parent, name, AT_FDCWD, destination, RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;
  struct stat status {};
  if (::lstat(destination, &status) == 0) return EEXIST;
  return ::renameat(parent, name, AT_FDCWD, destination) == 0 ? 0 : errno;
}

}  // namespace

CreationPermit::CreationPermit() : lock_(itemRegister().mutex) {}

TemporaryItem::TemporaryItem(TemporaryItem&& other) noexcept
    : token_(std::exchange(other.token_, 0)), url_(std::move(other.url_)) {}

TemporaryItem& TemporaryItem::operator=(TemporaryItem&& other) noexcept {
  if (this != &other) {
    remove();
    token_ = std::exchange(other.token_, 0);
    url_ = std::move(other.url_);
  }
  return *this;
}

TemporaryItem::~TemporaryItem() {
  remove();
}

TemporaryItem TemporaryItem::directory(const FileURL& url, mode_t mode) {
  TemporaryItem item;
  item.url_ = url;
  item.token_ = createRegistered(url, "created", [mode](int parent, const char* name) {
    if (::mkdirat(parent, name, mode) != 0) return errno;
    // The umask has had its say on the new folder.
    const FileDescriptor folder(::openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (folder && ::fchmod(folder.get(), mode) == 0) return 0;
    const int code = errno;
    ::unlinkat(parent, name, AT_REMOVEDIR);
    return code;
  });
  return item;
}

TemporaryItem TemporaryItem::directoryWithDefaultMode(const FileURL& url) {
  TemporaryItem item;
  item.url_ = url;
  item.token_ = createRegistered(
      url, "created", [](int parent, const char* name) { return ::mkdirat(parent, name, 0777) == 0 ? 0 : errno; });
  return item;
}

TemporaryItem TemporaryItem::file(const FileURL& url, mode_t mode, FileDescriptor& descriptor) {
  TemporaryItem item;
  item.url_ = url;
  item.token_ = createRegistered(url, "written", [mode, &descriptor](int parent, const char* name) {
    descriptor = FileDescriptor(::openat(parent, name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
    return descriptor ? 0 : errno;
  });
  return item;
}

void TemporaryItem::remove() noexcept {
  if (token_ == 0) return;
  ItemRegister& all = itemRegister();
  const std::lock_guard<std::mutex> lock(all.mutex);
  const auto found = all.items.find(std::exchange(token_, 0));
  if (found == all.items.end()) return;
  removeQuietly(found->second);
  all.items.erase(found);
}

void TemporaryItem::moveTo(const FileURL& destination, Existing existing, const char* action) {
  const std::string& path = destination.path();
  if (namesNothing(path)) throwSystemError(action, path, ENOENT);
  ItemRegister& all = itemRegister();
  const std::lock_guard<std::mutex> lock(all.mutex);
  const auto found = all.items.find(token_);
  if (found == all.items.end()) throwSystemError(action, path, ENOENT);

  const RegisteredItem& item = found->second;
  int code = 0;
  if (existing == Existing::refuse) {
    code = renameWithoutReplacing(item.parent.get(), item.name.c_str(), path.c_str());
  } else if (::renameat(item.parent.get(), item.name.c_str(), AT_FDCWD, path.c_str()) != 0) {
    code = errno;
  }
  if (code != 0) throwSystemError(action, path, code);
  all.items.erase(found);
  token_ = 0;
}

namespace {

/// Those of the ending signals that the process was not started to ignore.
sigset_t endingSignals() {
  sigset_t signals;
  ::sigemptyset(&signals);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGXCPU}) {
    struct sigaction action {};
    if (::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) continue;
    ::sigaddset(&signals, signal);
  }
  return signals;
}

/// Removes all temporary items, newest first, and ends the process. Nothing can be created any more from here on, since
/// the lock is never given back.
[[noreturn]] void cleanUpAndExit() {
  ItemRegister& all = itemRegister();
  all.mutex.lock();
  for (auto it = all.items.rbegin(); it != all.items.rend(); ++it) removeQuietly(it->second);
  ::_exit(1);
}

}  // namespace

struct TerminationCleanup::Listener {
  FileDescriptor signals;
  FileDescriptor stop;
  std::thread thread;

  void listen() const {
    std::array<pollfd, 2> events{pollfd{stop.get(), POLLIN, 0}, pollfd{signals.get(), POLLIN, 0}};
    for (;;) {
      if (::poll(events.data(), events.size(), -1) < 0) continue;
      if (events[0].revents != 0) return;
      if (events[1].revents != 0) cleanUpAndExit();
    }
  }
};

TerminationCleanup::TerminationCleanup() : listener_(std::make_unique<Listener>()) {
  itemRegister();
  const sigset_t signals = endingSignals();
  ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  struct sigaction ignore {};
  ignore.sa_handler = SIG_IGN;
  for (const int signal : {SIGPIPE, SIGXFSZ}) ::sigaction(signal, &ignore, nullptr);

  listener_->signals = FileDescriptor(::signalfd(-1, &signals, SFD_CLOEXEC));
  listener_->stop = FileDescriptor(::eventfd(0, EFD_CLOEXEC));
  if (!listener_->signals || !listener_->stop) throwSystemError("opened", "signals", errno);
  try {
    listener_->thread = std::thread([listener = listener_.get()] { listener->listen(); });
  } catch (const std::system_error& error) {
    throwSystemError("opened", "signals", error.code().value());
  }
}

TerminationCleanup::~TerminationCleanup() {
  const std::uint64_t one = 1;
  while (::write(listener_->stop.get(), &one, sizeof(one)) < 0 && errno == EINTR) {
  }
  listener_->thread.join();
}

}  // namespace ornolith
