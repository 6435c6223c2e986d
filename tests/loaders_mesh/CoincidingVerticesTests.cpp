#include <gtest/gtest.h>
#include <hwy/highway.h>

#include <algorithm>
#include <array>
#include <limits>
#include <map>
#include <random>
#include <vector>

#include "foundation/Parallel.h"
#include "loaders/mesh/CoincidingVertices.h"
#include "loaders/mesh/PlaceHashes.h"

namespace ornolith {
namespace {

constexpr float nan = std::numeric_limits<float>::quiet_NaN();

/// For each vertex the first one at its place; empty where all stand apart.
std::vector<std::uint32_t> firstsOf(const CoincidingVertices& coinciding) {
  std::vector<std::uint32_t> firsts;
  for (const std::uint32_t steps : coinciding.stepsToFirst()) {
    firsts.push_back(static_cast<std::uint32_t>(firsts.size()) - steps);
  }
  return firsts;
}

/// The same by an ordered map.
std::vector<std::uint32_t> expectedFirsts(const std::vector<float>& positions) {
  std::map<std::array<float, 3>, std::uint32_t> known;
  std::vector<std::uint32_t> firsts;
  for (std::uint32_t vertex = 0; vertex < positions.size() / 3; ++vertex) {
    const float* p = &positions[std::size_t{vertex} * 3];
    firsts.push_back(known.emplace(std::array{p[0], p[1], p[2]}, vertex).first->second);
  }
  return firsts;
}

std::vector<float> randomPositions(std::size_t vertexCount, std::uint32_t placesOfAnAxis) {
  std::mt19937 random(11);
  std::vector<float> positions;
  for (std::size_t i = 0; i < vertexCount * 3; ++i) {
    positions.push_back(static_cast<float>(random() % placesOfAnAxis));
  }
  return positions;
}

TEST(CoincidingVertices, AreFoundByTheirFirst) {
  const std::vector<float> positions{5, 0, 0, nan, 0, 1, 5, -0.0F, 0, nan, 0, 1};
  EXPECT_EQ(firstsOf(CoincidingVertices(positions)), (std::vector<std::uint32_t>{0, 1, 0, 1}));
  EXPECT_FALSE(CoincidingVertices(std::vector<float>{5, 0, 0, 1, 0, 0}).areThere());
  EXPECT_FALSE(CoincidingVertices(std::vector<float>{}).areThere());
  EXPECT_FALSE(CoincidingVertices().areThere());
}

TEST(CoincidingVertices, AreFoundOnAnyNumberOfThreadsManyOrFew) {
  for (const std::uint32_t placesOfAnAxis : {20U, 80U, 200U, 1000U}) {
    const std::vector<float> positions = randomPositions(300'000, placesOfAnAxis);
    const std::vector<std::uint32_t> expected = expectedFirsts(positions);
    for (const std::size_t threads : {1U, 2U, 3U, 7U}) {
      withThreadLimit(threads, [&] { EXPECT_EQ(firstsOf(CoincidingVertices(positions)), expected) << threads; });
    }
  }
}

TEST(CoincidingVertices, AreFoundAmongVeryManyThatStandApart) {
  std::vector<float> positions;
  constexpr std::size_t count = 3'000'000;
  for (std::size_t i = 0; i < count; ++i) {
    const auto number = static_cast<float>(i);
    positions.insert(positions.end(), {number * 0.25F, -number, 7});
  }
  for (const std::size_t threads : {1U, 2U, 7U}) {
    withThreadLimit(threads, [&] { EXPECT_FALSE(CoincidingVertices(positions).areThere()); });
  }
  std::copy_n(positions.begin() + 30, 3, positions.end() - 300);
  for (const std::size_t threads : {1U, 2U, 7U}) {
    withThreadLimit(threads, [&] {
      const CoincidingVertices coinciding(positions);
      ASSERT_TRUE(coinciding.areThere());
      const auto steps = coinciding.stepsToFirst();
      EXPECT_EQ(std::count(steps.begin(), steps.end(), 0U), count - 1);
      EXPECT_EQ(steps[count - 100], count - 110);
    });
  }
}

TEST(CoincidingVertices, AreHashedAlikeByEveryInstructionSet) {
  std::vector<float> positions = randomPositions(1'003, 1'000'000);
  positions[30] = -0.0F;
  positions[61] = -0.0F;
  positions[92] = 0;
  positions[120] = nan;
  const PlaceHash hash;
  std::vector<std::uint32_t> expected;
  for (std::size_t i = 0; i < positions.size(); i += 3) expected.push_back(hash(PlaceKey::at(&positions[i])));
  for (std::int64_t targets = hwy::SupportedTargets(); targets != 0; targets &= targets - 1) {
    hwy::SetSupportedTargetsForTest(targets & -targets);
    std::vector<std::uint32_t> hashes(expected.size());
    hashPlaces(hash, positions, hashes.data());
    hwy::SetSupportedTargetsForTest(0);
    EXPECT_EQ(hashes, expected) << hwy::TargetName(targets & -targets);
  }
}

TEST(CoincidingVertices, AreLookedForOnTheirPagesAlone) {
  constexpr std::size_t page = CoincidingVertices::verticesOfAPage;
  std::vector<float> positions(page * 5 * 3);
  for (std::size_t i = 0; i < positions.size(); ++i) positions[i] = static_cast<float>(i);
  for (std::size_t axis = 0; axis < 3; ++axis) positions[(page * 3 + 1) * 3 + axis] = positions[(page + 2) * 3 + axis];
  const CoincidingVertices coinciding(positions);
  EXPECT_EQ(coinciding.stepsToFirst()[page * 3 + 1], page * 2 - 1);
  EXPECT_FALSE(coinciding.areOn(0));
  EXPECT_TRUE(coinciding.areOn(1));
  EXPECT_FALSE(coinciding.areOn(2));
  EXPECT_TRUE(coinciding.areOn(3));
  EXPECT_TRUE(coinciding.mayBeBetween(page * 3, page * 5 - 1));
  EXPECT_TRUE(coinciding.mayBeBetween(0, page * 2 - 1));
  EXPECT_FALSE(coinciding.mayBeBetween(page * 2, page * 3 - 1));
  EXPECT_FALSE(coinciding.mayBeBetween(page * 4, page * 5 - 1));
}

}  // namespace
}  // namespace ornolith
