#include <gmock/gmock.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>

#include "foundation/FileURL.h"
#include "foundation/SystemError.h"

namespace ornolith {
namespace {

TEST(FileURL, StandardisesByTextAlone) {
  EXPECT_EQ(FileURL("/a/./b//c/../d/").path(), "/a/b/d");
  EXPECT_EQ(FileURL("/../..").path(), "/");
  EXPECT_EQ(FileURL("//").path(), "/");
  EXPECT_EQ(FileURL("/a/b/../../..").path(), "/");
}

TEST(FileURL, ResolvesARelativePathAgainstTheCurrentDirectoryOfThatMoment) {
  const std::string here = std::filesystem::current_path();
  EXPECT_EQ(FileURL("x/../y.fbx").path(), here + "/y.fbx");
  EXPECT_EQ(FileURL("").path(), here);
}

TEST(FileURL, DoesNotBelieveTheEnvironmentAboutTheCurrentDirectory) {
  ASSERT_EQ(::setenv("PWD", "/", 1), 0);
  EXPECT_EQ(FileURL("x").path(), std::filesystem::current_path().string() + "/x");
}

TEST(FileURL, CarriesTheMarkOfAFolder) {
  EXPECT_TRUE(FileURL("/a/").hasDirectoryPath());
  EXPECT_TRUE(FileURL("/a", true).hasDirectoryPath());
  EXPECT_FALSE(FileURL("/a").hasDirectoryPath());
  EXPECT_TRUE(FileURL("/a/b").deletingLastPathComponent().hasDirectoryPath());
  EXPECT_EQ(FileURL("/a/"), FileURL("/a"));
}

TEST(FileURL, SplitsTheLastComponent) {
  const FileURL url("/a/MODEL.Final.FBX");
  EXPECT_EQ(url.lastPathComponent(), "MODEL.Final.FBX");
  EXPECT_EQ(url.pathExtension(), "FBX");
  EXPECT_EQ(url.lowercasedPathExtension(), "fbx");
  EXPECT_EQ(url.lastPathComponentWithoutExtension(), "MODEL.Final");
  EXPECT_EQ(FileURL("/a/.hidden").pathExtension(), "");
  EXPECT_EQ(FileURL("/a/.hidden").lastPathComponentWithoutExtension(), ".hidden");
  EXPECT_EQ(FileURL("/a/trailing.").pathExtension(), "");
  EXPECT_EQ(FileURL("/a.b/c").pathExtension(), "");
  EXPECT_EQ(FileURL("/").lastPathComponent(), "/");
  EXPECT_EQ(FileURL().lastPathComponent(), "");
}

TEST(FileURL, GoesUpAndDown) {
  EXPECT_EQ(FileURL("/a/b").deletingLastPathComponent().path(), "/a");
  EXPECT_EQ(FileURL("/a").deletingLastPathComponent().path(), "/");
  EXPECT_EQ(FileURL("/").deletingLastPathComponent().path(), "/");
  EXPECT_EQ(FileURL("/").appendingPathComponent("a").path(), "/a");
  EXPECT_EQ(FileURL("/a").appendingPathComponent("b/../c").path(), "/a/c");
}

TEST(FileURL, KeepsBytesThatAreNoTextAsTheyAre) {
  EXPECT_EQ(FileURL("/a/\xFF\n.png").lastPathComponent(), "\xFF\n.png");
  EXPECT_EQ(FileURL("/a/\xFF\n.png").pathExtension(), "png");
}

TEST(StandardizingPath, KeepsTheWayOutOfARelativePath) {
  EXPECT_EQ(standardizingPath("a/../../b"), "../b");
  EXPECT_EQ(standardizingPath("../../a/.."), "../..");
  EXPECT_EQ(standardizingPath(".."), "..");
  EXPECT_EQ(standardizingPath(""), "");
  EXPECT_EQ(standardizingPath("./"), "");
  EXPECT_EQ(standardizingPath("a/.."), "");
  EXPECT_EQ(standardizingPath("a/b/../../b.png"), "b.png");
  EXPECT_EQ(standardizingPath("a///b/./c/"), "a/b/c");
}

TEST(SystemError, SaysInOneSentenceWhatHappenedWhereAndWhy) {
  EXPECT_EQ(SystemError("written", "/tmp/a.png", ENOSPC).errorDescription(),
            "The item '/tmp/a.png' could not be written: No space left on device.");
  EXPECT_EQ(SystemError("read", "/tmp/pipe", SystemError::notARegularFile).errorDescription(),
            "The item '/tmp/pipe' could not be read: It is not a regular file.");
  EXPECT_EQ(SystemError("read", "x", 987654).errorDescription(),
            "The item 'x' could not be read: Unknown error 987654.");
}

}  // namespace
}  // namespace ornolith
