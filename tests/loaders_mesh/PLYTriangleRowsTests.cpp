#include <gtest/gtest.h>
#include <hwy/highway.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <vector>

#include "loaders/mesh/PLYTriangleRows.h"

namespace ornolith {
namespace {

constexpr std::size_t rowCount = 37;
constexpr std::uint32_t vertexCount = 1000;

std::vector<std::uint32_t> someCorners() {
  std::vector<std::uint32_t> corners;
  for (std::uint32_t i = 0; i < rowCount * 3; ++i) corners.push_back(i * 709 % vertexCount);
  return corners;
}

std::vector<std::byte> rowsOf(const std::vector<std::uint32_t>& corners, PLYByteOrder order) {
  std::vector<std::byte> rows;
  for (std::size_t i = 0; i < corners.size(); ++i) {
    if (i % 3 == 0) rows.push_back(std::byte{3});
    std::array<std::byte, 4> bytes{};
    std::memcpy(bytes.data(), &corners[i], bytes.size());
    if (order == PLYByteOrder::swapped) std::reverse(bytes.begin(), bytes.end());
    rows.insert(rows.end(), bytes.begin(), bytes.end());
  }
  return rows;
}

/// Runs `body` with each instruction set and byte order.
void forEachWay(const std::function<void(PLYByteOrder)>& body) {
  for (std::int64_t targets = hwy::SupportedTargets(); targets != 0; targets &= targets - 1) {
    hwy::SetSupportedTargetsForTest(targets & -targets);
    SCOPED_TRACE(hwy::TargetName(targets & -targets));
    for (const PLYByteOrder order : {PLYByteOrder::native, PLYByteOrder::swapped}) body(order);
    hwy::SetSupportedTargetsForTest(0);
  }
}

TEST(PLYTriangleRows, AreCopied) {
  const std::vector<std::uint32_t> corners = someCorners();
  forEachWay([&](PLYByteOrder order) {
    const std::vector<std::byte> rows = rowsOf(corners, order);
    for (std::size_t count = 0; count <= rowCount; ++count) {
      std::vector<std::uint32_t> copied(count * 3);
      ASSERT_TRUE(copyPLYTriangleRows(rows.data(), count, order, vertexCount, copied.data()));
      EXPECT_TRUE(std::equal(copied.begin(), copied.end(), corners.begin()));
    }
  });
}

TEST(PLYTriangleRows, AreRefusedWhereverOneIsNoTriangle) {
  const std::vector<std::uint32_t> corners = someCorners();
  forEachWay([&](PLYByteOrder order) {
    for (std::size_t row = 0; row < rowCount; ++row) {
      for (const std::byte wrong : {std::byte{0}, std::byte{4}, std::byte{0x83}}) {
        std::vector<std::byte> rows = rowsOf(corners, order);
        rows[row * plyTriangleRowSize] = wrong;
        std::vector<std::uint32_t> copied(rowCount * 3);
        EXPECT_FALSE(copyPLYTriangleRows(rows.data(), rowCount, order, vertexCount, copied.data())) << row;
      }
    }
  });
}

TEST(PLYTriangleRows, AreRefusedWhereverOneNamesAVertexThatIsNotThere) {
  forEachWay([&](PLYByteOrder order) {
    for (std::size_t corner = 0; corner < rowCount * 3; ++corner) {
      for (const std::uint32_t wrong : {vertexCount, 0x80000000U, 0xFFFFFFFFU}) {
        std::vector<std::uint32_t> corners = someCorners();
        corners[corner] = wrong;
        std::vector<std::uint32_t> copied(rowCount * 3);
        const std::vector<std::byte> rows = rowsOf(corners, order);
        EXPECT_FALSE(copyPLYTriangleRows(rows.data(), rowCount, order, vertexCount, copied.data())) << corner;
      }
    }
  });
}

}  // namespace
}  // namespace ornolith
