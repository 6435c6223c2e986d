#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "foundation/AtomicFile.h"
#include "foundation/FileSystem.h"
#include "foundation/SystemError.h"
#include "support/TemporaryFolder.h"

namespace ornolith {
namespace {

using testsupport::contentsOf;
using testsupport::TemporaryFolder;

std::size_t entryCount(const std::string& directory) {
  return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(directory), {}));
}

mode_t permissionsOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(::lstat(path.c_str(), &status), 0);
  return status.st_mode & 07777;
}

std::string failureOf(const std::string& path, std::string_view contents = "x") {
  try {
    writeFileAtomically(FileURL(path), contents);
  } catch (const SystemError& error) {
    return error.errorDescription();
  }
  return "no failure";
}

TEST(AtomicFile, WritesANewFileWithTheModeOfAnyNewFile) {
  const TemporaryFolder folder;
  const mode_t before = ::umask(027);
  writeFileAtomically(FileURL(folder / "new"), "contents");
  ::umask(before);
  EXPECT_EQ(contentsOf(folder / "new"), "contents");
  EXPECT_EQ(permissionsOf(folder / "new"), 0640U);
  EXPECT_EQ(entryCount(folder.path()), 1U);
}

TEST(AtomicFile, ReplacesAFileAndKeepsItsPermissions) {
  const TemporaryFolder folder;
  ASSERT_EQ(::chmod(folder.makeFile("old", "before").c_str(), 0604), 0);
  writeFileAtomically(FileURL(folder / "old"), "after");
  EXPECT_EQ(contentsOf(folder / "old"), "after");
  EXPECT_EQ(permissionsOf(folder / "old"), 0604U);
  EXPECT_EQ(entryCount(folder.path()), 1U);
}

TEST(AtomicFile, ReplacesALinkAndNotWhatItPointsAt) {
  const TemporaryFolder folder;
  folder.makeFile("target", "kept");
  folder.makeLink("link", folder / "target");
  writeFileAtomically(FileURL(folder / "link"), "new");
  EXPECT_EQ(contentsOf(folder / "target"), "kept");
  EXPECT_TRUE(std::filesystem::is_regular_file(std::filesystem::symlink_status(folder / "link")));
}

TEST(AtomicFile, LeavesAReaderOfTheOldFileItsContents) {
  const TemporaryFolder folder;
  const FileDescriptor reader = openFileForReading(FileURL(folder.makeFile("file", "before")));
  writeFileAtomically(FileURL(folder / "file"), "after");
  char contents[16]{};
  EXPECT_EQ(::read(reader.get(), contents, sizeof(contents)), 6);
  EXPECT_STREQ(contents, "before");
}

TEST(AtomicFile, NamesTheTargetAndTheReasonOfAFailure) {
  const TemporaryFolder folder;
  folder.makeDirectory("folder.png");
  folder.makeFile("file");
  EXPECT_EQ(failureOf(folder / "folder.png"),
            "The item '" + folder / "folder.png" + "' could not be written: Is a directory.");
  EXPECT_EQ(failureOf(folder / "none/x.png"),
            "The item '" + folder / "none/x.png" + "' could not be written: No such file or directory.");
  EXPECT_EQ(failureOf(folder / "file/x.png"),
            "The item '" + folder / "file/x.png" + "' could not be written: Not a directory.");
  const std::string longName = folder / std::string(300, 'x');
  EXPECT_EQ(failureOf(longName), "The item '" + longName + "' could not be written: File name too long.");
  EXPECT_EQ(entryCount(folder.path()), 2U);
}

TEST(AtomicFile, LeavesTheOldFileAndNothingElseWhenTheDiskIsFull) {
  const TemporaryFolder folder;
  folder.makeFile("file", "before");
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
  rlimit small = before;
  small.rlim_cur = 10'000;
  const auto previous = ::signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
  const std::string failure = failureOf(folder / "file", std::string(100'000, 'x'));
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
  ::signal(SIGXFSZ, previous);
  EXPECT_EQ(failure, "The item '" + folder / "file" + "' could not be written: File too large.");
  EXPECT_EQ(contentsOf(folder / "file"), "before");
  EXPECT_EQ(entryCount(folder.path()), 1U);
}

TEST(AtomicFile, WritesNamesOfAnyBytes) {
  const TemporaryFolder folder;
  const std::string path = folder / "line\nbreak \xFF.png";
  writeFileAtomically(FileURL(path), "x");
  EXPECT_EQ(contentsOf(path), "x");
}

}  // namespace
}  // namespace ornolith
