#include <gmock/gmock.h>

#include <set>

#include "foundation/UUID.h"

namespace ornolith {
namespace {

TEST(UUID, IsFreshAndOfVersionFour) {
  std::set<UUID> seen;
  for (int i = 0; i < 1000; ++i) {
    const UUID uuid = UUID::random();
    const std::string text = uuid.uuidString();
    EXPECT_THAT(text, testing::MatchesRegex("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}"));
    EXPECT_TRUE(seen.insert(uuid).second);
    EXPECT_EQ(UUID::parse(text), uuid);
  }
}

TEST(UUID, ReadsEitherCaseAndWritesUpperCase) {
  const auto uuid = UUID::parse("00112233-4455-6677-8899-aabbccddeeff");
  ASSERT_TRUE(uuid);
  EXPECT_EQ(uuid->uuidString(), "00112233-4455-6677-8899-AABBCCDDEEFF");
  EXPECT_EQ(UUID::parse("00112233-4455-6677-8899-AABBCCDDEEFF"), uuid);
  EXPECT_EQ(UUID().uuidString(), "00000000-0000-0000-0000-000000000000");
}

TEST(UUID, RefusesEveryOtherForm) {
  for (const char* text : {"", "00112233-4455-6677-8899-aabbccddeef", "00112233-4455-6677-8899-aabbccddeefff",
                           "{00112233-4455-6677-8899-aabbccddeef}", "001122334455-6677-8899-aabbccddeeff-",
                           "0011223g-4455-6677-8899-aabbccddeeff", "00112233 4455-6677-8899-aabbccddeeff"}) {
    EXPECT_FALSE(UUID::parse(text)) << text;
  }
}

}  // namespace
}  // namespace ornolith
