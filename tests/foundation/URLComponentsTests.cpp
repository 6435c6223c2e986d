#include <gmock/gmock.h>

#include "foundation/URLComponents.h"

namespace ornolith {
namespace {

using testing::Optional;

TEST(URLComponents, TakesARelativePathAsItStands) {
  const auto components = URLComponents::parse("a%20b/../c;v=1,2/@x:y.png");
  ASSERT_TRUE(components);
  EXPECT_EQ(components->percentEncodedPath, "a%20b/../c;v=1,2/@x:y.png");
  EXPECT_FALSE(components->scheme);
  EXPECT_FALSE(components->host);
  EXPECT_FALSE(components->query);
  EXPECT_FALSE(components->fragment);
}

TEST(URLComponents, SplitsAWholeURI) {
  const auto components = URLComponents::parse("HTTPS://user:pw@[::1]:80/p/q?k=v?#f/?");
  ASSERT_TRUE(components);
  EXPECT_THAT(components->scheme, Optional(std::string("HTTPS")));
  EXPECT_THAT(components->userInfo, Optional(std::string("user:pw")));
  EXPECT_THAT(components->host, Optional(std::string("[::1]")));
  EXPECT_THAT(components->port, Optional(std::string("80")));
  EXPECT_EQ(components->percentEncodedPath, "/p/q");
  EXPECT_THAT(components->query, Optional(std::string("k=v?")));
  EXPECT_THAT(components->fragment, Optional(std::string("f/?")));
}

TEST(URLComponents, TellsAnEmptyPartFromAnAbsentOne) {
  EXPECT_THAT(URLComponents::parse("a?")->query, Optional(std::string()));
  EXPECT_THAT(URLComponents::parse("a#")->fragment, Optional(std::string()));
  EXPECT_THAT(URLComponents::parse("///a")->host, Optional(std::string()));
  EXPECT_EQ(URLComponents::parse("")->percentEncodedPath, "");
}

TEST(URLComponents, KnowsASchemeWhereItSeesOne) {
  EXPECT_THAT(URLComponents::parse("c:a.png")->scheme, Optional(std::string("c")));
  EXPECT_FALSE(URLComponents::parse("./c:a.png")->scheme);
  EXPECT_FALSE(URLComponents::parse("1c:a.png"));
  EXPECT_FALSE(URLComponents::parse(":a"));
}

TEST(URLComponents, RefusesWhatMustBePercentEncoded) {
  for (const char* text : {"a b", "a\\b", "a\nb", "a\"b", "<a>", "a^b", "a`b", "{a}", "a|b", "a%", "a%2", "a%zz",
                           "a[0]", "a#b#c", "//ho st/", "//h:8x/", "//[::1/a", "\x7F", "\xFF.png"}) {
    EXPECT_FALSE(URLComponents::parse(text)) << text;
  }
}

TEST(URLComponents, TakesCharactersBeyondASCIIAsTheyStand) {
  EXPECT_EQ(URLComponents::parse("K\u00f6rper.png")->percentEncodedPath, "K\u00f6rper.png");
}

TEST(PercentDecoding, GivesTheBytesMeant) {
  EXPECT_THAT(percentDecoding("a%20b%2fc%25"), Optional(std::string("a b/c%")));
  EXPECT_THAT(percentDecoding("K%C3%B6rper"), Optional(std::string("K\u00f6rper")));
  EXPECT_THAT(percentDecoding("a%00b"), Optional(std::string("a\0b", 3)));
  EXPECT_FALSE(percentDecoding("%"));
  EXPECT_FALSE(percentDecoding("%4"));
  EXPECT_FALSE(percentDecoding("%G0"));
  EXPECT_FALSE(percentDecoding("%FF"));
  EXPECT_FALSE(percentDecoding("%C0%AF"));
}

}  // namespace
}  // namespace ornolith
