#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "foundation/LargeVector.h"
#include "foundation/SharedBytes.h"
#include "foundation/UninitializedVector.h"

namespace ornolith {
namespace {

TEST(SharedBytes, AreThoseOfAContainerOfAnyPlainValues) {
  const auto values = std::make_shared<const std::vector<std::uint32_t>>(3, 0x01010101U);
  const SharedBytes bytes = values;
  ASSERT_EQ(bytes->size(), 12U);
  EXPECT_EQ(static_cast<const void*>(bytes->data()), values->data());
  EXPECT_EQ((*bytes)[11], std::byte{1});
}

TEST(SharedBytes, KeepTheirOwnerAlive) {
  auto values = std::make_shared<std::vector<std::byte>>(1, std::byte{7});
  const std::weak_ptr<std::vector<std::byte>> owner = values;
  SharedBytes bytes(values, std::span(*values));
  values.reset();
  const SharedBytes copy = bytes;
  bytes = nullptr;
  EXPECT_FALSE(owner.expired());
  EXPECT_EQ((*copy)[0], std::byte{7});
}

TEST(SharedBytes, WithoutAnOwnerAreFalseAndEmpty) {
  EXPECT_FALSE(SharedBytes());
  EXPECT_FALSE(SharedBytes(nullptr));
  EXPECT_FALSE(SharedBytes(std::shared_ptr<std::vector<std::byte>>()));
  EXPECT_TRUE(SharedBytes()->empty());
  EXPECT_TRUE(SharedBytes::takingOver(std::vector<float>())) << "no values are still values";
}

TEST(SharedBytes, TakeAContainerOverWithoutACopy) {
  LargeVector<float> values(1'000'000, 2.5F);
  const float* place = values.data();
  const SharedBytes bytes = SharedBytes::takingOver(std::move(values));
  EXPECT_EQ(static_cast<const void*>(bytes->data()), place);
  EXPECT_EQ(bytes->size(), 4'000'000U);
}

TEST(LargeVector, KeepsItsValuesAsItGrowsPastLargePages) {
  LargeVector<std::uint32_t> values;
  for (std::uint32_t i = 0; i < 3'000'000; ++i) values.push_back(i);
  values.resize(4'000'000);
  for (std::uint32_t i = 0; i < 3'000'000; ++i) ASSERT_EQ(values[i], i);
  values.clear();
  values.shrink_to_fit();
  EXPECT_TRUE(values.empty());
}

TEST(LargeVector, GivesWholePagesBackAndLeavesWhatStandsAround) {
  LargeVector<std::uint32_t> values(1'000'000, 7U);
  constexpr std::size_t begin = 1001;
  constexpr std::size_t end = 900'003;
  emptyLarge(values.data() + begin, (end - begin) * sizeof(std::uint32_t));
  EXPECT_EQ(std::count(values.begin(), values.begin() + begin, 7U), static_cast<std::ptrdiff_t>(begin));
  EXPECT_EQ(std::count(values.begin() + end, values.end(), 7U), static_cast<std::ptrdiff_t>(values.size() - end));
  EXPECT_EQ(std::count(values.begin() + end / 4, values.begin() + end / 2, 0U),
            static_cast<std::ptrdiff_t>(end / 2 - end / 4));
  emptyLarge(values.data(), 100);
  EXPECT_EQ(values.front(), 7U);
}

TEST(LargeVector, IsEmptyOnceItIsGivenBack) {
  LargeVector<float> values(1'000'000, 2.5F);
  giveBack(values);
  EXPECT_TRUE(values.empty());
  giveBack(values);
  values.assign(1'000'000, 3.5F);
  EXPECT_EQ(values.back(), 3.5F);
}

TEST(LargeVector, LeavesWhatStandsInMemoryThatIsToHaveLargePages) {
  for (const std::size_t size : {std::size_t{1}, std::size_t{4} << 20, (std::size_t{9} << 20) + 5}) {
    std::vector<std::uint8_t> bytes(size, 7);
    preferLargePages(bytes.data(), bytes.size());
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), 7), static_cast<std::ptrdiff_t>(size));
  }
  preferLargePages(nullptr, 0);
}

TEST(UninitializedVector, TakesTheValuesThatAreGivenAndKeepsThem) {
  UninitializedVector<std::uint8_t> values{1, 2, 3};
  values.resize(100'000, 7);
  values.resize(200'000);
  EXPECT_EQ(values[2], 3);
  EXPECT_EQ(std::count(values.begin() + 3, values.begin() + 100'000, 7), 99'997);
  EXPECT_EQ(UninitializedVector<std::uint8_t>(4, 0), (UninitializedVector<std::uint8_t>{0, 0, 0, 0}));
}

TEST(LargeVector, RefusesSizesBeyondMemory) {
  LargeAllocator<std::uint64_t> allocator;
  EXPECT_THROW(allocator.allocate(~std::size_t{0}), std::bad_alloc);
  EXPECT_THROW(allocateLarge(~std::size_t{0}), std::bad_alloc);
}

}  // namespace
}  // namespace ornolith
