#include <gtest/gtest.h>
#include <hwy/highway.h>

#include <array>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "imaging/PNGFilters.h"
#include "imaging/PNGRowFilter.h"

namespace ornolith {
namespace {

using Row = std::vector<std::uint8_t>;

constexpr std::array<PNGFilter, 5> filters{PNGFilter::none, PNGFilter::sub, PNGFilter::up, PNGFilter::average,
                                           PNGFilter::paeth};

/// The filter byte by byte, by the format's own words.
Row plainlyFiltered(PNGFilter filter, const Row& row, const Row& above) {
  Row out(row.size());
  for (std::size_t i = 0; i < row.size(); ++i) {
    const int a = i < 4 ? 0 : row[i - 4];
    const int b = above[i];
    const int c = i < 4 ? 0 : above[i - 4];
    const int p = a + b - c;
    const int paeth = std::abs(p - a) <= std::abs(p - b) && std::abs(p - a) <= std::abs(p - c) ? a
                      : std::abs(p - b) <= std::abs(p - c)                                     ? b
                                                                                               : c;
    const int predicted[] = {0, a, b, (a + b) / 2, paeth};
    out[i] = static_cast<std::uint8_t>(row[i] - predicted[static_cast<std::size_t>(filter)]);
  }
  return out;
}

std::uint64_t costOf(const Row& filtered) {
  std::uint64_t cost = 0;
  for (const std::uint8_t value : filtered) cost += value < 128 ? value : 256U - value;
  return cost;
}

PNGFilter plainlyChosen(const Row& row, const Row& above) {
  PNGFilter best = PNGFilter::up;
  std::uint64_t bestCost = costOf(plainlyFiltered(best, row, above)) * 4;
  for (const PNGFilter filter : {PNGFilter::sub, PNGFilter::average, PNGFilter::paeth}) {
    const std::uint64_t cost = costOf(plainlyFiltered(filter, row, above)) * (filter == PNGFilter::sub ? 4 : 5);
    if (cost < bestCost) {
      best = filter;
      bestCost = cost;
    }
  }
  return best;
}

/// Pairs of rows: noise, slow changes along and across, and all combinations of few values that lie far apart.
std::vector<std::array<Row, 2>> rowPairs() {
  std::mt19937 random(1);
  std::vector<std::array<Row, 2>> pairs;
  for (const std::size_t pixels : {1U, 2U, 3U, 4U, 5U, 8U, 15U, 16U, 17U, 31U, 33U, 64U, 100U, 1000U}) {
    for (int kind = 0; kind < 5; ++kind) {
      Row row(pixels * 4);
      Row above(pixels * 4);
      for (std::size_t i = 0; i < row.size(); ++i) {
        constexpr std::array<std::uint8_t, 6> extremes{0, 1, 127, 128, 254, 255};
        const auto slow = static_cast<std::uint8_t>(i / 4 + i % 4 * 50);
        const auto little = static_cast<std::uint8_t>(random() % 3);
        const bool isAcross = kind == 2;
        const std::uint8_t base = kind == 3 ? static_cast<std::uint8_t>(random() % 256) : slow;
        row[i] = kind == 0   ? static_cast<std::uint8_t>(random())
                 : kind == 1 ? extremes[random() % extremes.size()]
                             : static_cast<std::uint8_t>(base + little);
        above[i] = kind == 0   ? static_cast<std::uint8_t>(random())
                   : kind == 1 ? extremes[random() % extremes.size()]
                   : isAcross  ? static_cast<std::uint8_t>(random())
                               : static_cast<std::uint8_t>(base + kind);
      }
      pairs.push_back({std::move(row), std::move(above)});
    }
  }
  return pairs;
}

/// Each test runs with each instruction set that the machine has.
class PNGRowFilter : public ::testing::TestWithParam<std::int64_t> {
 protected:
  void SetUp() override { hwy::SetSupportedTargetsForTest(GetParam()); }
  void TearDown() override { hwy::SetSupportedTargetsForTest(0); }
};

TEST_P(PNGRowFilter, EachFilterGivesTheFormatsBytes) {
  for (const auto& [row, above] : rowPairs()) {
    for (const PNGFilter filter : filters) {
      // Behind the row nothing is written.
      Row out(row.size() + 64, 99);
      applyPNGFilter(filter, row.data(), above.data(), row.size(), out.data());
      const Row expected = plainlyFiltered(filter, row, above);
      EXPECT_TRUE(std::equal(expected.begin(), expected.end(), out.begin()))
          << static_cast<int>(filter) << " " << row.size();
      for (std::size_t i = row.size(); i < out.size(); ++i) ASSERT_EQ(out[i], 99);
    }
  }
}

TEST_P(PNGRowFilter, TheChoiceIsThatOfThePlainSums) {
  std::array<int, 5> chosen{};
  for (const auto& [row, above] : rowPairs()) {
    const PNGFilter filter = choosePNGFilter(row.data(), above.data(), row.size());
    EXPECT_EQ(filter, plainlyChosen(row, above)) << row.size();
    ++chosen[static_cast<std::size_t>(filter)];
  }
  for (const PNGFilter filter : {PNGFilter::sub, PNGFilter::up}) {
    EXPECT_GT(chosen[static_cast<std::size_t>(filter)], 0) << static_cast<int>(filter);
  }
}

TEST_P(PNGRowFilter, WhatIsFilteredIsUndoneByTheReader) {
  for (const auto& [row, above] : rowPairs()) {
    for (const PNGFilter filter : filters) {
      Row bytes(row.size() + pngRowSlack);
      Row slackAbove = above;
      slackAbove.resize(above.size() + pngRowSlack);
      applyPNGFilter(filter, row.data(), above.data(), row.size(), bytes.data());
      ASSERT_TRUE(undoPNGFilter(static_cast<std::uint8_t>(filter), bytes.data(), slackAbove.data(), row.size(), 4));
      EXPECT_TRUE(std::equal(row.begin(), row.end(), bytes.begin())) << static_cast<int>(filter);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(EveryTarget, PNGRowFilter, ::testing::ValuesIn(hwy::SupportedAndGeneratedTargets()),
                         [](const ::testing::TestParamInfo<std::int64_t>& target) {
                           return std::string(hwy::TargetName(target.param));
                         });

}  // namespace
}  // namespace ornolith
