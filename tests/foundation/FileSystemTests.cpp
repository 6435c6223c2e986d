#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

#include "foundation/Directory.h"
#include "foundation/FileSystem.h"
#include "support/TemporaryFolder.h"

namespace ornolith {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::contentsOf;
using testsupport::TemporaryFolder;

std::string text(const FileBytes& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

template <typename Body>
SystemError systemErrorOf(Body body) {
  try {
    body();
  } catch (const SystemError& error) {
    return error;
  }
  ADD_FAILURE() << "no SystemError was thrown";
  return SystemError("", "", 0);
}

std::string withZeroByte(const std::string& path) {
  return path + std::string("\0.png", 5);
}

TEST(FileExists, FollowsLinks) {
  const TemporaryFolder folder;
  folder.makeFile("file");
  folder.makeLink("good", folder / "file");
  folder.makeLink("dangling", folder / "nothing");
  EXPECT_TRUE(fileExists(FileURL(folder / "file")));
  EXPECT_TRUE(fileExists(FileURL(folder / "good")));
  EXPECT_FALSE(fileExists(FileURL(folder / "dangling")));
  EXPECT_TRUE(directoryExists(FileURL(folder.path())));
  EXPECT_FALSE(directoryExists(FileURL(folder / "file")));
}

TEST(FileExists, IsFalseForAPathWithAZeroByte) {
  const TemporaryFolder folder;
  const std::string path = folder.makeFile("file");
  EXPECT_FALSE(fileExists(FileURL(withZeroByte(path))));
  EXPECT_FALSE(attributesOfItemIfReadable(FileURL(withZeroByte(path))));
  EXPECT_EQ(systemErrorOf([&] { readFile(FileURL(withZeroByte(path))); }).code(), ENOENT);
  EXPECT_EQ(systemErrorOf([&] { createDirectory(FileURL(withZeroByte(folder / "new"))); }).code(), ENOENT);
  EXPECT_EQ(
      systemErrorOf([&] { DirectoryCursor::open(FileURL(withZeroByte(folder.path())), FinalLink::follow); }).code(),
      ENOENT);
  removeItem(FileURL(withZeroByte(path)));
  EXPECT_TRUE(fileExists(FileURL(path)));
}

TEST(Attributes, AreThoseOfTheLinkItself) {
  const TemporaryFolder folder;
  folder.makeFile("file", "12345");
  folder.makeLink("link", folder / "file");
  folder.makeLink("dangling", folder / "nothing");
  EXPECT_EQ(attributesOfItem(FileURL(folder / "file")).type, FileType::regular);
  EXPECT_EQ(attributesOfItem(FileURL(folder / "file")).size, 5U);
  EXPECT_EQ(attributesOfItem(FileURL(folder / "link")).type, FileType::symbolicLink);
  EXPECT_EQ(attributesOfItem(FileURL(folder / "dangling")).type, FileType::symbolicLink);
  EXPECT_EQ(attributesOfItem(FileURL(folder.path())).type, FileType::directory);
  EXPECT_EQ(systemErrorOf([&] { attributesOfItem(FileURL(folder / "none")); }).errorDescription(),
            "The item '" + folder / "none" + "' could not be read: No such file or directory.");
}

TEST(ReadFile, ReadsWholeAndBounded) {
  const TemporaryFolder folder;
  const FileURL url(folder.makeFile("file", "0123456789"));
  EXPECT_EQ(text(readFile(url)), "0123456789");
  EXPECT_EQ(text(readFile(url, 4)), "0123");
  EXPECT_EQ(text(readFile(url, 10)), "0123456789");
  EXPECT_EQ(text(readFile(url, 11)), "0123456789");
  EXPECT_EQ(text(readFile(url, 0)), "");
  EXPECT_EQ(text(readFile(FileURL(folder.makeFile("empty")))), "");
  const std::string large(40'000'001, 'x');
  EXPECT_EQ(text(readFile(FileURL(folder.makeFile("large", large)))), large);
}

TEST(ReadFile, ReadsAFileThatClaimsToBeEmpty) {
  EXPECT_FALSE(readFile(FileURL("/proc/self/status")).empty());
}

TEST(ReadFile, TakesNoMemoryForWhatASparseFileOnlyClaims) {
  const TemporaryFolder folder;
  const std::string path = folder.makeFile("sparse");
  ASSERT_EQ(::truncate(path.c_str(), off_t{1} << 40), 0);
  EXPECT_EQ(readFile(FileURL(path), 1000).size(), 1000U);
}

TEST(ReadFile, RefusesWhatIsNoRegularFileAndNeverWaits) {
  const TemporaryFolder folder;
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(systemErrorOf([&] { readFile(FileURL(folder / "pipe")); }).errorDescription(),
            "The item '" + folder / "pipe" + "' could not be read: It is not a regular file.");
  EXPECT_EQ(systemErrorOf([&] { readFile(FileURL("/dev/zero")); }).code(), SystemError::notARegularFile);
  EXPECT_EQ(systemErrorOf([&] { readFile(FileURL(folder.path())); }).code(), EISDIR);

  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, (folder / "socket").c_str(), sizeof(address.sun_path) - 1);
  const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM, 0));
  ASSERT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
  EXPECT_EQ(systemErrorOf([&] { readFile(FileURL(folder / "socket")); }).code(), SystemError::notARegularFile);
}

TEST(ReadFile, RefusesALinkWhereAsked) {
  const TemporaryFolder folder;
  folder.makeFile("file", "text");
  folder.makeLink("link", folder / "file");
  EXPECT_EQ(text(readFile(FileURL(folder / "link"))), "text");
  EXPECT_EQ(systemErrorOf([&] { readFile(FileURL(folder / "link"), 100, FinalLink::refuse); }).code(), ELOOP);
}

TEST(CreateDirectory, CreatesTheFoldersAbove) {
  const TemporaryFolder folder;
  createDirectory(FileURL(folder / "a/b/c"));
  EXPECT_TRUE(directoryExists(FileURL(folder / "a/b/c")));
  createDirectory(FileURL(folder / "a/b/c"));
  folder.makeLink("link", folder / "a");
  createDirectory(FileURL(folder / "link/d"));
  EXPECT_TRUE(directoryExists(FileURL(folder / "a/d")));
}

TEST(CreateDirectory, SaysWhatStandsInTheWay) {
  const TemporaryFolder folder;
  folder.makeFile("file");
  folder.makeLink("dangling", folder / "nothing");
  EXPECT_EQ(systemErrorOf([&] { createDirectory(FileURL(folder / "file")); }).errorDescription(),
            "The item '" + folder / "file" + "' could not be created: File exists.");
  EXPECT_EQ(systemErrorOf([&] { createDirectory(FileURL(folder / "file/sub")); }).errorDescription(),
            "The item '" + folder / "file/sub" + "' could not be created: Not a directory.");
  EXPECT_EQ(systemErrorOf([&] { createDirectory(FileURL(folder / "dangling/sub")); }).code(), EEXIST);
  EXPECT_EQ(systemErrorOf([&] { createDirectory(FileURL(folder / std::string(300, 'x'))); }).code(), ENAMETOOLONG);
}

TEST(RemoveItem, RemovesATreeAndLeavesWhatItsLinksPointAt) {
  const TemporaryFolder folder;
  folder.makeDirectory("tree/a/b");
  folder.makeDirectory("outside");
  folder.makeFile("outside/kept", "text");
  folder.makeFile("tree/a/file");
  folder.makeFile("tree/.hidden");
  folder.makeLink("tree/a/link", folder / "outside");
  folder.makeLink("tree/dangling", folder / "nothing");
  ASSERT_EQ(::mkfifo((folder / "tree/pipe").c_str(), 0600), 0);
  removeItem(FileURL(folder / "tree"));
  EXPECT_FALSE(attributesOfItemIfReadable(FileURL(folder / "tree")));
  EXPECT_EQ(contentsOf(folder / "outside/kept"), "text");
  removeItem(FileURL(folder / "tree"));  // nothing there is fine
}

TEST(RemoveItem, RemovesALinkToAFolderAndNotTheFolder) {
  const TemporaryFolder folder;
  folder.makeDirectory("kept");
  folder.makeLink("link", folder / "kept");
  removeItem(FileURL(folder / "link"));
  EXPECT_FALSE(attributesOfItemIfReadable(FileURL(folder / "link")));
  EXPECT_TRUE(directoryExists(FileURL(folder / "kept")));
}

/// A chain of folders, far deeper than paths and descriptors reach.
void makeDeepTree(const FileURL& root, std::size_t depth) {
  DirectoryCursor cursor = DirectoryCursor::open(root, FinalLink::refuse);
  for (std::size_t i = 0; i < depth; ++i) cursor.descendCreating("folder", 0700);
  cursor.ascendTo(0);
}

TEST(DirectoryCursor, GoesDeeperThanPathsReachWithFewDescriptors) {
  const TemporaryFolder folder;
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  rlimit few = before;
  few.rlim_cur = 100;
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
  const std::string root = folder.makeDirectory("deep");
  EXPECT_NO_THROW(makeDeepTree(FileURL(root), 1200));
  EXPECT_NO_THROW(removeItem(FileURL(root)));
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_FALSE(fileExists(FileURL(root)));
}

TEST(DirectoryCursor, ListsInByteOrder) {
  const TemporaryFolder folder;
  folder.makeFile("b");
  folder.makeFile("B");
  folder.makeFile(".h");
  folder.makeDirectory("a");
  folder.makeLink("c", "/");
  const std::vector<DirectoryEntry> entries =
      DirectoryCursor::open(FileURL(folder.path()), FinalLink::refuse).entries();
  std::vector<std::string> names;
  for (const DirectoryEntry& entry : entries) names.push_back(entry.name);
  EXPECT_THAT(names, ElementsAre(".h", "B", "a", "b", "c"));
  EXPECT_TRUE(entries[0].isHidden());
  EXPECT_EQ(entries[2].type, FileType::directory);
  EXPECT_EQ(entries[4].type, FileType::symbolicLink);
}

TEST(DirectoryCursor, NeverGoesThroughALink) {
  const TemporaryFolder folder;
  folder.makeDirectory("real/sub");
  folder.makeLink("link", folder / "real");
  EXPECT_EQ(systemErrorOf([&] { DirectoryCursor::open(FileURL(folder / "link"), FinalLink::refuse); }).code(), ELOOP);
  EXPECT_NO_THROW(DirectoryCursor::open(FileURL(folder / "link"), FinalLink::follow));
  DirectoryCursor cursor = DirectoryCursor::open(FileURL(folder.path()), FinalLink::refuse);
  EXPECT_EQ(systemErrorOf([&] { cursor.descend("link"); }).code(), ELOOP);
  EXPECT_EQ(systemErrorOf([&] { cursor.descendCreating("link", 0700); }).code(), EEXIST);
  for (const char* name : {"", ".", "..", "real/sub", "/"}) {
    EXPECT_EQ(systemErrorOf([&] { cursor.descend(name); }).code(), ENOENT) << name;
  }
  EXPECT_EQ(cursor.depth(), 0U);
}

TEST(DirectoryCursor, StaysInItsFolderWhenThePathIsExchanged) {
  const TemporaryFolder folder;
  folder.makeDirectory("real");
  folder.makeDirectory("other");
  folder.makeFile("real/mine");
  const DirectoryCursor cursor = DirectoryCursor::open(FileURL(folder / "real"), FinalLink::refuse);
  std::filesystem::rename(folder / "real", folder / "moved");
  folder.makeLink("real", folder / "other");
  ASSERT_EQ(cursor.entries().size(), 1U);
  EXPECT_EQ(cursor.entries()[0].name, "mine");
}

TEST(DirectoryCursor, NoticesThatTheTreeWasMovedWhileItWasDeepInside) {
  const TemporaryFolder folder;
  folder.makeDirectory("elsewhere");
  DirectoryCursor cursor = DirectoryCursor::open(FileURL(folder.makeDirectory("tree")), FinalLink::refuse);
  for (int i = 0; i < 40; ++i) cursor.descendCreating("d" + std::to_string(i), 0700);
  std::filesystem::rename(folder / "tree/d0/d1", folder / "elsewhere/d1");
  EXPECT_EQ(systemErrorOf([&] { cursor.ascendTo(0); }).code(), ESTALE);
}

TEST(DirectoryCursor, GivesNewFoldersTheExactMode) {
  const TemporaryFolder folder;
  DirectoryCursor cursor = DirectoryCursor::open(FileURL(folder.path()), FinalLink::refuse);
  const mode_t before = ::umask(0777);
  cursor.descendCreating("new", 0750);
  ::umask(before);
  EXPECT_EQ(std::filesystem::status(folder / "new").permissions(), std::filesystem::perms{0750});
}

class CopyRegularFile : public testing::Test {
 protected:
  void copy(const std::string& name, const std::string& newName = "copy") {
    copyRegularFile(DirectoryCursor::open(FileURL(folder.path()), FinalLink::refuse), name,
                    DirectoryCursor::open(FileURL(folder.path()), FinalLink::refuse), newName);
  }
  const TemporaryFolder folder;
};

TEST_F(CopyRegularFile, CopiesContentsAlone) {
  const std::string contents(3'000'000, 'x');
  ASSERT_EQ(::chmod(folder.makeFile("file", contents).c_str(), 0777), 0);
  copy("file");
  EXPECT_EQ(contentsOf(folder / "copy"), contents);
  EXPECT_EQ(std::filesystem::status(folder / "copy").permissions(), std::filesystem::perms{0600});
  folder.makeFile("empty");
  copy("empty", "empty copy");
  EXPECT_EQ(contentsOf(folder / "empty copy"), "");
}

TEST_F(CopyRegularFile, RefusesEverythingElse) {
  folder.makeFile("file");
  folder.makeLink("link", folder / "file");
  folder.makeDirectory("folder");
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(systemErrorOf([&] { copy("link"); }).code(), ELOOP);
  EXPECT_EQ(systemErrorOf([&] { copy("folder"); }).errorDescription(),
            "The item '" + folder / "folder" + "' could not be copied: Is a directory.");
  EXPECT_EQ(systemErrorOf([&] { copy("pipe"); }).errorDescription(),
            "The item '" + folder / "pipe" + "' could not be copied: It is not a regular file.");
  EXPECT_EQ(systemErrorOf([&] { copy("none"); }).errorDescription(),
            "The item '" + folder / "none" + "' could not be copied: No such file or directory.");
  EXPECT_EQ(
      systemErrorOf([&] { copy("../" + std::filesystem::path(folder.path()).filename().string() + "/file"); }).code(),
      ENOENT);
  EXPECT_FALSE(fileExists(FileURL(folder / "copy")));
}

TEST_F(CopyRegularFile, NeverOverwritesAndNeverWritesThroughALink) {
  folder.makeFile("file", "new");
  folder.makeFile("old", "old");
  folder.makeLink("copy", folder / "old");
  EXPECT_EQ(systemErrorOf([&] { copy("file"); }).code(), EEXIST);
  EXPECT_EQ(contentsOf(folder / "old"), "old");
}

TEST_F(CopyRegularFile, CopiesBetweenFileSystemsThatShareNothing) {
  copyRegularFile(DirectoryCursor::open(FileURL("/proc/self"), FinalLink::follow), "status",
                  DirectoryCursor::open(FileURL(folder.path()), FinalLink::refuse), "status");
  EXPECT_THAT(contentsOf(folder / "status"), testing::HasSubstr("Name:"));
}

TEST_F(CopyRegularFile, LeavesNothingBehindWhenTheDiskIsFull) {
  folder.makeFile("file", std::string(100'000, 'x'));
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
  rlimit small = before;
  small.rlim_cur = 10'000;
  const auto previous = ::signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
  const SystemError error = systemErrorOf([&] { copy("file"); });
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
  ::signal(SIGXFSZ, previous);
  EXPECT_EQ(error.errorDescription(), "The item '" + folder / "copy" + "' could not be written: File too large.");
  EXPECT_FALSE(fileExists(FileURL(folder / "copy")));
}

}  // namespace
}  // namespace ornolith
