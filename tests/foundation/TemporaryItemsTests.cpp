#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <random>
#include <thread>

#include "foundation/AtomicFile.h"
#include "foundation/Directory.h"
#include "foundation/TemporaryItems.h"
#include "support/TemporaryFolder.h"

namespace ornolith {
namespace {

using testsupport::contentsOf;
using testsupport::TemporaryFolder;

std::vector<std::string> entriesOf(const std::string& directory) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) names.push_back(entry.path().filename());
  return names;
}

mode_t permissionsOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(::lstat(path.c_str(), &status), 0);
  return status.st_mode & 07777;
}

TEST(TemporaryItem, RemovesAFolderWithAllThatIsInItWhenItsOwnerGoes) {
  const TemporaryFolder folder;
  {
    TemporaryItem item = TemporaryItem::directory(FileURL(folder / "item"), 0700);
    EXPECT_EQ(permissionsOf(folder / "item"), 0700U);
    folder.makeDirectory("item/a/b");
    folder.makeFile("item/a/b/c");
    const TemporaryItem moved = std::move(item);
    EXPECT_TRUE(moved);
  }
  EXPECT_TRUE(entriesOf(folder.path()).empty());
}

TEST(TemporaryItem, HasTheExactModeOrTheOrdinaryOne) {
  const TemporaryFolder folder;
  const mode_t before = ::umask(027);
  const TemporaryItem shared = TemporaryItem::directory(FileURL(folder / "shared"), 01777);
  const TemporaryItem ordinary = TemporaryItem::directoryWithDefaultMode(FileURL(folder / "ordinary"));
  ::umask(before);
  EXPECT_EQ(permissionsOf(folder / "shared"), 01777U);
  EXPECT_EQ(permissionsOf(folder / "ordinary"), 0750U);
}

TEST(TemporaryItem, NeverTakesOverWhatIsThereAlready) {
  const TemporaryFolder folder;
  folder.makeFile("file", "kept");
  FileDescriptor descriptor;
  EXPECT_THROW(TemporaryItem::directory(FileURL(folder / "file")), SystemError);
  EXPECT_THROW(TemporaryItem::file(FileURL(folder / "file"), 0600, descriptor), SystemError);
  EXPECT_EQ(contentsOf(folder / "file"), "kept");
}

TEST(TemporaryItem, LeavesAloneWhatHasTakenItsPlace) {
  const TemporaryFolder folder;
  folder.makeDirectory("precious");
  folder.makeFile("precious/file", "kept");
  {
    const TemporaryItem item = TemporaryItem::directory(FileURL(folder / "item"));
    const TemporaryItem linked = TemporaryItem::directory(FileURL(folder / "linked"));
    std::filesystem::rename(folder / "item", folder / "away");
    std::filesystem::rename(folder / "precious", folder / "item");
    std::filesystem::remove(folder / "linked");
    folder.makeLink("linked", folder / "item");
  }
  EXPECT_EQ(contentsOf(folder / "item/file"), "kept");
  EXPECT_TRUE(std::filesystem::is_symlink(folder / "linked"));
}

TEST(TemporaryItem, IsFoundWhereItsFolderHasBeenRenamed) {
  const TemporaryFolder folder;
  folder.makeDirectory("parent");
  {
    const TemporaryItem item = TemporaryItem::directory(FileURL(folder / "parent/item"));
    std::filesystem::rename(folder / "parent", folder / "renamed");
  }
  EXPECT_TRUE(entriesOf(folder / "renamed").empty());
}

TEST(TemporaryItem, BecomesPermanentByMoving) {
  const TemporaryFolder folder;
  {
    TemporaryItem item = TemporaryItem::directoryWithDefaultMode(FileURL(folder / "staged"));
    folder.makeFile("staged/page.png", "x");
    item.moveTo(FileURL(folder / "done"), TemporaryItem::Existing::refuse);
    EXPECT_FALSE(item);
  }
  EXPECT_EQ(contentsOf(folder / "done/page.png"), "x");
}

TEST(TemporaryItem, RefusesAnExistingDestinationWhereAsked) {
  const TemporaryFolder folder;
  folder.makeDirectory("there");  // empty: a plain rename would replace it
  {
    TemporaryItem item = TemporaryItem::directoryWithDefaultMode(FileURL(folder / "staged"));
    try {
      item.moveTo(FileURL(folder / "there"), TemporaryItem::Existing::refuse, "created");
      FAIL();
    } catch (const SystemError& error) {
      EXPECT_EQ(error.errorDescription(), "The item '" + folder / "there" + "' could not be created: File exists.");
    }
    EXPECT_TRUE(item);
  }
  EXPECT_THAT(entriesOf(folder.path()), testing::ElementsAre("there"));
}

/// Runs `body` in a child process of its own. Gives the child's process number; the child exits with 42 if `body`
/// returns.
template <typename Body>
pid_t inChild(Body body) {
  const pid_t child = ::fork();
  if (child == 0) {
    try {
      body();
    } catch (const std::exception&) {
      ::_exit(99);
    }
    ::_exit(42);
  }
  return child;
}

int exitStatusOf(pid_t child) {
  int status = 0;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}

/// Waits until the file is there, for ten seconds at most.
bool appears(const std::string& path) {
  for (int i = 0; i < 10'000; ++i) {
    if (std::filesystem::exists(path)) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return false;
}

class TerminationCleanupBySignal : public testing::TestWithParam<int> {};

TEST_P(TerminationCleanupBySignal, EndsWithStatusOneAndLeavesNothing) {
  const TemporaryFolder folder;
  folder.makeDirectory("work");
  const pid_t child = inChild([&] {
    const TerminationCleanup cleanup;
    const TemporaryItem root = TemporaryItem::directory(FileURL(folder / "work/root"), 0700);
    DirectoryCursor cursor = DirectoryCursor::open(FileURL(folder / "work/root"), FinalLink::refuse);
    for (int i = 0; i < 50; ++i) cursor.descendCreating("deep", 0700);
    FileDescriptor descriptor;
    const TemporaryItem file = TemporaryItem::file(FileURL(folder / "work/file"), 0600, descriptor);
    folder.makeFile("ready");
    for (volatile bool busy = true; busy;) {
    }
  });
  ASSERT_TRUE(appears(folder / "ready"));
  ASSERT_EQ(::kill(child, GetParam()), 0);
  EXPECT_EQ(exitStatusOf(child), 1);
  EXPECT_TRUE(entriesOf(folder / "work").empty());
}

INSTANTIATE_TEST_SUITE_P(Signals, TerminationCleanupBySignal, testing::Values(SIGINT, SIGTERM, SIGHUP, SIGXCPU));

TEST(TerminationCleanup, LeavesNothingAtWhateverMomentTheSignalComes) {
  std::mt19937 random(7);
  for (int round = 0; round < 60; ++round) {
    const TemporaryFolder folder;
    folder.makeDirectory("work");
    const pid_t child = inChild([&] {
      const TerminationCleanup cleanup;
      folder.makeFile("ready");
      // Everything that a run puts on disk, over and over, from two threads.
      const auto work = [&folder](const std::string& name) {
        for (;;) {
          const TemporaryItem root = TemporaryItem::directory(FileURL(folder / "work/" + name), 0700);
          DirectoryCursor cursor = DirectoryCursor::open(FileURL(folder / "work/" + name), FinalLink::refuse);
          const DirectoryCursor source = DirectoryCursor::open(FileURL("/proc/self"), FinalLink::follow);
          copyRegularFile(source, "status", cursor, "copy");
          for (int i = 0; i < 5; ++i) cursor.descendCreating("deep", 0700);
          copyRegularFile(source, "status", cursor, "copy");
          writeFileAtomically(FileURL(folder / "work/" + name + "/atomic"), "contents");
          TemporaryItem staging =
              TemporaryItem::directoryWithDefaultMode(FileURL(folder / "work/" + name + "-staging"));
          writeFileAtomically(FileURL(folder / "work/" + name + "-staging/page"), "contents");
        }
      };
      // A failure that the clean-up causes waits for it, as the end of a run does.
      const auto workUntilTheEnd = [&work](const std::string& name) {
        try {
          work(name);
        } catch (const SystemError&) {
          const CreationPermit neverGiven;
          ::_exit(96);
        }
      };
      std::thread other(workUntilTheEnd, "b");
      workUntilTheEnd("a");
    });
    ASSERT_TRUE(appears(folder / "ready"));
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 20'000));
    ASSERT_EQ(::kill(child, SIGTERM), 0);
    EXPECT_EQ(exitStatusOf(child), 1);
    EXPECT_THAT(entriesOf(folder / "work"), testing::IsEmpty()) << "round " << round;
  }
}

TEST(TerminationCleanup, LetsARunThatHasEndedKeepItsStatus) {
  const TemporaryFolder folder;
  const pid_t child = inChild([&] {
    { const TerminationCleanup cleanup; }
    ::raise(SIGTERM);
  });
  EXPECT_EQ(exitStatusOf(child), 42);
}

TEST(TerminationCleanup, KeepsIgnoringWhatTheProcessWasStartedToIgnore) {
  const pid_t child = inChild([&] {
    ::signal(SIGHUP, SIG_IGN);
    const TerminationCleanup cleanup;
    ::kill(::getpid(), SIGHUP);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  });
  EXPECT_EQ(exitStatusOf(child), 42);
}

TEST(TerminationCleanup, TurnsAFileAtItsSizeLimitIntoAFailedWrite) {
  const TemporaryFolder folder;
  folder.makeDirectory("work");
  const pid_t child = inChild([&] {
    const TerminationCleanup cleanup;
    const rlimit oneKibibyte{.rlim_cur = 1024, .rlim_max = 1024};
    if (::setrlimit(RLIMIT_FSIZE, &oneKibibyte) != 0) ::_exit(98);
    try {
      writeFileAtomically(FileURL(folder / "work/file"), std::string(4096, 'a'));
    } catch (const SystemError& error) {
      ::_exit(error.code() == EFBIG ? 7 : 97);
    }
  });
  EXPECT_EQ(exitStatusOf(child), 7);
  EXPECT_TRUE(entriesOf(folder / "work").empty());
}

TEST(TerminationCleanup, TurnsAClosedPipeIntoAFailedWrite) {
  const pid_t child = inChild([&] {
    const TerminationCleanup cleanup;
    int pipe[2];
    if (::pipe(pipe) != 0) ::_exit(98);
    ::close(pipe[0]);
    try {
      writeAll(pipe[1], "text", "pipe");
    } catch (const SystemError& error) {
      ::_exit(error.code() == EPIPE ? 7 : 97);
    }
  });
  EXPECT_EQ(exitStatusOf(child), 7);
}

}  // namespace
}  // namespace ornolith
