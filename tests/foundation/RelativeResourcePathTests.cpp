#include <gmock/gmock.h>

#include "foundation/RelativeResourcePath.h"

namespace ornolith {
namespace {

using testing::Optional;

TEST(RelativeResourcePath, IsDecodedAndStandardised) {
  EXPECT_THAT(relativeResourcePath("a%20b/../c//./d.png"), Optional(std::string("c/d.png")));
}

TEST(RelativeResourcePath, IsNothingForWhatLeavesTheRootOrNamesNoFileBelowIt) {
  for (const char* reference : {"", ".", "..", "../a", "a/../..", "a/../../b", "/a", "%2Fa", "a%5Cb", "a\\b", "file:a",
                                "//h/a", "a?b", "a#b", "a%2", "a b", "%2E%2E/a", "a/.."}) {
    EXPECT_FALSE(relativeResourcePath(reference)) << reference;
  }
}

TEST(RelativeResourcePathOfFileName, TakesNamesAsPeopleTypeThem) {
  EXPECT_THAT(relativeResourcePathOfFileName(" \t./my [old] {wood}^1.png \r\n"),
              Optional(std::string("my [old] {wood}^1.png")));
  EXPECT_THAT(relativeResourcePathOfFileName("K\u00f6rper%20a.png"), Optional(std::string("K\u00f6rper a.png")));
  EXPECT_THAT(relativeResourcePathOfFileName("a/~b"), Optional(std::string("a/~b")));
}

TEST(RelativeResourcePathOfFileName, RefusesWhatAReferenceMustNotBe) {
  const std::string withZero("a\0b", 3);
  for (const std::string_view name :
       {std::string_view(withZero), std::string_view("a%00b"), std::string_view("~a"), std::string_view("~/a"),
        std::string_view("/a"), std::string_view("a\\b"), std::string_view("C:\\a.png"), std::string_view("C:/a.png"),
        std::string_view("../a b"), std::string_view("100%"), std::string_view("a?b"), std::string_view("a#b"),
        std::string_view("  "), std::string_view("\xFF")}) {
    EXPECT_FALSE(relativeResourcePathOfFileName(name)) << name;
  }
}

}  // namespace
}  // namespace ornolith
