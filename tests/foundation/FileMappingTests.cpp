#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <utility>

#include "foundation/FileMapping.h"
#include "support/TemporaryFolder.h"

namespace ornolith {
namespace {

using testsupport::TemporaryFolder;

int codeOfRefusal(const std::string& path, FinalLink finalLink = FinalLink::follow) {
  try {
    const FileMapping mapping(FileURL(path), finalLink);
    return 0;
  } catch (const SystemError& error) {
    EXPECT_EQ(error.getIf<system_error::Failed>()->action, "read");
    return error.code();
  }
}

TEST(FileMapping, ShowsTheBytesOfTheFile) {
  const TemporaryFolder folder;
  const std::string contents = std::string(100'000, 'a') + "end";
  folder.makeFile("file", contents);
  const FileMapping mapping(FileURL(folder / "file"));
  EXPECT_EQ(mapping.text(), contents);
  EXPECT_EQ(mapping.bytes().size(), contents.size());
}

TEST(FileMapping, OfAnEmptyFileIsEmpty) {
  const TemporaryFolder folder;
  folder.makeFile("file", "");
  EXPECT_TRUE(FileMapping(FileURL(folder / "file")).bytes().empty());
}

TEST(FileMapping, ReadsAFileThatCannotBeMapped) {
  // Its size is given as zero, and its contents are made as they are read.
  const FileMapping mapping(FileURL("/proc/self/status"));
  EXPECT_TRUE(mapping.text().starts_with("Name:"));
}

TEST(FileMapping, KeepsItsBytesWhereTheyAreWhenItMoves) {
  const TemporaryFolder folder;
  folder.makeFile("mapped", "one");
  folder.makeFile("other", "two");
  for (const std::string& path : {folder / "mapped", std::string("/proc/self/status")}) {
    FileMapping first{FileURL(path)};
    const std::byte* place = first.bytes().data();
    FileMapping second(std::move(first));
    EXPECT_EQ(second.bytes().data(), place);
    FileMapping third(FileURL(folder / "other"));
    third = std::move(second);
    EXPECT_EQ(third.bytes().data(), place);
    EXPECT_NE(third.text().substr(0, 3), "two");
  }
}

TEST(FileMapping, OutlivesTheNameOfItsFile) {
  const TemporaryFolder folder;
  folder.makeFile("file", "contents");
  const FileMapping mapping(FileURL(folder / "file"));
  ASSERT_EQ(::unlink((folder / "file").c_str()), 0);
  EXPECT_EQ(mapping.text(), "contents");
}

TEST(FileMapping, RefusesWhatIsNoRegularFile) {
  const TemporaryFolder folder;
  folder.makeFile("file", "contents");
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  ASSERT_EQ(::symlink((folder / "file").c_str(), (folder / "link").c_str()), 0);
  EXPECT_EQ(codeOfRefusal(folder / "none"), ENOENT);
  EXPECT_EQ(codeOfRefusal(folder.path()), EISDIR);
  EXPECT_EQ(codeOfRefusal(folder / "pipe"), SystemError::notARegularFile);
  EXPECT_EQ(codeOfRefusal(folder / "link"), 0);
  EXPECT_EQ(codeOfRefusal(folder / "link", FinalLink::refuse), ELOOP);
}

TEST(FileMapping, ShowsBytesAnewThatWereForgotten) {
  const TemporaryFolder folder;
  const std::string contents = std::string(100'000, 'a') + "end";
  folder.makeFile("file", contents);
  const FileMapping mapping(FileURL(folder / "file"));
  EXPECT_EQ(mapping.text(), contents);
  mapping.forget(mapping.bytes().subspan(1000, 50'000));
  EXPECT_EQ(mapping.text(), contents);
  mapping.forget(mapping.bytes());
  EXPECT_EQ(mapping.text(), contents);
}

TEST(FileMapping, KeepsACopyThatItIsToldToForget) {
  const FileMapping mapping(FileURL("/proc/self/status"));
  const std::string contents(mapping.text());
  mapping.forget(mapping.bytes());
  EXPECT_EQ(mapping.text(), contents);
}

}  // namespace
}  // namespace ornolith
