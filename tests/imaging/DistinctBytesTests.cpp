#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "imaging/DistinctBytes.h"

namespace ornolith {
namespace {

TEST(DistinctBytes, AreCountedOnce) {
  const std::vector<std::byte> memory(100);
  const std::span<const std::byte> all(memory);
  DistinctBytes distinct;
  EXPECT_EQ(distinct.add({}), 0U);
  EXPECT_EQ(distinct.add(all.subspan(10, 20)), 20U);
  EXPECT_EQ(distinct.add(all.subspan(10, 20)), 0U);
  EXPECT_EQ(distinct.add(all.subspan(15, 5)), 0U);
  EXPECT_EQ(distinct.add(all.subspan(25, 10)), 5U);
  EXPECT_EQ(distinct.add(all.subspan(5, 10)), 5U);
  EXPECT_EQ(distinct.add(all.subspan(50, 10)), 10U);
  EXPECT_EQ(distinct.add(all), 60U);
  EXPECT_EQ(distinct.add(all), 0U);
}

TEST(DistinctBytes, AreWhatMarkingEachOfThemGives) {
  std::mt19937 random(4);
  for (int round = 0; round < 200; ++round) {
    const std::vector<std::byte> memory(60);
    std::vector<bool> isMarked(memory.size());
    DistinctBytes distinct;
    for (int i = 0; i < 30; ++i) {
      const std::size_t begin = random() % memory.size();
      const std::size_t count = random() % std::min<std::size_t>(memory.size() - begin + 1, 9);
      std::uint64_t expected = 0;
      for (std::size_t place = begin; place < begin + count; ++place) {
        expected += isMarked[place] ? 0 : 1;
        isMarked[place] = true;
      }
      ASSERT_EQ(distinct.add(std::span(memory).subspan(begin, count)), expected);
    }
  }
}

}  // namespace
}  // namespace ornolith
